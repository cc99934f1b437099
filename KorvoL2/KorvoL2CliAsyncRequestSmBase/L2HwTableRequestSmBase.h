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
#include "platform/base/Attribute.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/MacEntry.h"
#include "platform/rendering/TableRenderer.h"

namespace KorvoL2 {

class L2HwTableRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
  QEL_ENTITY_CLASS(L2HwTableRequestSmBase, "KorvoL2::L2HwTableRequestSmBase")
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
  QEL_FIXED_ATTRIBUTE(bool, detail)
  /** The list is parsed and the preamble written; the walk may run. */
  QEL_ATTRIBUTE(bool, ready)
  /** The walk is inside a chip's section: its head is printed, its foot not yet. */
  QEL_ATTRIBUTE(bool, chipInProgress)
  /** The chip being dumped, or to be dumped next. */
  QEL_ATTRIBUTE(std::uint32_t, fapBookmark)
  /** The key of the next entry to print within the current chip. */
  KORVO_L2_WALK(ResumableWalk<MacEntryCollection>, walk, bookmark)
  QEL_SET_ATTRIBUTE(FapIdList, fapIdList, fap)
  /** The column table of the detailed form; null before the list is parsed and after the end. */
  QEL_ATTRIBUTE(std::unique_ptr<Rendering::TableRenderer>, tableRenderer)

 protected:
  void initializeTableRenderer();
  void beginChipRender(std::string_view chipName);
  void endChipRender();
  void executionComplete();

  ResumableWalk<MacEntryCollection>& walk() noexcept { return walk_; }

 private:
  std::string chipList_;
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
