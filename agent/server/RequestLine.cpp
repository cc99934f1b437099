#include "agent/server/RequestLine.h"

#include <fmt/format.h>
#include <simdjson.h>

#include <array>
#include <optional>

#include "text/Printable.h"

namespace KorvoAgent {

namespace {

// At its first use the library finds out what the processor can do, for which it takes memory and
// ends the process if it gets none. So it is used once while the program starts.
[[maybe_unused]] const bool kLibraryUsed = simdjson::validate_utf8("", 0);

constexpr std::string_view kAccepted =
    "a request is one line \"ENTRY FORMAT COMMAND\" with ENTRY plain, sync, async or agent and "
    "FORMAT text or json";

constexpr std::array<std::string_view, 4> kEntries{"plain", "sync", "async", "agent"};

std::optional<Entry> entryOf(std::string_view word) {
  for (std::size_t i = 0; i < kEntries.size(); ++i) {
    if (word == kEntries[i]) return static_cast<Entry>(i);
  }
  return std::nullopt;
}

std::optional<Rendering::OutputFormat> formatOf(std::string_view word) {
  if (word == "text") return Rendering::kText;
  if (word == "json") return Rendering::kJson;
  return std::nullopt;
}

LineProblem problem(std::string what) { return {fmt::format("{}; {}", what, kAccepted)}; }

/** Cuts the first word off `rest`; nothing when no space follows it. */
std::optional<std::string_view> cutWord(std::string_view& rest) {
  const std::size_t space = rest.find(' ');
  if (space == std::string_view::npos) return std::nullopt;
  const std::string_view word = rest.substr(0, space);
  rest.remove_prefix(space + 1);
  return word;
}

}  // namespace

std::string_view entryName(Entry entry) noexcept {
  return kEntries[static_cast<std::size_t>(entry)];
}

std::string_view formatName(Rendering::OutputFormat format) noexcept {
  return format == Rendering::kJson ? "json" : "text";
}

std::variant<RequestLine, LineProblem> parseRequestLine(std::string_view line) {
  if (line.empty()) return problem("the line is empty");
  if (!simdjson::validate_utf8(line.data(), line.size())) return problem("the line is not UTF-8");

  std::string_view rest = line;
  const std::optional<std::string_view> entryWord = cutWord(rest);
  const std::optional<Entry> entry = entryOf(entryWord.value_or(rest));
  if (!entry) {
    return problem("unknown entry " + Text::inQuotes(entryWord.value_or(rest)));
  }
  if (!entryWord) return problem("the format and the command are missing");
  const std::optional<std::string_view> formatWord = cutWord(rest);
  const std::optional<Rendering::OutputFormat> format = formatOf(formatWord.value_or(rest));
  if (!format) {
    return problem("unknown format " + Text::inQuotes(formatWord.value_or(rest)));
  }
  if (!formatWord) return problem("the command is missing");
  return RequestLine{*entry, *format, std::string(rest)};
}

LineProblem lineTooLong() {
  return problem(fmt::format("the line is longer than {} bytes", kMaxRequestLine));
}

LineProblem lineNotEnded() { return problem("the line does not end with a newline"); }

}  // namespace KorvoAgent
