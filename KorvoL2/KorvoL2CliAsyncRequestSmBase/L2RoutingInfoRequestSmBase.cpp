#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2RoutingInfoRequestSmBase.h"

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"

namespace KorvoL2 {

using Bridging::IntfId;
using Bridging::VlanId;

namespace {

// The chips give the tunnel end's own virtual port this number, always; it is not allocated, and so
// no table could tell it.
constexpr std::uint32_t kOrvaVtepSvp = 3;

}  // namespace

L2RoutingInfoRequestSmBase::L2RoutingInfoRequestSmBase(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock, IntfId recircIntf,
    Qel::Ptr<const KorvoL3::RoutingStatus> routingStatus, Qel::Ptr<const VxlanL2State> vxlanL2State,
    Qel::Ptr<const VlanSvpConfigDir> vlanSvpConfigDir,
    Qel::Ptr<const VxlanCapabilities> vxlanCapabilities)
    : AgentAsyncCommandRequestSm(std::move(name), std::move(request), maxRunTime, std::move(clock)),
      recircIntf_(recircIntf),
      routingStatus_(recordOrEmpty(std::move(routingStatus))),
      vxlanL2State_(recordOrEmpty(std::move(vxlanL2State))),
      vlanSvpConfigDir_(recordOrEmpty(std::move(vlanSvpConfigDir))),
      vxlanCapabilities_(recordOrEmpty(std::move(vxlanCapabilities))),
      printHeader_(true) {}

void L2RoutingInfoRequestSmBase::handleInitialized() { initializeSm(); }

VirtualPort L2RoutingInfoRequestSmBase::vlan2Svp(VlanId vlan) const {
  const VirtualPort* const port = vlan2Svp_.find(vlan);
  return port == nullptr ? VirtualPort{} : *port;
}
void L2RoutingInfoRequestSmBase::vlan2SvpIs(VlanId vlan, VirtualPort port) {
  const VirtualPort* const stored = vlan2Svp_.find(vlan);
  if (stored != nullptr && *stored == port) return;
  vlan2Svp_.put(vlan, port);
  changed("vlan2Svp");
}
void L2RoutingInfoRequestSmBase::vlan2SvpDel(VlanId vlan) {
  if (vlan2Svp_.erase(vlan)) changed("vlan2Svp");
}
void L2RoutingInfoRequestSmBase::vlan2SvpDelAll() {
  if (vlan2Svp_.empty()) return;
  vlan2Svp_.clear();
  changed("vlan2Svp");
}

void L2RoutingInfoRequestSmBase::handleAsyncCommand(std::uint32_t socket, std::uint32_t format) {
  KORVO_L2_TRACE(8, "socket:{}, format:{}", socket, format);
  getInProgressState();
  if (inProgress_) showVxlanRoutingInfo();
}

void L2RoutingInfoRequestSmBase::showVxlanRoutingInfo() {
  throw Qel::NoImplementationException("not implemented in base-class");
}

void L2RoutingInfoRequestSmBase::getInProgressState() {
  if (inProgress_) return;
  forEachEntry(vxlanL2State_->vlanToSvp, [this](const VlanToSvpCollection::Entry& entry) {
    vlan2SvpIs(entry.key, entry.value);
  });
  renderer().openObject();
  inProgressIs(true);
}

void L2RoutingInfoRequestSmBase::doPrintHeader() {
  Rendering::RendererV2& out = renderer();
  out.addFrills("\n");
  printRecircChannel();
  out.addFrills("\n");
  printRouterMacs();
  out.addFrills("\n");
  printOrvaVtep();
  out.addFrills("\n");
  out.openObject("vlans");
}

void L2RoutingInfoRequestSmBase::printRecircChannel() {
  // A channel that is configured on a switch that does not use one would mislead.
  if (vxlanCapabilities_->singlePassRouting || recircIntf_.isDefault()) {
    renderer().addFrills("Recirc-channel NOT configured\n");
  } else {
    renderer().addAttribute("Recirc-channel: %s\n", "recircChannel", recircIntf_.stringValue());
  }
}

void L2RoutingInfoRequestSmBase::printRouterMacs() {
  Rendering::RendererV2& out = renderer();
  out.addAttribute("Router MAC: %s\n", "routerMac", routingStatus_->routerMac.stringValue());
  const Bridging::EthAddr virtualMac = routingStatus_->virtualRouterMac;
  if (virtualMac.isZero()) {
    out.addFrills("Virtual router MAC not configured\n");
  } else {
    out.addAttribute("Virtual router MAC: %s\n", "virtualRouterMac", virtualMac.stringValue());
  }
}

void L2RoutingInfoRequestSmBase::printOrvaVtep() {
  Rendering::RendererV2& out = renderer();
  const Bridging::IpAddr& ip = vxlanL2State_->orvaVtepIp;
  const Bridging::IpAddr& ip6 = vxlanL2State_->orvaVtepIp6;
  if (!ip.isUnspecified()) {
    out.addAttribute("ORVA VTEP IP: %s\n", "orvaVtepIp", ip.stringValue());
  }
  if (!ip6.isUnspecified()) {
    out.addAttribute("ORVA VTEP IPv6: %s\n", "orvaVtepIp6", ip6.stringValue());
  }
  if (ip.isUnspecified() && ip6.isUnspecified()) {
    out.addFrills("ORVA VTEP IP not configured\n");
  } else {
    out.addAttribute("   SVP: %d\n", "orvaVtepSvp", kOrvaVtepSvp);
  }
}

void L2RoutingInfoRequestSmBase::executionComplete() {
  KORVO_L2_TRACE(8, "");
  renderer().closeObject();
  renderer().closeObject();
  renderer().documentEnd();
  renderer().ioflush();
  vlan2SvpDelAll();
  executionCompleteFlagIs(true);
  inProgressIs(false);
}

Qel::Ptr<L2RoutingInfoRequestSmBase> L2RoutingInfoRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, IntfId recircIntf,
    const Qel::Ptr<const KorvoL3::RoutingStatus>& routingStatus,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VlanSvpConfigDir>& vlanSvpConfigDir,
    const Qel::Ptr<const VxlanCapabilities>& vxlanCapabilities) {
  return createRequestSm<L2RoutingInfoRequestSmBase>(name, request, maxRunTime, clock, recircIntf,
                                                     routingStatus, vxlanL2State, vlanSvpConfigDir,
                                                     vxlanCapabilities);
}

Qel::Ptr<L2RoutingInfoRequestSmBase> l2RoutingInfoRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, IntfId recircIntf,
    const Qel::Ptr<const KorvoL3::RoutingStatus>& routingStatus,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VlanSvpConfigDir>& vlanSvpConfigDir,
    const Qel::Ptr<const VxlanCapabilities>& vxlanCapabilities) {
  return L2RoutingInfoRequestSmBaseIs(name, request, maxRunTime, clock, recircIntf, routingStatus,
                                      vxlanL2State, vlanSvpConfigDir, vxlanCapabilities);
}

}  // namespace KorvoL2
