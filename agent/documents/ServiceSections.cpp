// The sections about the objects that plain commands forward to: multicast, fifos, mlag,
// flexCounters, pools, ownRouterMacs.

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "agent/documents/ChipReaders.h"
#include "agent/documents/KeyedRows.h"
#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"

namespace KorvoAgent {

using Bridging::IpAddr;
using Tessar::FapId;

namespace {

std::uint64_t readUnsigned64(const JsonNode& node) {
  return node.integer(0, std::numeric_limits<std::uint64_t>::max());
}

// The section "multicast".

struct McastGroupRow {
  IntfReader& interfaces;
  std::uint32_t index = 0;
  McastGroup group{};
};

struct HwGroup {
  bool held = false;
  McastPorts ports{};
};
/** What a chip holds otherwise. */
struct HwGroupRow {
  IntfReader& interfaces;
  SwitchModel& model;
  FapId chip{};
  std::uint32_t index = 0;
  HwGroup group{};
};

McastPorts readPorts(const JsonNode& list, IntfReader& interfaces) {
  McastPorts ports;
  readList(list, [&](const JsonNode& node) { ports.push_back(interfaces.readSome(node)); });
  return ports;
}

constexpr JsonMember<McastGroupRow> kMcastGroupMembers[]{
    {"index", [](const JsonNode& n, McastGroupRow& r) { r.index = readUnsigned32(n); }, true},
    {"vlan", [](const JsonNode& n, McastGroupRow& r) { r.group.vlan = readVlanNumber(n); }},
    {"ports",
     [](const JsonNode& n, McastGroupRow& r) { r.group.ports = readPorts(n, r.interfaces); }},
};

constexpr JsonMember<HwGroupRow> kHwGroupMembers[]{
    {"chip", [](const JsonNode& n, HwGroupRow& r) { r.chip = readChip(n, r.model); }, true},
    {"index", [](const JsonNode& n, HwGroupRow& r) { r.index = readUnsigned32(n); }, true},
    {"ports", [](const JsonNode& n,
                 HwGroupRow& r) { r.group = {.held = true, .ports = readPorts(n, r.interfaces)}; }},
};

void readMcastGroups(const JsonNode& list, SwitchModel& model) {
  IntfReader interfaces(model);
  KeyedRows<std::uint32_t, McastGroup> rows;
  readList(list, [&](const JsonNode& node) {
    McastGroupRow row{.interfaces = interfaces};
    readMembers(node, kMcastGroupMembers, row);
    rows.add(row.index, std::move(row.group));
  });
  rows.fill(
      list, [](std::uint32_t index) { return "group " + std::to_string(index) + " is"; },
      [&model](std::uint32_t index, McastGroup group) {
        model.services().mcastHelper->groupIs(index, std::move(group));
      });
}

void readHwMcastGroups(const JsonNode& list, SwitchModel& model) {
  using Key = std::pair<std::uint32_t, FapId>;
  IntfReader interfaces(model);
  KeyedRows<Key, HwGroup> rows;
  readList(list, [&](const JsonNode& node) {
    HwGroupRow row{.interfaces = interfaces, .model = model};
    readMembers(node, kHwGroupMembers, row);
    rows.add({row.index, row.chip}, std::move(row.group));
  });
  rows.fill(
      list,
      [](const Key& key) {
        return "group " + std::to_string(key.first) + " of chip " + key.second.stringValue() +
               " is";
      },
      [&model](const Key& key, HwGroup group) {
        McastHelperModel& helper = *model.services().mcastHelper;
        if (group.held) {
          helper.hwGroupIs(key.second, key.first, std::move(group.ports));
        } else {
          helper.hwGroupIs(key.second, key.first, std::nullopt);
        }
      });
}

constexpr JsonMember<SwitchModel> kMulticastMembers[]{
    {"groups", readMcastGroups},
    {"hardware", readHwMcastGroups},
    {"shadowCleared",
     [](const JsonNode& node, SwitchModel& model) {
       if (node.boolean()) model.services().mcastHelper->clearShadowMcastGroupTable();
     }},
};

// The section "fifos".

struct FifoRow {
  SwitchModel& model;
  FapId chip{};
  FifoRegisters registers{};
};

constexpr JsonMember<FifoRow> kFifoMembers[]{
    {"chip", [](const JsonNode& n, FifoRow& r) { r.chip = readChip(n, r.model); }, true},
    {"level", [](const JsonNode& n, FifoRow& r) { r.registers.level = readUnsigned32(n); }},
    {"highWater", [](const JsonNode& n, FifoRow& r) { r.registers.highWater = readUnsigned32(n); }},
    {"limit", [](const JsonNode& n, FifoRow& r) { r.registers.limit = readUnsigned32(n); }},
    {"overflows", [](const JsonNode& n, FifoRow& r) { r.registers.overflows = readUnsigned64(n); }},
};

constexpr JsonMember<ModFifoMonitorModel> kFifoMonitorMembers[]{
    {"running", [](const JsonNode& n, ModFifoMonitorModel& m) { m.runningIs(n.boolean()); }},
    {"pollIntervalMs",
     [](const JsonNode& n, ModFifoMonitorModel& m) { m.pollIntervalMsIs(readUnsigned32(n)); }},
};

constexpr JsonMember<SwitchModel> kFifosMembers[]{
    {"chips",
     [](const JsonNode& list, SwitchModel& model) {
       KeyedRows<FapId, FifoRegisters> rows;
       readList(list, [&](const JsonNode& node) {
         FifoRow row{.model = model};
         readMembers(node, kFifoMembers, row);
         rows.add(row.chip, row.registers);
       });
       rows.fill(
           list, [](FapId chip) { return "chip " + chip.stringValue() + " is"; },
           [&model](FapId chip, const FifoRegisters& registers) {
             model.services().modFifoShow->registersIs(chip, registers);
           });
     }},
    {"monitor",
     [](const JsonNode& node, SwitchModel& model) {
       readMembers(node, kFifoMonitorMembers, *model.services().modFifoMonitor);
     }},
};

// The section "mlag".

struct MlagRow {
  SwitchModel& model;
  MlagInterface mlag{};
};

constexpr JsonMember<MlagRow> kMlagInterfaceMembers[]{
    {"peerActive", [](const JsonNode& n, MlagRow& r) { r.mlag.peerActive = n.boolean(); }},
    {"maskedOn", [](const JsonNode& n, MlagRow& r) { r.mlag.maskedOn = readChipSet(n, r.model); }},
};

constexpr JsonMember<SwitchModel> kMlagMembers[]{
    {"peerLink",
     [](const JsonNode& node, SwitchModel& model) {
       model.services().mlagHelper->peerLinkIs(IntfReader(model).read(node));
     }},
    {"interfaces",
     [](const JsonNode& section, SwitchModel& model) {
       IntfReader interfaces(model);
       readMap(section, [&](const JsonNode& node, std::string_view name) {
         MlagRow row{.model = model};
         readMembers(node, kMlagInterfaceMembers, row);
         model.services().mlagHelper->interfaceIs(interfaces.someNamed(node, name), row.mlag);
       });
     }},
};

// The section "flexCounters".

struct VtepRow {
  IpAddr address{};
  CounterValue value{};
};
struct VniRow {
  std::uint32_t vni = 0;
  VniCounters values{};
};

constexpr JsonMember<CounterValue> kCounterMembers[]{
    {"packets", [](const JsonNode& n, CounterValue& v) { v.packets = readUnsigned64(n); }},
    {"bytes", [](const JsonNode& n, CounterValue& v) { v.bytes = readUnsigned64(n); }},
};
constexpr JsonMember<VtepRow> kVtepMembers[]{
    {"address", [](const JsonNode& n, VtepRow& r) { r.address = readIp(n); }, true},
    {"packets", [](const JsonNode& n, VtepRow& r) { r.value.packets = readUnsigned64(n); }},
    {"bytes", [](const JsonNode& n, VtepRow& r) { r.value.bytes = readUnsigned64(n); }},
};
constexpr std::uint32_t kMaxVni = 0xff'ffff;
constexpr JsonMember<VniRow> kVniMembers[]{
    {"vni",
     [](const JsonNode& n, VniRow& r) {
       r.vni = static_cast<std::uint32_t>(n.integer(1, kMaxVni));
     },
     true},
    {"ingress",
     [](const JsonNode& n, VniRow& r) { readMembers(n, kCounterMembers, r.values.ingress); }},
    {"egress",
     [](const JsonNode& n, VniRow& r) { readMembers(n, kCounterMembers, r.values.egress); }},
};

constexpr JsonMember<FlexCounterModel> kFlexCounterMembers[]{
    {"size", [](const JsonNode& n, FlexCounterModel& m) { m.sizeIs(readUnsigned32(n)); }},
    {"vteps",
     [](const JsonNode& list, FlexCounterModel& counters) {
       KeyedRows<IpAddr, CounterValue> rows;
       readList(list, [&](const JsonNode& node) {
         VtepRow row;
         readMembers(node, kVtepMembers, row);
         rows.add(row.address, row.value);
       });
       rows.fill(
           list, [](const IpAddr& address) { return "VTEP " + address.stringValue() + " is"; },
           [&](const IpAddr& address, const CounterValue& value) {
             counters.vtepIs(address, value);
           });
     }},
    {"vnis",
     [](const JsonNode& list, FlexCounterModel& counters) {
       KeyedRows<std::uint32_t, VniCounters> rows;
       readList(list, [&](const JsonNode& node) {
         VniRow row;
         readMembers(node, kVniMembers, row);
         rows.add(row.vni, row.values);
       });
       rows.fill(
           list, [](std::uint32_t vni) { return "VNI " + std::to_string(vni) + " is"; },
           [&](std::uint32_t vni, const VniCounters& values) { counters.vniIs(vni, values); });
     }},
    {"trafficSeed", [](const JsonNode& n, FlexCounterModel& m) { m.trafficIs(readUnsigned64(n)); }},
};

// The section "pools".

constexpr JsonMember<SwitchModel> kPoolMembers[]{
    {"vfis", [](const JsonNode& n,
                SwitchModel& m) { m.services().vfiAllocator->sizeIs(readUnsigned32(n)); }},
    {"virtualPorts",
     [](const JsonNode& n, SwitchModel& m) {
       m.unicast().services().svpManager->sizeIs(readUnsigned32(n));
     }},
};

}  // namespace

void readMulticast(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kMulticastMembers, model);
}

void readFifos(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kFifosMembers, model);
}

void readMlag(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kMlagMembers, model);
}

void readFlexCounters(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kFlexCounterMembers, *model.services().flexCounter);
}

void readPools(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kPoolMembers, model);
}

void readOwnRouterMacs(const JsonNode& section, SwitchModel& model) {
  readList(section, [&model](const JsonNode& node) {
    const Bridging::EthAddr mac = readMac(node);
    node.checked([&] { model.unicast().services().routerMac->ownAddressIs(mac); },
                 "leave some out");
  });
}

}  // namespace KorvoAgent
