#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2HwTableRequestSm.h"

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"
#include "platform/command/CommandArgument.h"
#include "platform/types/FapId.h"

namespace KorvoL2 {

L2HwTableRequestSm::L2HwTableRequestSm(std::string name,
                                       Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                                       Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                                       std::string chipList, bool detail,
                                       KorvoL2MacAddrSmHelper* macAddrSmHelper,
                                       KorvoL2McastHelper* mcastHelper)
    : L2HwTableRequestSmBase(std::move(name), std::move(request), maxRunTime, std::move(clock),
                             std::move(chipList), detail),
      macAddrSmHelper_(macAddrSmHelper),
      mcastHelper_(mcastHelper) {
  QEL_ASSERT(macAddrSmHelper_ != nullptr);
}

void L2HwTableRequestSm::handleAsyncCommand(std::uint32_t socket, std::uint32_t format) {
  KORVO_L2_TRACE(8, "socket:{}, format:{}", socket, format);
  getAsyncState();
  if (ready()) showMacTableHw();
}

void L2HwTableRequestSm::showMacTableHw() {
  const Qel::TraceSite here(typeData().name);
  KORVO_L2_TRACE_AT(8, here, "");
  // The list is searched for the next identifier each time, never iterated: it may be changed
  // between two slices, and a search among at most a few hundred costs nothing beside a chip.
  auto chip = fapIdList().lower_bound(fapBookmark());
  while (chip != fapIdList().end()) {
    const std::uint32_t current = *chip;
    // A chip that left the list while it was being dumped still gets its section closed.
    if (chipInProgress() && current != fapBookmark()) {
      finishChip();
    }
    if (chipInProgress() || startChip(current, here)) {
      const WalkEnd end = walkChip(here);
      if (end == WalkEnd::yielded) return;
      finishChip();
      if (end == WalkEnd::yieldedAtEnd) {
        // The section is closed in this slice, the next chip starts in the next one; past the last
        // chip, the next slice finds nothing left and completes.
        const auto next = fapIdList().upper_bound(current);
        fapBookmarkIs(next == fapIdList().end() ? current + 1 : *next);
        return;
      }
    }
    chip = fapIdList().upper_bound(current);
  }
  if (chipInProgress()) finishChip();
  KORVO_L2_TRACE_AT(8, here, "Execution Completed");
  executionComplete();
}

// Opens the section of `chip`; false if the agent does not know it.
bool L2HwTableRequestSm::startChip(std::uint32_t chip, const Qel::TraceSite& site) {
  fapBookmarkIs(chip);
  // Refuses what no chip can have.
  const auto fapId =
      AgentCommand::readArgument("chip list", chipList(), [chip] { return Tessar::FapId(chip); });
  const FapChipCollection* const chips = macAddrSmHelper_->fapChip();
  const FapChip* const record = chips == nullptr ? nullptr : chips->find(fapId);
  if (record == nullptr) {
    KORVO_L2_TRACE_AT(8, site, "skipping fapId {}", chip);
    return false;
  }
  beginChipRender(record->fapChipName);
  chipInProgressIs(true);
  walk().restart();
  return true;
}

WalkEnd L2HwTableRequestSm::walkChip(const Qel::TraceSite& site) {
  const Qel::Ptr<const MacTblShadow> shadow(macAddrSmHelper_->macTblShadow());
  const MacEntryCollection* const entries = shadow == nullptr ? nullptr : shadow->macEntry();
  if (entries == nullptr) return WalkEnd::exhausted;
  Rendering::RendererV2& out = renderer();
  const Tessar::FapId fapId(fapBookmark());
  return walk().runSlice(*entries, *this, site, [&](const MacEntryCollection::Entry& entry) {
    out.openObject();
    shadow->printMacEntryHw(out, tableRenderer().get(), fapId, detail(), entry.key, entry.value,
                            mcastHelper_.get());
    out.closeObject();
    // No entry is skipped here, whatever the shadow printed for it.
    return RowOutcome::printed;
  });
}

void L2HwTableRequestSm::finishChip() {
  endChipRender();
  chipInProgressIs(false);
}

Qel::Ptr<L2HwTableRequestSm> L2HwTableRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, const std::string& chipList,
    bool detail, KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper) {
  return createRequestSm<L2HwTableRequestSm>(name, request, maxRunTime, clock, chipList, detail,
                                             macAddrSmHelper, mcastHelper);
}

Qel::Ptr<L2HwTableRequestSm> l2HwTableRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, const std::string& chipList,
    bool detail, KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper) {
  return L2HwTableRequestSmIs(name, request, maxRunTime, clock, chipList, detail, macAddrSmHelper,
                              mcastHelper);
}

}  // namespace KorvoL2
