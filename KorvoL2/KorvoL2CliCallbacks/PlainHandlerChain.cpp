#include "KorvoL2/KorvoL2CliCallbacks/PlainHandlerChain.h"

#include <array>

#include "KorvoL2/KorvoL2CliCallbacks/EcmpTunnelHandler.h"
#include "KorvoL2/KorvoL2CliCallbacks/FlexCounterHandlers.h"
#include "KorvoL2/KorvoL2CliCallbacks/McastHandlers.h"
#include "KorvoL2/KorvoL2CliCallbacks/PerVlanEntryHandler.h"
#include "KorvoL2/KorvoL2CliCallbacks/PortHandlers.h"
#include "KorvoL2/KorvoL2CliCallbacks/ShadowShowHandlers.h"
#include "KorvoL2/KorvoL2CliCallbacks/VlanXlateHandlers.h"
#include "KorvoL2/KorvoL2CliCallbacks/VxlanHandlers.h"

namespace KorvoL2 {

namespace {

template <class Class>
constexpr ChainRow<CliCallback::Handler> plainRow(std::string_view keyword) {
  return chainRow<CliCallback::Handler, Class>(keyword);
}

constexpr std::array kPlainChain{
    plainRow<CliCallback::EcmpOutputIntfTunnelIdH>("EcmpOutputIntfTunnelId"),
    plainRow<CliCallback::EgrMaskStatusH>("EGR_MASK_STATUS"),
    plainRow<CliCallback::EgrVlanXlateStatus2H>("EGR_VLAN_XLATE_STATUS_2"),
    plainRow<CliCallback::FcvdsH>("FCVDS"),
    plainRow<CliCallback::FcvdvH>("FCVDV"),
    plainRow<CliCallback::HwFiforegH>("HW_FIFOREG"),
    plainRow<CliCallback::HwMcastAllH>("HW_MCAST_ALL"),
    plainRow<CliCallback::HwMcastClearH>("HW_MCAST_CLEAR"),
    plainRow<CliCallback::HwMcastDiffH>("HW_MCAST_DIFF"),
    // With its '+', so that the index follows the keyword at once.
    plainRow<CliCallback::HwMcastMcidxH>("HW_MCAST_MCIDX+"),
    plainRow<CliCallback::McastAllH>("MCAST_ALL"),
    plainRow<CliCallback::PerVlanEntryH>("PER_VLAN_ENTRY"),
    plainRow<CliCallback::ShadowShowH>("ShadowShow"),
    plainRow<CliCallback::VlanXlateStatus2H>("VLAN_XLATE_STATUS_2"),
    plainRow<CliCallback::VxlanDebugStateH>("VXLAN_DEBUG_STATE"),
    plainRow<CliCallback::VxlanSvpUsageH>("VXLAN_SVP_USAGE"),
    plainRow<CliCallback::VniEgressFlexCountersSummaryH>("VniEgressFlexCountersSummary"),
    plainRow<CliCallback::VniEgressFlexCountersValuesH>("VniEgressFlexCountersValues"),
    plainRow<CliCallback::VniIngressFlexCountersSummaryH>("VniIngressFlexCountersSummary"),
    plainRow<CliCallback::VniIngressFlexCountersValuesH>("VniIngressFlexCountersValues"),
    plainRow<CliCallback::VlanVfiMapH>("VlanVfiMap"),
    plainRow<CliCallback::DefaultH>(""),
};
static_assert(firstFaultyRow<CliCallback::Handler>(kPlainChain) == kPlainChain.size());

}  // namespace

std::span<const ChainRow<CliCallback::Handler>> plainHandlerChain() { return kPlainChain; }

}  // namespace KorvoL2
