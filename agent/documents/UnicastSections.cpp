// The sections about the unicast agent: lagMembership, switchportConfig, routing,
// remoteMac.

#include <map>

#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::MacVlanPair;

namespace {

constexpr JsonMember<KorvoL2::SwitchportConfig> kSwitchportMembers[]{
    {"nativeVlan",
     [](const JsonNode& node, KorvoL2::SwitchportConfig& config) {
       config.nativeVlan = readVlanNumber(node);
     }},
};

constexpr JsonMember<KorvoL3::RoutingStatus> kRoutingMembers[]{
    {"routerMac", [](const JsonNode& node,
                     KorvoL3::RoutingStatus& routing) { routing.routerMac = readMac(node); }},
    {"virtualRouterMac",
     [](const JsonNode& node, KorvoL3::RoutingStatus& routing) {
       routing.virtualRouterMac = readMac(node);
     }},
};

struct RemoteMac {
  std::uint16_t vlan = 0;
  Bridging::EthAddr mac;
  KorvoL2::RemoteMacEntry entry;
};

constexpr JsonMember<RemoteMac> kRemoteMacMembers[]{
    {"vlan", [](const JsonNode& node, RemoteMac& r) { r.vlan = readVlanNumber(node); }, true},
    {"mac", [](const JsonNode& node, RemoteMac& r) { r.mac = readMac(node); }, true},
    {"tunnelId",
     [](const JsonNode& node, RemoteMac& r) { r.entry.tunnelId = readUnsigned32(node); }, true},
};

}  // namespace

void readLagMembership(const JsonNode& section, SwitchModel& model) {
  IntfReader interfaces(model);
  readMap(section, [&](const JsonNode& node, std::string_view member) {
    const IntfId memberId = interfaces.named(node, member);
    model.unicast().lagMembershipIs(memberId, interfaces.read(node));
  });
}

void readSwitchportConfig(const JsonNode& section, SwitchModel& model) {
  IntfReader interfaces(model);
  readMap(section, [&](const JsonNode& node, std::string_view intf) {
    KorvoL2::SwitchportConfig config;
    readMembers(node, kSwitchportMembers, config);
    model.unicast().switchportConfigIs(interfaces.named(node, intf), config);
  });
}

void readRouting(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kRoutingMembers, model.unicast().routing());
}

void readRemoteMac(const JsonNode& section, SwitchModel& model) {
  std::map<MacVlanPair, std::size_t> seen;  // and where
  std::size_t index = 0;
  readList(section, [&](const JsonNode& node) {
    RemoteMac remote;
    readMembers(node, kRemoteMacMembers, remote);
    const MacVlanPair key(remote.vlan, remote.mac);
    const auto [at, added] = seen.emplace(key, index);
    if (!added) refuseSameKey(section, at->second, index, describeKey(key));
    ++index;
    model.unicast().remoteMacIs(key, remote.entry);
  });
}

}  // namespace KorvoAgent
