#include "bench/whole_process/CapturedDump.h"

#include <simdjson.h>

#include <array>
#include <charconv>
#include <stdexcept>

#include "bench/whole_process/Exchange.h"

namespace KorvoBench {

namespace {

[[noreturn]] void unexpected(std::string_view what) {
  throw std::runtime_error("not a dump of a made-up table: " + std::string(what.substr(0, 200)));
}

template <class Number>
Number numberOf(std::string_view digits, int base = 10) {
  Number value = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
  if (error != std::errc{} || end != digits.data() + digits.size()) unexpected(digits);
  return value;
}

template <class Number>
Number hexOf(std::string_view text) {
  if (!text.starts_with("0x")) unexpected(text);
  return numberOf<Number>(text.substr(2), 16);
}

// hhhh.hhhh.hhhh
std::uint64_t macOf(std::string_view text) {
  if (text.size() != 14) unexpected(text);
  std::uint64_t mac = 0;
  for (std::size_t at = 0; at < 15; at += 5) {
    mac = mac << 16 | numberOf<std::uint16_t>(text.substr(at, 4), 16);
  }
  return mac;
}

constexpr std::size_t kNumCells = 9;

std::array<std::string_view, kNumCells> cellsOf(std::string_view line) {
  std::array<std::string_view, kNumCells> cells;
  std::size_t at = 0;
  for (std::string_view& cell : cells) {
    at = line.find_first_not_of(' ', at);
    if (at == std::string_view::npos) unexpected(line);
    const std::size_t end = std::min(line.find(' ', at), line.size());
    cell = line.substr(at, end - at);
    at = end;
  }
  if (at != line.size()) unexpected(line);
  return cells;
}

}  // namespace

std::string_view formatName(Format format) noexcept {
  return format == Format::text ? "text" : "json";
}

std::string_view dumpLine(Format format) noexcept {
  return format == Format::text ? kDumpText : kDumpJson;
}

CapturedDump::CapturedDump(std::string bytes, Format format, std::uint64_t rows)
    : format_(format), bytes_(std::move(bytes)) {
  rows_.reserve(rows);
  if (format == Format::text) {
    parseText();
  } else {
    parseJson();
  }
  if (rows_.size() != rows) {
    throw std::runtime_error("the dump has " + std::to_string(rows_.size()) + " rows instead of " +
                             std::to_string(rows));
  }
}

// Three lines of head, the rows, a rule and the number of entries.
void CapturedDump::parseText() {
  const std::string_view text = bytes_;
  for (int line = 0; line < 3; ++line) headSize_ = text.find('\n', headSize_) + 1;
  std::size_t at = headSize_;
  while (at < text.size() && text[at] == ' ') {
    const std::size_t end = text.find('\n', at);
    if (end == std::string_view::npos) unexpected(text.substr(at));
    const auto cells = cellsOf(text.substr(at, end - at));
    if (cells[3] != "-") unexpected(cells[3]);
    rows_.push_back({.mac = macOf(cells[1]),
                     .bitmap = hexOf<std::uint64_t>(cells[5]),
                     .intf = word(cells[2]),
                     .type = word(cells[4]),
                     .source = word(cells[6]),
                     .flagWords = "",
                     .keyType = word(cells[8]),
                     .vlan = numberOf<std::uint16_t>(cells[0]),
                     .mcastId = 0,
                     .flags = hexOf<std::uint16_t>(cells[7])});
    at = end + 1;
  }
  tailStart_ = at;
}

// Everything between the first "[" and the last "]" is rows.
void CapturedDump::parseJson() {
  headSize_ = bytes_.find('[') + 1;
  tailStart_ = bytes_.rfind(']');
  bytes_.reserve(bytes_.size() + simdjson::SIMDJSON_PADDING);
  std::string flags;
  simdjson::ondemand::parser parser;
  simdjson::ondemand::document document = parser.iterate(bytes_);
  for (simdjson::ondemand::object entry : document["macTableEntries"].get_array()) {
    DumpRow row{};
    row.vlan = static_cast<std::uint16_t>(entry["vlan"].get_uint64());
    row.mac = macOf(entry["mac"].get_string());
    row.intf = word(entry["interface"].get_string());
    row.mcastId = static_cast<std::uint16_t>(entry["mcastId"].get_uint64());
    row.type = word(entry["type"].get_string());
    row.bitmap = hexOf<std::uint64_t>(entry["bitmap"].get_string());
    row.source = word(entry["source"].get_string());
    flags.clear();
    for (std::string_view flag : entry["flags"].get_array()) {
      flags.append(flags.empty() ? "" : ",").append("\"").append(flag).append("\"");
    }
    row.flagWords = word(flags);
    row.keyType = word(entry["keyType"].get_string());
    rows_.push_back(row);
  }
}

const char* CapturedDump::word(std::string_view text) {
  return words_.emplace(text).first->c_str();
}

}  // namespace KorvoBench
