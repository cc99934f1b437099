#include "client/Request.h"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace KorvoCtl {

namespace {

constexpr std::array<std::pair<Entry, std::string_view>, 4> kEntries = {{
    {Entry::kPlain, "plain"},
    {Entry::kSync, "sync"},
    {Entry::kAsync, "async"},
    {Entry::kAgent, "agent"},
}};

constexpr std::array<std::pair<Format, std::string_view>, 2> kFormats = {{
    {Format::kText, "text"},
    {Format::kJson, "json"},
}};

template <class Table, class Value>
std::string_view textOf(const Table& table, Value value) {
  for (const auto& [key, text] : table) {
    if (key == value) {
      return text;
    }
  }
  return {};
}

template <class Value, std::size_t N>
std::optional<Value> valueOf(const std::array<std::pair<Value, std::string_view>, N>& table,
                             std::string_view wanted) {
  for (const auto& [key, text] : table) {
    if (text == wanted) {
      return key;
    }
  }
  return std::nullopt;
}

}  // namespace

std::string_view toText(Entry entry) { return textOf(kEntries, entry); }
std::string_view toText(Format format) { return textOf(kFormats, format); }
std::optional<Entry> entryFromText(std::string_view text) { return valueOf(kEntries, text); }
std::optional<Format> formatFromText(std::string_view text) { return valueOf(kFormats, text); }

Result<std::string> requestLine(const Request& request) {
  if (request.command.empty()) {
    return Problem{ExitStatus::kUsage, "the command is empty"};
  }
  if (request.command.find('\n') != std::string::npos) {
    return Problem{ExitStatus::kUsage,
                   "the command holds a newline; a request is one line, one command"};
  }
  std::string line =
      fmt::format("{} {} {}\n", toText(request.entry), toText(request.format), request.command);
  if (line.size() > kMaxRequestLine) {
    return Problem{ExitStatus::kUsage,
                   fmt::format("the request is {} bytes long, the agent takes at most {}",
                               line.size(), kMaxRequestLine)};
  }
  return line;
}

}  // namespace KorvoCtl
