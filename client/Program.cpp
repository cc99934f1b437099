#include "client/Program.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "client/AnswerSink.h"
#include "client/ChipList.h"
#include "client/CommandLine.h"
#include "client/Exchange.h"
#include "client/Findings.h"

namespace KorvoCtl {

namespace {

// 128 chips with names make a few kilobytes.
constexpr std::size_t kMaxChipsAnswer = 1024UL * 1024;

void complain(const Surroundings& surroundings, std::string_view message) {
  // Where standard error takes nothing there is nowhere left to say so.
  (void)writeAll(surroundings.errors,
                 fmt::format("korvoctl: {}{}", message, message.ends_with('\n') ? "" : "\n"));
}

RunResult fail(const Surroundings& surroundings, const Problem& problem) {
  complain(surroundings, problem.message);
  return {.status = problem.status, .outputClosed = false};
}

RunResult print(const Surroundings& surroundings, std::string_view text) {
  const int error = writeAll(surroundings.output, text);
  if (error == 0) {
    return {};
  }
  if (error == EPIPE) {
    return {.status = ExitStatus::kFailed, .outputClosed = true};
  }
  return fail(surroundings,
              {ExitStatus::kFailed, fmt::format("standard output: {}", strerror(error))});
}

// One command, from its row to its exit status.
class Command {
 public:
  Command(const Invocation& invocation, const Surroundings& surroundings)
      : invocation_(invocation),
        surroundings_(surroundings),
        exchange_{.socketPath = invocation.options.socketPath,
                  .patience = invocation.options.patience},
        progress_(invocation.options.progress ? surroundings.terminal : -1,
                  surroundings.outputIsTerminal, surroundings.clock) {}

  RunResult run() {
    Arguments arguments = invocation_.arguments;
    if (invocation_.row->chips) {
      Result<std::string> chips = chipNumbers(arguments.chips);
      if (const Problem* problem = problemOf(chips)) {
        return fail(surroundings_, *problem);
      }
      arguments.chips = std::move(std::get<std::string>(chips));
    }
    const Result<Request> request = invocation_.row->build(*invocation_.row, arguments);
    if (const Problem* problem = problemOf(request)) {
      return fail(surroundings_, *problem);
    }
    return copyAnswer(std::get<Request>(request));
  }

 private:
  // Asks the agent which chips there are: for all of them where none are named, and otherwise to
  // turn names into numbers and to notice a chip that does not exist.
  Result<std::string> chipNumbers(const std::optional<std::string>& wanted) {
    StringSink sink(kMaxChipsAnswer);
    const Outcome outcome =
        Exchange(exchange_, sink, progress_).run({Entry::kAgent, Format::kJson, "chips"});
    if (outcome.status != ExitStatus::kOk) {
      return Problem{outcome.status, outcome.message};
    }
    const Result<std::vector<Chip>> chips = parseChips(sink.text());
    if (const Problem* problem = problemOf(chips)) {
      return *problem;
    }
    const auto& list = std::get<std::vector<Chip>>(chips);
    return wanted ? resolveChips(*wanted, list) : allChips(list);
  }

  RunResult copyAnswer(const Request& request) {
    const bool isCheck = !invocation_.row->totals.empty();
    Findings findings(request.format, invocation_.row->totals);
    DescriptorSink sink(surroundings_.output, isCheck ? &findings : nullptr);
    const Outcome outcome = Exchange(exchange_, sink, progress_).run(request);
    if (outcome.outputClosed) {
      return {.status = ExitStatus::kFailed, .outputClosed = true};
    }
    if (outcome.status != ExitStatus::kOk) {
      return fail(surroundings_, {outcome.status, outcome.message});
    }
    return isCheck ? verdictOf(findings) : RunResult{};
  }

  RunResult verdictOf(const Findings& findings) {
    switch (findings.verdict()) {
      case Findings::Verdict::kClean:
        return {};
      case Findings::Verdict::kFound:
        return {.status = ExitStatus::kDifferences, .outputClosed = false};
      case Findings::Verdict::kUnknown:
        break;
    }
    // Not to be taken for "nothing found".
    return fail(surroundings_,
                {ExitStatus::kFailed, "the answer does not say whether there are differences"});
  }

  const Invocation& invocation_;
  const Surroundings& surroundings_;
  ExchangeOptions exchange_;
  ProgressLine progress_;
};

}  // namespace

RunResult run(std::span<const std::string> words, const Surroundings& surroundings) {
  const CommandLine line = parseCommandLine(words, surroundings.defaultSocket);
  if (const Problem* problem = std::get_if<Problem>(&line)) {
    return fail(surroundings, *problem);
  }
  if (const Answer* answer = std::get_if<Answer>(&line)) {
    return print(surroundings, answer->text);
  }
  return Command(std::get<Invocation>(line), surroundings).run();
}

}  // namespace KorvoCtl
