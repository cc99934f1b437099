// One simulated life of an agent: commands, readers, tables and faults as a seed has them.
//
// Real are the scheduler, the command entries with both callbacks and every request state machine,
// the switch model, its chips with their programmer and reader, and the churn. Simulated are time
// (a clock that is moved, and moves with each reading), the peers (at the far ends of socket pairs)
// and the event loop: a turn changes tables, runs one piece of each of the agent's workers, lets
// readers read, and looks at sockets and deadlines. Now and then the whole agent is stopped for a
// while, as by a signal.
//
// What is checked is written in Verdict.h.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "agent/server/CommandEntries.h"
#include "agent/server/SliceScheduler.h"
#include "tests/simulation/Client.h"
#include "tests/simulation/Verdict.h"
#include "tests/simulation/World.h"
#include "tests/support/ManualClock.h"

namespace KorvoSimulation {

/** What happened in one life, or in many. */
struct Tally {
  std::uint64_t seeds = 0;
  std::uint64_t turns = 0;
  std::uint64_t slices = 0;
  std::uint64_t requests = 0;
  std::uint64_t dumps = 0;  ///< those that were held against the model, with their rows
  std::uint64_t rows = 0;
  std::uint64_t exceptions = 0;
  std::uint64_t allocationFailures = 0;
  std::uint64_t clockJumps = 0;
  std::uint64_t stops = 0;
  std::uint64_t progressEvents = 0;
  std::uint64_t tableChanges = 0;
  std::uint64_t endedOk = 0;
  std::uint64_t endedNotReady = 0;
  std::uint64_t endedNoHandler = 0;
  std::uint64_t endedError = 0;
  std::uint64_t endedCancelled = 0;
  std::uint64_t endedClientGone = 0;

  void endedWith(KorvoAgent::RequestStatus status);
};

class Simulation {
 public:
  Simulation(std::uint64_t seed, Tally& tally);

  /** Throws std::runtime_error, saying what, when a rule is broken. */
  void run();

 private:
  struct Habits;

  void turn(bool hurried);
  Client& begin(Command command, Reader::Habit habit);
  void enter(Client& client);
  void answerAtOnce(Client& client);
  void startInSlices(Client& client);
  void failConnection(Client& client);
  void runPieces();
  void runScheduler();
  void serveSockets(bool hurried);
  void passTime(bool hurried);
  void stopForAWhile();
  void expire();
  void drain();
  void compareFormats();
  void collectEnded();
  std::uint64_t allocationToFail();
  std::uint64_t turnsAllowed() const;

  Tally& tally_;
  SeededRandom random_;
  Turn now_ = 1;
  Qel::Ptr<Qel::ManualClock> clock_ = Qel::makePtr<Qel::ManualClock>();
  World world_;
  KorvoAgent::CommandCallbacks callbacks_;
  KorvoAgent::CommandEntries entries_;
  KorvoAgent::SchedulerPolicy policy_;
  SliceAllowance allowance_;
  KorvoAgent::SliceScheduler scheduler_;
  std::vector<std::unique_ptr<Client>> clients_;
  std::uint64_t changeOneIn_ = 0;      // turns in which tables change; 0 is none
  std::uint64_t allocationOneIn_ = 0;  // pieces in which an allocation fails; 0 is none
  bool clockJumps_ = false;
  bool stops_ = false;
};

/**
 * Runs the life of `seed`, and checks besides that it left no tracked object behind. Throws
 * std::runtime_error when a rule is broken.
 */
void simulate(std::uint64_t seed, Tally& tally);

}  // namespace KorvoSimulation
