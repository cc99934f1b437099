#include "tests/simulation/Simulation.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <new>
#include <set>
#include <stdexcept>

#include "KorvoL2/KorvoL2CliCallbacks.h"
#include "platform/base/Tracked.h"
#include "tests/simulation/Commands.h"
#include "tests/simulation/FailingAllocation.h"
#include "tests/simulation/SmallSendBuffers.h"

namespace KorvoSimulation {

using namespace std::chrono_literals;
using KorvoAgent::Entry;
using KorvoAgent::RequestStatus;

namespace {

bool takesMore(int socket) {
  pollfd state{.fd = socket, .events = POLLOUT, .revents = 0};
  return ::poll(&state, 1, 0) == 1;
}

template <class T, std::size_t N>
T oneOf(SeededRandom& random, const T (&choices)[N]) {
  return choices[random.below(N)];
}

/** For a person who has asked for it: all that was received. */
std::string answerText(const Client& client) {
  if (std::getenv("KORVO_SIMULATION_ANSWERS") == nullptr) return {};
  return "\nanswer:\n" + client.reader.received();
}

/** Objects of the classes that belong to requests. */
std::map<std::string_view, std::int64_t> requestObjects() {
  std::map<std::string_view, std::int64_t> counts;
  for (const Qel::LiveInstances& each : Qel::liveInstances()) {
    if (each.count != 0 && (each.className.find("Request") != std::string_view::npos ||
                            each.className.find("MacEntry") != std::string_view::npos)) {
      counts[each.className] = each.count;
    }
  }
  return counts;
}

std::map<std::string_view, std::int64_t> allObjects() {
  std::map<std::string_view, std::int64_t> counts;
  for (const Qel::LiveInstances& each : Qel::liveInstances()) {
    if (each.count != 0) counts[each.className] = each.count;
  }
  return counts;
}

void requireNoneLeft(const std::map<std::string_view, std::int64_t>& before,
                     const std::map<std::string_view, std::int64_t>& after) {
  for (const auto& [name, count] : after) {
    const auto found = before.find(name);
    const std::int64_t had = found == before.end() ? 0 : found->second;
    require(count == had,
            std::to_string(count - had) + " objects of " + std::string(name) + " are left behind");
  }
}

}  // namespace

void Tally::endedWith(RequestStatus status) {
  switch (status) {
    case RequestStatus::ok:
      ++endedOk;
      break;
    case RequestStatus::notReady:
      ++endedNotReady;
      break;
    case RequestStatus::noHandler:
      ++endedNoHandler;
      break;
    case RequestStatus::cancelled:
      ++endedCancelled;
      break;
    case RequestStatus::clientGone:
      ++endedClientGone;
      break;
    case RequestStatus::error:
    case RequestStatus::refused:
      ++endedError;
      break;
  }
}

Simulation::Simulation(std::uint64_t seed, Tally& tally)
    : tally_(tally),
      random_(seed),
      world_(random_.next(), clock_),
      callbacks_{KorvoL2::cliCallbackFactory("simulation"),
                 KorvoL2::cliCallbackWithFormatFactory("simulation")},
      entries_(callbacks_),
      policy_{.slice = {.outputWindow = oneOf<std::size_t>(random_, {1, 500, 4000, 262144}),
                        .rowBudget = oneOf<std::uint32_t>(random_, {0, 0, 1, 2, 7}),
                        .silentBudget = oneOf<std::uint32_t>(random_, {1, 5, 16384})},
              .clientTimeout = 5s},
      allowance_{.perReading = oneOf<Qel::Duration>(random_, {0ns, 1us, 100us, 3ms}),
                 .rowCost = oneOf<Qel::Duration>(random_, {0ns, 0ns, 1ms, 80ms})},
      scheduler_(clock_, policy_) {
  clock_->nowIs(1h);
  clock_->perReadingIs(allowance_.perReading);
  world_.faults().rowCostIs(allowance_.rowCost);
  if (random_.onceIn(3)) {
    world_.faults().ratesAre(oneOf<std::uint64_t>(random_, {0, 20, 200}),
                             oneOf<std::uint64_t>(random_, {0, 50, 500}));
  }
  changeOneIn_ = oneOf<std::uint64_t>(random_, {0, 1, 2, 10});
  allocationOneIn_ = random_.onceIn(3) ? oneOf<std::uint64_t>(random_, {3, 20}) : 0;
  clockJumps_ = random_.onceIn(4);
  stops_ = random_.onceIn(4);
  sendBufferSizeIs(oneOf<int>(random_, {1, 1, 16'000, 200'000}));
}

void Simulation::run() {
  const auto objectsBefore = requestObjects();
  const std::uint64_t requests = 3 + random_.below(12);
  const std::uint64_t spacing = oneOf<std::uint64_t>(random_, {1, 10, 60});
  for (std::uint64_t begun = 0; begun < requests;) {
    turn(false);
    if (!random_.onceIn(spacing)) continue;
    ++begun;
    const auto habit = static_cast<Reader::Habit>(
        random_.below(static_cast<std::uint64_t>(Reader::Habit::numHabits)));
    begin(anyCommand(random_, world_.chips()), habit);
  }
  for (std::uint64_t i = random_.below(200); i != 0; --i) turn(false);
  drain();
  compareFormats();
  drain();
  requireNoneLeft(objectsBefore, requestObjects());
  tally_.exceptions += world_.faults().numThrown();
}

void Simulation::turn(bool hurried) {
  ++now_;
  ++tally_.turns;
  if (changeOneIn_ != 0 && random_.onceIn(changeOneIn_)) {
    const std::uint64_t upheavals = world_.upheavals();
    world_.change(now_);
    ++tally_.tableChanges;
    if (world_.upheavals() != upheavals) {
      for (const auto& client : clients_) client->disturbed = true;
    }
  }
  if (changeOneIn_ != 0) world_.churn(now_);
  callbacks_.plain->l2AgentIs(world_.agent());
  callbacks_.formatted->l2AgentIs(world_.agent());
  runPieces();
  serveSockets(hurried);
  passTime(hurried);
  if (stops_ && random_.onceIn(100)) stopForAWhile();
  expire();
  collectEnded();
}

Client& Simulation::begin(Command command, Reader::Habit habit) {
  ++tally_.requests;
  clients_.push_back(std::make_unique<Client>(std::move(command), habit, random_.next(), now_));
  Client& client = *clients_.back();
  callbacks_.plain->l2AgentIs(world_.agent());
  callbacks_.formatted->l2AgentIs(world_.agent());
  client.readyAtBegin = world_.ready();
  client.objectsAtBegin = world_.hasObjectsFor(client.command.keyword);
  client.mayFail = world_.failsWithoutMulticast(client.command.keyword);
  client.chipsAtBegin = world_.chips();
  client.tableAway = world_.tableIsAway(client.command.keyword);
  enter(client);
  return client;
}

void Simulation::enter(Client& client) {
  client.job = scheduler_.begin(client.command.line, ::getuid(), client);
  const std::uint64_t thrown = world_.faults().numThrown();
  {
    const FailingAllocation failing(allocationToFail());
    try {
      client.command.isAsync() ? startInSlices(client) : answerAtOnce(client);
    } catch (const std::bad_alloc&) {
      failConnection(client);
    }
    if (failing.fired()) {
      client.faulted = true;
      ++tally_.allocationFailures;
    }
  }
  if (world_.faults().numThrown() != thrown) client.faulted = true;
  client.observe(scheduler_);
}

// As a connection does, and the event loop for it.
void Simulation::answerAtOnce(Client& client) {
  KorvoAgent::CommandEntries::Answered answered =
      entries_.answer(client.command.line, client.socket->get());
  if (answered.end.status == RequestStatus::ok && client.socket->peerGone()) {
    answered.end = {RequestStatus::clientGone, "the answer's reader has gone"};
  }
  const auto output = answerBuffer(client.socket, Rendering::PrintBuffer::kHold);
  output->append(answered.left);
  scheduler_.drain(client.job, output, std::move(answered.end), answered.sent, 0ns);
}

void Simulation::startInSlices(Client& client) {
  KorvoAgent::CommandEntries::Started started =
      entries_.start(client.job, client.command.line, client.socket);
  if (started.machine == nullptr) {
    scheduler_.end(client.job, started.end);
    return;
  }
  client.output = started.output.get();
  scheduler_.run(client.job, std::move(started.machine), std::move(started.output));
}

void Simulation::failConnection(Client& client) {
  const AllocationPause pause;
  client.connectionFailed = true;
  client.output = nullptr;
  client.socket->close();
  scheduler_.end(client.job, {RequestStatus::error, "the connection failed"});
}

std::uint64_t Simulation::allocationToFail() {
  constexpr std::uint64_t kFarthest = 30;
  return allocationOneIn_ != 0 && random_.onceIn(allocationOneIn_) ? 1 + random_.below(kFarthest)
                                                                   : 0;
}

void Simulation::runPieces() {
  runScheduler();
  KorvoAgent::HwTableReader& reader = world_.hardware().reader();
  if (reader.runnable()) reader.runPiece();
  KorvoAgent::HwProgrammer& programmer = world_.hardware().programmer();
  if (programmer.runnable()) programmer.runPiece();
}

void Simulation::runScheduler() {
  if (!scheduler_.runnable()) return;
  std::vector<std::uint64_t> slices;
  for (const auto& client : clients_) slices.push_back(client->slices());
  const std::uint64_t thrown = world_.faults().numThrown();
  bool allocationFailed = false;
  {
    const FailingAllocation failing(allocationToFail());
    try {
      scheduler_.runPiece();
    } catch (const std::bad_alloc&) {
      // The event loop goes on as well.
    }
    allocationFailed = failing.fired();
  }
  if (allocationFailed) ++tally_.allocationFailures;
  for (std::size_t i = 0; i < clients_.size(); ++i) {
    Client& client = *clients_[i];
    client.observe(scheduler_);
    if (client.slices() == slices[i]) continue;
    ++tally_.slices;
    if (allocationFailed) client.faulted = true;
    if (world_.faults().numThrown() != thrown) client.faulted = client.rowFailed = true;
  }
}

void Simulation::serveSockets(bool hurried) {
  for (const auto& each : clients_) {
    Client& client = *each;
    client.reader.act(hurried);
    if (client.ended()) continue;
    if (client.awaiting && takesMore(client.socket->get())) {
      client.awaiting = false;
      const FailingAllocation failing(allocationToFail());
      try {
        scheduler_.writable(client.job);
      } catch (const std::bad_alloc&) {
        failConnection(client);
      }
      if (failing.fired()) {
        client.faulted = true;
        ++tally_.allocationFailures;
      }
    }
    if (client.ended()) continue;
    // A hang-up may be heard of at once, or only when the next send fails.
    if (random_.onceIn(8) && client.socket->peerGone()) {
      scheduler_.end(client.job, {RequestStatus::clientGone, "the answer's reader has gone"});
    } else if (random_.onceIn(4000)) {
      client.cancelled = true;
      scheduler_.end(client.job, {RequestStatus::cancelled, "by another request"});
    }
  }
}

void Simulation::passTime(bool hurried) {
  clock_->advance(Qel::Duration(static_cast<std::int64_t>(random_.below(3'000'000))));
  if (hurried) clock_->advance(20ms);
  if (clockJumps_ && random_.onceIn(100)) {
    ++tally_.clockJumps;
    const auto by = Qel::Duration(static_cast<std::int64_t>(random_.below(3'000'000'000)));
    clock_->advance(random_.onceIn(2) ? by : -by);
  }
}

// Longer than any deadline is away. Readers go on with what lies in their sockets; the first thing
// that the agent looks at afterwards is the time.
void Simulation::stopForAWhile() {
  ++tally_.stops;
  for (const auto& client : clients_) client->reader.act(true);
  clock_->advance(policy_.clientTimeout + Qel::Duration(1s) * random_.below(10));
}

void Simulation::expire() {
  const Qel::Duration now = clock_->now();
  KorvoAgent::LoopClient* const workers[] = {&scheduler_, &world_.hardware().reader(),
                                             &world_.hardware().programmer()};
  for (KorvoAgent::LoopClient* const worker : workers) {
    const std::optional<Qel::Duration> deadline = worker->nextDeadline();
    if (!deadline || *deadline > now) continue;
    const FailingAllocation failing(worker == &scheduler_ ? allocationToFail() : 0);
    try {
      worker->deadlinesPassed(now);
    } catch (const std::bad_alloc&) {
      // The event loop goes on as well.
    }
    if (failing.fired()) {
      ++tally_.allocationFailures;
      for (const auto& client : clients_) client->faulted = true;
    }
  }
  for (const auto& client : clients_) {
    if (client->ended()) continue;
    const KorvoAgent::RequestFigures figures = scheduler_.jobs().at(client->job).figures(now);
    require(figures.elapsed - client->heardAt < 5s, client->text() + ": nothing is said of it");
  }
}

// Requests that have ended are judged when their reader has read what there was.
void Simulation::collectEnded() {
  std::erase_if(clients_, [this](const std::unique_ptr<Client>& client) {
    if (!client->ended()) return false;
    client->reader.finish();
    tally_.endedWith(client->end().status);
    tally_.progressEvents += client->timesHeard;
    try {
      judge(*client, world_, allowance_);
      if (client->command.isAsync() && client->command.wellFormed && rowsAreWhole(*client)) {
        ++tally_.dumps;
        tally_.rows += rowsOf(*client).size();
      }
    } catch (const std::runtime_error& e) {
      throw std::runtime_error(client->text() + ": " + e.what() + answerText(*client));
    }
    return true;
  });
}

std::uint64_t Simulation::turnsAllowed() const {
  // A row a slice, a slice a turn, each chip's rows anew; and bytes that are read a few at a time.
  constexpr std::uint64_t kChips = 6;
  constexpr std::uint64_t kForOtherThings = 20'000;
  return kForOtherThings + (clients_.size() + 1) * (world_.maxRows() + 100) * kChips;
}

// Everybody reads on; every request comes to its end, though tables go on changing.
void Simulation::drain() {
  const std::uint64_t allowed = turnsAllowed();
  for (std::uint64_t turns = 0; !clients_.empty(); ++turns) {
    if (turns > allowed) throw std::runtime_error(clients_.front()->text() + ": it is stuck");
    turn(true);
  }
  require(scheduler_.jobs().empty(), "a job is left");
  require(!scheduler_.runnable(), "something is runnable that is not there");
  for (int turns = 0; world_.hardware().reader().runnable() ||
                      world_.hardware().reader().nextDeadline().has_value();
       ++turns) {
    require(turns < 100'000, "the table reader does not come to rest");
    turn(true);
  }
}

// Nothing changes any more: each dump in text and in JSON shows the same rows.
void Simulation::compareFormats() {
  changeOneIn_ = 0;
  allocationOneIn_ = 0;
  stops_ = false;
  world_.faults().ratesAre(0, 0);
  world_.settle(++now_);
  while (world_.hardware().programmer().numDue() != 0) turn(true);
  for (const std::string_view keyword : kAsyncKeywords) {
    if (namesChips(keyword) && world_.chips().empty()) continue;
    const bool detail = random_.onceIn(2);
    std::vector<AnswerRow> rows[2];
    for (const auto format : {Rendering::kText, Rendering::kJson}) {
      begin(dumpCommand(keyword, format, detail, world_.chips()), Reader::Habit::eager);
      const auto client = std::move(clients_.back());
      clients_.pop_back();
      for (std::uint64_t turns = 0; !client->ended(); ++turns) {
        require(turns < turnsAllowed(), client->text() + ": it is stuck, with nobody else there");
        turn(true);
        client->observe(scheduler_);
        client->reader.act(true);
        if (client->awaiting && takesMore(client->socket->get())) {
          client->awaiting = false;
          scheduler_.writable(client->job);
        }
      }
      client->reader.finish();
      tally_.endedWith(client->end().status);
      try {
        judge(*client, world_, allowance_);
        require(rowsAreWhole(*client), "not ok in a settled world");
        std::vector<AnswerRow>& found = rows[format == Rendering::kJson ? 1 : 0];
        found = rowsOf(*client);
        ++tally_.dumps;
        tally_.rows += found.size();
        if (isCheck(keyword)) dropRepeated(found);
      } catch (const std::runtime_error& e) {
        throw std::runtime_error(client->text() + ": " + e.what() + answerText(*client));
      }
    }
    if (keyword.ends_with("XLATE_STATUS")) continue;
    require(std::ranges::equal(rows[0], rows[1],
                               [](const AnswerRow& a, const AnswerRow& b) { return a.sameAs(b); }),
            std::string(keyword) + ": " + std::to_string(rows[0].size()) + " rows in text, " +
                std::to_string(rows[1].size()) + " in JSON, or others");
  }
}

void simulate(std::uint64_t seed, Tally& tally) {
  const auto before = allObjects();
  {
    Simulation simulation(seed, tally);
    simulation.run();
  }
  requireNoneLeft(before, allObjects());
  ++tally.seeds;
}

}  // namespace KorvoSimulation
