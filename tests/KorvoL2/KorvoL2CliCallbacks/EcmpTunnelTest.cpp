// Through which VXLAN tunnel a frame would leave.

#include <gmock/gmock.h>

#include "KorvoL2/KorvoL2CliCallbacks/EcmpTunnelHandler.h"
#include "platform/base/Exceptions.h"
#include "platform/command/CommandArgument.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::ElementsAre;

constexpr const char* kMac = "0011.2233.4455";

class EcmpTunnelTest : public CallbackFixture {
 protected:
  void remoteMacIs(unsigned vlan, std::uint32_t tunnel) {
    world.remoteMacs.put({static_cast<std::uint16_t>(vlan), Bridging::EthAddr(0x001122334455)},
                         {.tunnelId = tunnel});
  }
  void lagIs(const std::string& member, const std::string& lag) {
    world.lagMembership.put(Bridging::IntfId(member), Bridging::IntfId(lag));
  }
  void nativeVlanIs(const std::string& intf, std::uint32_t vlan) {
    world.switchports.put(Bridging::IntfId(intf), {.nativeVlan = vlan});
  }
  /** Asks with these arguments behind the keyword. */
  std::string ask(const std::string& arguments) {
    openSocket();
    traces->clear();
    runPlain("EcmpOutputIntfTunnelId" + arguments);
    EXPECT_EQ(executed(), "EcmpOutputIntfTunnelId");
    EXPECT_FALSE(closed());
    return answer();
  }
  std::string ask(const std::string& vlan, const std::string& intf) {
    return ask("+dst-mac=" + std::string(kMac) + ",vlan-id=" + vlan + ",ingress-intf-id=" + intf);
  }
  std::uint32_t accessVlan(const std::string& intf) {
    traces->clear();
    return switchAccessVlanForIntf(world.unicast, Bridging::IntfId(intf));
  }
};

TEST_F(EcmpTunnelTest, PrintsTheTunnelAsABareNumber) {
  remoteMacIs(10, 4711);
  EXPECT_EQ(ask("10", "Ethernet1"), "4711");
  expectHandled(plain->outcome());
  EXPECT_THAT(traced(8),
              ElementsAre("Running EcmpOutputIntfTunnelIdH with args: "
                          "\"+dst-mac=0011.2233.4455,vlan-id=10,ingress-intf-id=Ethernet1\"",
                          "Parsed dstMac=0011.2233.4455, vlanId=10, and ingressIntf=Ethernet1",
                          "Found tunnel ID: 4711"));
}

TEST_F(EcmpTunnelTest, PrintsTunnelZeroAndTheLargest) {
  remoteMacIs(10, 0);
  EXPECT_EQ(ask("10", "Ethernet1"), "0");
  remoteMacIs(10, 4294967295U);
  EXPECT_EQ(ask("10", "Ethernet1"), "4294967295");
}

TEST_F(EcmpTunnelTest, TakesTheKeysInAnyOrderAndAnySeparator) {
  remoteMacIs(10, 7);
  EXPECT_EQ(ask("+ingress-intf-id=Ethernet1,vlan-id=10,dst-mac=0011.2233.4455"), "7");
  EXPECT_EQ(ask(" vlan-id:10,dst-mac 00:11:22:33:44:55,ingress-intf-id+Ethernet1"), "7");
}

TEST_F(EcmpTunnelTest, AnEntryOfAnotherVlanOrAddressIsNone) {
  remoteMacIs(11, 7);
  EXPECT_EQ(ask("10", "Ethernet1"), "");
  EXPECT_EQ(traced(8).back(), "Failed to find entry for MAC/VLAN pair");
  EXPECT_EQ(ask("+dst-mac=0011.2233.4456,vlan-id=11,ingress-intf-id=Ethernet1"), "");
  expectHandled(plain->outcome());
}

TEST_F(EcmpTunnelTest, AVlanNumberTooLargeForATableFindsNoOtherVlan) {
  remoteMacIs(10, 7);
  EXPECT_EQ(ask("65546", "Ethernet1"), "");
  EXPECT_EQ(traced(8).back(), "Failed to find entry for MAC/VLAN pair");
}

TEST_F(EcmpTunnelTest, WithoutAVlanTheAccessVlanOfTheInterfaceIsTaken) {
  remoteMacIs(20, 8);
  nativeVlanIs("Ethernet1", 20);
  for (const std::string vlan : {"0", "", "none"}) EXPECT_EQ(ask(vlan, "Ethernet1"), "8") << vlan;
  EXPECT_EQ(traced(8)[2], "Did not receive VLAN ID, checking switchport config for VLAN");
  EXPECT_EQ(ask("+dst-mac=0011.2233.4455,ingress-intf-id=Ethernet1"), "8");
}

TEST_F(EcmpTunnelTest, WithoutAVlanAMemberOfALagTakesTheVlanOfTheLag) {
  remoteMacIs(30, 9);
  lagIs("Ethernet1", "Port-Channel5");
  nativeVlanIs("Ethernet1", 20);
  nativeVlanIs("Port-Channel5", 30);
  EXPECT_EQ(ask("0", "Ethernet1"), "9");
  EXPECT_EQ(ask("+dst-mac=0011.2233.4455,ingress-intf-id=Ethernet1"), "9");
}

TEST_F(EcmpTunnelTest, AGivenVlanIsNotLookedUpOnTheInterface) {
  remoteMacIs(10, 7);
  nativeVlanIs("Ethernet1", 20);
  EXPECT_EQ(ask("10", "Ethernet1"), "7");
}

TEST_F(EcmpTunnelTest, WithoutAVlanAndWithoutSwitchportConfigurationNothingIsPrinted) {
  remoteMacIs(1, 7);
  EXPECT_EQ(ask("0", "Ethernet1"), "");
  EXPECT_EQ(traced(8).back(), "Unable to resolve VLAN ID from ingress interface");
  EXPECT_EQ(traced(8)[3], "Config not found for interface Ethernet1");
  nativeVlanIs("Ethernet1", 0);
  EXPECT_EQ(ask("0", "Ethernet1"), "");
  EXPECT_EQ(traced(8).back(), "Unable to resolve VLAN ID from ingress interface");
}

TEST_F(EcmpTunnelTest, AnAddressThatIsNoneThrowsWhatTheAddressTypeThrows) {
  for (const std::string arguments :
       {"", "+dst-mac", "+dst-mac=", "+dst-mac=,vlan-id=1,ingress-intf-id=Ethernet1",
        "+dst-mac,vlan-id=1", "+vlan-id=1,ingress-intf-id=Ethernet1", "+dst-mac=0011.2233"}) {
    EXPECT_THROW(ask(arguments), Qel::ParseException) << arguments;
    EXPECT_EQ(answer(), "");
    EXPECT_EQ(liveHandlers(), 0);
  }
}

TEST_F(EcmpTunnelTest, AnInterfaceNameThatIsNoneThrowsWhatTheInterfaceTypeThrows) {
  EXPECT_THROW(ask("0", std::string(200, 'x')), Qel::RangeException);
}

TEST_F(EcmpTunnelTest, WhichArgumentIsNoneIsTold) {
  const auto messageFor = [this](const std::string& arguments) {
    try {
      ask(arguments);
    } catch (const std::exception& e) {
      return AgentCommand::messageOf(e);
    }
    return std::string("nothing was thrown");
  };
  EXPECT_THAT(messageFor("+dst-mac=0011.22,vlan-id=0,ingress-intf-id=Ethernet1"),
              ::testing::StartsWith("dst-mac \"0011.22\": \"0011.22\" is no MAC address"));
  EXPECT_THAT(messageFor("+dst-mac=0011.2233.4455,ingress-intf-id=" + std::string(64, 'x')),
              ::testing::StartsWith("ingress-intf-id \"" + std::string(64, 'x') +
                                    "\": interface name \"xxx"));
}

TEST_F(EcmpTunnelTest, AnInterfaceThatNobodyKnowsHasNoAccessVlanAndItsNameIsNotKept) {
  remoteMacIs(10, 7);
  // The configuration of no interface is not that of an unknown one.
  world.switchports.put(Bridging::IntfId(), {.nativeVlan = 10});
  const std::size_t before = Bridging::IntfId::numNames();
  EXPECT_EQ(ask("0", "Ethernet987/65"), "");
  EXPECT_THAT(traced(8),
              ElementsAre("Running EcmpOutputIntfTunnelIdH with args: "
                          "\"+dst-mac=0011.2233.4455,vlan-id=0,ingress-intf-id=Ethernet987/65\"",
                          "Parsed dstMac=0011.2233.4455, vlanId=0, and ingressIntf=Ethernet987/65",
                          "Did not receive VLAN ID, checking switchport config for VLAN",
                          "Config not found for interface Ethernet987/65",
                          "Unable to resolve VLAN ID from ingress interface"));
  expectHandled(plain->outcome());
  EXPECT_EQ(ask("10", "Ethernet987/65"), "7");
  EXPECT_EQ(Bridging::IntfId::numNames(), before);
}

TEST_F(EcmpTunnelTest, AMissingInterfaceIsNone) {
  remoteMacIs(10, 7);
  EXPECT_EQ(ask("+dst-mac=0011.2233.4455,vlan-id=10"), "7");
  EXPECT_EQ(ask("+dst-mac=0011.2233.4455,vlan-id=10,ingress-intf-id"), "7");
}

TEST_F(EcmpTunnelTest, WithItsToggleOffTheCommandIsUnknown) {
  Qel::toggleStateIs("ShowL2EcmpVxlanDestination", "KorvoL2.json", false);
  remoteMacIs(10, 7);
  runPlain("EcmpOutputIntfTunnelId+dst-mac=0011.2233.4455,vlan-id=10,ingress-intf-id=Ethernet1");
  expectInvalidCommand();
}

TEST_F(EcmpTunnelTest, ItsToggleIsReadOnceForTheProcess) {
  remoteMacIs(10, 7);
  EXPECT_EQ(ask("10", "Ethernet1"), "7");
  // Read and kept: setting it otherwise now is an error of whoever sets it.
  EXPECT_THROW(Qel::toggleStateIs("ShowL2EcmpVxlanDestination", "KorvoL2.json", false),
               Qel::AssertionException);
}

TEST_F(EcmpTunnelTest, AccessVlanIsThatOfTheInterface) {
  nativeVlanIs("Ethernet1", 20);
  EXPECT_EQ(accessVlan("Ethernet1"), 20U);
  EXPECT_THAT(traced(8), ElementsAre("Found nativeVlan=20 for interface Ethernet1"));
}

TEST_F(EcmpTunnelTest, AccessVlanFollowsTheLag) {
  lagIs("Ethernet1", "Port-Channel5");
  nativeVlanIs("Port-Channel5", 30);
  EXPECT_EQ(accessVlan("Ethernet1"), 30U);
  EXPECT_THAT(traced(8),
              ElementsAre("Interface Ethernet1 found to be a member of LAG Port-Channel5",
                          "Found nativeVlan=30 for interface Port-Channel5"));
}

TEST_F(EcmpTunnelTest, AccessVlanFollowsLagsOfLags) {
  lagIs("Ethernet1", "Port-Channel5");
  lagIs("Port-Channel5", "Port-Channel6");
  nativeVlanIs("Port-Channel6", 40);
  EXPECT_EQ(accessVlan("Ethernet1"), 40U);
}

TEST_F(EcmpTunnelTest, AccessVlanOfAnUnknownInterfaceIsZero) {
  EXPECT_EQ(accessVlan("Ethernet1"), 0U);
  EXPECT_THAT(traced(8), ElementsAre("Config not found for interface Ethernet1"));
}

TEST_F(EcmpTunnelTest, ALagThatIsItsOwnMemberBreaksAnAssumption) {
  lagIs("Ethernet1", "Ethernet1");
  try {
    accessVlan("Ethernet1");
    FAIL() << "nothing was thrown";
  } catch (const Qel::AssertionException& e) {
    EXPECT_THAT(e.what(), ::testing::HasSubstr("lagIntf != intf"));
  }
}

TEST_F(EcmpTunnelTest, LagsInACircleEndInsteadOfHoldingTheLoop) {
  lagIs("Ethernet1", "Port-Channel5");
  lagIs("Port-Channel5", "Port-Channel6");
  lagIs("Port-Channel6", "Port-Channel5");
  EXPECT_THROW(accessVlan("Ethernet1"), Qel::AssertionException);
}

}  // namespace
}  // namespace KorvoL2::Testing
