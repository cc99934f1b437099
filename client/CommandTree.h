// The command table as a tree of words with their options, and what it makes of a command line.
//
// Knows which options stand where and what their values look like. Whether the words are a whole
// command, and what to say where they are not, is CommandLine.cpp's.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "client/CommandLine.h"

namespace KorvoCtl {

// A command line without anything wrong in itself.
struct ParsedWords {
  // The words of commands that were given, "" where none were.
  std::string path;
  // The options that stand there, with their dashes.
  std::vector<std::string> optionNames;
  // Words that fit nowhere.
  std::vector<std::string> extras;
  Arguments arguments;
  CommonOptions options;
  // The shell whose completion is asked for, or "".
  std::string completion;
};

// A command line that is wrong: how, and the words of commands before that.
struct WrongWords {
  std::string message;
  std::string path;
};

[[nodiscard]] std::variant<ParsedWords, Answer, WrongWords> parseWords(
    std::span<const std::string> words, const std::string& defaultSocket);

// One line per command below the path, whole, so that it can be copied.
[[nodiscard]] std::string listCommandsBelow(std::string_view path);

// Options that stand behind every part of a command, as help texts list them.
struct CommonOption {
  std::string_view names;  // as CLI11 takes them: "-s,--socket"
  std::string_view value;  // the word for the value; empty where it has none
  std::string_view help;
};
[[nodiscard]] std::span<const CommonOption> commonOptions();

}  // namespace KorvoCtl
