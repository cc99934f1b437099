// The sections about the switch's interfaces: interfaces, portChannels.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::ModPort;
using KorvoL2::KorvoPortIdBase;

namespace {

/** A port while its members are read. */
struct Port {
  KorvoPortIdBase id;
  std::optional<std::uint16_t> logicalFap;
};

std::uint8_t readUnsigned8(const JsonNode& node) {
  return static_cast<std::uint8_t>(node.integer(0, 0xff));
}

constexpr JsonMember<Port> kPortMembers[]{
    {"module", [](const JsonNode& n, Port& p) { p.id.modPort.module = readUnsigned16(n); }, true},
    {"port", [](const JsonNode& n, Port& p) { p.id.modPort.port = readUnsigned16(n); }, true},
    {"logicalFap", [](const JsonNode& n, Port& p) { p.logicalFap = readUnsigned16(n); }},
    {"systemPort", [](const JsonNode& n, Port& p) { p.id.systemPort = readUnsigned32(n); }},
    {"core", [](const JsonNode& n, Port& p) { p.id.core = readUnsigned8(n); }},
    {"lane", [](const JsonNode& n, Port& p) { p.id.lane = readUnsigned8(n); }},
};

/** An interface while its members are read. */
struct Interface {
  IntfId id;
  SwitchModel& model;
  /** What the section said so far of each port. */
  std::map<ModPort, std::uint16_t>& logicalFaps;
};

void readPort(const JsonNode& node, Interface& intf) {
  Port port;
  readMembers(node, kPortMembers, port);
  KorvoL2::FeatureAgentCommonSmData& common = intf.model.unicast().common();
  common.intfPortId.put(intf.id, port.id);
  if (!port.logicalFap) return;
  const ModPort& modPort = port.id.modPort;
  const auto [at, isFirst] = intf.logicalFaps.emplace(modPort, *port.logicalFap);
  if (!isFirst && at->second != *port.logicalFap) {
    node.refuse("module " + std::to_string(modPort.module) + " port " +
                std::to_string(modPort.port) + " has the logical FAP " +
                std::to_string(at->second) + " already; a port has one");
  }
  common.modPortLogicalFap.put(modPort, *port.logicalFap);
}

constexpr JsonMember<Interface> kInterfaceMembers[]{
    {"port", readPort},
    {"hwIndex",
     [](const JsonNode& node, Interface& intf) {
       intf.model.unicast().ingVlanRange().hwIndexes->entries.put(intf.id, readUnsigned16(node));
     }},
};

}  // namespace

void readInterfaces(const JsonNode& section, SwitchModel& model) {
  UnicastAgentModel& unicast = model.unicast();
  IntfReader names;
  std::map<ModPort, std::uint16_t> logicalFaps;
  readMap(section, [&](const JsonNode& node, std::string_view name) {
    Interface intf{.id = names.someNamed(node, name), .model = model, .logicalFaps = logicalFaps};
    unicast.common().intf.add(intf.id);
    unicast.common().intfPortId.erase(intf.id);
    unicast.ingVlanRange().hwIndexes->entries.erase(intf.id);
    readMembers(node, kInterfaceMembers, intf);
  });
}

void readPortChannels(const JsonNode& section, SwitchModel& model) {
  IntfReader interfaces(model);
  readList(section, [&](const JsonNode& node) {
    model.unicast().common().lagIs(interfaces.readSome(node));
  });
}

}  // namespace KorvoAgent
