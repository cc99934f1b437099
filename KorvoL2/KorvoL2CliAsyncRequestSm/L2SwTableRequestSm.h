// The software MAC table dump: walks the agent's MAC table shadow, one row per printable entry.
//
// Threading: the agent's event-loop thread only. The table may change between two slices; what a
// walk promises then is written in ResumableWalk.h.
#pragma once

#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2SwTableRequestSmBase.h"
#include "platform/l2/KorvoL2MacAddrSmHelper.h"

namespace KorvoL2 {

class L2SwTableRequestSm final : public L2SwTableRequestSmBase {
  QEL_ENTITY_CLASS(L2SwTableRequestSm, "KorvoL2::L2SwTableRequestSm")
 public:
  /** `macAddrSmHelper` gives the table; it is kept until the machine goes and must not be null. */
  L2SwTableRequestSm(std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                     Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                     KorvoL2MacAddrSmHelper* macAddrSmHelper);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;
  KORVO_L2_API void showMacTableAll() override;

 private:
  Qel::Ptr<KorvoL2MacAddrSmHelper> macAddrSmHelper_;
};

KORVO_L2_API Qel::Ptr<L2SwTableRequestSm> L2SwTableRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper);
KORVO_L2_API Qel::Ptr<L2SwTableRequestSm> l2SwTableRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper);

}  // namespace KorvoL2
