// Puts together the one line of a connection from the pieces in which it arrives.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace KorvoAgent {

class LineAssembler {
 public:
  enum class State {
    incomplete,  ///< more is needed
    complete,    ///< line() is the line
    tooLong,     ///< no newline within the limit
  };

  /** `limit` is the longest line in bytes, newline included. */
  explicit LineAssembler(std::size_t limit) : limit_(limit) {}

  /** Takes a piece. What follows the newline is dropped: a connection carries one command. */
  State add(std::string_view piece) {
    if (state_ != State::incomplete) return state_;
    const std::size_t newline = piece.find('\n');
    const std::string_view part = piece.substr(0, newline);
    const bool ended = newline != std::string_view::npos;
    if (line_.size() + part.size() + (ended ? 1 : 0) > limit_ ||
        (!ended && line_.size() + part.size() == limit_)) {
      line_ = std::string();
      return state_ = State::tooLong;
    }
    line_.append(part);
    if (ended) {
      state_ = State::complete;
      sawMore_ = newline + 1 != piece.size();
    }
    return state_;
  }

  State state() const noexcept { return state_; }
  /** Whether something followed the newline. */
  bool sawMore() const noexcept { return sawMore_; }
  /** What has arrived of the line, without its newline. */
  const std::string& line() const noexcept { return line_; }

 private:
  std::size_t limit_;
  std::string line_;
  State state_ = State::incomplete;
  bool sawMore_ = false;
};

}  // namespace KorvoAgent
