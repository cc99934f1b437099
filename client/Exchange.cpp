#include "client/Exchange.h"

#include <fmt/format.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>
#include <utility>
#include <variant>

#include "client/Connection.h"
#include "text/Printable.h"

namespace KorvoCtl {

namespace {

// An agent says what is wrong in a line; what another peer sends may be of any length.
constexpr std::size_t kLongestReason = 1000;

Outcome outcomeOf(const Problem& problem) {
  return {.status = problem.status, .message = problem.message, .outputClosed = false};
}

double secondsOf(std::chrono::milliseconds duration) {
  return std::chrono::duration<double>(duration).count();
}

// A message with what the agent said about it, where it said something.
std::string withReason(std::string text, const std::string& reason) {
  return reason.empty() ? text
                        : fmt::format("{}: {}", text, Text::shortened(reason, kLongestReason));
}

}  // namespace

Outcome Exchange::run(const Request& request) {
  const Result<std::string> line = requestLine(request);
  if (const Problem* problem = problemOf(line)) {
    return outcomeOf(*problem);
  }
  Result<Descriptor> connection = connectToAgent(options_.socketPath, options_.patience);
  if (const Problem* problem = problemOf(connection)) {
    return outcomeOf(*problem);
  }
  Result<AnswerChannel> channel = makeAnswerChannel();
  if (const Problem* problem = problemOf(channel)) {
    return outcomeOf(*problem);
  }
  control_ = std::move(std::get<Descriptor>(connection));
  AnswerChannel& ends = std::get<AnswerChannel>(channel);
  answer_ = std::move(ends.ours);
  // When it cannot be sent the agent has hung up, perhaps after a word about why: read on.
  (void)sendRequest(control_.get(), std::get<std::string>(line), ends.theirs.get());
  // Only the agent's copy keeps the answer open now: when it closes that, we see the end.
  ends.theirs.close();

  converse();
  progress_.clear();
  // The agent learns from this that nobody waits for the rest, if there is one.
  control_.close();
  answer_.close();
  return verdict(request);
}

void Exchange::converse() {
  while (!finished()) {
    std::array<pollfd, 3> watched = {{{.fd = control_.get(), .events = POLLIN, .revents = 0},
                                      {.fd = answer_.get(), .events = POLLIN, .revents = 0},
                                      // No events: only that its reader has gone is of interest.
                                      {.fd = sink_.output(), .events = 0, .revents = 0}}};
    const int ready = options_.poll(watched.data(), watched.size(), timeout());
    if (ready < 0) {
      if (errno == EINTR) {
        continue;
      }
      outputProblem_ = fmt::format("poll: {}", strerror(errno));
      return;
    }
    answerIdle_ = watched[1].revents == 0;
    if (ready == 0 && !allHasArrived()) {
      gaveUp_ = true;
      return;
    }
    if (watched[0].revents != 0) {
      readControl();
    }
    if (watched[1].revents != 0) {
      moveAnswer();
    }
    if ((watched[2].revents & (POLLERR | POLLHUP)) != 0) {
      outputClosed_ = true;
    }
  }
}

bool Exchange::finished() const {
  if (outputClosed_ || foreign_ || !outputProblem_.empty() || (complaint_ && !eventSeen_)) {
    return true;
  }
  const bool saidAll = done_ || !control_.isOpen();
  return saidAll && (!answer_.isOpen() || (allHasArrived() && answerIdle_));
}

// The agent may keep its end open for a while, or for good: the count is as good as the end.
bool Exchange::allHasArrived() const { return done_ && done_->bytes && received_ >= *done_->bytes; }

int Exchange::timeout() const {
  if (allHasArrived()) {
    return 0;
  }
  // Every wait ends with the first thing that is heard, so that the next one begins anew.
  const std::chrono::milliseconds limit = heard_ ? options_.silence : options_.patience;
  return limit.count() <= 0
             ? -1
             : static_cast<int>(std::min<std::chrono::milliseconds::rep>(limit.count(), INT_MAX));
}

void Exchange::readControl() {
  std::array<char, 16384> buffer{};
  const ssize_t n = ::recv(control_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (n < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) {
    return;
  }
  if (n <= 0) {
    const std::string rest = lines_.takeRest();
    if (!rest.empty()) {
      takeLine(rest);
    }
    control_.close();
    return;
  }
  heard_ = true;
  for (const std::string& line : lines_.add({buffer.data(), static_cast<std::size_t>(n)})) {
    takeLine(line);
  }
  foreign_ = lines_.overflows();
}

void Exchange::takeLine(const std::string& line) {
  if (line.empty() || done_) {
    return;
  }
  if (const std::optional<Event> event = parseEvent(line)) {
    takeEvent(*event);
  } else if (!complaint_) {
    complaint_ = line;
  }
}

void Exchange::takeEvent(const Event& event) {
  eventSeen_ = true;
  switch (event.kind) {
    case Event::Kind::kProgress:
      progress_.update(event.rows, event.bytes.value_or(received_));
      break;
    case Event::Kind::kDone:
      done_ = event;
      break;
    case Event::Kind::kAccepted:
    case Event::Kind::kUnknown:
      break;
  }
}

void Exchange::moveAnswer() {
  if (sink_.output() >= 0) {
    progress_.outputFollows();
  }
  const AnswerSink::Moved moved = sink_.moveFrom(answer_.get());
  received_ += moved.bytes;
  switch (moved.state) {
    case AnswerSink::State::kMoved:
      heard_ = true;
      break;
    case AnswerSink::State::kLater:
      break;
    case AnswerSink::State::kEnd:
      answer_.close();
      break;
    case AnswerSink::State::kOutputClosed:
      outputClosed_ = true;
      break;
    case AnswerSink::State::kOutputFailed:
      outputProblem_ = moved.problem;
      break;
  }
}

Outcome Exchange::verdict(const Request& request) const {
  Outcome outcome;
  outcome.received = received_;
  outcome.outputClosed = outputClosed_;
  std::optional<Problem> problem;
  if (outputClosed_ || !outputProblem_.empty()) {
    problem = Problem{ExitStatus::kFailed, outputProblem_};
  } else if (!done_) {
    problem = verdictWithoutDone();
  } else {
    problem = verdictOf(*done_, request);
  }
  if (problem) {
    outcome.status = problem->status;
    outcome.message = std::move(problem->message);
  }
  return outcome;
}

Problem Exchange::verdictWithoutDone() const {
  if (foreign_) {
    return {ExitStatus::kFailed,
            fmt::format("what answers at {} is no agent", options_.socketPath)};
  }
  if (complaint_ && !eventSeen_) {
    return {ExitStatus::kRefused, fmt::format("the agent does not take the request: {}",
                                              Text::shortened(*complaint_, kLongestReason))};
  }
  if (gaveUp_ && !heard_) {
    return {ExitStatus::kUnavailable,
            fmt::format("the agent at {} has taken the connection but says nothing; gave up after "
                        "{} s (see --timeout)",
                        options_.socketPath, secondsOf(options_.patience))};
  }
  if (gaveUp_) {
    return {ExitStatus::kFailed,
            fmt::format("the agent at {} has said nothing for {} s (see --silence); gave up after "
                        "{} bytes, the answer is cut off",
                        options_.socketPath, secondsOf(options_.silence), received_)};
  }
  if (!heard_) {
    return {
        ExitStatus::kUnavailable,
        fmt::format("the agent at {} closed the connection without a word", options_.socketPath)};
  }
  return {ExitStatus::kFailed,
          withReason(fmt::format("the answer may be cut off after {} bytes: the agent closed the "
                                 "connection before it said how the request ended",
                                 received_),
                     complaint_.value_or(""))};
}

std::optional<Problem> Exchange::verdictOf(const Event& done, const Request& request) const {
  const std::string& status = done.status;
  if (status == "ok") {
    return verdictOfCount(done);
  }
  if (status == "refused") {
    return Problem{ExitStatus::kRefused, withReason("the agent refused the request", done.message)};
  }
  if (status == "no-handler") {
    return Problem{ExitStatus::kRefused,
                   withReason(fmt::format("the agent has no handler for '{}'",
                                          Text::shortened(request.command, 60)),
                              done.message)};
  }
  if (status == "not-ready") {
    return Problem{ExitStatus::kUnavailable, withReason("the agent is not ready", done.message)};
  }
  std::string text = fmt::format("the request ended with the status '{}'", status);
  if (status == "error") {
    text = "the command failed";
  } else if (status == "cancelled") {
    text = "the request was cancelled";
  } else if (status == "client-gone") {
    text = "the agent gave the request up because its answer was not read";
  }
  if (received_ > 0) {
    text += fmt::format(" after {} bytes, the answer is cut off", received_);
  }
  return Problem{ExitStatus::kFailed, withReason(std::move(text), done.message)};
}

std::optional<Problem> Exchange::verdictOfCount(const Event& done) const {
  const std::string silence =
      gaveUp_ ? fmt::format(", then nothing for {} s (see --silence)", secondsOf(options_.silence))
              : std::string();
  if (!done.bytes) {
    return gaveUp_ ? std::optional(Problem{ExitStatus::kFailed,
                                           fmt::format("the answer has no end: {} bytes arrived{}",
                                                       received_, silence)})
                   : std::nullopt;
  }
  if (*done.bytes == received_) {
    return std::nullopt;
  }
  if (received_ < *done.bytes) {
    return Problem{ExitStatus::kFailed,
                   fmt::format("the answer was cut off: {} of {} bytes arrived{}", received_,
                               *done.bytes, silence)};
  }
  return Problem{ExitStatus::kFailed,
                 fmt::format("the answer is not what the agent wrote: {} bytes arrived of {}",
                             received_, *done.bytes)};
}

}  // namespace KorvoCtl
