// The software MAC table dump, as far as it does not need the agent's objects: attributes,
// preamble, column heads and trailer.
//
// Text:  rule, column heads, rule, one line per printable entry, rule, "Number of entries : N".
// JSON:  {"macTableEntries":[{...},{...}],"numEntries":N} and a newline.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/ResumableWalk.h"
#include "platform/base/Tracked.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/MacEntry.h"

namespace KorvoL2 {

class L2SwTableRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
  QEL_TRACKED_ALLOCATION(L2SwTableRequestSmBase)
 public:
  L2SwTableRequestSmBase(std::string name,
                         Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                         Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock);

  /** One slice of the walk; a derived class knows the table. */
  KORVO_L2_API virtual void showMacTableAll();

  /** Takes the machine into service. */
  KORVO_L2_API void handleInitialized();
  /** On the first call, writes the preamble and sets inProgress; later, nothing. */
  KORVO_L2_API void getInProgressState();

  /** Set once the preamble is written and the walk may run; cleared at completion. */
  bool inProgress() const noexcept { return inProgress_; }
  void inProgressIs(bool inProgress) { attributeIs(inProgress_, inProgress, "inProgress"); }
  /** The column heads are still to be printed. */
  bool printHeader() const noexcept { return printHeader_; }
  void printHeaderIs(bool print) { attributeIs(printHeader_, print, "printHeader"); }
  /** The key of the next entry to print when the walk resumes. */
  const Bridging::MacVlanPair& bookmark() const noexcept { return walk_.bookmark(); }

  KORVO_L2_API const Qel::TypeData& typeData() const noexcept override;

 protected:
  void doPrintHeader();
  /** The trailer; `count` is the number of entries that the table holds. */
  void executionComplete(std::uint32_t count);

  ResumableWalk<MacEntryCollection>& walk() noexcept { return walk_; }

 private:
  bool inProgress_ = false;
  bool printHeader_ = true;
  ResumableWalk<MacEntryCollection> walk_;
};

KORVO_L2_API Qel::Ptr<L2SwTableRequestSmBase> L2SwTableRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock);
KORVO_L2_API Qel::Ptr<L2SwTableRequestSmBase> l2SwTableRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock);

}  // namespace KorvoL2
