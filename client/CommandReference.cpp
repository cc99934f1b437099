// The command table as a Markdown document.
#include <fmt/format.h>

#include <string>

#include "client/CommandLine.h"

namespace KorvoCtl {

namespace {

std::string usageOf(const CommandRow& row) {
  std::string usage = "korvoctl " + synopsis(row);
  if (row.chips) {
    usage += " [--chip LIST]";
  }
  if (row.detail) {
    usage += " [--detail]";
  }
  if (row.json) {
    usage += " [--json]";
  }
  return usage;
}

}  // namespace

std::string commandReference() {
  std::string text = "# korvoctl commands\n";
  for (const CommandRow& row : commandTable()) {
    text += fmt::format("\n## {}\n\n{}.\n", row.path, row.summary);
    if (!row.details.empty()) {
      text += fmt::format("{}\n", row.details);
    }
    text += fmt::format("\n    {}\n\nExample:\n\n    {}\n", usageOf(row), row.example);
    if (row.entry) {
      text +=
          fmt::format("\nAsks the agent's entry `{}` for `{}`.\n", toText(*row.entry), row.keyword);
    }
  }
  return text;
}

}  // namespace KorvoCtl
