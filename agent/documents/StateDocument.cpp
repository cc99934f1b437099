#include "agent/documents/StateDocument.h"

#include <cstdint>

#include "agent/documents/Sections.h"

namespace KorvoAgent {

namespace {

// A document of a later version may mean other things by the same members.
constexpr std::uint64_t kVersion = 1;

void readVersion(const JsonNode& version, SwitchModel&) { version.integer(kVersion, kVersion); }

// In the order in which they are read, wherever they stand in the document: what the MAC table
// leaves out depends on the chips, interfaces are known before they are named, and where the ranges
// of a port are programmed depends on its numbers.
constexpr JsonMember<SwitchModel> kSections[]{
    {"version", readVersion, true},
    {"switch", readSwitch},
    {"readiness", readReadiness},
    {"toggles", readToggles},
    {"chipAttributes", readChipAttributes},
    {"l2TableFeature", readL2TableFeature},
    {"interfaces", readInterfaces},
    {"portChannels", readPortChannels},
    {"lagMembership", readLagMembership},
    {"switchportConfig", readSwitchportConfig},
    {"routing", readRouting},
    {"vxlan", readVxlan},
    {"vlanTranslation", readVlanTranslation},
    {"vlanRanges", readVlanRanges},
    {"multicast", readMulticast},
    {"fifos", readFifos},
    {"mlag", readMlag},
    {"flexCounters", readFlexCounters},
    {"pools", readPools},
    {"ownRouterMacs", readOwnRouterMacs},
    {"shadowTables", readShadowTables},
    {"remoteMac", readRemoteMac},
    {"macTable", readMacTable},
};

}  // namespace

void loadStateDocument(const std::string& path, SwitchModel& model) {
  readDocument(path, [&model](const JsonDocument& document) {
    readMembers(JsonNode(document), kSections, model);
  });
}

}  // namespace KorvoAgent
