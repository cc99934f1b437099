#include "agent/server/EventLoop.h"

#include <fcntl.h>

#include <algorithm>
#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <optional>
#include <utility>

#include "agent/server/AgentTrace.h"

namespace KorvoAgent {

namespace {

// Enough to keep up with many short commands, few enough that the next slice does not wait long
// while clients send ever more of them.
constexpr std::size_t kHandlersPerTurn = 64;

// The longest sleep for one deadline; a clock that runs slower than the timer is asked again.
constexpr Qel::Duration kLongestSleep = std::chrono::hours(1);

/** Runs what came from outside; what it throws must not end the loop that serves all the others. */
template <class Function>
void guarded(const Function& function) {
  try {
    function();
  } catch (const std::exception& e) {
    QEL_TRACE(agentTrace(), 1, "exception in the event loop: {}", e.what());
  }
}

}  // namespace

struct EventLoop::Backend {
  asio::io_context context{1};
  asio::executor_work_guard<asio::io_context::executor_type> work{context.get_executor()};
  asio::steady_timer timer{context};
  std::optional<Qel::Duration> timerSetFor;
  asio::signal_set signals{context};
  std::function<void()> signalHandler;

  void awaitSignal() {
    signals.async_wait([this](const asio::error_code& error, int) {
      if (error) return;
      signalHandler();
      awaitSignal();
    });
  }
};

EventLoop::EventLoop(Qel::Ptr<const Qel::Clock> clock)
    : clock_(std::move(clock)), backend_(std::make_unique<Backend>()) {}

EventLoop::~EventLoop() = default;

void EventLoop::onSignals(std::initializer_list<int> signals, std::function<void()> handler) {
  for (const int signal : signals) backend_->signals.add(signal);
  backend_->signalHandler = std::move(handler);
  backend_->awaitSignal();
}

void EventLoop::remove(LoopClient& client) {
  std::erase(clients_, &client);
  nextClient_ = 0;
}

void EventLoop::run() {
  stopped_ = false;
  while (!stopped_) {
    if (!turn() && !stopped_) sleep();
  }
}

bool EventLoop::turn() {
  beginTurn();
  bool active = runHandlers(kHandlersPerTurn) != 0;
  active = expireDeadlines() || active;
  return runOnePiece() || active;
}

void EventLoop::beginTurn() {
  for (const std::function<void()>& begin : std::exchange(nextTurn_, {})) guarded(begin);
}

std::size_t EventLoop::runHandlers(std::size_t limit) {
  std::size_t count = 0;
  guarded([&] {
    while (count < limit && backend_->context.poll_one() != 0) ++count;
  });
  return count;
}

bool EventLoop::expireDeadlines() {
  bool any = false;
  std::optional<Qel::Duration> now;
  for (LoopClient* const client : clients_) {
    const std::optional<Qel::Duration> deadline = client->nextDeadline();
    if (!deadline) continue;
    if (!now) now = clock_->now();
    if (*deadline > *now) continue;
    any = true;
    guarded([&] { client->deadlinesPassed(*now); });
  }
  return any;
}

bool EventLoop::anyRunnable() const {
  return std::ranges::any_of(clients_, [](const LoopClient* client) { return client->runnable(); });
}

bool EventLoop::runOnePiece() {
  for (std::size_t tried = 0; tried < clients_.size(); ++tried) {
    LoopClient* const client = clients_[nextClient_];
    nextClient_ = (nextClient_ + 1) % clients_.size();
    if (!client->runnable()) continue;
    guarded([&] { client->runPiece(); });
    return true;
  }
  return false;
}

void EventLoop::sleep() {
  if (anyRunnable()) return;
  std::optional<Qel::Duration> earliest;
  for (const LoopClient* const client : clients_) {
    const std::optional<Qel::Duration> deadline = client->nextDeadline();
    if (deadline && (!earliest || *deadline < *earliest)) earliest = deadline;
  }
  guarded([&] {
    // A timer that is set too early costs one turn; setting it anew for every request that comes
    // and goes would cost more.
    if (earliest && (!backend_->timerSetFor || *earliest < *backend_->timerSetFor)) {
      const Qel::Duration wait =
          std::clamp(*earliest - clock_->now(), Qel::Duration::zero(), kLongestSleep);
      backend_->timerSetFor = earliest;
      backend_->timer.expires_after(std::chrono::ceil<std::chrono::milliseconds>(wait));
      backend_->timer.async_wait([this](const asio::error_code& error) {
        if (!error) backend_->timerSetFor.reset();
      });
    }
    backend_->context.run_one();
  });
}

struct DescriptorWatch::Backend {
  Backend(asio::io_context& context, int descriptor)
      : stream(context, descriptor), statusFlags(::fcntl(descriptor, F_GETFL)) {}

  asio::posix::stream_descriptor stream;
  int statusFlags;
};

DescriptorWatch::DescriptorWatch(EventLoop& loop, int descriptor)
    : loop_(loop), backend_(std::make_shared<Backend>(loop.backend_->context, descriptor)) {}

DescriptorWatch::~DescriptorWatch() { stop(); }

void DescriptorWatch::stop() noexcept {
  if (backend_ == nullptr) return;
  backend_->stream.release();
  backend_.reset();
}

template <class WaitType>
void DescriptorWatch::wait(WaitType what, std::function<void()> callback) {
  if (backend_ == nullptr) return;
  backend_->stream.async_wait(what,
                              [alive = std::weak_ptr<Backend>(backend_),
                               callback = std::move(callback)](const asio::error_code& error) {
                                if (!error && !alive.expired()) callback();
                              });
  // Asio makes what it waits for non-blocking. The flag belongs to the open file, which a client
  // that sent us the socket may go on writing to; nothing here depends on it.
  if ((backend_->statusFlags & O_NONBLOCK) == 0) {
    ::fcntl(backend_->stream.native_handle(), F_SETFL, backend_->statusFlags);
  }
}

void DescriptorWatch::onReadable(std::function<void()> callback) {
  wait(asio::posix::stream_descriptor::wait_read, std::move(callback));
}

void DescriptorWatch::onReadableNextTurn(std::function<void()> callback) {
  if (backend_ == nullptr) return;
  loop_.nextTurn_.emplace_back(
      [this, alive = std::weak_ptr<Backend>(backend_), callback = std::move(callback)]() mutable {
        if (!alive.expired()) onReadable(std::move(callback));
      });
}

void DescriptorWatch::onWritable(std::function<void()> callback) {
  wait(asio::posix::stream_descriptor::wait_write, std::move(callback));
}

void DescriptorWatch::onHangup(std::function<void()> callback) {
  wait(asio::posix::stream_descriptor::wait_error, std::move(callback));
}

}  // namespace KorvoAgent
