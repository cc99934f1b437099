// The agent's event loop: one thread, turn after turn.
//
//   one turn = what sockets and signals brought (a bounded number of handlers), deadlines that have
//              passed, and at most one piece of work of one client, the clients taking turns.
//
// While any client is runnable the loop does not wait; otherwise it sleeps until a socket, a signal
// or a deadline wakes it, and nothing else does.
//
// Deadlines are on the injected clock; the operating system's timer only ends the sleep.
//
// Threading: everything here belongs to the thread that runs the loop.
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

#include "agent/server/LoopClient.h"
#include "platform/base/Clock.h"

namespace KorvoAgent {

class EventLoop {
 public:
  explicit EventLoop(Qel::Ptr<const Qel::Clock> clock);
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /** Takes a client into the turns until it is removed; not from within a client's own calls. */
  void add(LoopClient& client) { clients_.push_back(&client); }
  void remove(LoopClient& client);
  /** Calls `handler` in a turn after one of `signals` came; they no longer end the process. */
  void onSignals(std::initializer_list<int> signals, std::function<void()> handler);

  /** Runs turns until stop(). */
  void run();
  /** Makes run() return after the current turn. */
  void stop() noexcept { stopped_ = true; }
  /** One turn that does not wait. Whether anything was done. */
  bool turn();

  const Qel::Clock& clock() const noexcept { return *clock_; }

 private:
  friend class DescriptorWatch;
  struct Backend;

  void beginTurn();
  std::size_t runHandlers(std::size_t limit);
  bool expireDeadlines();
  bool anyRunnable() const;
  bool runOnePiece();
  void sleep();

  Qel::Ptr<const Qel::Clock> clock_;
  std::unique_ptr<Backend> backend_;
  std::vector<LoopClient*> clients_;
  std::vector<std::function<void()>> nextTurn_;  // what waits for the next turn to begin
  std::size_t nextClient_ = 0;
  bool stopped_ = false;
};

/**
 * Waits for one socket. Each callback is called once per request for it; none is called after the
 * watch is gone or stop() was called. The socket is not owned and its file status flags stay as
 * they were: other processes may share them. It must be open until the watch is gone or stopped.
 */
class DescriptorWatch {
 public:
  /** Throws std::system_error when the socket cannot be watched. */
  DescriptorWatch(EventLoop& loop, int descriptor);
  ~DescriptorWatch();
  DescriptorWatch(const DescriptorWatch&) = delete;
  DescriptorWatch& operator=(const DescriptorWatch&) = delete;

  void onReadable(std::function<void()> callback);
  /** As onReadable(), but in another turn than this: for whoever has had enough of this one. */
  void onReadableNextTurn(std::function<void()> callback);
  void onWritable(std::function<void()> callback);
  /** An error or both directions closed; may be called for out-of-band data too. */
  void onHangup(std::function<void()> callback);
  void stop() noexcept;

 private:
  struct Backend;
  template <class WaitType>
  void wait(WaitType what, std::function<void()> callback);

  EventLoop& loop_;
  std::shared_ptr<Backend> backend_;
};

}  // namespace KorvoAgent
