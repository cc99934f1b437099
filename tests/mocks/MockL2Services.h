// Mocks of the agent's small layer-2 services.
#pragma once

#include <gmock/gmock.h>

#include "platform/l2/L2Services.h"

namespace KorvoL2::Testing {

class MockL2ModFifoShowSm : public L2ModFifoShowSm {
 public:
  MockL2ModFifoShowSm();
  ~MockL2ModFifoShowSm() override;
  MOCK_METHOD(void, showFifoRegisters, (std::uint32_t socket), (override));
};

class MockModFifoMonitorSm : public KorvoL2ModFifoMonitorSm {
 public:
  MockModFifoMonitorSm();
  ~MockModFifoMonitorSm() override;
  MOCK_METHOD(void, printState, (std::uint32_t socket), (override));
};

class MockMlagHelper : public MlagHelper {
 public:
  MockMlagHelper();
  ~MockMlagHelper() override;
  MOCK_METHOD(void, showEgrMaskStatus, (std::uint32_t socket), (override));
};

class MockVlanXlate2Manager : public VlanXlate2Manager {
 public:
  MockVlanXlate2Manager();
  ~MockVlanXlate2Manager() override;
  MOCK_METHOD(void, showVlanXlate2, (std::uint32_t socket), (override));
};

class MockEgrVlanXlateManager : public EgrVlanXlateQuorraManager {
 public:
  MockEgrVlanXlateManager();
  ~MockEgrVlanXlateManager() override;
  MOCK_METHOD(void, showEgrVlanXlate, (std::uint32_t socket, bool hashView), (override));
};

class MockVfiAllocatorSm : public VfiAllocatorSm {
 public:
  MockVfiAllocatorSm();
  ~MockVfiAllocatorSm() override;
  MOCK_METHOD(void, showVlanVfiMap, (std::uint32_t socket), (override));
};

class MockFlexCounter : public KorvoL2FlexCounter {
 public:
  MockFlexCounter();
  ~MockFlexCounter() override;
  MOCK_METHOD(void, showVtepDecapFlexCountersSummary, (std::uint32_t socket), (override));
  MOCK_METHOD(void, showVtepDecapFlexCountersValues, (std::uint32_t socket), (override));
  MOCK_METHOD(void, showVniIngressFlexCountersSummary, (std::uint32_t socket), (override));
  MOCK_METHOD(void, showVniEgressFlexCountersSummary, (std::uint32_t socket), (override));
  MOCK_METHOD(void, showVniFlexCountersValues, (std::uint32_t socket, CounterDirection direction),
              (override));
};

class MockVxlanL2Sm : public VxlanL2Sm {
 public:
  MockVxlanL2Sm();
  ~MockVxlanL2Sm() override;
  MOCK_METHOD(void, showSoftwareVxlanDebugInfo, (std::uint32_t socket), (override));
  MOCK_METHOD(Qel::Ptr<const VxlanL2State>, vxlanL2State, (), (const, override));
  MOCK_METHOD(Qel::Ptr<const VxlanL3Config>, vxlanL3Config, (), (const, override));
  MOCK_METHOD(Qel::Ptr<const VxlanL3Status>, vxlanL3Status, (), (const, override));
  MOCK_METHOD(Qel::Ptr<const VxlanCapabilities>, vxlanCapabilities, (), (const, override));
};

class MockSvpManager : public SvpManager {
 public:
  MockSvpManager();
  ~MockSvpManager() override;
  MOCK_METHOD(void, showVirtualPorts, (std::uint32_t socket), (override));
};

class MockRouterMacSm : public KorvoRouterMacSm {
 public:
  MockRouterMacSm();
  ~MockRouterMacSm() override;
  MOCK_METHOD(void, handleShowCommand,
              (std::uint32_t socket, Bridging::EthAddr mac, Bridging::VlanId vlan, ShowKind kind),
              (override));
};

}  // namespace KorvoL2::Testing
