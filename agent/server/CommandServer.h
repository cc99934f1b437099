// The command server: listens, keeps the connections, and ties them to the scheduler.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "agent/server/Connection.h"
#include "agent/server/Listener.h"
#include "agent/server/ListeningSocket.h"
#include "agent/server/UserPlaces.h"

namespace KorvoAgent {

struct ServerPolicy {
  SchedulerPolicy scheduler;
  ConnectionLimits connection;
  PlaceLimits connections = kConnectionPlaces;
  PlaceLimits unreadAnswers = kUnreadPlaces;
  AccessPolicy access = AccessPolicy::ofThisProcess(std::nullopt);
  std::optional<Group> socketGroup;  ///< nothing: the one that the file gets by itself
  /** Tells who is at the other end of a connection that came in. */
  std::function<Peer(int connection)> peerOf = &KorvoAgent::peerOf;
};

class CommandServer final : public ConnectionHost, public LoopClient {
 public:
  CommandServer(EventLoop& loop, Qel::Ptr<const Qel::Clock> clock, const ServerPolicy& policy,
                CommandCallbacks callbacks, AgentFacts facts);
  ~CommandServer() override;
  CommandServer(const CommandServer&) = delete;
  CommandServer& operator=(const CommandServer&) = delete;

  /** Takes connections at `path` from now on. Throws ListenError. */
  void listen(const std::string& path);
  /** Ends every request with `cancelled`, closes every connection and removes the socket. */
  void shutDown(const std::string& reason);
  /**
   * Takes in one connection, as the listener does. False when its client was told at once that
   * there is no place for it.
   */
  bool connectionIs(FileDescriptor connection, Peer peer);
  std::size_t numConnections() const noexcept { return connections_.size(); }

  EventLoop& loop() noexcept override { return loop_; }
  SliceScheduler& scheduler() noexcept override { return scheduler_; }
  CommandEntries& entries() noexcept override { return entries_; }
  AgentQuestions& questions() noexcept override { return questions_; }
  UserPlaces& unreadAnswers() noexcept override { return unreadAnswers_; }
  const ConnectionLimits& limits() const noexcept override { return policy_.connection; }
  const AccessPolicy& access() const noexcept override { return policy_.access; }
  void timeoutIs(Connection& connection, Qel::Duration wait) override;
  void timeoutDel(Connection& connection) override;
  void closed(Connection& connection) noexcept override;

  // Destroys what has closed, and times connections out.
  bool runnable() const override { return !closed_.empty(); }
  void runPiece() override { closed_.clear(); }
  std::optional<Qel::Duration> nextDeadline() const override;
  void deadlinesPassed(Qel::Duration now) override;

 private:
  EventLoop& loop_;
  Qel::Ptr<const Qel::Clock> clock_;
  ServerPolicy policy_;
  SliceScheduler scheduler_;
  CommandEntries entries_;
  AgentQuestions questions_;
  Rendering::PrintBuffer::UndeliveredHandler handlerBefore_;

  std::optional<ListeningSocket> socket_;
  std::optional<Listener> listener_;
  UserPlaces places_;
  UserPlaces unreadAnswers_;
  std::map<std::uint64_t, std::unique_ptr<Connection>> connections_;
  std::map<std::uint64_t, std::unique_ptr<Connection>> closed_;
  DeadlineQueue<std::uint64_t> timeouts_;
  std::uint64_t lastConnection_ = 0;
};

}  // namespace KorvoAgent
