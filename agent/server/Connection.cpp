#include "agent/server/Connection.h"

#include <fmt/format.h>
#include <sys/socket.h>

#include <optional>
#include <utility>
#include <variant>

#include "agent/server/AgentTrace.h"
#include "agent/server/ChangingCommands.h"
#include "agent/server/Events.h"
#include "agent/server/HardwareCommands.h"
#include "agent/server/SocketEnd.h"
#include "text/Printable.h"

namespace KorvoAgent {

namespace {

// How long a client is heard out that sends more than is read: it may be in the middle of a send,
// which would fail if the connection were closed at once.
constexpr Qel::Duration kLingerTime = std::chrono::seconds(2);

double seconds(Qel::Duration duration) { return std::chrono::duration<double>(duration).count(); }

}  // namespace

Connection::Connection(ConnectionHost& host, std::uint64_t id, FileDescriptor control, Peer peer,
                       UserPlace place)
    : host_(host),
      id_(id),
      peer_(std::move(peer)),
      place_(std::move(place)),
      control_(std::make_shared<AnswerSocket>(std::move(control))),
      answer_(control_),
      said_(answerBuffer(control_, Rendering::PrintBuffer::kHold)),
      controlWatch_(std::make_unique<DescriptorWatch>(host.loop(), control_->get())) {}

Connection::~Connection() = default;

/** Calls `function`: an exception costs this connection and nothing else. */
template <class Function>
void Connection::guard(const Function& function) noexcept {
  try {
    function();
  } catch (const std::exception& e) {
    QEL_TRACE(agentTrace(), 1, "connection {}: {}", id_, e.what());
    close();
  }
}

/** A guarded callback for a watch. */
template <class Function>
std::function<void()> Connection::guarded(Function function) {
  return [this, function] { guard(function); };
}

void Connection::serve() noexcept {
  guard([this] {
    host_.timeoutIs(*this, host_.limits().lineTimeout);
    awaitLine();
  });
}

void Connection::turnAway(std::string_view reason) noexcept {
  guard([this, reason] {
    lingers_ = true;
    say(refusalLine(reason));
    finish();
  });
}

// The agent itself may have been held up, or stopped for a while: what the client did in time lies
// in the socket then, and counts.
void Connection::timedOut() noexcept {
  guard([this] {
    if (state_ == State::reading) {
      readLine();
      if (state_ != State::reading) return;
      refuse(fmt::format("no request line came within {} s", seconds(host_.limits().lineTimeout)));
      return;
    }
    if (state_ == State::closing) said_->flush();
    close();
  });
}

void Connection::close() noexcept {
  if (state_ == State::closed) return;
  endInput(control_->get());
  state_ = State::closed;
  answerWatch_.reset();
  controlWatch_.reset();
  answer_->close();
  control_->close();
  place_.reset();
  if (job_ != 0) host_.scheduler().end(job_, {RequestStatus::error, "the connection failed"});
  host_.closed(*this);
}

void Connection::awaitLine() {
  controlWatch_->onReadable(guarded([this] {
    // The line's deadline may have looked at the socket before this.
    if (state_ != State::reading) return;
    readLine();
    if (state_ == State::reading) awaitLine();
  }));
}

// Takes what has arrived of the line; once all of it has, the connection is no longer reading.
void Connection::readLine() {
  switch (reader_.read(control_->get())) {
    case ControlReader::State::incomplete:
      return;
    case ControlReader::State::complete:
      takeLine();
      return;
    case ControlReader::State::tooLong:
      lingers_ = true;
      refuse(lineTooLong().text);
      return;
    case ControlReader::State::ended:
      if (reader_.line().empty()) {
        close();
      } else {
        refuse(lineNotEnded().text);
      }
      return;
    case ControlReader::State::failed:
      close();
      return;
  }
}

void Connection::takeLine() {
  auto parsed = parseRequestLine(reader_.line());
  if (const LineProblem* const problem = std::get_if<LineProblem>(&parsed)) {
    return refuse(problem->text);
  }
  const auto& request = std::get<RequestLine>(parsed);
  if (request.entry == Entry::plain && request.format == Rendering::kJson) {
    return refuse("plain commands answer in text only; write \"plain text COMMAND\"");
  }
  const ChangingCommand* const changing = changingCommandOf(request);
  if (changing != nullptr && !host_.access().isPrivileged(peer_)) {
    return refuse(fmt::format("{} {}; {} may do that", changing->keyword, changing->what,
                              host_.access().onlyWho()));
  }
  if (reader_.numDescriptors() > 1) {
    return refuse("more than one descriptor came; an answer goes to one");
  }
  if (reader_.descriptorLost()) {
    return refuse("the descriptor could not be taken: too many came, or the agent has none left");
  }
  FileDescriptor descriptor = reader_.takeDescriptor();
  if (descriptor.isOpen()) {
    if (const std::optional<std::string> problem = unfitForAnswer(descriptor.get())) {
      return refuse(fmt::format("{}; an answer goes to a connected stream socket", *problem));
    }
    answer_ = std::make_shared<AnswerSocket>(std::move(descriptor));
    answerWatch_ = std::make_unique<DescriptorWatch>(host_.loop(), answer_->get());
  }
  // Whoever is at the limit can still ask what is under way, and cancel it.
  if (request.entry != Entry::agent) {
    if (std::optional<std::string> problem = overLimit()) return refuse(std::move(*problem));
  }
  work(request);
}

std::optional<std::string> Connection::overLimit() const {
  if (host_.scheduler().numRequestsOf(peer_.user) >= host_.limits().requestsPerUser) {
    return fmt::format(
        "user {} has {} requests under way, which is the limit; wait for one to end, or "
        "end one (\"agent text requests\" lists them, \"agent text cancel N\" ends one)",
        peer_.user, host_.limits().requestsPerUser);
  }
  return host_.unreadAnswers().refusal(peer_.user);
}

void Connection::refuse(std::string message) {
  QEL_TRACE(agentTrace(), 3, "connection {} of user {} refused: {}", id_, peer_.user, message);
  if (reader_.numDescriptors() != 0 || reader_.descriptorLost()) {
    say(doneEvent({RequestStatus::refused, std::move(message)}, {}));
  } else {
    say(refusalLine(message));
  }
  finish();
}

void Connection::work(const RequestLine& request) {
  host_.timeoutDel(*this);
  state_ = State::working;
  watchHangups();
  job_ = host_.scheduler().begin(request, peer_.user, *this);
  QEL_TRACE(agentTrace(), 5, "request {} of user {}: {} {} {}", job_, peer_.user,
            entryName(request.entry), formatName(request.format),
            Text::shortened(request.command, kShownOfCommand));
  if (hasEvents()) say(acceptedEvent(job_));
  switch (request.entry) {
    case Entry::plain:
    case Entry::sync:
      return answerAtOnce(request);
    case Entry::async:
      if (const HardwareCommand* const command = hardwareCommandOf(request);
          command != nullptr && command->isCheck) {
        return host_.scheduler().queueCheck(job_, guarded([this] { startInSlices(); }));
      }
      return startInSlices();
    case Entry::agent:
      return answerQuestion(request);
  }
}

void Connection::answerAtOnce(const RequestLine& request) {
  SliceScheduler& scheduler = host_.scheduler();
  const Qel::Duration start = scheduler.clock().now();
  CommandEntries::Answered answered = host_.entries().answer(request, answer_->get());
  const Qel::Duration took = scheduler.clock().now() - start;
  if (answered.end.status == RequestStatus::ok && answer_->peerGone()) {
    answered.end = {RequestStatus::clientGone, "the answer's reader has gone"};
  }
  const auto output = answerBuffer(answer_, Rendering::PrintBuffer::kHold);
  output->append(answered.left);
  scheduler.drain(job_, output, std::move(answered.end), answered.sent, took);
}

void Connection::answerQuestion(const RequestLine& request) {
  SliceScheduler& scheduler = host_.scheduler();
  const Qel::Duration start = scheduler.clock().now();
  const auto output = answerBuffer(answer_, Rendering::PrintBuffer::kHold);
  const auto renderer = Qel::makePtr<Rendering::RendererV2>(request.format, output, false);
  RequestEnd end;
  try {
    end = host_.questions().answer(request.command, peer_, *renderer);
  } catch (const std::exception& e) {
    end = {RequestStatus::error, e.what()};
  }
  scheduler.drain(job_, output, std::move(end), 0, scheduler.clock().now() - start);
}

void Connection::startInSlices() {
  const RequestLine& request = host_.scheduler().jobs().at(job_).request();
  CommandEntries::Started started = host_.entries().start(job_, request, answer_);
  if (started.machine != nullptr) {
    host_.scheduler().run(job_, std::move(started.machine), std::move(started.output));
  } else {
    host_.scheduler().end(job_, started.end);
  }
}

void Connection::watchHangups() {
  controlWatch_->onHangup(guarded([this] { controlHungUp(); }));
  if (hasEvents()) answerWatch_->onHangup(guarded([this] { answerHungUp(); }));
}

void Connection::controlHungUp() {
  if (!control_->peerGone()) {
    discardOutOfBand(control_->get());
    controlWatch_->onHangup(guarded([this] { controlHungUp(); }));
    return;
  }
  if (hasEvents() && job_ != 0) {
    host_.scheduler().end(job_, {RequestStatus::cancelled, "the control connection was closed"});
  } else if (job_ != 0) {
    host_.scheduler().end(job_, {RequestStatus::clientGone, "the answer's reader has gone"});
  }
  close();
}

void Connection::answerHungUp() {
  if (!answer_->peerGone()) {
    discardOutOfBand(answer_->get());
    answerWatch_->onHangup(guarded([this] { answerHungUp(); }));
    return;
  }
  host_.scheduler().end(job_, {RequestStatus::clientGone, "the answer's reader has gone"});
}

// An answer that its reader holds up gets room in the kernel, so that the agent waits for the
// reader as seldom as can be, and a place with it. Where no place is left it goes on with the room
// it has.
void Connection::awaitWritable() {
  if (!unreadPlace_.isTaken()) {
    unreadPlace_ = host_.unreadAnswers().take(peer_.user);
    if (unreadPlace_.isTaken()) answer_->enlargeSendBuffer();
  }
  DescriptorWatch& watch = hasEvents() ? *answerWatch_ : *controlWatch_;
  watch.onWritable(guarded([this] { host_.scheduler().writable(job_); }));
}

void Connection::jobProgress(const RequestFigures& figures) noexcept {
  // A client that does not read its events misses some; they must not pile up.
  if (said_->pending() != 0) return;
  try {
    say(progressEvent(figures));
  } catch (const std::exception& e) {
    QEL_TRACE(agentTrace(), 1, "connection {}: {}", id_, e.what());
  }
}

void Connection::jobEnded(const RequestEnd& end, const RequestFigures& figures) noexcept {
  QEL_TRACE(agentTrace(), 5, "request {} ended: {} {}", job_, statusName(end.status), end.message);
  job_ = 0;
  unreadPlace_.reset();
  if (state_ == State::closed) return;
  try {
    if (hasEvents()) {
      // The end of the answer is to be seen before its verdict is read.
      answerWatch_.reset();
      answer_->close();
      say(doneEvent(end, figures));
    } else if (end.status == RequestStatus::refused) {
      say(refusalLine(end.message));
    }
    finish();
  } catch (const std::exception& e) {
    QEL_TRACE(agentTrace(), 1, "connection {}: {}", id_, e.what());
    close();
  }
}

void Connection::say(std::string_view text) {
  said_->append(text);
  said_->flush();
}

// Closes as soon as all has been said and the client is not in the middle of saying something.
void Connection::finish() {
  if (state_ != State::closing) {
    state_ = State::closing;
    host_.timeoutIs(*this, host_.limits().closingTimeout);
  }
  said_->flush();
  if (said_->pending() != 0) {
    controlWatch_->onWritable(guarded([this] { finish(); }));
    return;
  }
  const Discarded beyond = discardInput(control_->get());
  if (!beyond.ended && !said_->failed() && (lingers_ || beyond.any || reader_.sawMore())) {
    linger();
  } else {
    close();
  }
}

void Connection::linger() {
  state_ = State::lingering;
  host_.timeoutIs(*this, kLingerTime);
  ::shutdown(control_->get(), SHUT_WR);
  awaitHangingUp();
}

void Connection::awaitHangingUp() {
  controlWatch_->onReadable(guarded([this] {
    if (discardInput(control_->get()).ended) {
      close();
    } else {
      awaitHangingUp();
    }
  }));
}

}  // namespace KorvoAgent
