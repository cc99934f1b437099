// The objects that depend on the switch: FIFOs, MLAG, router MAC addresses, and that each is there
// or is missing.

#include <gtest/gtest.h>

#include "agent/model/SwitchModel.h"
#include "agent/services/SwitchServices.h"
#include "platform/base/Exceptions.h"
#include "tests/agent/model/ModelTestSupport.h"
#include "tests/agent/services/ServiceTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::VlanId;
using KorvoL2::MacEntryType;
using ShowKind = KorvoL2::KorvoRouterMacSm::ShowKind;
using Tessar::FapId;
using Testing::chipSet;
using Testing::transcript;

class SwitchServicesTest : public ::testing::Test {
 protected:
  void SetUp() override { model_->chipsIs(3); }
  std::string fifos() {
    return transcript([this](auto s) {
      model_->macAddrSmHelper()->l2ModFifoShowSm()->showFifoRegisters(s);
      model_->l2ModFifoMonitorSm()->printState(s);
    });
  }
  std::string masks() {
    return transcript([this](auto s) { model_->mlagHelper()->showEgrMaskStatus(s); });
  }
  std::string routerMacs(ShowKind kind, std::uint64_t mac = 0, std::uint16_t vlan = 1) {
    return transcript([=, this](auto s) {
      model_->unicastAgent()->routerMacSm()->handleShowCommand(s, EthAddr(mac), VlanId(vlan), kind);
    });
  }
  void router(std::uint16_t vlan, std::uint64_t mac, std::uint16_t flags = 0) {
    model_->swMacTable().put({vlan, EthAddr(mac)}, {.intf = IntfId("Vlan" + std::to_string(vlan)),
                                                    .modBitmap = 0b101,
                                                    .flags = flags,
                                                    .type = MacEntryType::router});
  }

  Qel::Ptr<SwitchModel> model_ = Testing::makeModel();
};

TEST_F(SwitchServicesTest, FifosOfEveryChipAreShown) {
  model_->services().modFifoShow->registersIs(
      FapId(1), {.level = 128, .highWater = 600, .limit = 512, .overflows = 17});
  model_->services().modFifoShow->registersIs(
      FapId(2), {.level = 8, .highWater = 8, .limit = 8, .overflows = 0});
  model_->swMacTable().learn({10, EthAddr(0x02'0000'0000'01)}, IntfId("Ethernet1"), 7);
  model_->swMacTable().learn({10, EthAddr(0x02'0000'0000'01)}, IntfId("Ethernet2"), 7);
  model_->swMacTable().learn({10, EthAddr(0x02'0000'0000'01)}, IntfId("Ethernet2"), 7);
  EXPECT_EQ(fifos(),
            "FIFO registers\n"
            "Chip  Name         Level  High water  Limit  Fill (%)  Overflows\n"
            "----  -----------  -----  ----------  -----  --------  ---------\n"
            "   0  Linecard3/0      0           0    512         0          0\n"
            "   1  Linecard3/1    128         600    512        25         17\n"
            "   2  Linecard3/2      8           8      8       100          0\n"
            "3 chips; 17 overflows\n"
            "FIFO monitor\n"
            "  State                          : running\n"
            "  Poll interval (ms)             : 100\n"
            "  Addresses reported             : 2\n"
            "  Chips whose FIFO is full       : 2\n"
            "  Chips that overflowed          : 1\n");
}

TEST_F(SwitchServicesTest, AStoppedMonitorSaysSo) {
  model_->services().modFifoMonitor->runningIs(false);
  model_->services().modFifoMonitor->pollIntervalMsIs(20);
  EXPECT_TRUE(transcript([this](auto s) { model_->l2ModFifoMonitorSm()->printState(s); })
                  .starts_with("FIFO monitor\n"
                               "  State                          : stopped\n"
                               "  Poll interval (ms)             : 20\n"));
}

TEST_F(SwitchServicesTest, WithoutMlagThereAreNoMasks) {
  EXPECT_EQ(masks(),
            "Egress masks for frames from the peer link\n"
            "  Peer link                      : -\n"
            "No MLAG interfaces.\n");
}

TEST_F(SwitchServicesTest, MasksThatAreWrongAreNamedByChip) {
  MlagHelperModel& mlag = *model_->services().mlagHelper;
  mlag.peerLinkIs(IntfId("Port-Channel999"));
  mlag.interfaceIs(IntfId("Port-Channel10"), {.peerActive = true});
  mlag.interfaceIs(IntfId("Port-Channel11"), {.peerActive = false});
  mlag.interfaceIs(IntfId("Port-Channel12"), {.peerActive = true, .maskedOn = chipSet({1})});
  mlag.interfaceIs(IntfId("Port-Channel13"), {.peerActive = false, .maskedOn = chipSet({0, 2})});
  mlag.interfaceIs(IntfId("Port-Channel14"), {.peerActive = true, .maskedOn = chipSet({0, 1, 7})});
  EXPECT_EQ(masks(),
            "Egress masks for frames from the peer link\n"
            "  Peer link                      : Port-Channel999\n"
            "Interface       Peer      Masked on chips  Status\n"
            "--------------  --------  ---------------  ---------------------------------------\n"
            "Port-Channel10  active    0-2              ok\n"
            "Port-Channel11  inactive  -                ok\n"
            "Port-Channel12  active    1                not masked on 0,2\n"
            "Port-Channel13  inactive  0,2              needlessly masked on 0,2\n"
            "Port-Channel14  active    0-1,7            not masked on 2, needlessly masked on 7\n"
            "5 MLAG interfaces; 3 wrong\n");
}

TEST_F(SwitchServicesTest, RouterMacsAreFoundByVlanByAddressAndAll) {
  constexpr std::uint64_t kRouter = 0x02'0000'0f00'01;
  constexpr std::uint64_t kVirtual = 0x02'0000'0f00'02;
  constexpr std::uint64_t kOwn = 0x02'0000'0f01'00;
  EXPECT_EQ(routerMacs(ShowKind::all), "No router MAC address.\n");
  model_->unicast().routing().routerMac = EthAddr(kRouter);
  model_->unicast().routing().virtualRouterMac = EthAddr(kVirtual);
  model_->unicast().services().routerMac->ownAddressIs(EthAddr(kOwn));
  router(10, kRouter);
  router(10, kVirtual, KorvoL2::MacEntryFlag::kPending);
  router(20, kRouter);
  router(4094, kOwn);
  // Neither known as an address of the switch, nor an entry of a router.
  router(30, 0x02'0000'0fff'ff);
  model_->swMacTable().put({30, EthAddr(kRouter)}, {});
  EXPECT_EQ(routerMacs(ShowKind::all),
            "Router MAC addresses\n"
            "VLAN  MAC address     Kind     Interface  Chips  State\n"
            "----  --------------  -------  ---------  -----  ----------\n"
            "  10  0200.000f.0001  router   Vlan10     0,2    programmed\n"
            "  10  0200.000f.0002  virtual  Vlan10     0,2    pending\n"
            "  20  0200.000f.0001  router   Vlan20     0,2    programmed\n"
            "4094  0200.000f.0100  own      Vlan4094   0,2    programmed\n"
            "4 entries\n");
  EXPECT_EQ(routerMacs(ShowKind::vlan, 0, 20),
            "Router MAC addresses\n"
            "VLAN  MAC address     Kind    Interface  Chips  State\n"
            "----  --------------  ------  ---------  -----  ----------\n"
            "  20  0200.000f.0001  router  Vlan20     0,2    programmed\n"
            "1 entry\n");
  EXPECT_EQ(routerMacs(ShowKind::vlan, 0, 30), "No router MAC address in VLAN 30.\n");
  EXPECT_EQ(routerMacs(ShowKind::mac, kVirtual),
            "Router MAC addresses\n"
            "VLAN  MAC address     Kind     Interface  Chips  State\n"
            "----  --------------  -------  ---------  -----  -------\n"
            "  10  0200.000f.0002  virtual  Vlan10     0,2    pending\n"
            "1 entry\n");
  EXPECT_EQ(routerMacs(ShowKind::mac, 0x02'0000'0000'99),
            "0200.0000.0099 is no router MAC address in any VLAN.\n");
}

TEST_F(SwitchServicesTest, AnAddressIsShownOnceThoughItIsKnownTwice) {
  constexpr std::uint64_t kRouter = 0x02'0000'0f00'01;
  model_->unicast().routing().routerMac = EthAddr(kRouter);
  model_->unicast().routing().virtualRouterMac = EthAddr(kRouter);
  model_->unicast().services().routerMac->ownAddressIs(EthAddr(kRouter));
  router(10, kRouter);
  EXPECT_TRUE(routerMacs(ShowKind::all).ends_with("\n1 entry\n"));
}

TEST_F(SwitchServicesTest, OwnAddressesAreBounded) {
  RouterMacModel& sm = *model_->unicast().services().routerMac;
  for (std::uint64_t i = 1; i <= RouterMacModel::kMaxOwnAddresses; ++i) sm.ownAddressIs(EthAddr(i));
  sm.ownAddressIs(EthAddr(1));
  EXPECT_THROW(sm.ownAddressIs(EthAddr(99)), Qel::RangeException);
}

TEST_F(SwitchServicesTest, ATableShadowWithoutACollectionHasNoRouterMacs) {
  model_->unicast().routing().routerMac = EthAddr(1);
  model_->swMacTable().collectionPresentIs(false);
  EXPECT_EQ(routerMacs(ShowKind::all), "No router MAC address.\n");
}

TEST_F(SwitchServicesTest, EveryObjectIsThereUntilItIsTakenAway) {
  SwitchServices& services = model_->services();
  UnicastServices& unicast = model_->unicast().services();
  EXPECT_NE(model_->mcast()->mcastHelper(), nullptr);
  EXPECT_NE(model_->macAddrSmHelper()->l2ModFifoShowSm(), nullptr);
  EXPECT_NE(model_->l2ModFifoMonitorSm(), nullptr);
  EXPECT_NE(model_->mlagHelper(), nullptr);
  EXPECT_NE(model_->vfiAllocatorSm(), nullptr);
  EXPECT_NE(model_->flexCounter(), nullptr);
  EXPECT_NE(model_->l2CmdRingManager(), nullptr);
  EXPECT_NE(model_->unicastAgent()->svpManager(), nullptr);
  EXPECT_NE(model_->unicastAgent()->routerMacSm(), nullptr);
  EXPECT_NE(model_->unicastAgent()->vlanXlate2Manager(), nullptr);
  EXPECT_NE(model_->unicastAgent()->egrVlanXlateManager(), nullptr);
  services.mcastHelper.presentIs(false);
  services.modFifoShow.presentIs(false);
  services.modFifoMonitor.presentIs(false);
  services.mlagHelper.presentIs(false);
  services.vfiAllocator.presentIs(false);
  services.flexCounter.presentIs(false);
  services.cmdRingManager.presentIs(false);
  unicast.svpManager.presentIs(false);
  unicast.routerMac.presentIs(false);
  unicast.vlanXlate2Manager.presentIs(false);
  unicast.egrVlanXlateManager.presentIs(false);
  EXPECT_EQ(model_->mcast()->mcastHelper(), nullptr);
  EXPECT_EQ(model_->macAddrSmHelper()->l2ModFifoShowSm(), nullptr);
  EXPECT_EQ(model_->l2ModFifoMonitorSm(), nullptr);
  EXPECT_EQ(model_->mlagHelper(), nullptr);
  EXPECT_EQ(model_->vfiAllocatorSm(), nullptr);
  EXPECT_EQ(model_->flexCounter(), nullptr);
  EXPECT_EQ(model_->l2CmdRingManager(), nullptr);
  EXPECT_EQ(model_->unicastAgent()->svpManager(), nullptr);
  EXPECT_EQ(model_->unicastAgent()->routerMacSm(), nullptr);
  EXPECT_EQ(model_->unicastAgent()->vlanXlate2Manager(), nullptr);
  EXPECT_EQ(model_->unicastAgent()->egrVlanXlateManager(), nullptr);
}

}  // namespace
}  // namespace KorvoAgent
