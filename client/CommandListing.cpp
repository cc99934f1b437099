#include "client/CommandListing.h"

#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "client/CommandTable.h"
#include "client/CommandTree.h"

namespace KorvoCtl {

namespace {

// A line below has the syntax, where that is more than the keyword.
struct Line {
  std::string command;
  std::string entry;
  std::string keyword;
  std::string syntax = {};
};

std::vector<Line> linesOf(const CommandRow& row) {
  const std::string entry(row.entry ? toText(*row.entry) : "-");
  std::vector<Line> lines{{.command = synopsis(row),
                           .entry = entry,
                           .keyword = row.keyword.empty() ? "-" : std::string(row.keyword)}};
  if (std::string whole = syntax(row); whole != row.keyword) {
    lines.back().syntax = std::move(whole);
  }
  for (const CommandOption& option : row.options) {
    if (option.replacesKeyword) {
      lines.push_back({fmt::format("{} {}", row.path, withValue(option)), entry,
                       fmt::format("{}{}", option.text, placeholder(option.kind))});
    }
  }
  return lines;
}

std::string textList() {
  std::vector<Line> lines{{"COMMAND", "ENTRY", "KEYWORD"}};
  for (const CommandRow& row : commandTable()) {
    for (Line& line : linesOf(row)) {
      lines.push_back(std::move(line));
    }
  }
  std::size_t width = 0;
  for (const Line& line : lines) {
    width = std::max(width, line.command.size());
  }
  std::string text;
  for (const Line& line : lines) {
    text += fmt::format("{:<{}} {:<5} {}\n", line.command, width, line.entry, line.keyword);
    if (!line.syntax.empty()) {
      text += fmt::format("    {}\n", line.syntax);
    }
  }
  return text;
}

class JsonList {
 public:
  std::string text() {
    writer_.StartObject();
    key("commands");
    writer_.StartArray();
    for (const CommandRow& row : commandTable()) {
      command(row);
    }
    writer_.EndArray();
    key("commonOptions");
    writer_.StartArray();
    for (const CommonOption& option : commonOptions()) {
      writer_.StartObject();
      member("name", option.names.substr(option.names.find("--")));
      textOrNull("value", option.value);
      member("help", option.help);
      writer_.EndObject();
    }
    writer_.EndArray();
    writer_.EndObject();
    return std::string(buffer_.GetString(), buffer_.GetSize()) + "\n";
  }

 private:
  void key(std::string_view name) {
    writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
  }
  void string(std::string_view value) {
    writer_.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
  }
  void member(std::string_view name, std::string_view value) {
    key(name);
    string(value);
  }
  void textOrNull(std::string_view name, std::string_view value) {
    key(name);
    if (value.empty()) {
      writer_.Null();
    } else {
      string(value);
    }
  }
  void command(const CommandRow& row) {
    writer_.StartObject();
    member("command", row.path);
    member("usage", "korvoctl " + usage(row));
    member("summary", row.summary);
    member("details", row.details);
    member("example", row.example);
    textOrNull("entry", row.entry ? toText(*row.entry) : "");
    textOrNull("keyword", row.keyword);
    textOrNull("syntax", syntax(row));
    key("json");
    writer_.Bool(row.takesJson());
    key("arguments");
    writer_.StartArray();
    for (const Positional& positional : row.positionals) {
      writer_.StartObject();
      member("name", positional.name);
      member("help", positional.help);
      key("repeats");
      writer_.Bool(positional.repeats);
      writer_.EndObject();
    }
    writer_.EndArray();
    key("options");
    writer_.StartArray();
    for (const CommandOption& each : row.options) {
      option(each);
    }
    writer_.EndArray();
    writer_.EndObject();
  }
  void option(const CommandOption& option) {
    writer_.StartObject();
    member("name", option.name);
    textOrNull("value", placeholder(option.kind));
    member("help", option.help);
    textOrNull("keyword", option.replacesKeyword ? option.text : "");
    key("needed");
    writer_.Bool(option.needed);
    writer_.EndObject();
  }

  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
};

}  // namespace

std::string listCommands(bool json) { return json ? JsonList().text() : textList(); }

}  // namespace KorvoCtl
