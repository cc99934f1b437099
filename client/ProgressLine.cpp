#include "client/ProgressLine.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "client/AnswerSink.h"

namespace KorvoCtl {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBetweenDraws{100};

// To the first column, and erase to the end of the line.
constexpr std::string_view kErase = "\r\x1b[K";

// The terminal that has a line on it, for the signal handler; -1 when none has.
std::atomic<int> drawnOn{-1};
static_assert(std::atomic<int>::is_always_lock_free);

// Whether nobody else is in the terminal's foreground. Of a terminal that is not the one of our
// session that cannot be told. Safe in a signal handler.
bool isOurs(int terminal) {
  const pid_t foreground = ::tcgetpgrp(terminal);
  return foreground <= 0 || foreground == ::getpgrp();
}

std::size_t widthOf(int terminal) {
  winsize size{};
  return ::ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

ProgressLine::ProgressLine(int terminal, bool outputIsTerminal, Clock clock)
    : terminal_(terminal),
      outputIsTerminal_(outputIsTerminal),
      clock_(std::move(clock)),
      started_(clock_()),
      nextDraw_(started_) {}

ProgressLine::~ProgressLine() { clear(); }

void ProgressLine::update(std::uint64_t rows, std::uint64_t bytes) {
  if (terminal_ < 0) {
    return;
  }
  const steady_clock::time_point now = clock_();
  if (now < nextDraw_ || !isOurs(terminal_)) {
    return;
  }
  nextDraw_ = now + kBetweenDraws;
  draw(fmt::format("korvoctl: {} rows, {}, {:.1f} s", countText(rows), sizeText(bytes),
                   std::chrono::duration<double>(now - started_).count()));
}

void ProgressLine::draw(const std::string& text) {
  // A line that is wider than the terminal would go on in the next one and stay there. The last
  // column is left free, since some terminals move on when it is filled.
  const std::string line =
      std::string(kErase) + text.substr(0, std::max<std::size_t>(widthOf(terminal_), 2) - 1);
  drawnOn.store(terminal_);
  if (writeAll(terminal_, line) != 0) {
    finish();
  }
}

void ProgressLine::clear() {
  if (terminal_ >= 0) {
    eraseFromSignal();
  }
}

void ProgressLine::outputFollows() {
  if (outputIsTerminal_) {
    finish();
  }
}

void ProgressLine::finish() {
  clear();
  terminal_ = -1;
}

void ProgressLine::eraseFromSignal() {
  const int terminal = drawnOn.exchange(-1);
  if (terminal >= 0) {
    const int savedErrno = errno;
    if (isOurs(terminal)) {
      // A terminal that does not take it is past help.
      [[maybe_unused]] const ssize_t n = ::write(terminal, kErase.data(), kErase.size());
    }
    errno = savedErrno;
  }
}

int ProgressLine::terminalFor(int errors, int output) {
  struct stat status {};
  // Some shells make their pipes of sockets.
  if (::fstat(output, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode))) {
    return -1;
  }
  const char* kind = std::getenv("TERM");
  const bool movesCursor = kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb";
  return movesCursor && ::isatty(errors) == 1 ? errors : -1;
}

std::string sizeText(std::uint64_t bytes) {
  constexpr std::array<std::string_view, 5> kUnits = {"kB", "MB", "GB", "TB", "PB"};
  if (bytes < 1000) {
    return fmt::format("{} B", bytes);
  }
  double size = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  // 999.95 and more would be written as 1000.0.
  while (size >= 999.95 && unit + 1 < kUnits.size()) {
    size /= 1000;
    ++unit;
  }
  return fmt::format("{:.1f} {}", size, kUnits[unit]);
}

std::string countText(std::uint64_t count) {
  std::string text = std::to_string(count);
  for (std::size_t end = text.size(); end > 3; end -= 3) {
    text.insert(end - 3, ",");
  }
  return text;
}

}  // namespace KorvoCtl
