#include "agent/server/CommandServer.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "agent/server/Events.h"
#include "agent/server/SocketEnd.h"

namespace KorvoAgent {

namespace {

// Clients whose time is up that are looked at in one turn: after a pause that may be all of them,
// each with a command to be answered.
constexpr int kTimeoutsPerTurn = 16;

// Clients over the limit that are being told so; more of them are told as far as that goes at once.
constexpr std::size_t kTurnedAwayPolitely = 32;

constexpr PlaceWords kOfConnections{
    .things = "connections",
    .ownAdvice = "close one of them and try again",
    .commonAdvice = "try again when others have left",
};

constexpr PlaceWords kOfUnreadAnswers{
    .things = "unread answers",
    .ownAdvice =
        "read one to its end, or end one (\"agent text requests\" lists them, \"agent text "
        "cancel N\" ends one)",
    .commonAdvice = "try again when others have been read",
};

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
          Rendering::PrintBuffer::undeliveredHandlerIs([](std::uint32_t, std::string_view) {})),
      places_(policy_.connections, policy_.access, kOfConnections),
      unreadAnswers_(policy_.unreadAnswers, policy_.access, kOfUnreadAnswers) {
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
  listener_.emplace(loop_, socket_->get(), [this](FileDescriptor connection) {
    Peer peer = policy_.peerOf(connection.get());
    return connectionIs(std::move(connection), std::move(peer));
  });
}

void CommandServer::shutDown(const std::string& reason) {
  listener_.reset();
  socket_.reset();
  scheduler_.endAll({RequestStatus::cancelled, reason});
  while (!connections_.empty()) connections_.begin()->second->close();
}

bool CommandServer::connectionIs(FileDescriptor connection, Peer peer) {
  const std::optional<std::string> refusal = places_.refusal(peer.user);
  // Connections without a place are those of clients that are being told so.
  if (refusal && connections_.size() - places_.numTaken() >= kTurnedAwayPolitely) {
    sayToClient(connection.get(), refusalLine(*refusal));
    endInput(connection.get());
    return false;
  }
  const std::uint64_t id = ++lastConnection_;
  UserPlace place = places_.take(peer.user);
  Connection& added =
      *connections_
           .emplace(id, std::make_unique<Connection>(*this, id, std::move(connection),
                                                     std::move(peer), std::move(place)))
           .first->second;
  if (refusal) {
    added.turnAway(*refusal);
  } else {
    added.serve();
  }
  return true;
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
  for (int i = 0; i < kTimeoutsPerTurn; ++i) {
    const std::optional<std::uint64_t> id = timeouts_.takePassed(now);
    if (!id) break;
    const auto it = connections_.find(*id);
    if (it != connections_.end()) it->second->timedOut();
  }
  if (listener_ && listener_->retryAt() && *listener_->retryAt() <= now) listener_->retry();
}

}  // namespace KorvoAgent
