#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "client/CommandTable.h"
#include "text/Printable.h"

namespace KorvoCtl {

namespace {

// The text that an option adds to a command.
std::string optionText(const CommandOption& option, const Arguments& arguments) {
  const auto given = arguments.options.find(option.name);
  return given == arguments.options.end() ? std::string(option.absent)
                                          : fmt::format("{}{}", option.text, given->second);
}

// What an agent takes as the argument of a formatted command; see keywordRequest().
std::string_view argumentOf(const Request& request, const CommandRow& row) {
  constexpr std::string_view kDetailWord = "detail";
  std::size_t begin = row.keyword.size();
  if (request.command.find(kDetailWord) != std::string::npos) {
    begin += kDetailWord.size() + 1;
  }
  const std::string_view command = request.command;
  return command.substr(std::min(begin, command.size()));
}

}  // namespace

const CommandRow* rowOfRequest(const Request& request) {
  const CommandRow* best = nullptr;
  for (const CommandRow& row : commandTable()) {
    if (row.entry == request.entry && request.command.starts_with(row.keyword) &&
        (best == nullptr || row.keyword.size() > best->keyword.size())) {
      best = &row;
    }
  }
  return best;
}

std::string warningAbout(const Request& request) {
  const CommandRow* row = rowOfRequest(request);
  const CommandOption* chips = row == nullptr ? nullptr : chipOption(*row);
  if (chips == nullptr || chips->kind != ValueKind::kChips || !argumentOf(request, *row).empty()) {
    return {};
  }
  return fmt::format(
      "'{}' names no chip, so none was looked at; write the chips' numbers behind it ({}0,1), or "
      "ask with 'korvoctl {}'",
      Text::shortened(request.command, 60), Text::shortened(request.command, 60), row->path);
}

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
    return Problem{
        ExitStatus::kUsage,
        fmt::format("'{}' is no entry of the agent: give plain, sync, async or agent", entryText)};
  }
  const std::optional<Format> format = formatFromText(formatText);
  if (!format) {
    return Problem{ExitStatus::kUsage,
                   fmt::format("'{}' is no format: give text or json", formatText)};
  }
  return Request{.entry = *entry,
                 .format = *format,
                 .command = fmt::format(
                     "{}", fmt::join(arguments.words.begin() + 2, arguments.words.end(), " "))};
}

}  // namespace KorvoCtl
