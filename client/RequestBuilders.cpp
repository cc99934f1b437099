#include <fmt/format.h>

#include <cstddef>

#include "client/CommandTable.h"
#include "client/Text.h"

namespace KorvoCtl {

namespace {

// The text that an option adds to a command.
std::string optionText(const CommandOption& option, const Arguments& arguments) {
  const auto given = arguments.options.find(option.name);
  return given == arguments.options.end() ? std::string(option.absent)
                                          : fmt::format("{}{}", option.text, given->second);
}

}  // namespace

Result<Request> keywordRequest(const CommandRow& row, const Arguments& arguments) {
  std::string keyword(row.keyword);
  std::string rest;
  for (std::size_t i = 0; i < row.positionals.size(); ++i) {
    rest += fmt::format("{}{}", row.positionals[i].text, arguments.words.at(i));
  }
  for (const CommandOption& option : row.options) {
    if (!option.replacesKeyword) {
      rest += optionText(option, arguments);
    } else if (arguments.options.contains(option.name)) {
      keyword = optionText(option, arguments);
    }
  }
  return Request{.entry = row.entry.value(),
                 .format = arguments.json ? Format::kJson : Format::kText,
                 .command = keyword + rest};
}

Result<Request> rawRequest(const CommandRow& /*row*/, const Arguments& arguments) {
  const std::string& entryText = arguments.words.at(0);
  const std::string& formatText = arguments.words.at(1);
  const std::optional<Entry> entry = entryFromText(entryText);
  if (!entry) {
    return Problem{ExitStatus::kUsage,
                   fmt::format("'{}' is no entry of the agent: give plain, sync, async or agent",
                               shown(entryText))};
  }
  const std::optional<Format> format = formatFromText(formatText);
  if (!format) {
    return Problem{ExitStatus::kUsage,
                   fmt::format("'{}' is no format: give text or json", shown(formatText))};
  }
  return Request{.entry = *entry,
                 .format = *format,
                 .command = fmt::format(
                     "{}", fmt::join(arguments.words.begin() + 2, arguments.words.end(), " "))};
}

}  // namespace KorvoCtl
