// Trace lines: what the agent's developers read when a command said nothing.
//
// A trace handle has a name and a numeric level (0 = off; a line of level n is written when the
// handle's level is n or more). A trace call costs one load and compare while its level is off.
//   QEL_TRACE(handle, 8, "socket:{}, format:{}", socket, format);
//
// Threading: handles may be read from any thread; sinks are changed before threads start.
#pragma once

#include <fmt/format.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Qel {

class TraceHandle {
 public:
  explicit TraceHandle(std::string name) : name_(std::move(name)) {}
  TraceHandle(const TraceHandle&) = delete;
  TraceHandle& operator=(const TraceHandle&) = delete;

  const std::string& name() const noexcept { return name_; }
  int level() const noexcept { return level_.load(std::memory_order_relaxed); }
  void levelIs(int level) noexcept { level_.store(level, std::memory_order_relaxed); }
  bool enabled(int level) const noexcept { return level <= this->level(); }

 private:
  std::string name_;
  std::atomic<int> level_{0};
};

/** The process's handle of that name, made on first use; it lives as long as the process. */
TraceHandle& traceHandle(std::string_view name);

/**
 * Reads "HANDLE=LEVEL" and sets that handle's level (0 to 9). Throws ParseException with what is
 * wrong.
 */
void traceSettingIs(std::string_view setting);

struct TraceRecord {
  std::string_view handle;
  int level;
  std::string_view unit;      // source file without its folder
  std::string_view function;  // qualified by its class: "KorvoL2::CliCallback::handleCommand"
  int line;
  std::string_view message;

  /** "handle level unit function:line message", as the text sinks write it. */
  std::string text() const;
};

/** Where trace lines go. write() must not throw and must not block. */
class TraceSink {
 public:
  virtual ~TraceSink() = default;
  virtual void write(const TraceRecord& record) noexcept = 0;
};

/** Writes to standard error. The sink of a process that has not set another. */
class StderrTraceSink final : public TraceSink {
 public:
  void write(const TraceRecord& record) noexcept override;
};

/**
 * Appends to a file. A full disk loses trace lines, never the process; how many is noted in the
 * file once it takes lines again.
 */
class FileTraceSink final : public TraceSink {
 public:
  /** Throws Exception with path and reason when the file cannot be opened. */
  explicit FileTraceSink(const std::string& path);
  ~FileTraceSink() override;
  FileTraceSink(const FileTraceSink&) = delete;
  FileTraceSink& operator=(const FileTraceSink&) = delete;
  void write(const TraceRecord& record) noexcept override;

 private:
  bool writeLine(std::string line);

  int fd_;
  std::uint64_t lost_ = 0;
  bool torn_ = false;  // the file ends within a line
};

/** Keeps lines in memory, for tests. */
class CapturingTraceSink final : public TraceSink {
 public:
  struct Line {
    std::string handle;
    int level;
    std::string unit;
    std::string function;
    int line;
    std::string message;
  };
  void write(const TraceRecord& record) noexcept override;
  const std::vector<Line>& lines() const noexcept { return lines_; }
  std::vector<std::string> messages() const;
  bool contains(std::string_view message) const;
  std::size_t count(std::string_view message) const;
  void clear() noexcept { lines_.clear(); }

 private:
  std::vector<Line> lines_;
};

/** Replaces the process's sink and returns the one before; null means standard error. */
std::shared_ptr<TraceSink> traceSinkIs(std::shared_ptr<TraceSink> sink);

namespace Detail {

constexpr std::string_view baseName(std::string_view path) {
  return path.substr(path.find_last_of('/') + 1);
}

/**
 * "A::b" out of what the compilers make of a function's signature, "void A::b(int) const"; `plain`,
 * the function's bare name, for one in an unnamed namespace or a lambda, whose signatures differ.
 */
constexpr std::string_view qualifiedName(std::string_view signature, std::string_view plain) {
  const std::string_view head = signature.substr(0, signature.find('('));
  const std::string_view name = head.substr(head.find_last_of(" *&") + 1);
  const bool usable = name.ends_with(plain) && name.find_first_of("<{") == std::string_view::npos;
  return usable ? name : plain;
}

void traceWrite(const TraceHandle& handle, int level, std::string_view unit,
                std::string_view function, int line, fmt::string_view format,
                fmt::format_args args) noexcept;

template <class... Args>
[[gnu::cold]] [[gnu::noinline]] void trace(const TraceHandle& handle, int level,
                                           std::string_view unit, std::string_view function,
                                           int line, fmt::format_string<const Args&...> format,
                                           const Args&... args) noexcept {
  traceWrite(handle, level, unit, function, line, format, fmt::make_format_args(args...));
}

}  // namespace Detail

}  // namespace Qel

#define QEL_TRACE(handle, level, ...)                                                             \
  do {                                                                                            \
    if ((handle).enabled(level)) [[unlikely]] {                                                   \
      ::Qel::Detail::trace((handle), (level), ::Qel::Detail::baseName(__FILE__),                  \
                           ::Qel::Detail::qualifiedName(__PRETTY_FUNCTION__, __func__), __LINE__, \
                           __VA_ARGS__);                                                          \
    }                                                                                             \
  } while (false)
