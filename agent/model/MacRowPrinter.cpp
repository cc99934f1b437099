#include "agent/model/MacRowPrinter.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "agent/model/CellText.h"
#include "agent/model/FastDigits.h"
#include "agent/model/MacWords.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacKeyType;
using Rendering::RendererV2;

namespace {

// Columns at which the cells of a text row end.
enum Column : std::size_t { vlan, mac, intf, mcastId, type, bitmap, source, flags, keyType };
constexpr std::array<std::size_t, 9> kEnd{8, 24, 36, 46, 70, 82, 94, 100, 108};
constexpr std::size_t kRowLength = kEnd.back() + 1;  // with the newline

constexpr std::size_t kNumTypes = kMacTypeWords.size();
constexpr std::size_t kNumSources = kMacSourceWords.size();
constexpr std::size_t kNumFlagSets = std::size_t{1} << KorvoL2::MacEntryFlag::kNumFlags;

// Every table index of the fast paths, or false for a value that has no word.
struct WordIndexes {
  std::size_t type = 0;
  std::size_t source = 0;
  std::size_t keyType = 0;

  bool of(const MacEntry& entry) noexcept {
    type = static_cast<std::size_t>(entry.type);
    source = static_cast<std::size_t>(entry.source);
    keyType = entry.keyType == MacKeyType::bridge ? 0 : 1;
    return type < kNumTypes && source < kNumSources &&
           (keyType == 0 || entry.keyType == MacKeyType::vfi);
  }
};

// Text pieces: a whole row per combination of words, into which the other cells are written.

// Rounded up so that a row is copied in whole machine registers.
struct TextRow {
  std::array<char, (kRowLength + 15) / 16 * 16> bytes;
};

constexpr auto kTextRows = [] {
  std::array<TextRow, kNumTypes * kNumSources * kMacKeyTypeWords.size()> rows{};
  const auto place = [](TextRow& row, std::size_t end, std::string_view text) {
    std::copy(text.begin(), text.end(), row.bytes.begin() + static_cast<int>(end - text.size()));
  };
  std::size_t i = 0;
  for (const std::string_view typeWord : kMacTypeWords) {
    for (const std::string_view sourceWord : kMacSourceWords) {
      for (const MacKeyTypeWord& keyTypeWord : kMacKeyTypeWords) {
        TextRow& row = rows[i++];
        row.bytes.fill(' ');
        place(row, kEnd[vlan], "-");
        place(row, kEnd[mcastId], "-");
        place(row, kEnd[type], typeWord);
        place(row, kEnd[source], sourceWord);
        place(row, kEnd[keyType], keyTypeWord.word);
        row.bytes[kRowLength - 1] = '\n';
      }
    }
  }
  return rows;
}();

// JSON pieces: everything between two cells that are not words.

template <std::size_t kCapacity>
struct Piece {
  std::array<char, kCapacity> bytes{};
  std::uint8_t length = 0;

  constexpr Piece& operator<<(std::string_view text) {
    for (const char c : text) bytes.at(length++) = c;
    return *this;
  }
  // Copies all of the capacity: a fixed number of registers is cheaper than an exact length.
  char* copyTo(char* out) const noexcept {
    std::memcpy(out, bytes.data(), kCapacity);
    return out + length;
  }
};

constexpr auto kJsonTypes = [] {
  std::array<Piece<48>, kNumTypes> pieces{};
  for (std::size_t i = 0; i < kNumTypes; ++i) {
    pieces[i] << R"(,"type":")" << kMacTypeWords[i] << R"(","bitmap":"0x)";
  }
  return pieces;
}();

constexpr auto kJsonSources = [] {
  std::array<Piece<32>, kNumSources> pieces{};
  for (std::size_t i = 0; i < kNumSources; ++i) {
    pieces[i] << R"(","source":")" << kMacSourceWords[i] << R"(","flags":[)";
  }
  return pieces;
}();

constexpr auto kJsonEnds = [] {
  std::array<std::array<Piece<80>, kMacKeyTypeWords.size()>, kNumFlagSets> pieces{};
  for (std::size_t set = 0; set < kNumFlagSets; ++set) {
    for (std::size_t k = 0; k < kMacKeyTypeWords.size(); ++k) {
      Piece<80>& piece = pieces[set][k];
      for (std::size_t bit = 0; bit < kMacFlagWords.size(); ++bit) {
        if ((set >> bit & 1) == 0) continue;
        if (piece.length != 0) piece << ",";
        piece << R"(")" << kMacFlagWords[bit] << R"(")";
      }
      piece << R"(],"keyType":")" << kMacKeyTypeWords[k].word << R"(")";
    }
  }
  return pieces;
}();

// The plain formatter: any value, the same layout.

std::string hexText(std::uint64_t value) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
  return "0x" + std::string(digits, end);
}

// A value that has no word shows its number.
template <std::size_t kCount>
std::string wordText(const std::array<std::string_view, kCount>& words, std::size_t value) {
  return value < kCount ? std::string(words[value]) : std::to_string(value);
}

std::string keyTypeText(MacKeyType value) {
  for (const MacKeyTypeWord& known : kMacKeyTypeWords) {
    if (known.keyType == value) return std::string(known.word);
  }
  return std::to_string(static_cast<unsigned>(value));
}

constexpr std::size_t kIntfRoom = kEnd[intf] - kEnd[mac] - 1;  // one byte stays blank

void printTextPlain(RendererV2& renderer, const MacVlanPair& key, const MacEntry& entry) {
  const std::array<std::string, 9> cells{
      key.vlan() == 0 ? "-" : std::to_string(key.vlan()),
      key.mac().stringValue(),
      shortIntfCellText(entry.intf),
      entry.mcastId == 0 ? "-" : std::to_string(entry.mcastId),
      wordText(kMacTypeWords, static_cast<std::size_t>(entry.type)),
      hexText(entry.modBitmap),
      wordText(kMacSourceWords, static_cast<std::size_t>(entry.source)),
      hexText(entry.flags),
      keyTypeText(entry.keyType),
  };
  std::string row;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t used = row.size() + cells[i].size();
    const std::size_t padding = used < kEnd[i] ? kEnd[i] - used : 0;
    row.append(std::max<std::size_t>(padding, i == 0 ? 0 : 1), ' ');
    row += cells[i];
  }
  row += '\n';
  renderer.buffer().append(row);
}

void printJsonPlain(RendererV2& renderer, const MacVlanPair& key, const MacEntry& entry) {
  renderer.member("vlan", key.vlan());
  renderer.member("mac", key.mac().stringValue());
  renderer.member("interface", entry.intf.stringValue());
  renderer.member("mcastId", entry.mcastId);
  renderer.member("type", wordText(kMacTypeWords, static_cast<std::size_t>(entry.type)));
  renderer.member("bitmap", hexText(entry.modBitmap));
  renderer.member("source", wordText(kMacSourceWords, static_cast<std::size_t>(entry.source)));
  renderer.openList("flags");
  for (unsigned bit = 0; bit < 16; ++bit) {
    if ((entry.flags >> bit & 1) == 0) continue;
    renderer.element(bit < kMacFlagWords.size() ? std::string(kMacFlagWords[bit])
                                                : "bit" + std::to_string(bit));
  }
  renderer.closeList();
  renderer.member("keyType", keyTypeText(entry.keyType));
}

}  // namespace

void MacRowPrinter::fill(IntfCell& cell, IntfId id) {
  cell.name = &id.stringValue();
  const std::string shown = shortIntfCellText(id);
  cell.textFits = shown.size() <= kIntfRoom;
  cell.text.fill(' ');
  if (cell.textFits) std::copy(shown.rbegin(), shown.rend(), cell.text.rbegin());
  const std::string& json = id.jsonString();
  cell.jsonLength = 0;
  if (json.size() <= cell.json.size()) {
    cell.jsonLength = static_cast<std::uint8_t>(json.size());
    std::copy(json.begin(), json.end(), cell.json.begin());
  }
}

void MacRowPrinter::print(RendererV2& renderer, const MacVlanPair& key, const MacEntry& entry) {
  if (renderer.isJson()) {
    if (!printJsonFast(renderer, key, entry)) printJsonPlain(renderer, key, entry);
  } else {
    if (!printTextFast(renderer, key, entry)) printTextPlain(renderer, key, entry);
  }
}

inline bool MacRowPrinter::printTextFast(RendererV2& renderer, const MacVlanPair& key,
                                         const MacEntry& entry) {
  WordIndexes words;
  const IntfCell& cell = cellOf(entry.intf);
  // 8 digits of the bitmap and 3 of the flags leave a blank before "0x"; more do not, or hardly.
  if (!words.of(entry) || !cell.textFits || key.vlan() > 9999 || entry.modBitmap > 0xffff'ffffU ||
      entry.flags > 0xfff) [[unlikely]] {
    return false;
  }
  Rendering::PrintBuffer& buffer = renderer.buffer();
  char* const out = buffer.reserve(sizeof(TextRow));
  const std::size_t index =
      (words.type * kNumSources + words.source) * kMacKeyTypeWords.size() + words.keyType;
  std::memcpy(out, &kTextRows[index], sizeof(TextRow));

  if (key.vlan() != 0) store(out + kEnd[vlan] - 4, decimal4(key.vlan()).blanked());
  key.mac().writeDisplay(out + kEnd[mac] - Bridging::EthAddr::kDisplayLength);
  std::memcpy(out + kEnd[mac], cell.text.data(), cell.text.size());
  if (entry.mcastId != 0) {
    const std::uint32_t high = entry.mcastId / 10000U;
    const auto low = decimal4(entry.mcastId % 10000U);
    store(out + kEnd[mcastId] - 4, high == 0 ? low.blanked() : low.word);
    if (high != 0) out[kEnd[mcastId] - 5] = static_cast<char>('0' + high);
  }
  constexpr std::uint16_t kHexMark = '0' | 'x' << 8;
  const auto map = hex8(static_cast<std::uint32_t>(entry.modBitmap));
  store(out + kEnd[bitmap] - 8, map.blanked());
  store(out + kEnd[bitmap] - map.length() - 2, kHexMark);
  const auto bits = digitsOf(static_cast<std::uint32_t>(hex8(entry.flags).word >> 32));
  store(out + kEnd[flags] - 4, bits.blanked());
  store(out + kEnd[flags] - bits.length() - 2, kHexMark);
  buffer.commit(out + kRowLength);
  return true;
}

inline bool MacRowPrinter::printJsonFast(RendererV2& renderer, const MacVlanPair& key,
                                         const MacEntry& entry) {
  WordIndexes words;
  const IntfCell& cell = cellOf(entry.intf);
  if (!words.of(entry) || cell.jsonLength == 0 || key.vlan() > 9999 || entry.flags >= kNumFlagSets)
      [[unlikely]] {
    return false;
  }
  // The longest row is below 300 bytes; every piece may write its whole capacity.
  constexpr std::size_t kRoom = 512;
  Rendering::PrintBuffer& buffer = renderer.buffer();
  char* const start = buffer.reserve(kRoom);
  char* out = start;
  const auto literal = [&out](const auto& text) {
    std::memcpy(out, text, sizeof text - 1);
    out += sizeof text - 1;
  };
  const auto digits = [&out](const auto& number) {
    store(out, number.leftAligned());
    out += number.length();
  };

  *out = ',';
  out += renderer.separatorDue() ? 1 : 0;
  literal("\"vlan\":");
  digits(decimal4(key.vlan()));
  literal(",\"mac\":\"");
  key.mac().writeDisplay(out);
  out += Bridging::EthAddr::kDisplayLength;
  literal("\",\"interface\":");
  std::memcpy(out, cell.json.data(), cell.json.size());
  out += cell.jsonLength;
  literal(",\"mcastId\":");
  if (entry.mcastId < 10000) [[likely]] {
    digits(decimal4(entry.mcastId));
  } else {
    *out++ = static_cast<char>('0' + entry.mcastId / 10000);
    store(out, decimal4(entry.mcastId % 10000U).word);
    out += 4;
  }
  out = kJsonTypes[words.type].copyTo(out);
  const auto high = static_cast<std::uint32_t>(entry.modBitmap >> 32);
  const auto low = hex8(static_cast<std::uint32_t>(entry.modBitmap));
  if (high == 0) [[likely]] {
    digits(low);
  } else {
    digits(hex8(high));
    store(out, low.word);
    out += 8;
  }
  out = kJsonSources[words.source].copyTo(out);
  out = kJsonEnds[entry.flags][words.keyType].copyTo(out);
  buffer.commit(out);
  renderer.separatorDueIs(true);
  return true;
}

}  // namespace KorvoAgent
