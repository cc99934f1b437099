#include "agent/chips/HwRowPrinter.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "agent/model/CellText.h"
#include "agent/model/FastDigits.h"
#include "platform/rendering/TableRenderer.h"

namespace KorvoAgent {

using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryCollection;
using Rendering::RendererV2;

namespace {

constexpr std::string_view kInvalidWord = "invalid";
constexpr std::string_view kNone = "-";
constexpr std::size_t kNumTypes = kHwMacTypeWords.size();

std::string_view typeWord(const HwMacEntry& hw) {
  return hw.invalid ? kInvalidWord : kHwMacTypeWords[static_cast<std::size_t>(hw.type)];
}

// Where the cells of a line begin and what they are padded to.
enum Cell : std::size_t { vlan, mac, type, group, classId, port, numCells };
constexpr std::array<std::size_t, numCells> kWidth{4, 17, 8, 12, 7, 17};
constexpr auto kStart = [] {
  std::array<std::size_t, numCells> start{};
  for (std::size_t i = 1; i < numCells; ++i) start[i] = start[i - 1] + kWidth[i - 1] + 1;
  return start;
}();
constexpr std::size_t kLineLength = kStart[port] + kWidth[port] + 1;  // with the newline

// Rounded up so that a line is copied in whole machine registers.
struct Line {
  std::array<char, (kLineLength + 15) / 16 * 16> bytes;
};

// A line for each word of a type, by type; type none stands for an entry that is not held, and the
// last one for an invalid one.
constexpr std::array<Line, kNumTypes + 1> makeLines() {
  std::array<Line, kNumTypes + 1> lines{};
  const auto place = [](Line& line, std::size_t at, std::string_view text) {
    std::copy(text.begin(), text.end(), line.bytes.begin() + static_cast<int>(at));
  };
  for (std::size_t i = 0; i < lines.size(); ++i) {
    Line& line = lines[i];
    line.bytes.fill(' ');
    place(line, kStart[vlan] + kWidth[vlan] - 1, kNone);
    std::string_view word = kInvalidWord;
    if (i < kNumTypes) word = i == 0 ? kNone : kHwMacTypeWords[i];
    place(line, kStart[type], word);
    place(line, kStart[group], kNone);
    place(line, kStart[classId], kNone);
    place(line, kStart[port], kNone);
    line.bytes[kLineLength - 1] = '\n';
  }
  return lines;
}
constexpr auto kLines = makeLines();

char* writeNumber(char* out, std::int64_t value) {
  constexpr std::size_t kMostDigits = 20;
  return std::to_chars(out, out + kMostDigits, value).ptr;
}

std::string orDash(std::uint32_t value) {
  return value == 0 ? std::string(kNone) : std::to_string(value);
}

}  // namespace

void HwRowPrinter::printHwRow(RendererV2& renderer, Rendering::TableRenderer* table,
                              Tessar::FapId chipId, const MacEntryCollection& entries,
                              const MacVlanPair& pair, const MacEntry& entry) {
  const HwChip* const chip = chips_.find(chipId);
  std::int32_t index = -1;
  const HwMacEntry* const hw =
      chip == nullptr ? nullptr : find(*chip, entries, {pair, hwKeyType(entry)}, index);
  if (renderer.isJson()) {
    if (!printJsonFast(renderer, pair, hw, index)) printJsonPlain(renderer, pair, hw, index);
  } else if (table != nullptr || !printLineFast(renderer, pair, hw)) {
    printTextPlain(renderer, table, pair, hw, index);
  }
}

inline const HwMacEntry* HwRowPrinter::find(const HwChip& chip, const MacEntryCollection& entries,
                                            const HwMacKey& key, std::int32_t& index) {
  if (nextAhead_ != numAhead_ && aheadChip_ == &chip && ahead_[nextAhead_] == key.pair) [[likely]] {
    ++nextAhead_;
  } else {
    fetchAhead(chip, entries, key.pair);
  }
  const HwMacTable::Index found = chip.macTable.find(key);
  if (found == HwMacTable::kNowhere) return nullptr;
  index = static_cast<std::int32_t>(found);
  return &chip.macTable.at(found);
}

void HwRowPrinter::fetchAhead(const HwChip& chip, const MacEntryCollection& entries,
                              const MacVlanPair& pair) {
  aheadChip_ = &chip;
  numAhead_ = 0;
  nextAhead_ = 0;
  for (auto it = entries.upperBound(pair); it != entries.end() && numAhead_ != kAhead; ++it) {
    ahead_[numAhead_++] = it->key;
    chip.macTable.prefetch({it->key, hwKeyType(it->value)});
  }
}

inline const HwRowPrinter::PortCell& HwRowPrinter::cellOf(const HwMacEntry& hw) {
  // All that the cell depends on, and a bit that no other word of an unused cell has.
  const std::uint64_t word = std::uint64_t{hw.destinationNumber} |
                             std::uint64_t{hw.destinationPort} << 16 |
                             std::uint64_t{static_cast<std::uint8_t>(hw.destinationKind)} << 32 |
                             std::uint64_t{hw.dstDiscard} << 40 | std::uint64_t{1} << 63;
  PortCell& cell = cells_[word * 0x9E3779B97F4A7C15ULL >> (64 - kCellBits)];
  if (cell.word != word) [[unlikely]] {
    cell.word = word;
    fill(cell, hw);
  }
  return cell;
}

std::string HwRowPrinter::portText(const HwMacEntry& hw, std::size_t room) const {
  if (hw.dstDiscard) return "discard";
  const Bridging::IntfId intf = chips_.ports().interfaceOf(hw.destination());
  if (!intf.isDefault()) return intfCellText(intf, room);
  const std::string number = std::to_string(hw.destinationNumber);
  switch (hw.destinationKind) {
    case HwDestinationKind::port:
      return "mod=" + number + " port=" + std::to_string(hw.destinationPort);
    case HwDestinationKind::trunk:
      return "trunkId=" + number;
    case HwDestinationKind::none:
    case HwDestinationKind::mcastGroup:
      break;
  }
  return std::string(kNone);
}

void HwRowPrinter::fill(PortCell& cell, const HwMacEntry& hw) const {
  const std::string shown = portText(hw, kPortRoom);
  cell.textLength = shown.size() <= kPortRoom ? static_cast<std::uint8_t>(shown.size()) : 0;
  cell.text.fill(' ');
  if (cell.textLength != 0) std::ranges::copy(shown, cell.text.begin());

  const Bridging::IntfId intf = chips_.ports().interfaceOf(hw.destination());
  const bool isInterface = !hw.dstDiscard && !intf.isDefault();
  const std::string json =
      isInterface ? intf.jsonString() : (shown == kNone ? "\"\"" : '"' + shown + '"');
  cell.jsonLength = json.size() <= cell.json.size() ? static_cast<std::uint8_t>(json.size()) : 0;
  if (cell.jsonLength != 0) std::ranges::copy(json, cell.json.begin());
}

inline bool HwRowPrinter::printLineFast(RendererV2& renderer, const MacVlanPair& pair,
                                        const HwMacEntry* hw) {
  if (pair.vlan() > 9999) [[unlikely]]
    return false;
  const PortCell* const cell = hw == nullptr ? nullptr : &cellOf(*hw);
  if (cell != nullptr && cell->textLength == 0) [[unlikely]]
    return false;
  Rendering::PrintBuffer& buffer = renderer.buffer();
  char* const out = buffer.reserve(sizeof(Line));
  const std::size_t line =
      hw == nullptr ? 0 : (hw->invalid ? kNumTypes : static_cast<std::size_t>(hw->type));
  std::memcpy(out, &kLines[line], sizeof(Line));
  if (pair.vlan() != 0) store(out + kStart[vlan], decimal4(pair.vlan()).blanked());
  pair.mac().writeDisplay(out + kStart[mac]);
  if (hw != nullptr) {
    std::memcpy(out + kStart[port], cell->text.data(), kPortRoom);
    if (hw->classId != 0) writeNumber(out + kStart[classId], hw->classId);
    if (hw->destinationKind == HwDestinationKind::mcastGroup && hw->destinationNumber != 0) {
      writeNumber(out + kStart[group], hw->destinationNumber);
    }
  }
  buffer.commit(out + kLineLength);
  return true;
}

inline bool HwRowPrinter::printJsonFast(RendererV2& renderer, const MacVlanPair& pair,
                                        const HwMacEntry* hw, std::int32_t index) {
  const PortCell* const cell = hw == nullptr ? nullptr : &cellOf(*hw);
  if (pair.vlan() > 9999 || (cell != nullptr && cell->jsonLength == 0)) [[unlikely]] {
    return false;
  }
  // The longest row is below 200 bytes.
  constexpr std::size_t kRoom = 256;
  Rendering::PrintBuffer& buffer = renderer.buffer();
  char* out = buffer.reserve(kRoom);
  const auto literal = [&out](const auto& text) {
    std::memcpy(out, text, sizeof text - 1);
    out += sizeof text - 1;
  };
  *out = ',';
  out += renderer.separatorDue() ? 1 : 0;
  literal("\"vlan\":");
  const auto number = decimal4(pair.vlan());
  store(out, number.leftAligned());
  out += number.length();
  literal(",\"mac\":\"");
  pair.mac().writeDisplay(out);
  out += Bridging::EthAddr::kDisplayLength;
  if (hw == nullptr) {
    literal(
        "\",\"programmed\":false,\"type\":\"\",\"mcastGroupId\":0,\"classId\":0,\"port\":\"\","
        "\"hwIndex\":-1");
  } else {
    literal("\",\"programmed\":true,\"type\":\"");
    const std::string_view word = typeWord(*hw);
    std::memcpy(out, word.data(), word.size());
    out += word.size();
    literal("\",\"mcastGroupId\":");
    const bool hasGroup = hw->destinationKind == HwDestinationKind::mcastGroup;
    out = writeNumber(out, hasGroup ? hw->destinationNumber : 0);
    literal(",\"classId\":");
    out = writeNumber(out, hw->classId);
    literal(",\"port\":");
    std::memcpy(out, cell->json.data(), cell->json.size());
    out += cell->jsonLength;
    literal(",\"hwIndex\":");
    out = writeNumber(out, index);
  }
  buffer.commit(out);
  renderer.separatorDueIs(true);
  return true;
}

// Any value, the same layout.

void HwRowPrinter::printTextPlain(RendererV2& renderer, Rendering::TableRenderer* table,
                                  const MacVlanPair& pair, const HwMacEntry* hw,
                                  std::int32_t index) const {
  constexpr std::size_t kDetailPortRoom = 24;
  const std::string vlanCell = orDash(pair.vlan());
  const std::string macCell = pair.mac().stringValue();
  const bool held = hw != nullptr;
  const bool hasGroup = held && hw->destinationKind == HwDestinationKind::mcastGroup;
  const std::string_view typeCell = held ? typeWord(*hw) : kNone;
  const std::string groupCell = orDash(hasGroup ? hw->destinationNumber : 0);
  const std::string classCell = orDash(held ? hw->classId : 0);
  const std::string portCell =
      held ? portText(*hw, table == nullptr ? kPortRoom : kDetailPortRoom) : std::string(kNone);
  if (table == nullptr) {
    renderer.addFrills("%4s %-17s %-8s %-12s %-7s %-17s\n", vlanCell, macCell, typeCell, groupCell,
                       classCell, portCell);
  } else {
    const std::string indexCell = held ? std::to_string(index) : std::string(kNone);
    table->addRow({vlanCell, macCell, typeCell, groupCell, classCell, portCell, indexCell});
  }
}

void HwRowPrinter::printJsonPlain(RendererV2& renderer, const MacVlanPair& pair,
                                  const HwMacEntry* hw, std::int32_t index) const {
  const bool held = hw != nullptr;
  const bool hasGroup = held && hw->destinationKind == HwDestinationKind::mcastGroup;
  renderer.member("vlan", pair.vlan());
  renderer.member("mac", pair.mac().stringValue());
  renderer.member("programmed", held);
  renderer.member("type", held ? typeWord(*hw) : std::string_view());
  renderer.member("mcastGroupId", hasGroup ? hw->destinationNumber : std::uint16_t{0});
  renderer.member("classId", held ? hw->classId : std::uint16_t{0});
  std::string portName;
  if (held) {
    const Bridging::IntfId intf = chips_.ports().interfaceOf(hw->destination());
    portName = hw->dstDiscard || intf.isDefault() ? portText(*hw, kPortRoom) : intf.stringValue();
    if (portName == kNone) portName.clear();
  }
  renderer.member("port", portName);
  renderer.member("hwIndex", index);
}

}  // namespace KorvoAgent
