// A mock of the agent's unicast side.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "platform/l2/UnicastAgent.h"

namespace KorvoL2::Testing {

class MockUnicastAgent : public UnicastAgent {
 public:
  MockUnicastAgent();
  ~MockUnicastAgent() override;
  MOCK_METHOD(bool, initialized, (), (const, override));
  MOCK_METHOD(bool, ready, (), (const, override));
  MOCK_METHOD(std::string, chipIdentity, (), (const, override));
  MOCK_METHOD(VxlanL2Sm*, vxlanL2Sm, (), (const, override));
  MOCK_METHOD(SvpManager*, svpManager, (), (const, override));
  MOCK_METHOD(KorvoRouterMacSm*, routerMacSm, (), (const, override));
  MOCK_METHOD(VlanXlate2Manager*, vlanXlate2Manager, (), (const, override));
  MOCK_METHOD(EgrVlanXlateQuorraManager*, egrVlanXlateManager, (), (const, override));
  MOCK_METHOD(VlanXlateSm*, vlanXlateSm, (), (const, override));
  MOCK_METHOD(IngVlanRangeSm*, ingVlanRangeSm, (), (const, override));
  MOCK_METHOD(Qel::Ptr<const FeatureAgentCommonSmData>, featureAgentCommonSmData, (),
              (const, override));
  MOCK_METHOD(Qel::Ptr<const KorvoL3::RoutingStatus>, routingStatus, (), (const, override));
  MOCK_METHOD(Qel::Ptr<const VlanSvpConfigDir>, vlanSvpConfigDir, (), (const, override));
  MOCK_METHOD(Bridging::IntfId, recircIntf, (), (const, override));
  MOCK_METHOD(const RemoteMacCollection&, remoteMac, (), (const, override));
  MOCK_METHOD(const LagMembershipCollection&, lagMembership, (), (const, override));
  MOCK_METHOD(const SwitchportConfigCollection&, switchportConfig, (), (const, override));
};

}  // namespace KorvoL2::Testing
