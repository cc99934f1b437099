#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2RoutingInfoRequestSm.h"

#include <exception>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"

namespace KorvoL2 {

using Bridging::IntfId;
using Bridging::VlanId;

namespace {

/** What the MAC table says of one address in one VLAN. */
struct MacState {
  bool onAllModules = false;
  bool missing = true;
  bool routed = false;
};

MacState macState(const MacTblShadow* shadow, std::uint64_t refModBitmap,
                  const Bridging::MacVlanPair& key) {
  // Without a table, nothing is on any module.
  if (shadow == nullptr) return {};
  constexpr std::uint16_t kRoutedFlags = MacEntryFlag::kRouted | MacEntryFlag::kVirtualRouted;
  const MacEntryCollection* const entries = shadow->macEntry();
  const MacEntry* const entry = entries == nullptr ? nullptr : entries->find(key);
  return {.onAllModules = shadow->getModBitmap(key) == refModBitmap,
          .missing = entry == nullptr,
          .routed = entry != nullptr && *entry != MacEntry{} && (entry->flags & kRoutedFlags) != 0};
}

}  // namespace

L2RoutingInfoRequestSm::L2RoutingInfoRequestSm(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock, IntfId recircIntf,
    Qel::Ptr<const KorvoL3::RoutingStatus> routingStatus, Qel::Ptr<const VxlanL2State> vxlanL2State,
    Qel::Ptr<const VlanSvpConfigDir> vlanSvpConfigDir,
    Qel::Ptr<const VxlanCapabilities> vxlanCapabilities, KorvoL2MacAddrSmHelper* macAddrSmHelper)
    : L2RoutingInfoRequestSmBase(std::move(name), std::move(request), maxRunTime, std::move(clock),
                                 recircIntf, std::move(routingStatus), std::move(vxlanL2State),
                                 std::move(vlanSvpConfigDir), std::move(vxlanCapabilities)),
      macAddrSmHelper_(macAddrSmHelper) {
  QEL_ASSERT(macAddrSmHelper_ != nullptr);
}

void L2RoutingInfoRequestSm::showVxlanRoutingInfo() {
  const Qel::TraceSite here(typeData().name);
  printHeaderOnce();
  if (walkVlans(here) == WalkEnd::yielded) return;
  KORVO_L2_TRACE_AT(8, here, "Execution Completed");
  executionComplete();
}

void L2RoutingInfoRequestSm::printHeaderOnce() {
  if (!printHeader()) return;
  std::exception_ptr failure;
  try {
    doPrintHeader();
  } catch (...) {
    failure = std::current_exception();
  }
  printHeaderIs(false);
  if (failure != nullptr) std::rethrow_exception(failure);
}

WalkEnd L2RoutingInfoRequestSm::walkVlans(const Qel::TraceSite& site) {
  std::exception_ptr failure;
  WalkEnd end = WalkEnd::exhausted;
  {
    // Held for this slice only: between two slices the agent may replace it.
    Qel::Ptr<const MacTblShadow> shadow;
    VlanId vlan = bookmark();
    try {
      shadow.reset(macAddrSmHelper_->macTblShadow());
      const std::uint64_t refModBitmap = shadow == nullptr ? 0 : shadow->refModBitmap();
      end = walk().runSlice(vlan2Svp(), *this, site, [&](const VlanToSvpCollection::Entry& entry) {
        vlan = entry.key;
        const RoutingInfoFlags flags = flagsOf(shadow.get(), refModBitmap, vlan);
        printRoutingInfoUtil(renderer(), vlan.value(), entry.value.number, flags);
        return RowOutcome::printed;
      });
    } catch (...) {
      failure = std::current_exception();
      bookmarkIs(vlan);
    }
  }
  if (failure != nullptr) std::rethrow_exception(failure);
  return end;
}

RoutingInfoFlags L2RoutingInfoRequestSm::flagsOf(const MacTblShadow* shadow,
                                                 std::uint64_t refModBitmap, VlanId vlan) const {
  const KorvoL3::RoutingStatus& status = *routingStatus();
  const MacState own = macState(shadow, refModBitmap, {vlan, status.routerMac});
  RoutingInfoFlags flags{.svpConfigured = vlanSvpConfigDir()->entries.has(vlan),
                         .routerMacOnAllModules = own.onAllModules,
                         .routerMacMissing = own.missing,
                         .routerMacRouted = own.routed};
  if (status.virtualRouterMac.isZero()) return flags;
  const MacState shared = macState(shadow, refModBitmap, {vlan, status.virtualRouterMac});
  flags.virtualRouterMacConfigured = true;
  flags.virtualRouterMacOnAllModules = shared.onAllModules;
  flags.virtualRouterMacMissing = shared.missing;
  flags.virtualRouterMacRouted = shared.routed;
  return flags;
}

Qel::Ptr<L2RoutingInfoRequestSm> L2RoutingInfoRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, IntfId recircIntf,
    const Qel::Ptr<const KorvoL3::RoutingStatus>& routingStatus,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VlanSvpConfigDir>& vlanSvpConfigDir,
    const Qel::Ptr<const VxlanCapabilities>& vxlanCapabilities,
    KorvoL2MacAddrSmHelper* macAddrSmHelper) {
  return createRequestSm<L2RoutingInfoRequestSm>(name, request, maxRunTime, clock, recircIntf,
                                                 routingStatus, vxlanL2State, vlanSvpConfigDir,
                                                 vxlanCapabilities, macAddrSmHelper);
}

Qel::Ptr<L2RoutingInfoRequestSm> l2RoutingInfoRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, IntfId recircIntf,
    const Qel::Ptr<const KorvoL3::RoutingStatus>& routingStatus,
    const Qel::Ptr<const VxlanL2State>& vxlanL2State,
    const Qel::Ptr<const VlanSvpConfigDir>& vlanSvpConfigDir,
    const Qel::Ptr<const VxlanCapabilities>& vxlanCapabilities,
    KorvoL2MacAddrSmHelper* macAddrSmHelper) {
  return L2RoutingInfoRequestSmIs(name, request, maxRunTime, clock, recircIntf, routingStatus,
                                  vxlanL2State, vlanSvpConfigDir, vxlanCapabilities,
                                  macAddrSmHelper);
}

}  // namespace KorvoL2
