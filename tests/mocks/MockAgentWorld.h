// A whole agent made of mocks.
#pragma once

#include <gmock/gmock.h>

#include "platform/base/Clock.h"
#include "tests/mocks/FakeVlanServices.h"
#include "tests/mocks/MockL2Agent.h"
#include "tests/mocks/MockL2CmdRingManager.h"
#include "tests/mocks/MockL2Services.h"
#include "tests/mocks/MockL2TableReadSm.h"
#include "tests/mocks/MockMacAddrSmHelper.h"
#include "tests/mocks/MockMcastHelper.h"
#include "tests/mocks/MockUnicastAgent.h"
#include "tests/support/ManualClock.h"

namespace KorvoL2::Testing {

/** What becomes of calls of the agent's services that a test does not expect. */
enum class Unexpected { fails, isIgnored };

/**
 * An agent that is ready and has every object; a test takes away what it wants missing, with
 * ON_CALL or through the plain members. Questions to the agent, its unicast side and its holders of
 * other objects are answered without being expected.
 */
class MockAgentWorld {
 public:
  explicit MockAgentWorld(Unexpected serviceCall = Unexpected::fails);
  MockAgentWorld(const MockAgentWorld&) = delete;
  MockAgentWorld& operator=(const MockAgentWorld&) = delete;
  ~MockAgentWorld();

  struct Chip {
    bool ingVlanXlate = false;
    bool egrVlanXlate = false;
  };
  /** Makes the chip that the agent runs on known with these attributes. */
  void chipIs(const Chip& chip);
  void chipIsUnknown() { chips.erase(kChip); }

  static constexpr const char* kChip = "quorra2";

  // Plain state that the agent's answers come from.
  L2AgentStatus status{.configReady = true, .hardwareReady = true};
  bool unicastInitialized = true;
  bool unicastReady = true;
  bool l2TableMode = false;
  bool hwTableStateAvailable = true;
  bool modulePresent = true;
  std::uint32_t maxMulticastGroups = 4096;
  ChipAttrDir chips;
  Qel::Ptr<ChipL2TableFeature> tableFeature;
  RemoteMacCollection remoteMacs;
  LagMembershipCollection lagMembership;
  SwitchportConfigCollection switchports;
  MacEntryCollection macs;
  FapChipCollection fapChips;
  Qel::Ptr<FeatureAgentCommonSmData> fcsd = Qel::makePtr<FeatureAgentCommonSmData>();
  Qel::Ptr<KorvoL3::RoutingStatus> routingStatus = Qel::makePtr<KorvoL3::RoutingStatus>();
  Qel::Ptr<VlanSvpConfigDir> vlanSvpConfig = Qel::makePtr<VlanSvpConfigDir>();
  Bridging::IntfId recircIntf;
  Qel::Ptr<VxlanL2State> vxlanL2State = Qel::makePtr<VxlanL2State>();
  Qel::Ptr<VxlanL3Config> vxlanL3Config = Qel::makePtr<VxlanL3Config>();
  Qel::Ptr<VxlanL3Status> vxlanL3Status = Qel::makePtr<VxlanL3Status>();
  Qel::Ptr<VxlanCapabilities> vxlanCapabilities = Qel::makePtr<VxlanCapabilities>();
  Qel::Ptr<FakeVlanXlateSm> vlanXlate = Qel::makePtr<FakeVlanXlateSm>();
  Qel::Ptr<FakeIngVlanRangeSm> ingVlanRange = Qel::makePtr<FakeIngVlanRangeSm>();

  Qel::Ptr<Qel::ManualClock> clock = Qel::makePtr<Qel::ManualClock>();
  Qel::Ptr<MockL2Agent> agent;
  Qel::Ptr<MockUnicastAgent> unicast;
  Qel::Ptr<MockMacAddrSmHelper> macHelper;
  Qel::Ptr<MockMacTblShadow> macShadow;
  Qel::Ptr<MockMcastObject> mcast;

  // The services.
  Qel::Ptr<MockL2TableReadSm> tableReader;
  Qel::Ptr<MockMcastHelper> mcastHelper;
  Qel::Ptr<MockL2CmdRingManager> ringManager;
  Qel::Ptr<MockShadowTable> evtap;
  Qel::Ptr<MockShadowTable> ivtap;
  Qel::Ptr<MockShadowTable> sourceVp;
  Qel::Ptr<MockL2ModFifoShowSm> fifoShow;
  Qel::Ptr<MockModFifoMonitorSm> fifoMonitor;
  Qel::Ptr<MockMlagHelper> mlag;
  Qel::Ptr<MockVlanXlate2Manager> vlanXlate2;
  Qel::Ptr<MockEgrVlanXlateManager> egrVlanXlate;
  Qel::Ptr<MockVfiAllocatorSm> vfiAllocator;
  Qel::Ptr<MockFlexCounter> flexCounter;
  Qel::Ptr<MockVxlanL2Sm> vxlan;
  Qel::Ptr<MockSvpManager> svp;
  Qel::Ptr<MockRouterMacSm> routerMac;

 private:
  void answerAsAgent();
  void answerAsUnicastAgent();
  void answerAsVxlan();
  void answerAsHolders();
};

}  // namespace KorvoL2::Testing
