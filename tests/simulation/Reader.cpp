#include "tests/simulation/Reader.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <utility>

namespace KorvoSimulation {

Reader::Reader(KorvoAgent::FileDescriptor socket, Habit habit, std::uint64_t seed)
    : socket_(std::move(socket)),
      habit_(habit),
      random_(seed),
      limit_(random_.below(4000)),
      pause_(random_.below(400)) {
  if (habit_ == Habit::halfClosed) ::shutdown(socket_.get(), SHUT_WR);
}

void Reader::act(bool hurried) {
  constexpr std::size_t kAll = ~std::size_t{0};
  if (atEnd_ || gone()) return;
  switch (habit_) {
    case Habit::eager:
    case Habit::halfClosed:
      return read(kAll);
    case Habit::slow:
      if (hurried || random_.onceIn(4)) read(1 + random_.below(hurried ? 4000 : 400));
      return;
    case Habit::byteWise:
      for (std::uint64_t i = random_.below(hurried ? 400 : 4); i != 0; --i) read(1);
      return;
    case Habit::pausing:
      if (pause_ != 0 && !hurried) {
        --pause_;
      } else {
        read(kAll);
      }
      return;
    case Habit::stopping:
      return read(limit_ - std::min(limit_, received_.size()));
    case Habit::vanishing:
      read(limit_ - std::min(limit_, received_.size()));
      if (received_.size() >= limit_ || hurried || random_.onceIn(50)) socket_.reset();
      return;
    case Habit::numHabits:
      return;
  }
}

void Reader::finish() {
  while (!gone() && !atEnd_) {
    const std::size_t before = received_.size();
    read(~std::size_t{0});
    if (received_.size() == before) return;
  }
}

void Reader::read(std::size_t most) {
  std::array<char, 16384> piece;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  while (most != 0 && !atEnd_) {
    const ssize_t n =
        ::recv(socket_.get(), piece.data(), std::min(most, piece.size()), MSG_DONTWAIT);
    if (n < 0) return;
    if (n == 0) atEnd_ = true;
    received_.append(piece.data(), static_cast<std::size_t>(n));
    most -= static_cast<std::size_t>(n);
  }
}

}  // namespace KorvoSimulation
