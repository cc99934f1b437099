#include "client/CommandTable.h"

#include <fmt/format.h>

#include <algorithm>

#include "client/Text.h"

namespace KorvoCtl {

const CommandRow* findCommand(std::string_view path) {
  const auto rows = commandTable();
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [&](const CommandRow& row) { return row.path == path; });
  return found == rows.end() ? nullptr : &*found;
}

const CommandOption* chipOption(const CommandRow& row) {
  const auto found =
      std::find_if(row.options.begin(), row.options.end(), [](const CommandOption& option) {
        return option.kind == ValueKind::kChip || option.kind == ValueKind::kChips;
      });
  return found == row.options.end() ? nullptr : &*found;
}

std::string withValue(const CommandOption& option) {
  const std::string_view value = placeholder(option.kind);
  return fmt::format("{}{}{}", option.name, value.empty() ? "" : " ", value);
}

std::string synopsis(const CommandRow& row) {
  std::string text(row.path);
  for (const Positional& positional : row.positionals) {
    text += fmt::format(" {}{}", positional.name, positional.repeats ? "..." : "");
  }
  return text;
}

std::string usage(const CommandRow& row) {
  std::string text = synopsis(row);
  // The options of a choice follow each other.
  for (auto option = row.options.begin(); option != row.options.end(); ++option) {
    std::string alternatives = withValue(*option);
    const bool needed = option->needed;
    bool several = false;
    while (option->choice != 0 && option + 1 != row.options.end() &&
           (option + 1)->choice == option->choice) {
      ++option;
      several = true;
      alternatives += " | " + withValue(*option);
    }
    text += needed && !several
                ? " " + alternatives
                : fmt::format(" {}{}{}", needed ? '(' : '[', alternatives, needed ? ')' : ']');
  }
  return text + (row.takesJson() ? " [--json]" : "");
}

std::vector<std::string_view> wordsOf(std::string_view path) { return split(path, ' '); }

bool liesBelow(std::string_view path, std::string_view ancestor) {
  return ancestor.empty() || path == ancestor ||
         (path.starts_with(ancestor) && path[ancestor.size()] == ' ');
}

}  // namespace KorvoCtl
