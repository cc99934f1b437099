// The hardware MAC table dump, as far as it does not need the agent's objects: the list of chips,
// the preamble, each chip's heading and footing, and the trailer.
//
// Text:  for each chip a title between rules, the heads, one row per entry, and a closing line.
// JSON:  {"chips":{"CHIP-A":{"macTableEntries":[{...},...]},"CHIP-B":{...}}} and a newline.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <absl/container/btree_set.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/ResumableWalk.h"
#include "platform/base/Tracked.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/MacEntry.h"
#include "platform/rendering/TableRenderer.h"

namespace KorvoL2 {

class L2HwTableRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
  QEL_TRACKED_ALLOCATION(L2HwTableRequestSmBase)
 public:
  /** Chip identifiers as the command gave them, not yet checked against any range; ascending. */
  using FapIdList = absl::btree_set<std::uint32_t>;

  /** `chipList` is decimal chip identifiers separated by ","; read when the first slice runs. */
  L2HwTableRequestSmBase(std::string name,
                         Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                         Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                         std::string chipList, bool detail);

  /** One slice of the walk; a derived class knows the table. */
  KORVO_L2_API virtual void showMacTableHw();

  /** Takes the machine into service. */
  KORVO_L2_API void handleInitialized();
  /**
   * On the first call, writes the preamble, reads the chip list and makes the table renderer;
   * later, nothing. Throws what std::stoi does ("stoi") on a piece that is no number or out of
   * range.
   */
  KORVO_L2_API void getAsyncState();

  /** The chips as the command named them. */
  const std::string& chipList() const noexcept { return chipList_; }
  /** The detailed form: a column table for each chip, with a hardware index column. */
  bool detail() const noexcept { return detail_; }
  /** The list is parsed and the preamble written; the walk may run. */
  bool ready() const noexcept { return ready_; }
  /** The walk is inside a chip's section: its head is printed, its foot not yet. */
  bool chipInProgress() const noexcept { return chipInProgress_; }
  void chipInProgressIs(bool value) { attributeIs(chipInProgress_, value, "chipInProgress"); }
  /** The chip being dumped, or to be dumped next. */
  std::uint32_t fapBookmark() const noexcept { return fapBookmark_; }
  void fapBookmarkIs(std::uint32_t value) { attributeIs(fapBookmark_, value, "fapBookmark"); }
  /** The key of the next entry to print within the current chip. */
  const Bridging::MacVlanPair& bookmark() const noexcept { return walk_.bookmark(); }

  const FapIdList& fapIdList() const noexcept { return fapIdList_; }
  KORVO_L2_API void fapIs(std::uint32_t id);
  KORVO_L2_API void fapDel(std::uint32_t id);
  KORVO_L2_API void fapDel(FapIdList::const_iterator position);
  KORVO_L2_API void fapDelAll();
  bool fapHas(std::uint32_t id) const { return fapIdList_.contains(id); }

  KORVO_L2_API const Qel::TypeData& typeData() const noexcept override;

 protected:
  void initializeTableRenderer();
  void beginChipRender(std::string_view chipName);
  void endChipRender();
  void executionComplete();

  Rendering::TableRenderer* tableRenderer() const noexcept { return tableRenderer_.get(); }
  ResumableWalk<MacEntryCollection>& walk() noexcept { return walk_; }

 private:
  std::string chipList_;
  bool detail_;
  bool ready_ = false;
  bool chipInProgress_ = false;
  std::uint32_t fapBookmark_ = 0;
  FapIdList fapIdList_;
  std::unique_ptr<Rendering::TableRenderer> tableRenderer_;
  ResumableWalk<MacEntryCollection> walk_;
};

KORVO_L2_API Qel::Ptr<L2HwTableRequestSmBase> L2HwTableRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, const std::string& chipList,
    bool detail);
KORVO_L2_API Qel::Ptr<L2HwTableRequestSmBase> l2HwTableRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, const std::string& chipList,
    bool detail);

}  // namespace KorvoL2
