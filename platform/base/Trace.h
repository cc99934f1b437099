// Trace lines: what the agent's developers read when a command said nothing.
//
// A trace handle has a name and a numeric level (0 = off; a line of level n is written when the
// handle's level is n or more). A trace call costs one load and compare while its level is off.
//   QEL_TRACE(handle, 8, "socket:{}, format:{}", socket, format);
// A line names its source unit, function, line and class. Code that many share is given the
// TraceSite of who calls it, and traces with QEL_TRACE_AT:
//   walk.runSlice(table, Qel::TraceSite(typeData().name));
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
#include <utility>

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

/** Where a trace line comes from, as its reader looks for it: by default, who makes the site. */
class TraceSite {
 public:
  /** All texts are kept by pointer. `className` is empty for what stands outside of a class. */
  explicit constexpr TraceSite(std::string_view className, const char* file = __builtin_FILE(),
                               const char* function = __builtin_FUNCTION(),
                               int line = __builtin_LINE()) noexcept
      : className_(className), file_(file), function_(function), line_(line) {}

  /** Source file without its folder. */
  constexpr std::string_view unit() const noexcept {
    const std::string_view path(file_);
    return path.substr(path.find_last_of('/') + 1);
  }
  /** Without its class. */
  constexpr std::string_view function() const noexcept { return function_; }
  constexpr int line() const noexcept { return line_; }
  /** The class of the object, which may be derived from the one that the function is written in. */
  constexpr std::string_view className() const noexcept { return className_; }

 private:
  std::string_view className_;
  const char* file_;
  const char* function_;
  int line_;
};

struct TraceRecord {
  std::string_view handle;
  int level;
  TraceSite site;
  std::string_view message;

  /**
   * "handle level unit class::function:line message", as the text sinks write it: one line, and
   * printable whatever the message quotes.
   */
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

/** Replaces the process's sink and returns the one before; null means standard error. */
std::shared_ptr<TraceSink> traceSinkIs(std::shared_ptr<TraceSink> sink);

namespace Detail {

/**
 * "A" out of what the compilers make of a function's signature, "void A::b(int) const"; nothing for
 * a function in an unnamed namespace or a lambda, whose signatures differ. `function` is its bare
 * name.
 */
constexpr std::string_view className(std::string_view signature, std::string_view function) {
  const std::string_view head = signature.substr(0, signature.find('('));
  const std::string_view name = head.substr(head.find_last_of(" *&") + 1);
  const bool usable = name.ends_with(function) && name.size() > function.size() + 2 &&
                      name.find_first_of("<{") == std::string_view::npos;
  return usable ? name.substr(0, name.size() - function.size() - 2) : std::string_view{};
}

void traceWrite(const TraceHandle& handle, int level, const TraceSite& site,
                fmt::string_view format, fmt::format_args args) noexcept;

template <class... Args>
[[gnu::cold]] [[gnu::noinline]] void trace(const TraceHandle& handle, int level,
                                           const TraceSite& site,
                                           fmt::format_string<const Args&...> format,
                                           const Args&... args) noexcept {
  traceWrite(handle, level, site, format, fmt::make_format_args(args...));
}

}  // namespace Detail

}  // namespace Qel

/** Traces for `site`, which is made only if the line is written. */
#define QEL_TRACE_AT(handle, level, site, ...)                      \
  do {                                                              \
    if ((handle).enabled(level)) [[unlikely]] {                     \
      ::Qel::Detail::trace((handle), (level), (site), __VA_ARGS__); \
    }                                                               \
  } while (false)

#define QEL_TRACE(handle, level, ...)                                                     \
  QEL_TRACE_AT(handle, level,                                                             \
               ::Qel::TraceSite(::Qel::Detail::className(__PRETTY_FUNCTION__, __func__)), \
               __VA_ARGS__)
