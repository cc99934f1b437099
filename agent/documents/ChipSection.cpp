// The member "chips" of the section "switch": how many there are, or each by itself with what its
// hardware MAC table holds other than the software one.

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"
#include "agent/model/MacWords.h"

namespace KorvoAgent {

using Bridging::MacVlanPair;
using Tessar::FapId;

namespace {

/** A key and properties of a hardware entry while its members are read. */
struct HwEntry {
  std::uint16_t vlan = 0;
  Bridging::EthAddr mac{};
  std::uint8_t keyType = 0;
  HwMacProperties properties{};

  MacVlanPair pair() const { return {vlan, mac}; }
  void destinationIs(const JsonNode& node, const HwDestination& to) {
    if (properties.destination) {
      node.refuse(
          "an entry has one destination; give one of \"mcastId\", \"trunkId\", \"modPort\"");
    }
    properties.destination = to;
  }
};

constexpr JsonMember<HwDestination> kDestinationMembers[]{
    {"module", [](const JsonNode& n, HwDestination& to) { to.number = readUnsigned16(n); }, true},
    {"port", [](const JsonNode& n, HwDestination& to) { to.port = readUnsigned16(n); }, true},
};

void readModPort(const JsonNode& node, HwEntry& entry) {
  HwDestination to = HwDestination::onPort(0, 0);
  readMembers(node, kDestinationMembers, to);
  entry.destinationIs(node, to);
}

// A word for those that software uses, or any number that a chip may hold.
void readKeyType(const JsonNode& node, HwEntry& entry) {
  if (!node.isString()) {
    entry.keyType = static_cast<std::uint8_t>(node.integer(0, 0xff));
    return;
  }
  std::array<std::string_view, kMacKeyTypeWords.size()> words;
  std::ranges::transform(kMacKeyTypeWords, words.begin(), &MacKeyTypeWord::word);
  entry.keyType =
      static_cast<std::uint8_t>(kMacKeyTypeWords[readWord(node, "key type", words)].keyType);
}

void readType(const JsonNode& node, HwEntry& entry) {
  // The first stands for an empty slot.
  const std::span words = std::span(kHwMacTypeWords).subspan(1);
  entry.properties.type =
      static_cast<HwMacType>(1 + readWord(node, "type of a hardware entry", words));
}

constexpr JsonMember<HwEntry> kVlan{
    "vlan", [](const JsonNode& n, HwEntry& e) { e.vlan = readVlanNumber(n); }, true};
constexpr JsonMember<HwEntry> kMac{"mac", [](const JsonNode& n, HwEntry& e) { e.mac = readMac(n); },
                                   true};
constexpr JsonMember<HwEntry> kType{"type", readType};
constexpr JsonMember<HwEntry> kModPort{"modPort", readModPort};
constexpr JsonMember<HwEntry> kTrunkId{"trunkId", [](const JsonNode& n, HwEntry& e) {
                                         e.destinationIs(n,
                                                         HwDestination::trunk(readUnsigned16(n)));
                                       }};
constexpr JsonMember<HwEntry> kMcastId{"mcastId", [](const JsonNode& n, HwEntry& e) {
                                         e.destinationIs(
                                             n, HwDestination::mcastGroup(readUnsigned16(n)));
                                       }};
constexpr JsonMember<HwEntry> kClassId{
    "classId", [](const JsonNode& n, HwEntry& e) { e.properties.classId = readUnsigned16(n); }};
constexpr JsonMember<HwEntry> kDstDiscard{
    "dstDiscard", [](const JsonNode& n, HwEntry& e) { e.properties.dstDiscard = n.boolean(); }};
constexpr JsonMember<HwEntry> kInvalid{
    "invalid", [](const JsonNode& n, HwEntry& e) { e.properties.invalid = n.boolean(); }};

constexpr JsonMember<HwEntry> kDifferingMembers[]{
    kVlan, kMac, kType, kModPort, kTrunkId, kMcastId, kClassId, kDstDiscard, kInvalid};
constexpr JsonMember<HwEntry> kMissingMembers[]{kVlan, kMac};
constexpr JsonMember<HwEntry> kExtraMembers[]{
    kVlan,       kMac,    {"keyType", readKeyType}, kType, kModPort, kTrunkId, kMcastId, kClassId,
    kDstDiscard, kInvalid};

constexpr JsonMember<Chip> kChipMembers[]{
    {"id",
     [](const JsonNode& node, Chip& chip) {
       // The null id is a number too, but of no chip.
       chip.id = FapId(static_cast<std::uint32_t>(node.integer(FapId::min, FapId::max)));
     },
     true},
    {"name", [](const JsonNode& node, Chip& chip) { chip.name = node.string(); }, true},
    {"hasData", [](const JsonNode& node, Chip& chip) { chip.hasData = node.boolean(); }},
    {"differs",
     [](const JsonNode& list, Chip& chip) {
       readList(list, [&chip](const JsonNode& node) {
         HwEntry entry;
         readMembers(node, kDifferingMembers, entry);
         chip.deviations.differs.push_back({entry.pair(), entry.properties});
       });
     }},
    {"missing",
     [](const JsonNode& list, Chip& chip) {
       readList(list, [&chip](const JsonNode& node) {
         HwEntry entry;
         readMembers(node, kMissingMembers, entry);
         chip.deviations.missing.push_back(entry.pair());
       });
     }},
    {"extra",
     [](const JsonNode& list, Chip& chip) {
       readList(list, [&chip](const JsonNode& node) {
         HwEntry entry;
         readMembers(node, kExtraMembers, entry);
         chip.deviations.extra.push_back({{entry.pair(), entry.keyType}, entry.properties});
       });
     }},
};

}  // namespace

void readChips(const JsonNode& chips, SwitchModel& model) {
  if (!chips.isList()) {
    model.chipsIs(static_cast<unsigned>(chips.integer(1, SwitchModel::kMaxChips)));
    return;
  }
  model.chipDelAll();
  readList(chips, [&model](const JsonNode& node) {
    Chip chip;
    readMembers(node, kChipMembers, chip);
    if (model.isModulePresent(chip.id)) {
      node.refuse("another chip has the id " + chip.id.stringValue() + "; give each its own");
    }
    if (!model.simulatesHardware() && !chip.deviations.empty()) {
      node.refuse(
          "no chip holds the MAC table, which is a real machine's (--bridge-json); leave "
          "out what the chip holds");
    }
    node.checked([&] { model.chipIs(std::move(chip)); }, "give each chip its own");
  });
  if (model.chips().empty()) chips.refuse("a switch has at least one chip; add one");
}

}  // namespace KorvoAgent
