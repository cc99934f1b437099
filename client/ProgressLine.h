// How far a dump has come: one line on a terminal, drawn over itself and gone at the end.
//
// The terminal is shared. A pager that reads the answer through a pipe owns the whole screen, so
// with a pipe nothing is drawn at all; and a process in the background leaves the terminal to
// whatever is in its foreground.
//
// One thread, except that eraseFromSignal() may be called from a signal handler at any time.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace KorvoCtl {

class ProgressLine {
 public:
  using Clock = std::function<std::chrono::steady_clock::time_point()>;

  // Draws on `terminal`; -1 draws nothing, ever. outputIsTerminal: the answer goes to a terminal
  // too, most likely the same one.
  ProgressLine(int terminal, bool outputIsTerminal, Clock clock);
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine();

  // Tells how far it is. Drawn at most ten times a second, and not from the background.
  void update(std::uint64_t rows, std::uint64_t bytes);

  // Takes the line away. It comes back with the next update.
  void clear();

  // Tells that a piece of the answer is about to be written. On a terminal the answer shows by
  // itself how far it is, and the line would get in its way.
  void outputFollows();

  // Takes the line away for good.
  void finish();

  // Takes away the line that is on the terminal, if there is one. Safe in a signal handler.
  static void eraseFromSignal();

  // The terminal to draw on: `errors` when it is a terminal that can move its cursor, and `output`
  // is no pipe; or -1.
  [[nodiscard]] static int terminalFor(int errors, int output);

 private:
  void draw(const std::string& text);

  int terminal_;
  bool outputIsTerminal_;
  Clock clock_;
  std::chrono::steady_clock::time_point started_;
  std::chrono::steady_clock::time_point nextDraw_;
};

// "61.7 MB", in steps of 1000.
[[nodiscard]] std::string sizeText(std::uint64_t bytes);
// "1,234,567"
[[nodiscard]] std::string countText(std::uint64_t count);

}  // namespace KorvoCtl
