#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"

namespace KorvoL2 {

L2SwTableRequestSm::L2SwTableRequestSm(std::string name,
                                       Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                                       Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                                       KorvoL2MacAddrSmHelper* macAddrSmHelper)
    : L2SwTableRequestSmBase(std::move(name), std::move(request), maxRunTime, std::move(clock)),
      macAddrSmHelper_(macAddrSmHelper) {
  QEL_ASSERT(macAddrSmHelper_ != nullptr);
}

void L2SwTableRequestSm::handleAsyncCommand(std::uint32_t socket, std::uint32_t format) {
  KORVO_L2_TRACE(8, "socket:{}, format:{}", socket, format);
  getInProgressState();
  if (inProgress()) showMacTableAll();
}

void L2SwTableRequestSm::showMacTableAll() {
  const Qel::TraceSite here(typeData().name);
  if (printHeader()) {
    doPrintHeader();
    printHeaderIs(false);
  }
  // Held for this slice only: between two slices the agent may replace it.
  const Qel::Ptr<const MacTblShadow> shadow(macAddrSmHelper_->macTblShadow());
  const MacEntryCollection* const entries = shadow == nullptr ? nullptr : shadow->macEntry();
  if (entries != nullptr) {
    Rendering::RendererV2& out = renderer();
    const auto printRow = [&](const MacEntryCollection::Entry& entry) {
      if (!entry.value.printable) return RowOutcome::skipped;
      out.openObject();
      shadow->printMacEntry(out, entry.key, entry.value);
      out.closeObject();
      return RowOutcome::printed;
    };
    if (walk().runSlice(*entries, *this, here, printRow) == WalkEnd::yielded) return;
  }
  KORVO_L2_TRACE_AT(8, here, "Execution Completed");
  // The table's size, not the rows printed: the line reports what the table holds at this moment,
  // unprintable entries included.
  executionComplete(entries == nullptr ? 0 : static_cast<std::uint32_t>(entries->size()));
}

Qel::Ptr<L2SwTableRequestSm> L2SwTableRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper) {
  return createRequestSm<L2SwTableRequestSm>(name, request, maxRunTime, clock, macAddrSmHelper);
}

Qel::Ptr<L2SwTableRequestSm> l2SwTableRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper) {
  return L2SwTableRequestSmIs(name, request, maxRunTime, clock, macAddrSmHelper);
}

}  // namespace KorvoL2
