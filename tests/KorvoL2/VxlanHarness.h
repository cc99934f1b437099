// What the VXLAN requests need beside the request harness: the agent's records, and verbs to fill
// them.
#pragma once

#include <chrono>
#include <string>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2RoutingInfoRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2VxlanVlanRequestSmBase.h"
#include "tests/KorvoL2/RequestHarness.h"

namespace KorvoL2::Testing {

class VxlanHarness : public virtual RequestHarness {
 protected:
  static constexpr Qel::Duration kBudget = std::chrono::milliseconds(50);

  /** Maps a VLAN; with a network identifier of 0, without giving it one. */
  void mapVlan(unsigned vlan, std::uint32_t vni, std::uint16_t vfi = 0) {
    const Bridging::VlanId id(vlan);
    l2State->vlanMapping.add(id);
    if (vni == 0) return;
    l3Config->vlanMapping.put(id,
                              {.vlanId = static_cast<std::uint16_t>(vlan), .vfi = vfi, .vni = vni});
  }
  void putEdge(const char* intf, unsigned vlan, std::uint16_t svp) {
    l2State->portToEdgeSvp.put({Bridging::IntfId(intf), Bridging::VlanId(vlan)}, {.svp = svp});
  }
  void putEdge(unsigned ethernet, unsigned vlan, std::uint16_t svp) {
    putEdge(("Ethernet" + std::to_string(ethernet)).c_str(), vlan, svp);
  }
  void putVlanSvp(unsigned vlan, std::uint16_t svp) {
    l2State->vlanToSvp.put(Bridging::VlanId(vlan), {.number = svp});
  }

  Qel::Ptr<L2VxlanVlanRequestSmBase> makeVlanDump(std::uint32_t format, bool detail) {
    auto sm = l2VxlanVlanRequestSmBaseFactory("request-1", request(format), kBudget, clock, fcsd,
                                              l2State, l3Config, l3Status, detail);
    sm->handleInitialized();
    return sm;
  }
  Qel::Ptr<L2RoutingInfoRequestSm> makeRoutingInfo(std::uint32_t format) {
    auto sm = l2RoutingInfoRequestSmFactory("request-1", request(format), kBudget, clock,
                                            recircIntf, routingStatus, l2State, svpConfig,
                                            capabilities, helper.get());
    sm->handleInitialized();
    return sm;
  }
  /** Slices of at most `entries` entries, printed or not; 0 leaves only time. */
  static void entryBudgetIs(AgentCommand::AgentAsyncCommandRequestSm& sm, std::uint32_t entries) {
    sm.slicePolicyIs(
        {.outputWindow = std::size_t{1} << 40, .rowBudget = entries, .silentBudget = entries});
  }

  Qel::Ptr<FeatureAgentCommonSmData> fcsd = Qel::makePtr<FeatureAgentCommonSmData>();
  Qel::Ptr<VxlanL2State> l2State = Qel::makePtr<VxlanL2State>();
  Qel::Ptr<VxlanL3Config> l3Config = Qel::makePtr<VxlanL3Config>();
  Qel::Ptr<VxlanL3Status> l3Status = Qel::makePtr<VxlanL3Status>();
  Bridging::IntfId recircIntf;
  Qel::Ptr<KorvoL3::RoutingStatus> routingStatus = Qel::makePtr<KorvoL3::RoutingStatus>();
  Qel::Ptr<VlanSvpConfigDir> svpConfig = Qel::makePtr<VlanSvpConfigDir>();
  Qel::Ptr<VxlanCapabilities> capabilities = Qel::makePtr<VxlanCapabilities>();
};

}  // namespace KorvoL2::Testing
