#include "client/CommandLine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "client/CommandTree.h"
#include "client/Completion.h"
#include "client/Suggestion.h"
#include "client/Text.h"

namespace KorvoCtl {

namespace {

Problem wrongUsage(std::string_view path, std::string_view text) {
  const CommandRow* row = findCommand(path);
  return {ExitStatus::kUsage, std::string(text),
          fmt::format("{}Try 'korvoctl {}{}--help'.\n",
                      row == nullptr ? "" : fmt::format("Usage: korvoctl {}\n", usage(*row)), path,
                      path.empty() ? "" : " ")};
}

// An option that stands here, but was given with the words before, or one that may have been meant.
Problem unknownOption(const ParsedWords& words, std::string_view word) {
  const std::string_view name = split(word, '=').front();
  const std::string& path = words.path;
  const CommandRow* row = findCommand(path);
  if (name == "--json" && row != nullptr && !row->takesJson()) {
    return wrongUsage(path, fmt::format("'{}' answers in text only, without --json", path));
  }
  for (const std::string& known : words.optionNames) {
    if (name == known) {
      return wrongUsage(
          path, fmt::format("{} stands after the whole command: korvoctl {} {}", name, path, name));
    }
  }
  const std::string where = path.empty() ? "" : fmt::format(" for '{}'", path);
  for (const std::string& known : words.optionNames) {
    if (isNear(name, known)) {
      return wrongUsage(path,
                        fmt::format("unknown option {}{}; did you mean {}?", name, where, known));
    }
  }
  return wrongUsage(path, fmt::format("unknown option {}{}", name, where));
}

Problem unexpectedWord(const ParsedWords& words, const std::string& word) {
  const std::string& path = words.path;
  if (findCommand(path) != nullptr && listCommandsBelow(path).empty()) {
    return wrongUsage(path, fmt::format("unexpected argument '{}' for '{}'", word, path));
  }
  std::vector<std::string_view> typed;
  if (!path.empty()) {
    typed = wordsOf(path);
  }
  std::copy_if(words.extras.begin(), words.extras.end(), std::back_inserter(typed),
               [](const std::string& extra) { return !extra.starts_with("-"); });
  const std::vector<std::string_view> suggestions = suggestCommands(typed, word);
  const bool isNearNone = suggestions.empty();
  return {ExitStatus::kUsage,
          fmt::format("unknown command '{}'{}; {}:", word,
                      path.empty() ? "" : fmt::format(" after '{}'", path),
                      isNearNone ? "there are" : "did you mean"),
          isNearNone ? listCommandsBelow(path)
                     : fmt::format("  korvoctl {}\n", fmt::join(suggestions, "\n  korvoctl "))};
}

// The options of a row that are one choice, or the one option alone where it is none.
std::vector<const CommandOption*> alternativesTo(const CommandRow& row,
                                                 const CommandOption& option) {
  std::vector<const CommandOption*> found;
  for (const CommandOption& other : row.options) {
    if (&other == &option || (option.choice != 0 && other.choice == option.choice)) {
      found.push_back(&other);
    }
  }
  return found;
}

// What is wrong with which options were given; what their values look like has been checked.
std::optional<Problem> problemWithOptions(const CommandRow& row, const Arguments& arguments) {
  const auto isOfRow = [&](std::string_view name) {
    return std::any_of(row.options.begin(), row.options.end(),
                       [&](const CommandOption& option) { return option.name == name; });
  };
  // Given with the first words of this command, where they are a command of their own.
  for (const auto& [name, value] : arguments.options) {
    if (!isOfRow(name)) {
      return wrongUsage(row.path, fmt::format("'{}' has no option {}", row.path, name));
    }
  }
  if (arguments.json && !row.takesJson()) {
    return wrongUsage(row.path, fmt::format("'{}' answers in text only, without --json", row.path));
  }
  for (const CommandOption& option : row.options) {
    const auto alternatives = alternativesTo(row, option);
    std::vector<std::string> names;
    std::vector<std::string_view> given;
    for (const CommandOption* alternative : alternatives) {
      names.push_back(withValue(*alternative));
      if (arguments.options.contains(alternative->name)) {
        given.push_back(alternative->name);
      }
    }
    if (given.size() > 1) {
      return wrongUsage(row.path, fmt::format("{} exclude each other: give one of them",
                                              fmt::join(given, " and ")));
    }
    if (option.needed && given.empty()) {
      return wrongUsage(row.path, fmt::format("'{}' needs {}", row.path, fmt::join(names, " or ")));
    }
  }
  return std::nullopt;
}

CommandLine invocationOf(ParsedWords words) {
  if (!words.extras.empty()) {
    const std::string first = words.extras.front();
    return first.starts_with("-") ? unknownOption(words, first) : unexpectedWord(words, first);
  }
  if (!words.completion.empty()) {
    return Answer{completionScript(words.completion)};
  }
  const CommandRow* row = findCommand(words.path);
  if (row == nullptr) {
    return Problem{ExitStatus::kUsage,
                   words.path.empty()
                       ? "give a command; there are:"
                       : fmt::format("'{}' is not a whole command; there are:", words.path),
                   listCommandsBelow(words.path)};
  }
  if (std::optional<Problem> problem = problemWithOptions(*row, words.arguments)) {
    return *std::move(problem);
  }
  return Invocation{
      .row = row, .arguments = std::move(words.arguments), .options = std::move(words.options)};
}

}  // namespace

CommandLine parseCommandLine(std::span<const std::string> words, const std::string& defaultSocket) {
  std::vector<std::string> asked(words.begin(), words.end());
  if (!asked.empty() && asked.front() == "help") {
    asked.erase(asked.begin());
    asked.emplace_back("--help");
  }
  auto parsed = parseWords(asked, defaultSocket);
  if (Answer* answer = std::get_if<Answer>(&parsed)) {
    return std::move(*answer);
  }
  if (const WrongWords* wrong = std::get_if<WrongWords>(&parsed)) {
    return wrongUsage(wrong->path, wrong->message);
  }
  return invocationOf(std::get<ParsedWords>(std::move(parsed)));
}

}  // namespace KorvoCtl
