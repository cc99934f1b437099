#include "agent/model/DemoSwitch.h"

#include <array>
#include <string>
#include <utility>

#include "agent/model/DemoNames.h"
#include "agent/model/DemoServices.h"
#include "agent/model/DemoVxlan.h"
#include "platform/types/VlanId.h"

namespace KorvoAgent {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using Bridging::VlanId;
using KorvoL2::MacEntry;
using KorvoL2::MacEntrySource;
using KorvoL2::MacEntryType;
using KorvoL2::MacKeyType;
using namespace DemoNames;  // NOLINT(google-build-using-namespace): they are this file's vocabulary
namespace Flag = KorvoL2::MacEntryFlag;

namespace {

constexpr std::uint64_t kAllChips = 0b111;

class Demo {
 public:
  explicit Demo(SwitchModel& model) : model_(model), table_(model.swMacTable()) {}

  void fill() {
    model_.nameIs("demo");
    model_.chipDelAll();
    model_.chipIs(Tessar::FapId(0), "Linecard3/0");
    model_.chipIs(Tessar::FapId(1), "Linecard3/1");
    model_.chipIs(Tessar::FapId(2), "Linecard4/0");
    ports();
    localHosts();
    remoteHosts();
    peerHosts();
    configured();
    routers();
    groups();
    oddities();
    hardware();
    fillDemoVxlan(model_);
    fillDemoServices(model_);
  }

 private:
  static MacVlanPair key(std::uint16_t vlan, EthAddr mac) { return {VlanId(vlan), mac}; }
  void put(std::uint16_t vlan, EthAddr mac, const MacEntry& entry) {
    table_.put(key(vlan, mac), entry);
  }

  void ports() {
    for (const unsigned card : kCards) {
      for (unsigned port = 1; port <= kAccessPorts; ++port) {
        model_.unicast().switchportConfigIs(ethernet(card, port), {.nativeVlan = accessVlan(port)});
      }
      // The uplinks are in port-channels, across the line cards.
      model_.unicast().lagMembershipIs(ethernet(card, 47), serverLag_);
      model_.unicast().lagMembershipIs(ethernet(card, 48), peerLink_);
    }
    for (const IntfId lag : {serverLag_, peerLink_}) {
      model_.unicast().switchportConfigIs(lag, {.nativeVlan = 1});
    }
  }

  void localHosts() {
    std::uint32_t host = 0;
    for (const unsigned card : kCards) {
      for (unsigned port = 1; port <= kAccessPorts; ++port) {
        for (int onPort = 0; onPort < 2; ++onPort) {
          ++host;
          MacEntry entry{.intf = ethernet(card, port), .modBitmap = kAllChips};
          if (host % 17 == 0) entry.flags |= Flag::kMoved;
          if (host % 29 == 0) {  // one chip is still behind
            entry.flags |= Flag::kPending;
            entry.modBitmap = 0b011;
          }
          put(accessVlan(port), address(kHost, host), entry);
        }
      }
    }
    for (std::uint32_t i = 0; i < 20; ++i) {
      put(i % 2 == 0 ? 10 : 100, address(kServer, 0x100 + i),
          {.intf = serverLag_, .modBitmap = kAllChips});
    }
    for (std::uint32_t i = 0; i < 4; ++i) {
      put(30, address(kServer, 0x200 + i),
          {.intf = ethernet(4, 20 + i),
           .modBitmap = kAllChips,
           .type = MacEntryType::learnedSecure,
           .source = MacEntrySource::software});
    }
  }

  void remoteHosts() {
    for (std::uint32_t i = 1; i <= 40; ++i) {
      const EthAddr mac = address(kRemoteHost, i);
      const std::uint16_t vlan = i % 2 == 0 ? 10 : 20;
      put(vlan, mac,
          {.intf = vxlan_,
           .modBitmap = kAllChips,
           .type = MacEntryType::remoteDynamic,
           .source = MacEntrySource::vxlan,
           .keyType = MacKeyType::vfi});
      model_.unicast().remoteMacIs(key(vlan, mac), {.tunnelId = 1 + i % 4});
    }
  }

  void peerHosts() {
    for (std::uint32_t i = 1; i <= 16; ++i) {
      const bool configured = i > 12;
      put(30, address(kPeerHost, i),
          {.intf = peerLink_,
           .modBitmap = kAllChips,
           .type = configured ? MacEntryType::peerStatic : MacEntryType::peerDynamic,
           .source = MacEntrySource::mlagPeer});
    }
  }

  void configured() {
    for (std::uint32_t i = 1; i <= 6; ++i) {
      put(100, address(kServer, i),
          {.intf = ethernet(3, 30 + i),
           .modBitmap = kAllChips,
           .type = MacEntryType::configuredStatic,
           .source = MacEntrySource::config});
    }
    for (std::uint32_t i = 1; i <= 3; ++i) {
      put(20, address(kServer, 0x300 + i),
          {.modBitmap = kAllChips,
           .flags = Flag::kDiscard,
           .type = MacEntryType::configuredDrop,
           .source = MacEntrySource::config});
    }
  }

  void routers() {
    for (const std::uint16_t vlan : std::to_array<std::uint16_t>({1, 10, 20, 30, 100})) {
      const IntfId routed("Vlan" + std::to_string(vlan));
      put(vlan, address(kRouter, kOwnRouter),
          {.intf = routed,
           .modBitmap = kAllChips,
           .flags = Flag::kRouted,
           .type = MacEntryType::router,
           .source = MacEntrySource::system});
      put(vlan, address(kRouter, kVirtualRouter),
          {.intf = routed,
           .modBitmap = kAllChips,
           .flags = Flag::kRouted | Flag::kVirtualRouted,
           .type = MacEntryType::router,
           .source = MacEntrySource::system});
    }
  }

  void groups() {
    std::uint16_t group = 0;
    for (const std::uint16_t vlan : std::to_array<std::uint16_t>({10, 20, 100})) {
      for (const std::uint64_t mac :
           {0x0100'5e01'0101ULL, 0x0100'5e01'0102ULL, 0x3333'0001'0001ULL}) {
        put(vlan, EthAddr(mac),
            {.modBitmap = kAllChips,
             .mcastId = ++group,
             .type = MacEntryType::multicast,
             .source = MacEntrySource::software});
      }
    }
  }

  void oddities() {
    // Names that no form of fits the column.
    put(1, address(kServer, 0x400), {.intf = IntfId(kLongName), .modBitmap = kAllChips});
    put(1, address(kServer, 0x401),
        {.intf = IntfId(kSensor), .modBitmap = kAllChips, .flags = Flag::kMoved});
    // The switch's own addresses on its inner VLAN: the agent keeps them for itself.
    for (std::uint32_t i = 1; i <= 3; ++i) {
      put(4094, address(kRouter, 0x100 + i),
          {.modBitmap = std::uint64_t{1} << (i - 1),
           .type = MacEntryType::router,
           .source = MacEntrySource::system,
           .printable = false});
    }
  }

  // What went wrong in the chips, a little of everything: what the consistency checks find.
  void hardware() {
    constexpr std::uint8_t kBridge = 0;
    constexpr std::uint8_t kVfi = 3;
    constexpr std::uint8_t kUnknownKeyType = 7;
    ChipDeviations first;
    ChipDeviations second;
    ChipDeviations third;

    // A server moved into the port-channel; both chips of the card still have it on its old port.
    const MacVlanPair moved = key(10, address(kServer, 0x104));
    first.differs.push_back({moved, {.destination = HwDestination::onPort(0, 12)}});
    second.differs.push_back({moved, {.destination = HwDestination::onPort(0, 12)}});
    // One dropped address is let through to a port, a router address lost its class, a configured
    // server ages, a group leads elsewhere, and a slot was damaged.
    first.differs.push_back({key(20, address(kServer, 0x302)),
                             {.destination = HwDestination::onPort(0, 7), .dstDiscard = false}});
    second.differs.push_back({key(100, address(kRouter, kOwnRouter)), {.classId = 0}});
    third.differs.push_back({key(100, address(kServer, 4)), {.type = HwMacType::dynamic}});
    third.differs.push_back(
        {key(100, EthAddr(0x0100'5e01'0101ULL)), {.destination = HwDestination::mcastGroup(2)}});
    third.differs.push_back({key(10, address(kHost, 6)), {.invalid = true}});

    // Writes that were lost: one on a single chip, one on two.
    third.missing.push_back(key(10, address(kRemoteHost, 8)));
    first.missing.push_back(key(30, address(kPeerHost, 5)));
    second.missing.push_back(key(30, address(kPeerHost, 5)));

    // Removals that were not carried out: a host that aged, what is left of a VLAN that went, a
    // tunnel's address, and a slot whose key makes no sense.
    const HwMacProperties onPort9{.destination = HwDestination::onPort(0, 9)};
    second.extra.push_back({{key(20, address(kHost, 0x0a01)), kBridge}, onPort9});
    for (ChipDeviations* const chip : {&first, &second, &third}) {
      chip->extra.push_back({{key(40, address(kHost, 0x0a02)), kBridge}, onPort9});
    }
    third.extra.push_back(
        {{key(20, address(kRemoteHost, 0x0a03)), kVfi},
         {.destination = HwDestination::onPort(0, 1024), .type = HwMacType::remote}});
    first.extra.push_back({{key(4000, address(kHost, 0x0a04)), kUnknownKeyType}, onPort9});

    deviationsIs(0, std::move(first));
    deviationsIs(1, std::move(second));
    deviationsIs(2, std::move(third));
  }

  void deviationsIs(std::size_t index, ChipDeviations deviations) {
    Chip chip = model_.chips()[index];
    chip.deviations = std::move(deviations);
    model_.chipIs(std::move(chip));
  }

  SwitchModel& model_;
  SwMacTable& table_;
  const IntfId vxlan_{kVxlan};
  const IntfId serverLag_{kServerLag};
  const IntfId peerLink_{kPeerLink};
};

}  // namespace

void fillDemo(SwitchModel& model) { Demo(model).fill(); }

}  // namespace KorvoAgent
