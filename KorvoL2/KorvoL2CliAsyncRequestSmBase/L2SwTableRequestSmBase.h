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
#include "platform/base/Attribute.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/MacEntry.h"

namespace KorvoL2 {

class L2SwTableRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
  QEL_ENTITY_CLASS(L2SwTableRequestSmBase, "KorvoL2::L2SwTableRequestSmBase")
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
  QEL_ATTRIBUTE(bool, inProgress)
  /** The column heads are still to be printed. */
  QEL_ATTRIBUTE(bool, printHeader)
  /** The key of the next entry to print when the walk resumes. */
  KORVO_L2_WALK(ResumableWalk<MacEntryCollection>, walk, bookmark)

 protected:
  void doPrintHeader();
  /** The trailer; `count` is the number of entries that the table holds. */
  void executionComplete(std::uint32_t count);

  ResumableWalk<MacEntryCollection>& walk() noexcept { return walk_; }
};

KORVO_L2_API Qel::Ptr<L2SwTableRequestSmBase> L2SwTableRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock);
KORVO_L2_API Qel::Ptr<L2SwTableRequestSmBase> l2SwTableRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock);

}  // namespace KorvoL2
