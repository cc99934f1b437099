// One client: its request line, its request, its events.
//
//   reading --line--> working --job ended--> closing --all said--> (lingering) --> closed
//      '----------- refused -------------------^
//
// Without a descriptor the answer goes to the connection itself, raw, and nothing else is said
// there. With one, the answer goes to that descriptor and the connection carries events.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "agent/server/Access.h"
#include "agent/server/AgentQuestions.h"
#include "agent/server/AnswerSocket.h"
#include "agent/server/CommandEntries.h"
#include "agent/server/ControlReader.h"
#include "agent/server/EventLoop.h"
#include "agent/server/SliceScheduler.h"
#include "agent/server/UserPlaces.h"

namespace KorvoAgent {

class Connection;

struct ConnectionLimits {
  /** How long a client may take to send its line. */
  Qel::Duration lineTimeout = std::chrono::seconds(10);
  /** How long a client may leave its last event unread. */
  Qel::Duration closingTimeout = std::chrono::seconds(60);
  /** Requests of one user at a time; questions to the agent are none. */
  std::size_t requestsPerUser = 512;
};

/** What a connection uses of the server that it belongs to. */
class ConnectionHost {
 public:
  virtual ~ConnectionHost() = default;
  virtual EventLoop& loop() noexcept = 0;
  virtual SliceScheduler& scheduler() noexcept = 0;
  virtual CommandEntries& entries() noexcept = 0;
  virtual AgentQuestions& questions() noexcept = 0;
  virtual UserPlaces& unreadAnswers() noexcept = 0;
  virtual const ConnectionLimits& limits() const noexcept = 0;
  virtual const AccessPolicy& access() const noexcept = 0;
  /** Calls the connection's timedOut() after `wait`, in place of an earlier wish. */
  virtual void timeoutIs(Connection& connection, Qel::Duration wait) = 0;
  virtual void timeoutDel(Connection& connection) = 0;
  /** The connection is over; the host destroys it later, not within this call. */
  virtual void closed(Connection& connection) noexcept = 0;
};

class Connection final : public JobOwner {
 public:
  /**
   * `control` is the accepted socket, `peer` who is at its other end, `place` the one that it
   * takes while it is open; none where it is only to be turned away.
   */
  Connection(ConnectionHost& host, std::uint64_t id, FileDescriptor control, Peer peer,
             UserPlace place);
  ~Connection() override;

  std::uint64_t id() const noexcept { return id_; }
  /** Reads the request line from now on. */
  void serve() noexcept;
  /** Says why no request is taken from this client, and closes. */
  void turnAway(std::string_view reason) noexcept;
  void timedOut() noexcept;
  /** Closes at once, whatever is unsaid. */
  void close() noexcept;

  void awaitWritable() override;
  std::size_t unread() const override { return answer_->unread(); }
  bool hearsProgress() const noexcept override { return hasEvents(); }
  void jobProgress(const RequestFigures& figures) noexcept override;
  void jobEnded(const RequestEnd& end, const RequestFigures& figures) noexcept override;

 private:
  enum class State : std::uint8_t { reading, working, closing, lingering, closed };

  template <class Function>
  void guard(const Function& function) noexcept;
  template <class Function>
  std::function<void()> guarded(Function function);
  bool hasEvents() const noexcept { return answer_ != control_; }

  void awaitLine();
  void readLine();
  void takeLine();
  void refuse(std::string message);
  void work(const RequestLine& request);
  void answerAtOnce(const RequestLine& request);
  void answerQuestion(const RequestLine& request);
  void startInSlices();
  std::optional<std::string> overLimit() const;
  void watchHangups();
  void controlHungUp();
  void answerHungUp();

  void say(std::string_view text);
  void finish();
  void linger();
  void awaitHangingUp();

  ConnectionHost& host_;
  std::uint64_t id_;
  Peer peer_;
  UserPlace place_;
  UserPlace unreadPlace_;  // from when the answer was held up by its reader to its end
  State state_ = State::reading;
  bool lingers_ = false;  // the client may still be sending what nobody will read

  std::shared_ptr<AnswerSocket> control_;
  std::shared_ptr<AnswerSocket> answer_;  // the same one when the answer goes there
  Qel::Ptr<Rendering::PrintBuffer> said_;
  ControlReader reader_;
  JobId job_ = 0;  // 0: none
  std::unique_ptr<DescriptorWatch> controlWatch_;
  std::unique_ptr<DescriptorWatch> answerWatch_;
};

}  // namespace KorvoAgent
