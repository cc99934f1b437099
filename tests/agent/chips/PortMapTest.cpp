// Interfaces as destinations of the chips, and back.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "agent/chips/PortMap.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;

class PortMapTest : public ::testing::Test {
 protected:
  PortMapTest() { map_.chipsAre({{0, "Linecard3/0"}, {1, "Linecard3/1"}, {2, "Linecard4/0"}}); }
  HwDestination at(const char* name) { return map_.destinationOf(IntfId(name)); }

  PortMap map_;
};

TEST_F(PortMapTest, APortLiesOnAChipOfItsLineCard) {
  EXPECT_EQ(at("Ethernet3/1"), HwDestination::onPort(0, 1));
  EXPECT_EQ(at("Ethernet3/24"), HwDestination::onPort(0, 24));
  EXPECT_EQ(at("Ethernet3/25"), HwDestination::onPort(1, 25));
  EXPECT_EQ(at("Ethernet4/48"), HwDestination::onPort(2, 48));
  EXPECT_EQ(at("Ethernet4/500"), HwDestination::onPort(2, 500)) << "more ports than usual";
}

TEST_F(PortMapTest, APortWithoutALineCardLiesOnAnyChip) {
  EXPECT_EQ(at("Ethernet1"), HwDestination::onPort(0, 1));
  EXPECT_EQ(at("Ethernet17"), HwDestination::onPort(1, 17));
  EXPECT_EQ(at("Ethernet48"), HwDestination::onPort(2, 48));
}

TEST_F(PortMapTest, APortChannelIsTheTrunkOfItsNumber) {
  EXPECT_EQ(at("Port-Channel10"), HwDestination::trunk(10));
}

TEST_F(PortMapTest, WhatLiesOnNoChipGetsLogicalPortsInTurn) {
  EXPECT_EQ(at("Vxlan1"), HwDestination::onPort(0, 1024));
  EXPECT_EQ(at("uplink"), HwDestination::onPort(0, 1025));
  EXPECT_EQ(at("Ethernet9/1"), HwDestination::onPort(0, 1026)) << "a card without chips";
  EXPECT_EQ(at("Vxlan1"), HwDestination::onPort(0, 1024)) << "the same again";
}

TEST_F(PortMapTest, NoTwoInterfacesAreOneDestination) {
  std::set<std::pair<int, std::uint64_t>> seen;
  for (const char* name :
       {"Ethernet3/1", "Ethernet1", "Ethernet3/01", "Ethernet3/1/1", "Ethernet/1", "Ethernet3/0",
        "Ethernet3/99999", "Ethernet3/1024", "Port-Channel1", "Port-Channel01", "Port-Channel",
        "Port-Channel70000", "Port-Channel-1", "x", "Ethernet"}) {
    const HwDestination to = at(name);
    EXPECT_NE(to.kind, HwDestinationKind::none) << name;
    EXPECT_TRUE(seen.emplace(static_cast<int>(to.kind), to.number * 65536U + to.port).second)
        << name;
    EXPECT_EQ(map_.interfaceOf(to), IntfId(name));
  }
}

TEST_F(PortMapTest, NoInterfaceIsNoDestination) {
  EXPECT_EQ(map_.destinationOf(IntfId()), HwDestination());
  EXPECT_EQ(map_.interfaceOf(HwDestination()), IntfId());
  EXPECT_EQ(map_.interfaceOf(HwDestination::onPort(5, 5)), IntfId());
}

TEST_F(PortMapTest, APortThatWasGivenToAnInterfaceIsShownAsIt) {
  map_.portIs({.module = 2, .port = 7}, IntfId("odd"));
  EXPECT_EQ(map_.interfaceOf(HwDestination::onPort(2, 7)), IntfId("odd"));
  EXPECT_EQ(at("Ethernet4/7"), HwDestination::onPort(0, 1024)) << "its place is taken";
}

TEST_F(PortMapTest, MoreLogicalPortsThanAModuleHasGoOnWithTheNextModule) {
  HwDestination last;
  for (int i = 0; i < 65536; ++i) last = at(("odd" + std::to_string(i)).c_str());
  EXPECT_EQ(last, HwDestination::onPort(1, 1023));
}

}  // namespace
}  // namespace KorvoAgent
