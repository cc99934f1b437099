// Random requests on random sockets: whatever readers do, each request ends exactly once, with the
// whole answer or the right reason, and nothing is left over.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/agent/server/SchedulerHarness.h"

namespace KorvoAgent {
namespace {

struct Plan {
  int rows = 0;
  int throwsAt = 0;          // often a row that is never reached
  std::vector<int> answers;  // bytes that the socket takes; -1: its peer is gone
};

std::ostream& operator<<(std::ostream& out, const Plan& plan) {
  out << "{rows " << plan.rows << ", throws at " << plan.throwsAt << ", takes";
  for (const int answer : plan.answers) out << ' ' << answer;
  return out << '}';
}

class SliceSchedulerProperty : public SchedulerHarness {};

rc::Gen<Plan> plans() {
  const auto answer = rc::gen::weightedOneOf<int>(
      {{8, rc::gen::inRange(0, 200)}, {4, rc::gen::just(0)}, {1, rc::gen::just(-1)}});
  return rc::gen::build<Plan>(
      rc::gen::set(&Plan::rows, rc::gen::inRange(0, 40)),
      rc::gen::set(&Plan::throwsAt, rc::gen::inRange(0, 120)),
      rc::gen::set(&Plan::answers, rc::gen::container<std::vector<int>>(answer)));
}

RC_GTEST_FIXTURE_PROP(SliceSchedulerProperty, EveryRequestEndsOnceAndAsItsReaderDeserves, ()) {
  const auto before =
      Rendering::PrintBuffer::undeliveredHandlerIs([](std::uint32_t, std::string_view) {});
  policy.slice.rowBudget = *rc::gen::inRange<std::uint32_t>(0, 5);
  policy.slice.outputWindow = static_cast<std::size_t>(*rc::gen::inRange(1, 400));
  const auto requests = *rc::gen::container<std::vector<Plan>>(plans());

  std::vector<std::unique_ptr<Client>> clients;
  for (const Plan& plan : requests) {
    auto client = std::make_unique<Client>();
    client->port->answers.assign(plan.answers.begin(), plan.answers.end());
    start(*client, static_cast<std::uint64_t>(plan.rows), [&plan](std::uint64_t row) {
      if (static_cast<int>(row) == plan.throwsAt) throw std::runtime_error("no");
    });
    clients.push_back(std::move(client));
  }

  // One slice at a time, sockets that drain in between, and now and then a cancelled request.
  std::vector<bool> cancelled(clients.size());
  std::size_t steps = 0;
  const auto anyLeft = [&] { return !scheduler().jobs().empty(); };
  while (anyLeft()) {
    RC_ASSERT(++steps < 100'000U);
    bool moved = scheduler().runnable();
    scheduler().runPiece();
    for (const auto& client : clients) {
      RC_ASSERT(client->owner.awaits <= 1);
      if (client->owner.awaits == 1 && *rc::gen::inRange(0, 3) == 0) {
        client->owner.awaits = 0;
        scheduler().writable(client->id);
        moved = true;
      }
    }
    if (!clients.empty() && *rc::gen::inRange(0, 50) == 0) {
      const auto i = *rc::gen::inRange<std::size_t>(0, clients.size());
      cancelled[i] = cancelled[i] || !clients[i]->owner.ended();
      scheduler().end(clients[i]->id, {RequestStatus::cancelled, ""});
    }
    // Nothing stands still: what is not runnable waits for its socket.
    if (!moved && !scheduler().runnable()) {
      RC_ASSERT(std::ranges::all_of(
          clients, [](const auto& c) { return c->owner.ended() || c->owner.awaits == 1; }));
    }
  }

  for (std::size_t i = 0; i < clients.size(); ++i) {
    const Plan& plan = requests[i];
    const Client& client = *clients[i];
    RC_ASSERT(client.owner.ends.size() == 1U);
    const std::string whole = rowsText(static_cast<std::uint64_t>(plan.rows));
    RC_ASSERT(whole.starts_with(client.port->taken));
    RC_ASSERT(client.owner.figures().bytes <= client.port->taken.size());
    switch (client.owner.status()) {
      case RequestStatus::ok:
        RC_ASSERT(client.port->taken == whole);
        RC_ASSERT(client.owner.figures().bytes == whole.size());
        RC_ASSERT(client.owner.figures().rows == static_cast<std::uint64_t>(plan.rows));
        break;
      case RequestStatus::error:
        RC_ASSERT(plan.throwsAt < plan.rows);
        break;
      case RequestStatus::clientGone:
        RC_ASSERT(std::ranges::count(plan.answers, -1) > 0);
        break;
      case RequestStatus::cancelled:
        RC_ASSERT(cancelled[i]);
        break;
      default:
        RC_FAIL("unexpected status");
    }
  }
  RC_ASSERT(Qel::liveInstances("RowsMachine") == 0);
  RC_ASSERT(!scheduler().runnable());
  RC_ASSERT(!scheduler().nextDeadline());
  Rendering::PrintBuffer::undeliveredHandlerIs(before);
}

}  // namespace
}  // namespace KorvoAgent
