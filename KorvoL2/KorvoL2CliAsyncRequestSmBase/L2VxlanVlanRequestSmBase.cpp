#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2VxlanVlanRequestSmBase.h"

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/Trace.h"
#include "platform/l2/VxlanPrinters.h"

namespace KorvoL2 {

using Bridging::IntfId;
using Bridging::VlanId;

L2VxlanVlanRequestSmBase::L2VxlanVlanRequestSmBase(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
    Qel::Ptr<const FeatureAgentCommonSmData> fcsd, Qel::Ptr<const VxlanL2State> vxlanL2State,
    Qel::Ptr<const VxlanL3Config> vxlanL3Config, Qel::Ptr<const VxlanL3Status> vxlanL3Status,
    bool detail)
    : AgentAsyncCommandRequestSm(std::move(name), std::move(request), maxRunTime, std::move(clock)),
      fcsd_(recordOrEmpty(std::move(fcsd))),
      vxlanL2State_(recordOrEmpty(std::move(vxlanL2State))),
      vxlanL3Config_(recordOrEmpty(std::move(vxlanL3Config))),
      vxlanL3Status_(recordOrEmpty(std::move(vxlanL3Status))),
      detail_(detail) {}

void L2VxlanVlanRequestSmBase::vlanMappingIs(VlanId vlan) {
  if (vlanMapping_.add(vlan)) changed("vlanMapping");
}
void L2VxlanVlanRequestSmBase::vlanMappingDel(VlanId vlan) {
  if (vlanMapping_.erase(vlan)) changed("vlanMapping");
}
void L2VxlanVlanRequestSmBase::vlanMappingDelAll() {
  if (vlanMapping_.empty()) return;
  vlanMapping_.clear();
  changed("vlanMapping");
}

void L2VxlanVlanRequestSmBase::handleAsyncCommand(std::uint32_t socket, std::uint32_t format) {
  KORVO_L2_TRACE(8, "socket:{}, format:{}", socket, format);
  if (!inProgress_) getInProgressState();
  if (!inProgress_) return;
  showVxlanVlans();
}

void L2VxlanVlanRequestSmBase::getInProgressState() {
  if (inProgress_) return;
  forEachEntry(vxlanL2State_->vlanMapping,
               [this](const VlanSet::Entry& entry) { vlanMappingIs(entry.key); });
  renderer().openObject();
  renderer().openObject("vlans");
  inProgressIs(true);
}

void L2VxlanVlanRequestSmBase::showVxlanVlans() {
  const Qel::TraceSite here(typeData().name);
  if (!vpListBuilt_) {
    showFirstHead();
    if (!buildVpList(here)) return;
  }
  const WalkEnd end =
      vlans_.runSlice(vlanMapping_, *this, here,
                      [this](const VlanSet::Entry& entry) { return showVlan(entry.key); });
  if (end == WalkEnd::yielded) return;
  // Left in the middle, and gone from the set before its turn came again.
  if (openVlan_) closeVlan();
  KORVO_L2_TRACE_AT(8, here, "Execution Completed");
  executionComplete();
}

// What is known of the first VLAN without its interfaces: a reader does not wait for the lists.
void L2VxlanVlanRequestSmBase::showFirstHead() {
  if (openVlan_ || vlanMapping_.empty()) return;
  const VlanId first = vlanMapping_.begin()->key;
  bookmarkIs(first);
  openVlan(first);
}

// False when the slice is spent; the next one goes on, or starts to print.
bool L2VxlanVlanRequestSmBase::buildVpList(const Qel::TraceSite& site) {
  WalkEnd end = WalkEnd::exhausted;
  if (detail_) {
    Qel::Ptr<VpList> lists = vpList_;
    if (lists == nullptr) vpListIs(lists = vpListFactory());
    // The table is ordered by interface, so that the question is asked once for each, not once for
    // each of its VLANs.
    IntfId asked;
    bool isLag = fcsd_->lagToPort().has(asked);
    end = building_.runSlice(vxlanL2State_->portToEdgeSvp, *this, site,
                             [&](const PortToEdgeSvpCollection::Entry& entry) {
                               if (entry.key.intf() != asked) {
                                 asked = entry.key.intf();
                                 isLag = fcsd_->lagToPort().has(asked);
                               }
                               // A VLAN has a list even if only port-channels carry it: a
                               // port-channel's traffic uses the virtual ports of its members, so
                               // its own would only repeat them.
                               VlanVpList& list = lists->vlanVpListIs(entry.key.vlan());
                               if (!isLag) list.virtualPortListIs(entry.key, entry.value);
                               return RowOutcome::silent;
                             });
    if (end == WalkEnd::yielded) return false;
  }
  vpListBuiltIs(true);
  return end == WalkEnd::exhausted;
}

RowOutcome L2VxlanVlanRequestSmBase::showVlan(VlanId vlan) {
  if (openVlan_ && *openVlan_ != vlan) closeVlan();
  if (!openVlan_) openVlan(vlan);
  if (const VlanVpList* const list = interfacesOf(vlan)) {
    if (!interfaces_.started()) renderer().addFrills("   Interfaces:\n");
    const WalkEnd end =
        interfaces_.runInsideRow(*list, *this, [this](const VlanVpList::Entry& entry) {
          printVirtualPortUtil(renderer(), entry.key.intf(), entry.value);
          return RowOutcome::printed;
        });
    if (end == WalkEnd::yielded) return RowOutcome::unfinished;
  }
  closeVlan();
  return RowOutcome::printed;
}

void L2VxlanVlanRequestSmBase::openVlan(VlanId vlan) {
  Rendering::RendererV2& out = renderer();
  out.addFrills("Vlan %d:\n", vlan.value());
  const VlanMapping* const found = vxlanL3Config_->vlanMapping.find(vlan);
  const VlanMapping mapping = found == nullptr ? VlanMapping{} : *found;
  // The number that the configuration gives the VLAN, by which readers match it with that
  // configuration. One without a mapping is shown with the default's number, VLAN 1.
  out.openObject(std::to_string(mapping.vlanId));
  out.member("vni", mapping.vni);
  out.member("vfi", mapping.vfi);
  out.addFrills("   VNI %d, VFI %d:\n", mapping.vni, mapping.vfi);
  if (detail_) showDetail(mapping.vlanId);
  out.openObject("virtualPorts");
  interfaces_.restart();
  openVlan_ = vlan;
}

void L2VxlanVlanRequestSmBase::closeVlan() {
  renderer().closeObject();
  renderer().closeObject();
  openVlan_.reset();
}

void L2VxlanVlanRequestSmBase::showDetail(std::uint16_t vlan) {
  Rendering::RendererV2& out = renderer();
  const VxlanL3StatusEntry* const status = vxlanL3Status_->statusEntry.find(vlan);
  out.addAttribute("   Mcast index: %d\n", "mcastIndex",
                   status == nullptr ? std::uint16_t{0} : status->mcastIndex);
  // A mapping may hold any number, the map of virtual ports only VLANs.
  if (vlan < VlanId::kMin || vlan > VlanId::kMax) return;
  if (const VirtualPort* const port = vxlanL2State_->vlanToSvp.find(VlanId(vlan))) {
    out.addAttribute("   Vlan SVP: %d\n", "vlanSvp", port->number);
  }
}

const VlanVpList* L2VxlanVlanRequestSmBase::interfacesOf(VlanId vlan) const {
  return detail_ && vpList_ != nullptr ? vpList_->vlanVpList(vlan) : nullptr;
}

void L2VxlanVlanRequestSmBase::executionComplete() {
  KORVO_L2_TRACE(8, "");
  renderer().closeObject();
  renderer().closeObject();
  renderer().documentEnd();
  renderer().ioflush();
  vlanMappingDelAll();
  executionCompleteFlagIs(true);
  inProgressIs(false);
}

Qel::Ptr<L2VxlanVlanRequestSmBase> L2VxlanVlanRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VxlanL3Config>& vxlanL3Config,
    const Qel::Ptr<const VxlanL3Status>& vxlanL3Status, bool detail) {
  return createRequestSm<L2VxlanVlanRequestSmBase>(
      name, request, maxRunTime, clock, fcsd, vxlanL2State, vxlanL3Config, vxlanL3Status, detail);
}

Qel::Ptr<L2VxlanVlanRequestSmBase> l2VxlanVlanRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VxlanL3Config>& vxlanL3Config,
    const Qel::Ptr<const VxlanL3Status>& vxlanL3Status, bool detail) {
  return L2VxlanVlanRequestSmBaseIs(name, request, maxRunTime, clock, fcsd, vxlanL2State,
                                    vxlanL3Config, vxlanL3Status, detail);
}

}  // namespace KorvoL2
