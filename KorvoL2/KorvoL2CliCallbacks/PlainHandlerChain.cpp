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
constexpr ChainRow<CliCallback::Handler> row(std::string_view keyword) {
  return chainRow<CliCallback::Handler, Class>(keyword);
}

constexpr std::array kChain{
    row<CliCallback::EcmpOutputIntfTunnelIdH>("EcmpOutputIntfTunnelId"),
    row<CliCallback::EgrMaskStatusH>("EGR_MASK_STATUS"),
    row<CliCallback::EgrVlanXlateStatus2H>("EGR_VLAN_XLATE_STATUS_2"),
    row<CliCallback::FcvdsH>("FCVDS"),
    row<CliCallback::FcvdvH>("FCVDV"),
    row<CliCallback::HwFiforegH>("HW_FIFOREG"),
    row<CliCallback::HwMcastAllH>("HW_MCAST_ALL"),
    row<CliCallback::HwMcastClearH>("HW_MCAST_CLEAR"),
    row<CliCallback::HwMcastDiffH>("HW_MCAST_DIFF"),
    // With its '+', so that the index follows the keyword at once.
    row<CliCallback::HwMcastMcidxH>("HW_MCAST_MCIDX+"),
    row<CliCallback::McastAllH>("MCAST_ALL"),
    row<CliCallback::PerVlanEntryH>("PER_VLAN_ENTRY"),
    row<CliCallback::ShadowShowH>("ShadowShow"),
    row<CliCallback::VlanXlateStatus2H>("VLAN_XLATE_STATUS_2"),
    row<CliCallback::VxlanDebugStateH>("VXLAN_DEBUG_STATE"),
    row<CliCallback::VxlanSvpUsageH>("VXLAN_SVP_USAGE"),
    row<CliCallback::VniEgressFlexCountersSummaryH>("VniEgressFlexCountersSummary"),
    row<CliCallback::VniEgressFlexCountersValuesH>("VniEgressFlexCountersValues"),
    row<CliCallback::VniIngressFlexCountersSummaryH>("VniIngressFlexCountersSummary"),
    row<CliCallback::VniIngressFlexCountersValuesH>("VniIngressFlexCountersValues"),
    row<CliCallback::VlanVfiMapH>("VlanVfiMap"),
    row<CliCallback::DefaultH>(""),
};
static_assert(firstFaultyRow<CliCallback::Handler>(kChain) == kChain.size());

}  // namespace

std::span<const ChainRow<CliCallback::Handler>> plainHandlerChain() { return kChain; }

}  // namespace KorvoL2
