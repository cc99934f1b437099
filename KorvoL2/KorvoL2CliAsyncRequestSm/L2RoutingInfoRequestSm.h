// The VXLAN routing information: walks the VLANs that have a virtual port and says of each whether
// everything that routing into it needs is in place.
//
// Failures. What goes wrong while the header is printed or a MAC entry is looked up is kept until
// that step is tidied up, and then passes on: a header that broke off is not printed again into the
// same document; the reference to the MAC table is let go, and the bookmark stands at the VLAN
// that could not be told.
//
// Threading: the agent's event-loop thread only. The work list is a copy; what is looked up for a
// VLAN is what the agent holds when the VLAN is printed.
#pragma once

#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2RoutingInfoRequestSmBase.h"
#include "platform/l2/KorvoL2MacAddrSmHelper.h"
#include "platform/l2/VxlanPrinters.h"

namespace KorvoL2 {

class L2RoutingInfoRequestSm final : public L2RoutingInfoRequestSmBase {
  QEL_ENTITY_CLASS(L2RoutingInfoRequestSm, "KorvoL2::L2RoutingInfoRequestSm")
 public:
  /** The helper is kept until the machine goes; throws AssertionException when it is null. */
  L2RoutingInfoRequestSm(
      std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
      Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock, Bridging::IntfId recircIntf,
      Qel::Ptr<const KorvoL3::RoutingStatus> routingStatus,
      Qel::Ptr<const VxlanL2State> vxlanL2State, Qel::Ptr<const VlanSvpConfigDir> vlanSvpConfigDir,
      Qel::Ptr<const VxlanCapabilities> vxlanCapabilities, KorvoL2MacAddrSmHelper* macAddrSmHelper);

  KORVO_L2_API void showVxlanRoutingInfo() override;

  KorvoL2MacAddrSmHelper* macAddrSmHelper() const noexcept { return macAddrSmHelper_.get(); }

 private:
  void printHeaderOnce();
  WalkEnd walkVlans(const Qel::TraceSite& site);
  RoutingInfoFlags flagsOf(const MacTblShadow* shadow, std::uint64_t refModBitmap,
                           Bridging::VlanId vlan) const;

  Qel::Ptr<KorvoL2MacAddrSmHelper> macAddrSmHelper_;
};

KORVO_L2_API Qel::Ptr<L2RoutingInfoRequestSm> L2RoutingInfoRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, Bridging::IntfId recircIntf,
    const Qel::Ptr<const KorvoL3::RoutingStatus>& routingStatus,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VlanSvpConfigDir>& vlanSvpConfigDir,
    const Qel::Ptr<const VxlanCapabilities>& vxlanCapabilities,
    KorvoL2MacAddrSmHelper* macAddrSmHelper);
KORVO_L2_API Qel::Ptr<L2RoutingInfoRequestSm> l2RoutingInfoRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, Bridging::IntfId recircIntf,
    const Qel::Ptr<const KorvoL3::RoutingStatus>& routingStatus,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VlanSvpConfigDir>& vlanSvpConfigDir,
    const Qel::Ptr<const VxlanCapabilities>& vxlanCapabilities,
    KorvoL2MacAddrSmHelper* macAddrSmHelper);

}  // namespace KorvoL2
