#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2SwTableRequestSmBase.h"

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"

namespace KorvoL2 {

namespace {

constexpr std::size_t kRuleLength = 110;

std::string rule() { return std::string(kRuleLength, '-'); }

}  // namespace

L2SwTableRequestSmBase::L2SwTableRequestSmBase(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock)
    : AgentAsyncCommandRequestSm(std::move(name), std::move(request), maxRunTime, std::move(clock)),
      printHeader_(true) {}

void L2SwTableRequestSmBase::showMacTableAll() {
  throw Qel::NoImplementationException("not implemented in base-class");
}

void L2SwTableRequestSmBase::handleInitialized() { initializeSm(); }

void L2SwTableRequestSmBase::getInProgressState() {
  if (inProgress_) return;
  renderer().openObject();
  renderer().openList("macTableEntries");
  inProgressIs(true);
}

void L2SwTableRequestSmBase::doPrintHeader() {
  Rendering::RendererV2& out = renderer();
  out.addFrills("%s\n", rule());
  // The rows under these heads are the shadow's, in the same widths.
  out.addFrills("%8s%16s%12s%10s%24s%12s%12s%6s%8s\n", "vlan", "mac address", "interface",
                "mcastId", "type", "bitmap", "source", "flags", "keyType");
  out.addFrills("%s\n", rule());
}

void L2SwTableRequestSmBase::executionComplete(std::uint32_t count) {
  KORVO_L2_TRACE(8, "");
  Rendering::RendererV2& out = renderer();
  out.closeList();
  out.addFrills("%s\n", rule());
  out.addAttribute("Number of entries : %d\n", "numEntries", count);
  out.closeObject();
  out.documentEnd();
  out.ioflush();
  executionCompleteFlagIs(true);
  inProgressIs(false);
}

Qel::Ptr<L2SwTableRequestSmBase> L2SwTableRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock) {
  return createRequestSm<L2SwTableRequestSmBase>(name, request, maxRunTime, clock);
}

Qel::Ptr<L2SwTableRequestSmBase> l2SwTableRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock) {
  return L2SwTableRequestSmBaseIs(name, request, maxRunTime, clock);
}

}  // namespace KorvoL2
