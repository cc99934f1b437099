// The commands that korvoctl knows, one row each.
//
// The parser, the help texts, the suggestions and the command reference all read the same rows, so
// a new command is a new row and nothing else. A row says which entry of the agent takes the
// command and how its text is built; what comes back is copied as it is.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "client/ExitStatus.h"
#include "client/Request.h"

namespace KorvoCtl {

struct CommandRow;

// What the operator gave with a command.
struct Arguments {
  bool json = false;
  bool detail = false;
  // Chip numbers and names as given, separated by commas; after resolving (ChipList.h) the decimal
  // chip numbers alone. Absent: every chip of the agent.
  std::optional<std::string> chips = std::nullopt;
  // The values of the row's positionals in order; a repeating last one gives one word each.
  std::vector<std::string> words = {};
};

// A word that the operator must give after the command's own words.
struct Positional {
  std::string_view name;
  std::string_view help;
  // Takes every word that is left, at least one.
  bool repeats = false;
};

// Makes the request of a row. Fails with wrong usage where an argument cannot be right.
using RequestBuilder = Result<Request> (*)(const CommandRow& row, const Arguments& arguments);

// The keyword, then " detail" and the chip list where the row has them.
//
// The agent takes as argument what follows the keyword, and in a command that holds "detail" what
// follows the seven characters after that. So the list stands directly after the keyword or after
// "detail": KEYWORD0,1 and KEYWORD detail0,1 both give the argument "0,1".
[[nodiscard]] Result<Request> keywordRequest(const CommandRow& row, const Arguments& arguments);

// The keyword, a blank, and the row's one positional, which must be a decimal number.
[[nodiscard]] Result<Request> keywordNumberRequest(const CommandRow& row,
                                                   const Arguments& arguments);

// Entry, format and command all from the operator: the words ENTRY FORMAT COMMAND...
[[nodiscard]] Result<Request> rawRequest(const CommandRow& row, const Arguments& arguments);

struct CommandRow {
  // The words that name the command, separated by single blanks.
  std::string_view path = {};
  // Absent only where the operator names the entry.
  std::optional<Entry> entry = std::nullopt;
  std::string_view keyword = {};
  RequestBuilder build = &keywordRequest;
  // Options that the command takes.
  bool json = true;
  bool detail = false;
  bool chips = false;
  std::span<const Positional> positionals = {};
  // A check: the texts that stand before the totals of its text answer. The check found something
  // when one of the totals is not 0, or in JSON when a list of the document is not empty.
  std::span<const std::string_view> totals = {};
  // One line without a full stop, short enough to stand beside the command in a list.
  std::string_view summary = {};
  // Further lines of help, wrapped by hand at 79 columns, without a newline at the end.
  std::string_view details = {};
  // A whole command line, as one would type it.
  std::string_view example = {};
};

// The first words of commands, with what they stand for in the help text.
struct CommandGroup {
  std::string_view path = {};
  std::string_view summary = {};
};

// Both in the order in which help texts list them.
[[nodiscard]] std::span<const CommandRow> commandTable();
[[nodiscard]] std::span<const CommandGroup> commandGroups();

// The command's words with the names of its positionals: "agent cancel N".
[[nodiscard]] std::string synopsis(const CommandRow& row);

// The words of a path.
[[nodiscard]] std::vector<std::string_view> wordsOf(std::string_view path);

// Whether a path is the other one or lies below it, word by word; every path lies below "".
[[nodiscard]] bool liesBelow(std::string_view path, std::string_view ancestor);

}  // namespace KorvoCtl
