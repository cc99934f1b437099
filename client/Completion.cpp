#include "client/Completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "client/CommandTable.h"
#include "client/CommandTree.h"
#include "client/Text.h"

namespace KorvoCtl {

namespace {

// A word with what it means.
using Choice = std::pair<std::string, std::string_view>;

constexpr std::string_view kJsonHelp = "Answer in JSON instead of text";

// The two scripts do the same in two languages: they follow the words of commands as far as the
// table does, stepping over options and their values, and offer what may follow there.
//
// Names of chips come from another process and may hold anything. `compgen -W` would expand them,
// so they are compared and quoted one by one.
constexpr std::string_view kBashScript = R"sh(# bash completion for korvoctl.
# Made from its command table by `korvoctl --completion bash`.

# Sets `commands` to the words that may follow those of $1, and `options` to its options.
_korvoctl_after() {
  case $1 in
@AFTER@    *) return 1 ;;
  esac
}

# Completes $2 with the numbers and names of the chips of the agent at the socket $1, of which
# several may be given with commas between; with nothing where no agent answers.
_korvoctl_chips() {
  local before='' value=$2 number name each
  local -a agent=("${COMP_WORDS[0]}")
  [[ -n $1 ]] && agent+=(-s "$1")
  if [[ $value == *,* ]]; then
    before=${value%,*},
    value=${value##*,}
  fi
  while read -r number name; do
    for each in "$number" "$name"; do
      [[ -n $each && $each == "$value"* ]] && COMPREPLY+=("$before$(printf '%q' "$each")")
    done
  done < <("${agent[@]}" --timeout 1 --silence 1 agent chips 2>/dev/null </dev/null)
}

_korvoctl() {
  local current=${COMP_WORDS[COMP_CWORD]} typed='' takes='' socket='' commands='' options='' word i
  local -i others=0
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if [[ -n $takes ]]; then
      # "--chip=0" comes as three words.
      [[ $word == = ]] && continue
      [[ $takes == -s || $takes == --socket ]] && socket=$word
      takes=''
      continue
    fi
    case $word in
      @TAKES@) takes=$word ;;
      -*) ;;
      help) [[ -n $typed ]] && others+=1 ;;
      *)
        if _korvoctl_after "${typed:+$typed }$word"; then
          typed+=${typed:+ }$word
        else
          others+=1
        fi
        ;;
    esac
  done
  [[ $current == = ]] && current=''
  case $takes in
    -s | --socket)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    --chip)
      _korvoctl_chips "$socket" "$current"
      return
      ;;
    ?*) return ;;
  esac
  _korvoctl_after "$typed"
  [[ $typed == raw ]] && case $others in
    0) commands='@ENTRIES@' ;;
    1) commands='@FORMATS@' ;;
  esac
  # Behind a command's own words there is nothing but options.
  [[ $current == -* || -z $commands ]] && commands="$options @COMMON@"
  mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
}

complete -F _korvoctl korvoctl
)sh";

constexpr std::string_view kZshScript = R"sh(#compdef korvoctl
# zsh completion for korvoctl.
# Made from its command table by `korvoctl --completion zsh`.

# Sets `following` to the words that may follow those of $1, and `itsOptions` to its options.
_korvoctl_after() {
  case $1 in
@AFTER@    (*) return 1 ;;
  esac
}

# The numbers and names of the chips of the agent at the socket $1, of which several may be given
# with commas between; nothing where no agent answers.
_korvoctl_chips() {
  local -a agent chips
  agent=($words[1])
  [[ -n $1 ]] && agent+=(-s $1)
  local line
  for line in ${(f)"$($agent --timeout 1 --silence 1 agent chips 2>/dev/null </dev/null)"}; do
    chips+=(${line%% *} ${line#* })
  done
  compset -P '*,'
  compadd -a chips
}

_korvoctl() {
  local -a following itsOptions
  local word typed='' takes='' socket=''
  integer i others=0
  for ((i = 2; i < CURRENT; i++)); do
    word=$words[i]
    if [[ -n $takes ]]; then
      [[ $takes == (-s|--socket) ]] && socket=$word
      takes=''
      continue
    fi
    case $word in
      (--socket=*) socket=${word#*=} ;;
      (@TAKES@) takes=$word ;;
      (-*) ;;
      (help) [[ -n $typed ]] && ((others += 1)) ;;
      (*)
        if _korvoctl_after "${typed:+$typed }$word"; then
          typed+=${typed:+ }$word
        else
          ((others += 1))
        fi
        ;;
    esac
  done
  if [[ -z $takes && $words[CURRENT] == --*=* ]]; then
    takes=${words[CURRENT]%%=*}
    compset -P '*='
  fi
  case $takes in
    (-s|--socket) _files; return ;;
    (--chip) _korvoctl_chips "$socket"; return ;;
    (?*) return 1 ;;
  esac
  _korvoctl_after "$typed"
  [[ $typed == raw ]] && case $others in
    (0) following=(@ENTRIES@) ;;
    (1) following=(@FORMATS@) ;;
  esac
  if [[ $words[CURRENT] == -* || $#following -eq 0 ]]; then
    itsOptions+=(
@COMMON@    )
    _describe -o 'option' itsOptions
  else
    _describe 'command' following
  fi
}

_korvoctl "$@"
)sh";

// The words that may follow those of the path, each once, with the summary of what they lead to.
std::vector<Choice> wordsAfter(std::string_view path) {
  std::vector<Choice> choices;
  const auto add = [&](std::string_view below, std::string_view summary) {
    if (below == path || !liesBelow(below, path)) {
      return;
    }
    const std::string_view rest = below.substr(path.empty() ? 0 : path.size() + 1);
    const std::string_view word = rest.substr(0, rest.find(' '));
    auto known = std::find_if(choices.begin(), choices.end(),
                              [&](const Choice& choice) { return choice.first == word; });
    if (known == choices.end()) {
      known = choices.emplace(choices.end(), word, "");
    }
    if (word == rest) {
      known->second = summary;
    }
  };
  for (const CommandRow& row : commandTable()) {
    add(row.path, row.summary);
  }
  for (const CommandGroup& group : commandGroups()) {
    add(group.path, group.summary);
  }
  if (path.empty()) {
    choices.emplace_back("help", "Explain a command");
  }
  return choices;
}

std::vector<Choice> optionsAfter(std::string_view path) {
  std::vector<Choice> choices;
  if (path.empty()) {
    choices.emplace_back("--version", "Print the version and end");
  }
  const CommandRow* row = findCommand(path);
  if (row == nullptr) {
    return choices;
  }
  for (const CommandOption& option : row->options) {
    choices.emplace_back(option.name, option.help);
  }
  if (row->takesJson()) {
    choices.emplace_back("--json", kJsonHelp);
  }
  return choices;
}

std::vector<Choice> commonChoices() {
  std::vector<Choice> choices;
  for (const CommonOption& option : commonOptions()) {
    for (const std::string_view name : split(option.names, ',')) {
      choices.emplace_back(name, option.help);
    }
  }
  return choices;
}

// Every option with a value, separated as the patterns of a case are.
std::string optionsWithValue() {
  std::vector<std::string> names;
  for (const CommonOption& option : commonOptions()) {
    if (!option.value.empty()) {
      for (const std::string_view name : split(option.names, ',')) {
        names.emplace_back(name);
      }
    }
  }
  for (const CommandRow& row : commandTable()) {
    for (const CommandOption& option : row.options) {
      if (option.kind != ValueKind::kNone &&
          std::find(names.begin(), names.end(), option.name) == names.end()) {
        names.emplace_back(option.name);
      }
    }
  }
  return fmt::format("{}", fmt::join(names, " | "));
}

// In single quotes.
std::string singleQuoted(std::string_view text) {
  return fmt::format("'{}'", fmt::join(split(text, '\''), "'\\''"));
}

std::string wordsOnly(const std::vector<Choice>& choices) {
  std::vector<std::string_view> words;
  words.reserve(choices.size());
  for (const Choice& choice : choices) {
    words.emplace_back(choice.first);
  }
  return fmt::format("{}", fmt::join(words, " "));
}

// One "word:meaning" a line.
std::string described(const std::vector<Choice>& choices) {
  std::string text;
  for (const auto& [word, meaning] : choices) {
    text += fmt::format("        {}\n", singleQuoted(fmt::format("{}:{}", word, meaning)));
  }
  return text;
}

std::string bashCase(std::string_view path) {
  return fmt::format("    {}) commands={} options={} ;;\n", singleQuoted(path),
                     singleQuoted(wordsOnly(wordsAfter(path))),
                     singleQuoted(wordsOnly(optionsAfter(path))));
}

std::string zshCase(std::string_view path) {
  const auto list = [](std::string_view name, const std::vector<Choice>& choices) {
    return choices.empty() ? fmt::format("      {}=()\n", name)
                           : fmt::format("      {}=(\n{}      )\n", name, described(choices));
  };
  return fmt::format("    ({})\n{}{}      ;;\n", singleQuoted(path),
                     list("following", wordsAfter(path)), list("itsOptions", optionsAfter(path)));
}

// A case for the root, for every first words and for every command.
template <class CaseOf>
std::string casesOf(const CaseOf& caseOf) {
  std::string text = caseOf("");
  for (const CommandGroup& group : commandGroups()) {
    text += caseOf(group.path);
  }
  for (const CommandRow& row : commandTable()) {
    text += caseOf(row.path);
  }
  return text;
}

std::string filledIn(std::string_view script,
                     const std::vector<std::pair<std::string_view, std::string>>& gaps) {
  std::string text(script);
  for (const auto& [gap, filling] : gaps) {
    for (std::size_t at = text.find(gap); at != std::string::npos; at = text.find(gap, at)) {
      text.replace(at, gap.size(), filling);
      at += filling.size();
    }
  }
  return text;
}

std::string texts(std::initializer_list<std::string_view> words) {
  return fmt::format("{}", fmt::join(words, " "));
}

}  // namespace

std::string completionScript(std::string_view shell) {
  const std::string entries = texts(
      {toText(Entry::kPlain), toText(Entry::kSync), toText(Entry::kAsync), toText(Entry::kAgent)});
  const std::string formats = texts({toText(Format::kText), toText(Format::kJson)});
  if (shell == "bash") {
    return filledIn(kBashScript, {{"@AFTER@", casesOf(&bashCase)},
                                  {"@TAKES@", optionsWithValue()},
                                  {"@ENTRIES@", entries},
                                  {"@FORMATS@", formats},
                                  {"@COMMON@", wordsOnly(commonChoices())}});
  }
  return filledIn(kZshScript, {{"@AFTER@", casesOf(&zshCase)},
                               {"@TAKES@", optionsWithValue()},
                               {"@ENTRIES@", entries},
                               {"@FORMATS@", formats},
                               {"@COMMON@", described(commonChoices())}});
}

}  // namespace KorvoCtl
