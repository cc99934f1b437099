#include "tests/simulation/Client.h"

#include <fmt/format.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "tests/simulation/FailingAllocation.h"

namespace KorvoSimulation {

using KorvoAgent::FileDescriptor;

namespace {

std::pair<FileDescriptor, FileDescriptor> connectedPair() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::runtime_error("no sockets are left");
  }
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

}  // namespace

Client::Client(Command c, Reader::Habit habit, std::uint64_t seed, const Turn& now)
    : Client(std::move(c), connectedPair(), habit, seed, now) {}

Client::Client(Command c, std::pair<FileDescriptor, FileDescriptor> ends, Reader::Habit habit,
               std::uint64_t seed, const Turn& now)
    : command(std::move(c)),
      reader(std::move(ends.second), habit, seed),
      socket(std::make_shared<KorvoAgent::AnswerSocket>(std::move(ends.first))),
      beginTurn(now),
      now_(now) {}

void Client::jobEnded(const KorvoAgent::RequestEnd& end,
                      const KorvoAgent::RequestFigures& figures) noexcept {
  const AllocationPause pause;
  if (output != nullptr) note(output->appended());
  output = nullptr;
  if (figures.slices != 0 && !firstSlice) firstSlice = now_;
  slices_ = figures.slices;
  socket->close();
  end_ = end;
  figures_ = figures;
  endTurn_ = now_;
}

void Client::observe(const KorvoAgent::SliceScheduler& scheduler) {
  if (ended() || output == nullptr) return;
  const auto found = scheduler.jobs().find(job);
  if (found == scheduler.jobs().end()) return;
  slices_ = found->second.figures(Qel::Duration::zero()).slices;
  if (slices_ != 0 && !firstSlice) firstSlice = now_;
  note(output->appended());
}

void Client::note(std::uint64_t appended) {
  if (progress_.empty() || progress_.back().appended != appended) {
    progress_.push_back({appended, now_});
  }
}

Turn Client::printedAt(std::size_t offset) const {
  const auto at = std::ranges::upper_bound(progress_, offset, {}, &Progress::appended);
  return at == progress_.end() ? endTurn_ : at->turn;
}

std::string Client::text() const {
  return fmt::format("{} {} \"{}\" with reader {}, begun in turn {}, {}",
                     KorvoAgent::entryName(command.line.entry),
                     KorvoAgent::formatName(command.line.format), command.line.command,
                     static_cast<int>(reader.habit()), beginTurn,
                     end_ ? fmt::format("ended in turn {}: {} {}", endTurn_,
                                        KorvoAgent::statusName(end_->status), end_->message)
                          : "not ended");
}

}  // namespace KorvoSimulation
