// The VXLAN VLAN dump: every VLAN that is mapped to a VXLAN network, with its network identifier
// and forwarding instance; in detail, with its multicast group, its virtual port and the interfaces
// that carry it.
//
// Text:  for each VLAN
//          Vlan 10:
//             VNI 10010, VFI 4097:
//             Mcast index: 3              in detail only, as all that follows
//             Vlan SVP: 12                if it has one
//             Interfaces:                 if it has a list of them
//                Ethernet1: SVP 20
// JSON:  {"vlans":{"10":{"vni":10010,"vfi":4097,"mcastIndex":3,"vlanSvp":12,
//          "virtualPorts":{"Ethernet1":20}}}} and a newline; "virtualPorts" is there in any case.
//
// The work list. The VLANs are copied when the dump starts; in detail, the virtual ports are turned
// round into lists by VLAN. Both happen once for each request. The lists take about 12 bytes for
// each interface of each VLAN, and time: like the dump itself they are made slice by slice, from a
// bookmark in the agent's table. What the agent changes behind that bookmark is not seen. All that
// is known of a VLAN beyond its list is looked up when the VLAN's head is printed; that of the
// first one comes before the lists are made, so that a reader has something to read at once.
//
// Slices. The machine asks whether to yield after every VLAN and, since one VLAN may have very many
// interfaces, after every interface. A VLAN that is left in the middle has a bookmark of its own.
//
// Threading: the agent's event-loop thread only. The agent's records may change between two slices.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/ResumableWalk.h"
#include "platform/base/Attribute.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/FeatureAgentCommonSmData.h"
#include "platform/l2/VpList.h"
#include "platform/l2/VxlanRecords.h"

namespace KorvoL2 {

class L2VxlanVlanRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
  QEL_ENTITY_CLASS(L2VxlanVlanRequestSmBase, "KorvoL2::L2VxlanVlanRequestSmBase")
 public:
  using VlanSet = Qel::KeyedSet<Bridging::VlanId>;

  /** A record that is null counts as empty. */
  L2VxlanVlanRequestSmBase(std::string name,
                           Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                           Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                           Qel::Ptr<const FeatureAgentCommonSmData> fcsd,
                           Qel::Ptr<const VxlanL2State> vxlanL2State,
                           Qel::Ptr<const VxlanL3Config> vxlanL3Config,
                           Qel::Ptr<const VxlanL3Status> vxlanL3Status, bool detail);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;
  /** One slice of the walk. */
  KORVO_L2_API virtual void showVxlanVlans();

  /** Does nothing: the first slice prepares what is needed. */
  void handleInitialized() {}
  /** On the first call, copies the VLANs, writes the preamble and sets inProgress; later, nothing.
   */
  KORVO_L2_API void getInProgressState();

  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const FeatureAgentCommonSmData>, fcsd)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const VxlanL2State>, vxlanL2State)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const VxlanL3Config>, vxlanL3Config)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const VxlanL3Status>, vxlanL3Status)
  QEL_FIXED_ATTRIBUTE(bool, detail)

  /** The virtual ports of each VLAN; null without detail and before the first slice. */
  QEL_ATTRIBUTE(Qel::Ptr<VpList>, vpList)
  /** The work list is complete; VLANs may be printed. */
  QEL_ATTRIBUTE(bool, vpListBuilt)

  /** The VLANs to print; filled by the first slice, empty again at completion. */
  QEL_FIXED_ATTRIBUTE(VlanSet, vlanMapping)
  KORVO_L2_API void vlanMappingIs(Bridging::VlanId vlan);
  KORVO_L2_API void vlanMappingDel(Bridging::VlanId vlan);
  KORVO_L2_API void vlanMappingDelAll();
  bool vlanMappingHas(Bridging::VlanId vlan) const { return vlanMapping_.has(vlan); }

  /** Set once the preamble is written and the walk may run; cleared at completion. */
  QEL_ATTRIBUTE(bool, inProgress)
  /** The VLAN to print, or to go on with, when the walk resumes. */
  KORVO_L2_WALK(RestingWalk<VlanSet>, vlans, bookmark)

 protected:
  void executionComplete();

 private:
  void showFirstHead();
  bool buildVpList(const Qel::TraceSite& site);
  RowOutcome showVlan(Bridging::VlanId vlan);
  void openVlan(Bridging::VlanId vlan);
  void closeVlan();
  void showDetail(std::uint16_t vlan);
  const VlanVpList* interfacesOf(Bridging::VlanId vlan) const;

  std::optional<Bridging::VlanId> openVlan_;  // the VLAN whose head is printed, its end not yet
  ResumableWalk<PortToEdgeSvpCollection> building_;
  RestingWalk<VlanVpList> interfaces_;  // of the open VLAN
};

KORVO_L2_API Qel::Ptr<L2VxlanVlanRequestSmBase> L2VxlanVlanRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VxlanL3Config>& vxlanL3Config,
    const Qel::Ptr<const VxlanL3Status>& vxlanL3Status, bool detail);
KORVO_L2_API Qel::Ptr<L2VxlanVlanRequestSmBase> l2VxlanVlanRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VxlanL3Config>& vxlanL3Config,
    const Qel::Ptr<const VxlanL3Status>& vxlanL3Status, bool detail);

}  // namespace KorvoL2
