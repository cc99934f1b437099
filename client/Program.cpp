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
#include "client/InterfaceName.h"
#include "text/Printable.h"

namespace KorvoCtl {

namespace {

// The answer to a question of the client's own: 128 chips with names make a few kilobytes.
constexpr std::size_t kMaxOwnAnswer = 1024UL * 1024;

void complain(const Surroundings& surroundings, std::string_view message,
              std::string_view help = {}) {
  // Where standard error takes nothing there is nowhere left to say so.
  (void)writeAll(surroundings.errors,
                 fmt::format("korvoctl: {}\n{}", Text::printable(message), help));
}

RunResult fail(const Surroundings& surroundings, const Problem& problem) {
  complain(surroundings, problem.message, problem.help);
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
                  .patience = invocation.options.patience,
                  .silence = invocation.options.silence},
        progress_(invocation.options.progress ? surroundings.terminal : -1,
                  surroundings.outputIsTerminal, surroundings.clock) {}

  RunResult run() {
    Arguments arguments = invocation_.arguments;
    if (const CommandOption* option = chipOption(*invocation_.row)) {
      if (const std::optional<Problem> problem = resolveChipsOf(*option, arguments)) {
        return fail(surroundings_, *problem);
      }
    }
    if (const std::optional<Problem> problem = resolveInterfacesOf(arguments)) {
      return fail(surroundings_, *problem);
    }
    const Result<Request> request = invocation_.row->build(*invocation_.row, arguments);
    if (const Problem* problem = problemOf(request)) {
      return fail(surroundings_, *problem);
    }
    return copyAnswer(std::get<Request>(request));
  }

 private:
  // Turns names into numbers, and notices a chip that does not exist. A command for a list of chips
  // of which none are named is for all of them.
  std::optional<Problem> resolveChipsOf(const CommandOption& option, Arguments& arguments) {
    const auto given = arguments.options.find(option.name);
    const bool isGiven = given != arguments.options.end();
    if (!isGiven && option.kind != ValueKind::kChips) {
      return std::nullopt;
    }
    const Result<std::vector<Chip>> answer = askForChips();
    if (const Problem* problem = problemOf(answer)) {
      return *problem;
    }
    const auto& chips = std::get<std::vector<Chip>>(answer);
    Result<std::string> numbers = isGiven && option.kind == ValueKind::kChip
                                      ? resolveChip(given->second, chips)
                                  : isGiven ? resolveChips(given->second, chips)
                                            : allChips(chips);
    if (Problem* problem = std::get_if<Problem>(&numbers)) {
      return std::move(*problem);
    }
    arguments.options.insert_or_assign(option.name, std::get<std::string>(std::move(numbers)));
    return std::nullopt;
  }

  // Turns the short names of interfaces into full ones, which alone stand in the agent's tables,
  // and notices an interface that does not exist.
  std::optional<Problem> resolveInterfacesOf(Arguments& arguments) {
    for (const CommandOption& option : invocation_.row->options) {
      const auto given = arguments.options.find(option.name);
      if (option.kind != ValueKind::kInterface || given == arguments.options.end()) {
        continue;
      }
      const Result<std::string> answer = askAgent("interface " + given->second);
      Result<std::string> name =
          problemOf(answer) != nullptr
              ? answer
              : resolveInterface(given->second, std::get<std::string>(answer));
      if (Problem* problem = std::get_if<Problem>(&name)) {
        return std::move(*problem);
      }
      given->second = std::get<std::string>(std::move(name));
    }
    return std::nullopt;
  }

  Result<std::vector<Chip>> askForChips() {
    const Result<std::string> answer = askAgent("chips");
    if (const Problem* problem = problemOf(answer)) {
      return *problem;
    }
    return parseChips(std::get<std::string>(answer));
  }

  // The answer to a question of the client's own.
  Result<std::string> askAgent(const std::string& question) {
    StringSink sink(kMaxOwnAnswer);
    const Outcome outcome =
        Exchange(exchange_, sink, progress_).run({Entry::kAgent, Format::kJson, question});
    if (outcome.status != ExitStatus::kOk) {
      return Problem{outcome.status, outcome.message};
    }
    return sink.text();
  }

  [[nodiscard]] bool isRaw() const { return invocation_.row->build == &rawRequest; }

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
    if (surroundings_.outputIsTerminal && sink.endsInMidLine()) {
      // A bare number that scripts take as it is; a person's next prompt is not to stick to it.
      (void)writeAll(surroundings_.output, "\n");
    }
    if (const std::string warning = isRaw() ? warningAbout(request) : ""; !warning.empty()) {
      complain(surroundings_, warning);
    }
    if (outcome.received == 0 && !invocation_.row->whenEmpty.empty()) {
      complain(surroundings_, invocation_.row->whenEmpty);
      if (invocation_.row->emptyMeansNo) {
        return {.status = ExitStatus::kNo, .outputClosed = false};
      }
    }
    return isCheck ? verdictOf(findings) : RunResult{};
  }

  RunResult verdictOf(const Findings& findings) {
    switch (findings.verdict()) {
      case Findings::Verdict::kClean:
        return {};
      case Findings::Verdict::kFound:
        return {.status = ExitStatus::kNo, .outputClosed = false};
      case Findings::Verdict::kUnknown:
        break;
    }
    // Not to be taken for "nothing found".
    return fail(surroundings_,
                {ExitStatus::kFailed,
                 "the answer is not whole: it does not say whether there are differences"});
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
  const auto& invocation = std::get<Invocation>(line);
  if (invocation.row->local != nullptr) {
    return print(surroundings, invocation.row->local(invocation.arguments.json));
  }
  return Command(invocation, surroundings).run();
}

}  // namespace KorvoCtl
