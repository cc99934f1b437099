// One request of a simulation: its sockets, its reader, and what is expected of its end.
//
// Stands where a connection stands in the agent: owns the answer socket, hears of the job's end.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/server/AnswerSocket.h"
#include "agent/server/SliceScheduler.h"
#include "tests/simulation/Reader.h"
#include "tests/simulation/TableHistory.h"

namespace KorvoSimulation {

struct Command {
  KorvoAgent::RequestLine line;
  std::string keyword;
  /** As far as its arguments are made of what its keyword takes. */
  bool wellFormed = true;
  bool detail = false;

  bool isAsync() const noexcept { return line.entry == KorvoAgent::Entry::async; }
  bool isJson() const noexcept { return line.format == Rendering::kJson; }
};

class Client final : public KorvoAgent::JobOwner {
 public:
  /** `now` tells the turn; outlives the client. */
  Client(Command command, Reader::Habit habit, std::uint64_t seed, const Turn& now);

  void awaitWritable() override { awaiting = true; }
  std::size_t unread() const override { return socket->unread(); }
  bool hearsProgress() const noexcept override { return true; }
  void jobProgress(const KorvoAgent::RequestFigures& figures) noexcept override {
    heardAt = figures.elapsed;
    ++timesHeard;
  }
  void jobEnded(const KorvoAgent::RequestEnd& end,
                const KorvoAgent::RequestFigures& figures) noexcept override;

  /** Notes how far the answer has come; after every piece of the scheduler. */
  void observe(const KorvoAgent::SliceScheduler& scheduler);
  /** The turn in which the byte at `offset` of the answer was printed. */
  Turn printedAt(std::size_t offset) const;

  bool ended() const noexcept { return end_.has_value(); }
  /** Only once ended. */
  const KorvoAgent::RequestEnd& end() const { return end_.value(); }
  const KorvoAgent::RequestFigures& figures() const noexcept { return figures_; }
  Turn endTurn() const noexcept { return endTurn_; }
  /** How many slices were seen to have run. */
  std::uint64_t slices() const noexcept { return slices_; }
  /** "async json MACT_ALL, read by 2, ended ok: ..." */
  std::string text() const;

  const Command command;
  Reader reader;
  std::shared_ptr<KorvoAgent::AnswerSocket> socket;
  KorvoAgent::JobId job = 0;
  bool awaiting = false;
  /** How long the request had taken when something was said of it last. */
  Qel::Duration heardAt{0};
  std::uint64_t timesHeard = 0;
  /** Of an asynchronous request's machine; read while the job has it only. */
  const Rendering::PrintBuffer* output = nullptr;

  // What it met with.
  Turn beginTurn = 0;
  /** When its first slice ran. */
  std::optional<Turn> firstSlice;
  bool readyAtBegin = true;
  bool objectsAtBegin = true;
  bool mayFail = false;  ///< it needs what is missing, and that is an error
  std::map<unsigned, std::string> chipsAtBegin;
  bool tableAway = false;  ///< its table counted as empty when it began
  bool disturbed = false;  ///< chips or the MAC table came or went meanwhile
  bool faulted = false;    ///< something threw while it was worked on
  bool rowFailed = false;  ///< in a slice, past which nothing may be printed
  bool cancelled = false;
  bool connectionFailed = false;

 private:
  struct Progress {
    std::uint64_t appended;
    Turn turn;
  };
  void note(std::uint64_t appended);

  Client(Command command, std::pair<KorvoAgent::FileDescriptor, KorvoAgent::FileDescriptor> ends,
         Reader::Habit habit, std::uint64_t seed, const Turn& now);

  const Turn& now_;
  std::vector<Progress> progress_;
  std::uint64_t slices_ = 0;
  std::optional<KorvoAgent::RequestEnd> end_;
  KorvoAgent::RequestFigures figures_;
  Turn endTurn_ = 0;
};

}  // namespace KorvoSimulation
