// The VXLAN routing information, as far as it does not need the agent's MAC table: the header
// (recirculation channel, router MAC addresses, the switch's own addresses as a tunnel end) and the
// work list, a copy of the map of virtual ports by VLAN.
//
// Text:  an empty line
//        Recirc-channel: Recirc-Channel1         or "Recirc-channel NOT configured"
//        an empty line
//        Router MAC: 0011.2233.4455
//        Virtual router MAC: 0000.5e00.0101      or "Virtual router MAC not configured"
//        an empty line
//        ORVA VTEP IP: 10.0.0.1                  each if it is set; "ORVA VTEP IP not configured"
//        ORVA VTEP IPv6: 2001:db8::1             if none is
//           SVP: 3                               if one is
//        an empty line
//        one line for each VLAN
// JSON:  {"recircChannel":"...","routerMac":"...","virtualRouterMac":"...","orvaVtepIp":"...",
//          "orvaVtepIp6":"...","orvaVtepSvp":3,"vlans":{"10":{...}}} and a newline; what is not
//          configured has no member.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/ResumableWalk.h"
#include "platform/base/Attribute.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/VxlanRecords.h"
#include "platform/types/IntfId.h"

namespace KorvoL2 {

class L2RoutingInfoRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
  QEL_ENTITY_CLASS(L2RoutingInfoRequestSmBase, "KorvoL2::L2RoutingInfoRequestSmBase")
 public:
  /**
   * `recircIntf` is the recirculation channel, the default interface for none. A record that is
   * null counts as empty.
   */
  L2RoutingInfoRequestSmBase(std::string name,
                             Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                             Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                             Bridging::IntfId recircIntf,
                             Qel::Ptr<const KorvoL3::RoutingStatus> routingStatus,
                             Qel::Ptr<const VxlanL2State> vxlanL2State,
                             Qel::Ptr<const VlanSvpConfigDir> vlanSvpConfigDir,
                             Qel::Ptr<const VxlanCapabilities> vxlanCapabilities);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;
  /** One slice of the walk; a derived class knows the MAC table. */
  KORVO_L2_API virtual void showVxlanRoutingInfo();

  /** Takes the machine into service. */
  KORVO_L2_API void handleInitialized();
  /** On the first call, makes the work list and opens the document; later, nothing. */
  KORVO_L2_API void getInProgressState();

  QEL_FIXED_ATTRIBUTE(Bridging::IntfId, recircIntf)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const KorvoL3::RoutingStatus>, routingStatus)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const VxlanL2State>, vxlanL2State)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const VlanSvpConfigDir>, vlanSvpConfigDir)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const VxlanCapabilities>, vxlanCapabilities)

  /** Set once the work list is made and the walk may run; cleared at completion. */
  QEL_ATTRIBUTE(bool, inProgress)
  /** The header is still to be printed. */
  QEL_ATTRIBUTE(bool, printHeader)
  /** The VLAN to print when the walk resumes. */
  KORVO_L2_WALK(RestingWalk<VlanToSvpCollection>, walk, bookmark)

  /** The VLANs to print, with their virtual ports; made by the first slice, empty at the end. */
  QEL_FIXED_ATTRIBUTE(VlanToSvpCollection, vlan2Svp)
  /** The virtual port of `vlan`, without a number when the list does not hold the VLAN. */
  KORVO_L2_API VirtualPort vlan2Svp(Bridging::VlanId vlan) const;
  VirtualPort vlan2SvpGet(Bridging::VlanId vlan) const { return vlan2Svp(vlan); }
  KORVO_L2_API void vlan2SvpIs(Bridging::VlanId vlan, VirtualPort port);
  KORVO_L2_API void vlan2SvpDel(Bridging::VlanId vlan);
  KORVO_L2_API void vlan2SvpDelAll();

 protected:
  void doPrintHeader();
  void executionComplete();

  RestingWalk<VlanToSvpCollection>& walk() noexcept { return walk_; }

 private:
  void printRecircChannel();
  void printRouterMacs();
  void printOrvaVtep();
};

KORVO_L2_API Qel::Ptr<L2RoutingInfoRequestSmBase> L2RoutingInfoRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, Bridging::IntfId recircIntf,
    const Qel::Ptr<const KorvoL3::RoutingStatus>& routingStatus,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VlanSvpConfigDir>& vlanSvpConfigDir,
    const Qel::Ptr<const VxlanCapabilities>& vxlanCapabilities);
KORVO_L2_API Qel::Ptr<L2RoutingInfoRequestSmBase> l2RoutingInfoRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, Bridging::IntfId recircIntf,
    const Qel::Ptr<const KorvoL3::RoutingStatus>& routingStatus,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VlanSvpConfigDir>& vlanSvpConfigDir,
    const Qel::Ptr<const VxlanCapabilities>& vxlanCapabilities);

}  // namespace KorvoL2
