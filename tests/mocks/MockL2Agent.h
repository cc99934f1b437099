// A mock of the layer-2 agent.
#pragma once

#include <gmock/gmock.h>

#include "platform/l2/L2Agent.h"

namespace KorvoL2::Testing {

class MockL2Agent : public L2Agent {
 public:
  MockL2Agent();
  ~MockL2Agent() override;
  MOCK_METHOD(UnicastAgent*, unicastAgent, (), (const, override));
  MOCK_METHOD(L2AgentStatus, status, (), (const, override));
  MOCK_METHOD(KorvoL2MacAddrSmHelper*, macAddrSmHelper, (), (const, override));
  MOCK_METHOD(const ChipAttrDir&, chipAttrDir, (), (const, override));
  MOCK_METHOD(Qel::Ptr<const ChipL2TableFeature>, chipL2TableFeature, (), (const, override));
  MOCK_METHOD(bool, l2TableMode, (), (const, override));
  MOCK_METHOD(Qel::Ptr<const Qel::Clock>, activityClock, (), (const, override));
  MOCK_METHOD(KorvoL2ModFifoMonitorSm*, l2ModFifoMonitorSm, (), (const, override));
  MOCK_METHOD(McastObject*, mcast, (), (const, override));
  MOCK_METHOD(L2CmdRingManager*, l2CmdRingManager, (), (const, override));
  MOCK_METHOD(MlagHelper*, mlagHelper, (), (const, override));
  MOCK_METHOD(VfiAllocatorSm*, vfiAllocatorSm, (), (const, override));
  MOCK_METHOD(KorvoL2FlexCounter*, flexCounter, (), (const, override));
  MOCK_METHOD(bool, hwTableStateAvailable, (), (const, override));
  MOCK_METHOD(bool, isModulePresent, (Tessar::FapId chip), (const, override));
  MOCK_METHOD(std::uint32_t, maxL2MulticastGroupsAll, (), (const, override));
};

}  // namespace KorvoL2::Testing
