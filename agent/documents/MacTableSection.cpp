// The section "macTable": the software MAC table.

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>

#include "agent/documents/KeyedRows.h"
#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"
#include "agent/model/MacWords.h"
#include "text/Printable.h"

namespace KorvoAgent {

using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntrySource;
using KorvoL2::MacEntryType;

namespace {

/** An entry while its members are read. */
struct MacRow {
  IntfReader& interfaces;
  std::uint16_t vlan = 0;
  Bridging::EthAddr mac{};
  std::optional<MacEntryType> type{};
  std::optional<MacEntrySource> source{};
  std::optional<std::uint64_t> bitmap{};
  MacEntry value{};  // the rest
};

void readBitmap(const JsonNode& node, MacRow& entry) {
  const std::string_view text = node.string();
  const char* const end = text.data() + text.size();
  std::uint64_t bitmap = 0;
  // Sixteen digits at most, leading zeros included: one for four modules.
  if (text.starts_with("0x") && text.size() <= 2 + 16) {
    const auto [stopped, error] = std::from_chars(text.data() + 2, end, bitmap, 16);
    if (error == std::errc() && stopped == end) {
      entry.bitmap = bitmap;
      return;
    }
  }
  node.refuse(Text::inQuotes(text) + " is no bitmap of modules 0 to 63; write it as \"0x3\"");
}

void readFlags(const JsonNode& node, MacRow& entry) {
  readList(node, [&entry](const JsonNode& flag) {
    entry.value.flags |=
        static_cast<std::uint16_t>(1U << readWord(flag, "flag of a MAC entry", kMacFlagWords));
  });
}

void readKeyType(const JsonNode& node, MacRow& entry) {
  std::array<std::string_view, kMacKeyTypeWords.size()> words;
  std::ranges::transform(kMacKeyTypeWords, words.begin(), &MacKeyTypeWord::word);
  entry.value.keyType = kMacKeyTypeWords[readWord(node, "key type", words)].keyType;
}

constexpr JsonMember<Bridging::ModPort> kModPortMembers[]{
    {"module", [](const JsonNode& node, Bridging::ModPort& p) { p.module = readUnsigned16(node); },
     true},
    {"port", [](const JsonNode& node, Bridging::ModPort& p) { p.port = readUnsigned16(node); },
     true},
};

constexpr JsonMember<MacRow> kEntryMembers[]{
    {"vlan", [](const JsonNode& node, MacRow& e) { e.vlan = readVlanNumber(node); }, true},
    {"mac", [](const JsonNode& node, MacRow& e) { e.mac = readMac(node); }, true},
    {"interface", [](const JsonNode& node, MacRow& e) { e.value.intf = e.interfaces.read(node); }},
    {"type",
     [](const JsonNode& node, MacRow& e) {
       e.type = static_cast<MacEntryType>(readWord(node, "type of a MAC entry", kMacTypeWords));
     }},
    {"source",
     [](const JsonNode& node, MacRow& e) {
       e.source =
           static_cast<MacEntrySource>(readWord(node, "source of a MAC entry", kMacSourceWords));
     }},
    {"flags", readFlags},
    {"bitmap", readBitmap},
    {"mcastId", [](const JsonNode& node, MacRow& e) { e.value.mcastId = readUnsigned16(node); }},
    {"keyType", readKeyType},
    {"modPort",
     [](const JsonNode& node, MacRow& e) { readMembers(node, kModPortMembers, e.value.modPort); }},
    {"printable", [](const JsonNode& node, MacRow& e) { e.value.printable = node.boolean(); }},
};

/** Who usually tells of entries of a type. */
MacEntrySource usualSource(MacEntryType type) {
  switch (type) {
    case MacEntryType::learnedDynamic:
    case MacEntryType::learnedSecure:
      return MacEntrySource::hardware;
    case MacEntryType::configuredStatic:
    case MacEntryType::configuredDrop:
      return MacEntrySource::config;
    case MacEntryType::peerDynamic:
    case MacEntryType::peerStatic:
      return MacEntrySource::mlagPeer;
    case MacEntryType::remoteDynamic:
      return MacEntrySource::vxlan;
    case MacEntryType::router:
      return MacEntrySource::system;
    case MacEntryType::multicast:
      return MacEntrySource::software;
  }
  return MacEntrySource::software;
}

void readEntries(const JsonNode& list, SwitchModel& model) {
  IntfReader interfaces(model);
  const std::uint64_t everyModule = model.moduleBitmap();
  KeyedRows<MacVlanPair, MacEntry> rows;
  readList(list, [&](const JsonNode& node) {
    MacRow entry{.interfaces = interfaces};
    readMembers(node, kEntryMembers, entry);
    MacEntry& value = entry.value;
    value.type = entry.type.value_or(entry.mac.isGroup() ? MacEntryType::multicast
                                                         : MacEntryType::learnedDynamic);
    value.source = entry.source.value_or(usualSource(value.type));
    value.modBitmap = entry.bitmap.value_or(everyModule);
    rows.add(MacVlanPair(entry.vlan, entry.mac), value);
  });
  rows.fill(list, describeKey, [&model](const MacVlanPair& key, const MacEntry& value) {
    model.swMacTable().put(key, value);
  });
}

constexpr JsonMember<SwitchModel> kTableMembers[]{
    {"entries", readEntries},
};

}  // namespace

void readMacTable(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kTableMembers, model);
}

}  // namespace KorvoAgent
