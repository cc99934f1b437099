// One request and its answer, from the connection to the verdict.
//
// The request line carries one end of a stream socket, on which the answer comes, raw; the
// connection itself carries events. Either may end first: the exchange is over when the agent has
// said how the request ended and all that it wrote has been passed on.
#pragma once

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "client/AnswerSink.h"
#include "client/Descriptor.h"
#include "client/Event.h"
#include "client/ExitStatus.h"
#include "client/ProgressLine.h"
#include "client/Request.h"

namespace KorvoCtl {

struct ExchangeOptions {
  std::string socketPath;
  // How long the agent may take to say its first word; 0: for ever.
  std::chrono::milliseconds patience{10000};
  // How long it may then say nothing, neither an event nor a byte of the answer; 0: for ever. An
  // agent that works on a request shows so every few seconds, also where a check waits for the
  // hardware before it prints anything.
  std::chrono::milliseconds silence{30000};
  // As poll(2).
  std::function<int(pollfd*, nfds_t, int)> poll = &::poll;
};

struct Outcome {
  ExitStatus status = ExitStatus::kOk;
  // What to tell the operator; empty when all is well.
  std::string message;
  // The reader of the output has gone: there is nobody to tell.
  bool outputClosed = false;
  std::uint64_t received = 0;  // bytes of the answer
};

class Exchange {
 public:
  Exchange(const ExchangeOptions& options, AnswerSink& sink, ProgressLine& progress)
      : options_(options), sink_(sink), progress_(progress) {}

  // Runs one request to its end. Once per object.
  [[nodiscard]] Outcome run(const Request& request);

 private:
  void converse();
  [[nodiscard]] bool finished() const;
  [[nodiscard]] bool allHasArrived() const;
  [[nodiscard]] int timeout() const;
  void readControl();
  void takeLine(const std::string& line);
  void takeEvent(const Event& event);
  void moveAnswer();

  [[nodiscard]] Outcome verdict(const Request& request) const;
  [[nodiscard]] Problem verdictWithoutDone() const;
  [[nodiscard]] std::optional<Problem> verdictOf(const Event& done, const Request& request) const;
  [[nodiscard]] std::optional<Problem> verdictOfCount(const Event& done) const;

  const ExchangeOptions& options_;
  AnswerSink& sink_;
  ProgressLine& progress_;

  Descriptor control_;
  Descriptor answer_;
  LineBuffer lines_;

  bool heard_ = false;       // the agent has said something
  bool gaveUp_ = false;      // it said nothing for longer than it may
  bool foreign_ = false;     // what it says is not the protocol
  bool answerIdle_ = false;  // nothing more of the answer is there now
  bool outputClosed_ = false;
  std::uint64_t received_ = 0;
  std::string outputProblem_;
  bool eventSeen_ = false;
  std::optional<std::string> complaint_;  // a line that is no event
  std::optional<Event> done_;
};

}  // namespace KorvoCtl
