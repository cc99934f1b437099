// Where an answer goes: to standard output, or into memory for a question of the client's own.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "client/Findings.h"

namespace KorvoCtl {

class AnswerSink {
 public:
  enum class State {
    kMoved,         // something was taken; there may be more
    kLater,         // nothing is there now
    kEnd,           // the answer has ended
    kOutputClosed,  // nobody reads the output any more
    kOutputFailed,  // the output took no more, for the reason in `problem`
  };
  struct Moved {
    State state = State::kLater;
    std::size_t bytes = 0;  // that came from the source
    std::string problem;
  };

  AnswerSink() = default;
  AnswerSink(const AnswerSink&) = delete;
  AnswerSink& operator=(const AnswerSink&) = delete;
  virtual ~AnswerSink() = default;

  // Takes what the socket holds, up to about a megabyte, without waiting for more of it; may wait
  // for the output. What was taken has been passed on when this returns.
  [[nodiscard]] virtual Moved moveFrom(int source) = 0;

  // The descriptor whose reader may go away, -1 when there is none.
  [[nodiscard]] virtual int output() const { return -1; }
};

// Copies to a descriptor, which it does not own.
class DescriptorSink : public AnswerSink {
 public:
  // findings, where given, sees every byte; it must outlive the sink.
  explicit DescriptorSink(int output, Findings* findings = nullptr);

  Moved moveFrom(int source) override;
  [[nodiscard]] int output() const override { return output_; }

  // Whether the last line that was written has no end. Not known of what went to a pipe.
  [[nodiscard]] bool endsInMidLine() const { return endsInMidLine_; }

 private:
  // Pages go from the socket to a pipe without being copied, twice as fast as read() and write().
  Moved splice(int source);
  Moved copy(int source);

  int output_;
  Findings* findings_;
  bool splices_ = false;
  bool endsInMidLine_ = false;
  std::vector<char> buffer_;
};

// Collects an answer that is known to be short.
class StringSink : public AnswerSink {
 public:
  explicit StringSink(std::size_t limit) : limit_(limit) {}

  Moved moveFrom(int source) override;
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::size_t limit_;
  std::string text_;
};

// Writes all of it, waiting for a descriptor that does not block. Returns 0 or the error number.
[[nodiscard]] int writeAll(int fd, std::string_view data);

}  // namespace KorvoCtl
