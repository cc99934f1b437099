// The sections about the switch as a whole: switch, readiness, toggles, chipAttributes,
// l2TableFeature.

#include <algorithm>
#include <array>
#include <string>

#include "agent/documents/Sections.h"
#include "platform/base/Toggles.h"

namespace KorvoAgent {

namespace {

// The section "switch".

constexpr JsonMember<SwitchModel> kSwitchMembers[]{
    {"name", [](const JsonNode& node, SwitchModel& m) { m.nameIs(std::string(node.string())); }},
    {"chips", readChips},
    {"chipIdentity",
     [](const JsonNode& node, SwitchModel& m) {
       m.unicast().chipIdentityIs(std::string(node.string()));
     }},
    {"maxL2MulticastGroups",
     [](const JsonNode& node, SwitchModel& m) {
       m.maxL2MulticastGroupsAllIs(static_cast<std::uint32_t>(node.integer(0, 0xffff'ffff)));
     }},
    {"hwTableStateAvailable",
     [](const JsonNode& node, SwitchModel& m) { m.hwTableStateAvailableIs(node.boolean()); }},
};

// The section "readiness".

void readUnicastAgent(const JsonNode& node, SwitchModel& model) {
  enum State : std::size_t { absent, uninitialized, notReady, ready };
  constexpr std::array<std::string_view, 4> kWords{"absent", "uninitialized", "notReady", "ready"};
  const std::size_t state = readWord(node, "state of the unicast agent", kWords);
  model.unicastAgentPresentIs(state != absent);
  model.unicast().initializedIs(state >= notReady);
  model.unicast().readyIs(state == ready);
}

template <void (SwitchModel::*kSet)(bool)>
void readFlag(const JsonNode& node, SwitchModel& model) {
  (model.*kSet)(node.boolean());
}

template <void (UnicastAgentModel::*kSet)(bool)>
void readFlag(const JsonNode& node, SwitchModel& model) {
  (model.unicast().*kSet)(node.boolean());
}

template <auto kService>
void readServiceFlag(const JsonNode& node, SwitchModel& model) {
  (model.services().*kService).presentIs(node.boolean());
}

template <auto kService>
void readUnicastServiceFlag(const JsonNode& node, SwitchModel& model) {
  (model.unicast().services().*kService).presentIs(node.boolean());
}

constexpr JsonMember<SwitchModel> kReadinessMembers[]{
    {"l2Agent", readFlag<&SwitchModel::l2AgentPresentIs>},
    {"unicastAgent", readUnicastAgent},
    {"configReady", readFlag<&SwitchModel::configReadyIs>},
    {"hardwareReady", readFlag<&SwitchModel::hardwareReadyIs>},
    {"l2TableMode", readFlag<&SwitchModel::l2TableModeIs>},
    {"macAddrSmHelper", readFlag<&SwitchModel::macAddrSmHelperPresentIs>},
    {"macTblShadow", readFlag<&SwitchModel::macTblShadowPresentIs>},
    {"macEntryCollection",
     [](const JsonNode& node, SwitchModel& m) {
       m.swMacTable().collectionPresentIs(node.boolean());
     }},
    {"mcast", readFlag<&SwitchModel::mcastPresentIs>},
    {"readUnknownChips", readFlag<&SwitchModel::readUnknownChipsIs>},
    {"vxlanL2Sm", readFlag<&UnicastAgentModel::vxlanPresentIs>},
    {"vlanXlateSm", readFlag<&UnicastAgentModel::vlanXlatePresentIs>},
    {"ingVlanRangeSm", readFlag<&UnicastAgentModel::ingVlanRangePresentIs>},
    {"mcastHelper", readServiceFlag<&SwitchServices::mcastHelper>},
    {"l2ModFifoShowSm", readServiceFlag<&SwitchServices::modFifoShow>},
    {"l2ModFifoMonitorSm", readServiceFlag<&SwitchServices::modFifoMonitor>},
    {"mlagHelper", readServiceFlag<&SwitchServices::mlagHelper>},
    {"vfiAllocatorSm", readServiceFlag<&SwitchServices::vfiAllocator>},
    {"flexCounter", readServiceFlag<&SwitchServices::flexCounter>},
    {"l2CmdRingManager", readServiceFlag<&SwitchServices::cmdRingManager>},
    {"svpManager", readUnicastServiceFlag<&UnicastServices::svpManager>},
    {"routerMacSm", readUnicastServiceFlag<&UnicastServices::routerMac>},
    {"vlanXlate2Manager", readUnicastServiceFlag<&UnicastServices::vlanXlate2Manager>},
    {"egrVlanXlateManager", readUnicastServiceFlag<&UnicastServices::egrVlanXlateManager>},
};

// The section "chipAttributes".

struct ChipAttributes {
  bool ingVlanXlate = false;
  bool egrVlanXlate = false;
};

constexpr JsonMember<ChipAttributes> kChipAttributeMembers[]{
    {"ingVlanXlate",
     [](const JsonNode& node, ChipAttributes& a) { a.ingVlanXlate = node.boolean(); }},
    {"egrVlanXlate",
     [](const JsonNode& node, ChipAttributes& a) { a.egrVlanXlate = node.boolean(); }},
};

// The section "l2TableFeature".

constexpr JsonMember<KorvoL2::ChipL2TableFeature> kL2TableFeatureMembers[]{
    {"ingVlanRange",
     [](const JsonNode& node, KorvoL2::ChipL2TableFeature& f) { f.ingVlanRange = node.boolean(); }},
    {"ingVlanDynamicRange",
     [](const JsonNode& node, KorvoL2::ChipL2TableFeature& f) {
       f.ingVlanDynamicRange = node.boolean();
     }},
    {"ingVlanRangeDisabled",
     [](const JsonNode& node, KorvoL2::ChipL2TableFeature& f) {
       f.ingVlanRangeDisabled = node.boolean();
     }},
};

}  // namespace

void readSwitch(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kSwitchMembers, model);
}

void readReadiness(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kReadinessMembers, model);
}

void readToggles(const JsonNode& section, SwitchModel&) {
  readMap(section, [](const JsonNode& file, std::string_view fileName) {
    readMap(file, [fileName](const JsonNode& toggle, std::string_view name) {
      const bool state = toggle.boolean();
      toggle.checked([&] { Qel::toggleStateIs(name, fileName, state); },
                     "the agent has read this toggle with the other state already");
    });
  });
}

void readChipAttributes(const JsonNode& section, SwitchModel& model) {
  model.chipAttrDelAll();
  readMap(section, [&model](const JsonNode& node, std::string_view identity) {
    ChipAttributes attributes;
    readMembers(node, kChipAttributeMembers, attributes);
    model.chipAttrIs(std::string(identity), attributes.ingVlanXlate, attributes.egrVlanXlate);
  });
}

void readL2TableFeature(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kL2TableFeatureMembers, model.l2TableFeature());
}

}  // namespace KorvoAgent
