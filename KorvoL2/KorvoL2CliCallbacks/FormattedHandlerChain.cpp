#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandlerChain.h"

#include <array>

#include "KorvoL2/KorvoL2CliCallbacks/MacTableHandlers.h"
#include "KorvoL2/KorvoL2CliCallbacks/VlanDumpHandlers.h"
#include "KorvoL2/KorvoL2CliCallbacks/VxlanHandlers.h"

namespace KorvoL2 {

namespace {

template <class Class>
constexpr ChainRow<CliCallbackWithFormat::Handler> syncRow(std::string_view keyword) {
  return chainRow<CliCallbackWithFormat::Handler, Class>(keyword);
}
template <class Class>
constexpr ChainRow<CliCallbackWithFormat::AsyncHandler> asyncRow(std::string_view keyword) {
  return chainRow<CliCallbackWithFormat::AsyncHandler, Class>(keyword);
}

constexpr std::array kSyncChain{
    syncRow<CliCallbackWithFormat::VxlanVlanSummaryH>("VXLAN_VLAN_SUMMARY"),
    syncRow<CliCallbackWithFormat::DefaultH>(""),
};
static_assert(firstFaultyRow<CliCallbackWithFormat::Handler>(kSyncChain) == kSyncChain.size());

constexpr std::array kAsyncChain{
    asyncRow<CliCallbackWithFormat::EgrVlanXlateStatusH>("EGR_VLAN_XLATE_STATUS"),
    asyncRow<CliCallbackWithFormat::IngVlanRangeH>("ING_VLAN_RANGE"),
    asyncRow<CliCallbackWithFormat::MactDiffH>("MACT_DIFF"),
    asyncRow<CliCallbackWithFormat::MactHwAllH>("MACT_HW_ALL"),
    asyncRow<CliCallbackWithFormat::MactMissingH>("MACT_MISSING"),
    asyncRow<CliCallbackWithFormat::MactAllH>("MACT_ALL"),
    asyncRow<CliCallbackWithFormat::VlanXlateStatusH>("VLAN_XLATE_STATUS"),
    asyncRow<CliCallbackWithFormat::VxlanRoutingInfoH>("VXLAN_ROUTING_INFO"),
    asyncRow<CliCallbackWithFormat::VxlanVlanH>("VXLAN_VLAN"),
    asyncRow<CliCallbackWithFormat::DefaultAsyncH>(""),
};
static_assert(firstFaultyRow<CliCallbackWithFormat::AsyncHandler>(kAsyncChain) ==
              kAsyncChain.size());

}  // namespace

std::span<const ChainRow<CliCallbackWithFormat::Handler>> formattedHandlerChain() {
  return kSyncChain;
}

std::span<const ChainRow<CliCallbackWithFormat::AsyncHandler>> asyncHandlerChain() {
  return kAsyncChain;
}

}  // namespace KorvoL2
