#include "platform/base/Trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "platform/base/Exceptions.h"
#include "text/Printable.h"

namespace Qel {

namespace {

struct Tracing {
  std::mutex mutex;
  std::map<std::string, std::unique_ptr<TraceHandle>, std::less<>> handles;
  std::shared_ptr<TraceSink> sink = std::make_shared<StderrTraceSink>();
};

Tracing& tracing() {
  // Never destroyed: objects that die during static destruction may still trace.
  static auto* const instance = new Tracing;
  return *instance;
}

// How many bytes were written; fewer than all when the file takes no more.
std::size_t writeAll(int fd, std::string_view text) noexcept {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = ::write(fd, text.data() + written, text.size() - written);
    if (n > 0) {
      written += static_cast<std::size_t>(n);
    } else if (n == 0 || errno != EINTR) {
      break;
    }
  }
  return written;
}

}  // namespace

TraceHandle& traceHandle(std::string_view name) {
  Tracing& all = tracing();
  const std::lock_guard lock(all.mutex);
  auto it = all.handles.find(name);
  if (it == all.handles.end()) {
    auto handle = std::make_unique<TraceHandle>(std::string(name));
    it = all.handles.emplace(std::string(name), std::move(handle)).first;
  }
  return *it->second;
}

namespace {

/** The handle of that name if there is one; a setting for any other would do nothing. */
TraceHandle& knownHandle(std::string_view name) {
  Tracing& all = tracing();
  const std::lock_guard lock(all.mutex);
  if (const auto it = all.handles.find(name); it != all.handles.end()) return *it->second;
  std::vector<std::string_view> known;
  for (const auto& [each, handle] : all.handles) known.push_back(each);
  throw ParseException(
      fmt::format("there is no trace handle \"{}\"; there are {}", name, fmt::join(known, ", ")));
}

}  // namespace

void traceSettingIs(std::string_view setting) {
  const std::size_t equals = setting.find('=');
  int level = 0;
  if (equals != std::string_view::npos && equals != 0) {
    const std::string_view digits = setting.substr(equals + 1);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), level);
    if (error == std::errc{} && end == digits.data() + digits.size() && level >= 0 && level <= 9) {
      knownHandle(setting.substr(0, equals)).levelIs(level);
      return;
    }
  }
  throw ParseException(
      fmt::format("\"{}\" is no trace setting: write HANDLE=LEVEL with a level from 0 to 9, "
                  "for example KorvoL2CliCallbacks=8",
                  setting));
}

std::string TraceRecord::text() const {
  return fmt::format("{} {} {} {}{}{}:{} {}", handle, level, site.unit(), site.className(),
                     site.className().empty() ? "" : "::", site.function(), site.line(),
                     Text::printable(message));
}

void StderrTraceSink::write(const TraceRecord& record) noexcept {
  try {
    writeAll(STDERR_FILENO, record.text() + "\n");
  } catch (...) {  // out of memory: the line is lost, the process is not
  }
}

FileTraceSink::FileTraceSink(const std::string& path)
    // Not to wait for the reader of a pipe, now or later; a terminal does not become the process's.
    : fd_(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY,
                 0640)) {
  if (fd_ < 0) {
    throw Exception(fmt::format("cannot open trace file {}: {}", path, std::strerror(errno)));
  }
}

FileTraceSink::~FileTraceSink() { ::close(fd_); }

void FileTraceSink::write(const TraceRecord& record) noexcept {
  try {
    if (lost_ != 0) {
      if (!writeLine(fmt::format("({} trace lines lost: the file took none)", lost_))) {
        ++lost_;
        return;
      }
      lost_ = 0;
    }
    if (!writeLine(record.text())) ++lost_;
  } catch (...) {
    ++lost_;
  }
}

bool FileTraceSink::writeLine(std::string line) {
  line += '\n';
  if (torn_) line.insert(line.begin(), '\n');
  const std::size_t written = writeAll(fd_, line);
  // A filling disk takes a part of a line; what comes next starts on a line of its own.
  if (written != 0) torn_ = written != line.size() && !(torn_ && written == 1);
  return written == line.size();
}

std::shared_ptr<TraceSink> traceSinkIs(std::shared_ptr<TraceSink> sink) {
  if (sink == nullptr) sink = std::make_shared<StderrTraceSink>();
  Tracing& all = tracing();
  const std::lock_guard lock(all.mutex);
  std::swap(all.sink, sink);
  return sink;
}

namespace Detail {

void traceWrite(const TraceHandle& handle, int level, const TraceSite& site,
                fmt::string_view format, fmt::format_args args) noexcept {
  try {
    const std::string message = fmt::vformat(format, args);
    Tracing& all = tracing();
    const std::lock_guard lock(all.mutex);
    all.sink->write({handle.name(), level, site, message});
  } catch (...) {  // a trace line never changes what the traced code does
  }
}

}  // namespace Detail

}  // namespace Qel
