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

std::string syntax(const CommandRow& row) {
  if (!row.entry) {
    return {};
  }
  std::string text(row.keyword);
  for (const Positional& positional : row.positionals) {
    text += fmt::format("{}{}", positional.text, positional.name);
  }
  // The options of a choice follow each other. One that has a text of its own for its absence
  // always stands there, and so does a list of chips, which names all of them where none is given.
  for (auto option = row.options.begin(); option != row.options.end(); ++option) {
    if (option->replacesKeyword) {
      continue;
    }
    const auto textOf = [](const CommandOption& each) {
      return fmt::format("{}{}", each.text, placeholder(each.kind));
    };
    std::string alternatives = textOf(*option);
    if (!option->absent.empty() || option->needed || option->kind == ValueKind::kChips) {
      text += alternatives;
      continue;
    }
    while (option->choice != 0 && option + 1 != row.options.end() &&
           (option + 1)->choice == option->choice) {
      ++option;
      alternatives += "|" + textOf(*option);
    }
    text += fmt::format("[{}]", alternatives);
  }
  return text;
}

std::vector<std::string_view> wordsOf(std::string_view path) { return split(path, ' '); }

bool liesBelow(std::string_view path, std::string_view ancestor) {
  return ancestor.empty() || path == ancestor ||
         (path.starts_with(ancestor) && path[ancestor.size()] == ' ');
}

}  // namespace KorvoCtl
