#include "tests/mocks/MockAgentWorld.h"

#include <utility>

namespace KorvoL2::Testing {

using ::testing::NiceMock;
using ::testing::Return;
using ::testing::ReturnPointee;
using ::testing::ReturnRef;
using ::testing::StrictMock;

namespace {

template <class Mock>
void make(Qel::Ptr<Mock>& mock, Unexpected call) {
  if (call == Unexpected::fails) {
    mock = Qel::makePtr<StrictMock<Mock>>();
  } else {
    mock = Qel::makePtr<NiceMock<Mock>>();
  }
}

}  // namespace

MockAgentWorld::MockAgentWorld(Unexpected serviceCall)
    : agent(Qel::makePtr<NiceMock<MockL2Agent>>()),
      unicast(Qel::makePtr<NiceMock<MockUnicastAgent>>()),
      macHelper(Qel::makePtr<NiceMock<MockMacAddrSmHelper>>()),
      macShadow(Qel::makePtr<NiceMock<MockMacTblShadow>>()),
      mcast(Qel::makePtr<NiceMock<MockMcastObject>>()) {
  make(tableReader, serviceCall);
  make(mcastHelper, serviceCall);
  make(ringManager, serviceCall);
  make(evtap, serviceCall);
  make(ivtap, serviceCall);
  make(sourceVp, serviceCall);
  make(fifoShow, serviceCall);
  make(fifoMonitor, serviceCall);
  make(mlag, serviceCall);
  make(vlanXlate2, serviceCall);
  make(egrVlanXlate, serviceCall);
  make(vfiAllocator, serviceCall);
  make(flexCounter, serviceCall);
  make(vxlan, serviceCall);
  make(svp, serviceCall);
  make(routerMac, serviceCall);
  answerAsAgent();
  answerAsUnicastAgent();
  answerAsVxlan();
  answerAsHolders();
  chipIs(Chip{});
}

MockAgentWorld::~MockAgentWorld() = default;

void MockAgentWorld::chipIs(const Chip& chip) {
  auto record = Qel::makePtr<ChipAttr>();
  record->ingVlanXlate = chip.ingVlanXlate;
  record->egrVlanXlate = chip.egrVlanXlate;
  chips.put(kChip, std::move(record));
}

void MockAgentWorld::answerAsAgent() {
  ON_CALL(*agent, unicastAgent).WillByDefault(Return(unicast.get()));
  ON_CALL(*agent, status).WillByDefault(ReturnPointee(&status));
  ON_CALL(*agent, macAddrSmHelper).WillByDefault(Return(macHelper.get()));
  ON_CALL(*agent, chipAttrDir).WillByDefault(ReturnRef(chips));
  ON_CALL(*agent, chipL2TableFeature).WillByDefault(ReturnPointee(&tableFeature));
  ON_CALL(*agent, l2TableMode).WillByDefault(ReturnPointee(&l2TableMode));
  ON_CALL(*agent, activityClock).WillByDefault(Return(clock));
  ON_CALL(*agent, l2ModFifoMonitorSm).WillByDefault(Return(fifoMonitor.get()));
  ON_CALL(*agent, mcast).WillByDefault(Return(mcast.get()));
  ON_CALL(*agent, l2CmdRingManager).WillByDefault(Return(ringManager.get()));
  ON_CALL(*agent, mlagHelper).WillByDefault(Return(mlag.get()));
  ON_CALL(*agent, vfiAllocatorSm).WillByDefault(Return(vfiAllocator.get()));
  ON_CALL(*agent, flexCounter).WillByDefault(Return(flexCounter.get()));
  ON_CALL(*agent, hwTableStateAvailable).WillByDefault(ReturnPointee(&hwTableStateAvailable));
  ON_CALL(*agent, isModulePresent).WillByDefault(ReturnPointee(&modulePresent));
  ON_CALL(*agent, maxL2MulticastGroupsAll).WillByDefault(ReturnPointee(&maxMulticastGroups));
}

void MockAgentWorld::answerAsUnicastAgent() {
  ON_CALL(*unicast, initialized).WillByDefault(ReturnPointee(&unicastInitialized));
  ON_CALL(*unicast, ready).WillByDefault(ReturnPointee(&unicastReady));
  ON_CALL(*unicast, chipIdentity).WillByDefault(Return(kChip));
  ON_CALL(*unicast, vxlanL2Sm).WillByDefault(Return(vxlan.get()));
  ON_CALL(*unicast, svpManager).WillByDefault(Return(svp.get()));
  ON_CALL(*unicast, routerMacSm).WillByDefault(Return(routerMac.get()));
  ON_CALL(*unicast, vlanXlate2Manager).WillByDefault(Return(vlanXlate2.get()));
  ON_CALL(*unicast, egrVlanXlateManager).WillByDefault(Return(egrVlanXlate.get()));
  ON_CALL(*unicast, vlanXlateSm).WillByDefault(Return(vlanXlate.get()));
  ON_CALL(*unicast, ingVlanRangeSm).WillByDefault(Return(ingVlanRange.get()));
  ON_CALL(*unicast, featureAgentCommonSmData).WillByDefault(ReturnPointee(&fcsd));
  ON_CALL(*unicast, routingStatus).WillByDefault(ReturnPointee(&routingStatus));
  ON_CALL(*unicast, vlanSvpConfigDir).WillByDefault(ReturnPointee(&vlanSvpConfig));
  ON_CALL(*unicast, recircIntf).WillByDefault(ReturnPointee(&recircIntf));
  ON_CALL(*unicast, remoteMac).WillByDefault(ReturnRef(remoteMacs));
  ON_CALL(*unicast, lagMembership).WillByDefault(ReturnRef(lagMembership));
  ON_CALL(*unicast, switchportConfig).WillByDefault(ReturnRef(switchports));
}

// Its records are questions, not services: a strict mock must not fail for them.
void MockAgentWorld::answerAsVxlan() {
  EXPECT_CALL(*vxlan, vxlanL2State).WillRepeatedly(ReturnPointee(&vxlanL2State));
  EXPECT_CALL(*vxlan, vxlanL3Config).WillRepeatedly(ReturnPointee(&vxlanL3Config));
  EXPECT_CALL(*vxlan, vxlanL3Status).WillRepeatedly(ReturnPointee(&vxlanL3Status));
  EXPECT_CALL(*vxlan, vxlanCapabilities).WillRepeatedly(ReturnPointee(&vxlanCapabilities));
}

void MockAgentWorld::answerAsHolders() {
  ON_CALL(*macHelper, macTblShadow).WillByDefault(Return(macShadow.get()));
  ON_CALL(*macHelper, l2ModFifoShowSm).WillByDefault(Return(fifoShow.get()));
  ON_CALL(*macHelper, fapChip).WillByDefault(Return(&fapChips));
  ON_CALL(*macHelper, l2TableReadSm).WillByDefault(Return(tableReader.get()));
  ON_CALL(*macShadow, macEntry).WillByDefault(Return(&macs));
  ON_CALL(*mcast, mcastHelper).WillByDefault(Return(mcastHelper.get()));
  ON_CALL(*ringManager, evtapTable).WillByDefault(Return(evtap));
  ON_CALL(*ringManager, ivtapTable).WillByDefault(Return(ivtap));
  ON_CALL(*ringManager, sourceVpTable).WillByDefault(Return(sourceVp));
}

}  // namespace KorvoL2::Testing
