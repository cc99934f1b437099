// The commands that korvoctl knows, one row each.
//
// The parser, the help texts, the suggestions, the completions and the documents all read the same
// rows, so a new command is a new row and nothing else. A row says which entry of the agent takes
// the command and how its text is built; what comes back is copied as it is.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "client/ExitStatus.h"
#include "client/Request.h"
#include "client/Value.h"

namespace KorvoCtl {

struct CommandRow;

// What the operator gave with a command.
struct Arguments {
  bool json = false;
  // The row's options that were given, by name, each with its value; an option without a value has
  // "". The values of chips are as given, and decimal numbers after resolving (ChipList.h).
  std::map<std::string_view, std::string> options = {};
  // The values of the row's positionals in order; a repeating last one gives one word each.
  std::vector<std::string> words = {};
};

// An option of one command. What all commands have (--json and the common options) is none of
// these.
struct CommandOption {
  // With its dashes.
  std::string_view name = {};
  ValueKind kind = ValueKind::kNone;
  // What stands in the command where the option is given, its value right behind; and where it is
  // not.
  std::string_view text = {};
  std::string_view absent = {};
  // The text stands in place of the row's keyword.
  bool replacesKeyword = false;
  // Of the row's options with the same number, other than 0, one at most can be given.
  unsigned choice = 0;
  // Has to be given: the option itself or, where it is one of a choice, one of that choice.
  bool needed = false;
  std::string_view help = {};
};

// A word that the operator must give after the command's own words.
struct Positional {
  std::string_view name = {};
  ValueKind kind = ValueKind::kText;
  // What stands in the command before the value.
  std::string_view text = {};
  // Takes every word that is left, at least one.
  bool repeats = false;
  std::string_view help = {};
};

// Makes the request of a row. Fails with wrong usage where an argument cannot be right.
using RequestBuilder = Result<Request> (*)(const CommandRow& row, const Arguments& arguments);

// The keyword, or the text of the option that replaces it, then each positional and then each
// option, in the order of the row.
//
// An agent takes as argument what follows the keyword of a formatted command, and where the command
// holds "detail" what follows the seven characters after that. So a chip list stands directly after
// the keyword or after " detail": KEYWORD0,1 and KEYWORD detail0,1 both give the argument "0,1".
[[nodiscard]] Result<Request> keywordRequest(const CommandRow& row, const Arguments& arguments);

// Entry, format and command all from the operator: the words ENTRY FORMAT COMMAND...
[[nodiscard]] Result<Request> rawRequest(const CommandRow& row, const Arguments& arguments);

// The row whose keyword the command of a request begins with, the longest one where several do, as
// an agent reads it; or null.
[[nodiscard]] const CommandRow* rowOfRequest(const Request& request);

// What to tell the operator about a request in their own words which the agent takes although it
// cannot be what was meant: a list of chips that is empty, so that no chip is looked at. Empty
// where there is nothing to tell.
[[nodiscard]] std::string warningAbout(const Request& request);

// Answers without an agent.
using LocalCommand = std::string (*)(bool json);

struct CommandRow {
  // The words that name the command, separated by single blanks.
  std::string_view path = {};
  // Absent where the operator names the entry and where no agent is asked.
  std::optional<Entry> entry = std::nullopt;
  std::string_view keyword = {};
  RequestBuilder build = &keywordRequest;
  LocalCommand local = nullptr;
  // The agent's answer has no JSON form, though its entry knows one.
  bool textOnly = false;
  std::span<const CommandOption> options = {};
  std::span<const Positional> positionals = {};
  // A check: the texts that stand before the totals of its text answer. The check found something
  // when one of the totals is not 0, or in JSON when a list of the document is not empty.
  std::span<const std::string_view> totals = {};
  // What an answer that is empty means, where it means something. For standard error.
  std::string_view whenEmpty = {};
  // The command asks for one thing, and an answer that is empty says that it is not there.
  bool emptyMeansNo = false;
  // One line without a full stop, short enough to stand beside the command in a list.
  std::string_view summary = {};
  // Further lines of help, wrapped by hand at 79 columns, without a newline at the end.
  std::string_view details = {};
  // A whole command line, as one would type it.
  std::string_view example = {};

  [[nodiscard]] bool takesJson() const { return !textOnly && entry != Entry::kPlain; }
};

// The first words of commands, with what they stand for in the help text.
struct CommandGroup {
  std::string_view path = {};
  std::string_view summary = {};
};

// Both in the order in which help texts list them.
[[nodiscard]] std::span<const CommandRow> commandTable();
[[nodiscard]] std::span<const CommandGroup> commandGroups();

// The row of a path, or null.
[[nodiscard]] const CommandRow* findCommand(std::string_view path);

// The option of a row that names chips, or null.
[[nodiscard]] const CommandOption* chipOption(const CommandRow& row);

// The option with the word for its value: "--chip LIST".
[[nodiscard]] std::string withValue(const CommandOption& option);

// The command's words with the names of its positionals: "agent cancel N".
[[nodiscard]] std::string synopsis(const CommandRow& row);

// The same with the options: "show router-mac [--vlan N | --mac MAC]".
[[nodiscard]] std::string usage(const CommandRow& row);

// What the row sends to its entry, as one would write it: "MACT_DIFF[ detail]LIST". Brackets stand
// around what may be left out, "|" between what excludes each other. Empty for a row without one.
[[nodiscard]] std::string syntax(const CommandRow& row);

// The words of a path.
[[nodiscard]] std::vector<std::string_view> wordsOf(std::string_view path);

// Whether a path is the other one or lies below it, word by word; every path lies below "".
[[nodiscard]] bool liesBelow(std::string_view path, std::string_view ancestor);

}  // namespace KorvoCtl
