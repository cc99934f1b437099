#include "agent/server/CommandServer.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace KorvoAgent {

namespace {

// Clients over the limit that are being told so; more of them are told as far as that goes at once.
constexpr std::size_t kTurnedAwayPolitely = 32;

}  // namespace

CommandServer::CommandServer(EventLoop& loop, Qel::Ptr<const Qel::Clock> clock,
                             const ServerPolicy& policy, CommandCallbacks callbacks,
                             AgentFacts facts)
    : loop_(loop),
      clock_(std::move(clock)),
      policy_(policy),
      scheduler_(clock_, policy_.scheduler),
      entries_(std::move(callbacks)),
      questions_(std::move(facts), scheduler_, policy_.access, [this] { return numConnections(); }),
      // Outside a callback's call only the text of requests that were ended is left over.
      handlerBefore_(
          Rendering::PrintBuffer::undeliveredHandlerIs([](std::uint32_t, std::string_view) {})) {
  loop_.add(scheduler_);
  loop_.add(*this);
}

CommandServer::~CommandServer() {
  shutDown("the agent ends");
  closed_.clear();
  loop_.remove(*this);
  loop_.remove(scheduler_);
  Rendering::PrintBuffer::undeliveredHandlerIs(std::move(handlerBefore_));
}

void CommandServer::listen(const std::string& path) {
  socket_.emplace(path, policy_.socketGroup);
  listener_.emplace(loop_, socket_->get(), [this](FileDescriptor connection, Peer peer) {
    connectionIs(std::move(connection), std::move(peer));
  });
}

void CommandServer::shutDown(const std::string& reason) {
  listener_.reset();
  socket_.reset();
  scheduler_.endAll({RequestStatus::cancelled, reason});
  while (!connections_.empty()) connections_.begin()->second->close();
}

void CommandServer::connectionIs(FileDescriptor connection, Peer peer) {
  const bool tooMany = numConnections() >= policy_.maxConnections;
  const std::string reason =
      fmt::format("the agent has {} connections, which is the limit", policy_.maxConnections);
  if (numConnections() >= policy_.maxConnections + kTurnedAwayPolitely) {
    sayToClient(connection.get(), fmt::format("refused: {}\n", reason));
    return;
  }
  const std::uint64_t id = ++lastConnection_;
  const auto made = connections_.emplace(
      id, std::make_unique<Connection>(*this, id, std::move(connection), std::move(peer)));
  Connection& added = *made.first->second;
  if (tooMany) {
    added.turnAway(reason);
  } else {
    added.serve();
  }
}

void CommandServer::timeoutIs(Connection& connection, Qel::Duration wait) {
  timeouts_.set(connection.id(), clock_->now() + wait);
}

void CommandServer::timeoutDel(Connection& connection) { timeouts_.erase(connection.id()); }

void CommandServer::closed(Connection& connection) noexcept {
  timeouts_.erase(connection.id());
  closed_.insert(connections_.extract(connection.id()));
}

std::optional<Qel::Duration> CommandServer::nextDeadline() const {
  std::optional<Qel::Duration> next = timeouts_.next();
  const std::optional<Qel::Duration> retry = listener_ ? listener_->retryAt() : std::nullopt;
  if (retry && (!next || *retry < *next)) next = retry;
  return next;
}

void CommandServer::deadlinesPassed(Qel::Duration now) {
  while (const std::optional<std::uint64_t> id = timeouts_.takePassed(now)) {
    const auto it = connections_.find(*id);
    if (it != connections_.end()) it->second->timedOut();
  }
  if (listener_ && listener_->retryAt() && *listener_->retryAt() <= now) listener_->retry();
}

}  // namespace KorvoAgent
