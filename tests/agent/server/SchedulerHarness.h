// A scheduler with a clock that the test moves and sockets that the test scripts.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/server/SliceScheduler.h"
#include "tests/agent/server/RowsMachine.h"
#include "tests/platform/rendering/ScriptedPort.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent {

/** A connection as the scheduler sees it. */
struct FakeOwner final : JobOwner {
  int awaits = 0;  // calls of awaitWritable that writable() has not answered yet
  std::size_t unreadBytes = 0;
  bool hearsOfProgress = false;
  bool failsToAwait = false;       // awaitWritable() throws
  bool failsToTellUnread = false;  // unread() throws
  std::vector<RequestFigures> progress;
  std::vector<std::pair<RequestEnd, RequestFigures>> ends;
  std::function<void()> onEnd;

  void awaitWritable() override {
    if (failsToAwait) throw std::runtime_error("the socket cannot be watched");
    ++awaits;
  }
  std::size_t unread() const override {
    if (failsToTellUnread) throw std::runtime_error("the socket does not say");
    return unreadBytes;
  }
  bool hearsProgress() const noexcept override { return hearsOfProgress; }
  void jobProgress(const RequestFigures& figures) noexcept override { progress.push_back(figures); }
  void jobEnded(const RequestEnd& end, const RequestFigures& figures) noexcept override {
    ends.emplace_back(end, figures);
    if (onEnd) onEnd();
  }

  bool ended() const { return !ends.empty(); }
  RequestStatus status() const { return ends.at(0).first.status; }
  const std::string& message() const { return ends.at(0).first.message; }
  const RequestFigures& figures() const { return ends.at(0).second; }
};

class SchedulerHarness : public testing::Test {
 protected:
  // The process's handler would wait for sockets that these tests do not have.
  void SetUp() override {
    handlerBefore_ =
        Rendering::PrintBuffer::undeliveredHandlerIs([](std::uint32_t, std::string_view) {});
  }
  void TearDown() override {
    Rendering::PrintBuffer::undeliveredHandlerIs(handlerBefore_);
    EXPECT_EQ(Qel::liveInstances("RowsMachine"), 0);
    EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
  }

  /** One request: who owns it, what its socket takes, and its number. */
  struct Client {
    std::shared_ptr<Rendering::PortScript> port = std::make_shared<Rendering::PortScript>();
    FakeOwner owner;
    JobId id = 0;
  };

  SliceScheduler& scheduler() {
    if (!scheduler_) scheduler_.emplace(clock, policy);
    return *scheduler_;
  }

  Qel::Ptr<Rendering::PrintBuffer> buffer(const Client& client,
                                          std::size_t size = std::size_t{64} * 1024) {
    return Qel::makePtr<Rendering::PrintBuffer>(
        std::make_unique<Rendering::ScriptedPort>(client.port), 0U, size,
        Rendering::PrintBuffer::kStream);
  }

  void begin(Client& client) {
    client.id = scheduler().begin({Entry::async, Rendering::kText, "ROWS"}, 1000, client.owner);
  }

  /** Starts whatever `make` makes of a request. */
  template <class Make>
  void startWith(Client& client, const Make& make) {
    begin(client);
    runWith(client, make);
  }

  /** The same for a request that was taken in before. */
  template <class Make>
  void runWith(Client& client, const Make& make) {
    const auto output = buffer(client);
    const auto request = Qel::makePtr<const AgentCommand::AgentCommandRequest>(
        "request", "ROWS", 0U, Rendering::kText,
        Qel::makePtr<Rendering::RendererV2>(Rendering::kText, output, false));
    scheduler().run(client.id, make(request), output);
  }

  /** Starts a dump of `rows` rows. */
  void start(Client& client, std::uint64_t rows, RowsMachine::Hook beforeRow = {}) {
    startWith(client, [&](const auto& request) {
      return Qel::makePtr<RowsMachine>(request, std::chrono::milliseconds(50), clock, rows,
                                       std::move(beforeRow));
    });
  }

  /** Queues a check of `rows` rows. */
  void queueCheck(Client& client, std::uint64_t rows, RowsMachine::Hook beforeRow = {}) {
    begin(client);
    scheduler().queueCheck(client.id, [this, &client, rows, beforeRow = std::move(beforeRow)] {
      runWith(client, [&](const auto& request) {
        return Qel::makePtr<RowsMachine>(request, std::chrono::milliseconds(50), clock, rows,
                                         beforeRow);
      });
    });
  }

  template <class Machine, class Argument>
  void startMachine(Client& client, const Argument& argument) {
    startWith(client,
              [&](const auto& request) { return Qel::makePtr<Machine>(request, clock, argument); });
  }

  /** Runs slices until none is runnable; returns how many ran. */
  int runAll() {
    int slices = 0;
    for (; scheduler().runnable(); ++slices) scheduler().runPiece();
    return slices;
  }

  /** The socket of `client` drains. */
  void drained(Client& client) {
    ASSERT_EQ(client.owner.awaits, 1);
    client.owner.awaits = 0;
    scheduler().writable(client.id);
  }

  /** Time passes, and the deadlines with it. */
  void pass(Qel::Duration time) {
    clock->advance(time);
    scheduler().deadlinesPassed(clock->now());
  }

  Qel::Ptr<Qel::ManualClock> clock = Qel::makePtr<Qel::ManualClock>();
  SchedulerPolicy policy;

 private:
  Rendering::PrintBuffer::UndeliveredHandler handlerBefore_;
  std::optional<SliceScheduler> scheduler_;
};

}  // namespace KorvoAgent
