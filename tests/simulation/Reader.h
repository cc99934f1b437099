// Who reads an answer: the far end of a socket, with habits.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <string>

#include "agent/model/SeededRandom.h"
#include "agent/server/FileDescriptor.h"

namespace KorvoSimulation {

class Reader {
 public:
  enum class Habit : std::uint8_t {
    eager,       ///< reads all there is, each turn
    slow,        ///< a little, now and then
    byteWise,    ///< byte by byte
    pausing,     ///< nothing for a long time, then all
    halfClosed,  ///< eager, and will not send any more
    stopping,    ///< some, then never again
    vanishing,   ///< some, then closes its end
    numHabits,
  };

  Reader(KorvoAgent::FileDescriptor socket, Habit habit, std::uint64_t seed);

  Habit habit() const noexcept { return habit_; }
  /** Whether everything that is sent will be read, sooner or later. */
  bool readsAll() const noexcept { return habit_ < Habit::stopping; }
  /** Whether it does so each turn. The others may be taken for gone when time flies. */
  bool isEager() const noexcept { return habit_ == Habit::eager || habit_ == Habit::halfClosed; }
  /** One turn of its life; `hurried` when it should not take long over it. */
  void act(bool hurried);
  /** Reads on to the end of what was sent. */
  void finish();

  const std::string& received() const noexcept { return received_; }
  /** Whether the end of the answer has been read. */
  bool atEnd() const noexcept { return atEnd_; }
  bool gone() const noexcept { return !socket_.isOpen(); }

 private:
  void read(std::size_t most);

  KorvoAgent::FileDescriptor socket_;
  Habit habit_;
  KorvoAgent::SeededRandom random_;
  std::size_t limit_;    // of those that do not read all
  std::uint64_t pause_;  // turns
  std::string received_;
  bool atEnd_ = false;
};

}  // namespace KorvoSimulation
