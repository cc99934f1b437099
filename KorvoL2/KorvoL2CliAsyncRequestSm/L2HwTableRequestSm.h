// The hardware MAC table dump: for each chip of the list, walks the MAC table shadow and has it
// print what that chip holds for each entry.
//
// The bookmark has two levels: the chip, and the entry within it. Every chip costs one full pass
// over the shadow.
//
// Threading: the agent's event-loop thread only. The table and the list of chips may change between
// two slices; the walk finds its place again by key and by chip identifier.
#pragma once

#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2HwTableRequestSmBase.h"
#include "platform/l2/KorvoL2MacAddrSmHelper.h"
#include "platform/l2/McastHelper.h"

namespace KorvoL2 {

class L2HwTableRequestSm final : public L2HwTableRequestSmBase {
  QEL_ENTITY_CLASS(L2HwTableRequestSm, "KorvoL2::L2HwTableRequestSm")
 public:
  /** The helpers are kept until the machine goes; the multicast helper may be null. */
  L2HwTableRequestSm(std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                     Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                     std::string chipList, bool detail, KorvoL2MacAddrSmHelper* macAddrSmHelper,
                     KorvoL2McastHelper* mcastHelper);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;
  KORVO_L2_API void showMacTableHw() override;

 private:
  bool startChip(std::uint32_t chip, const Qel::TraceSite& site);
  WalkEnd walkChip(const Qel::TraceSite& site);
  void finishChip();

  Qel::Ptr<KorvoL2MacAddrSmHelper> macAddrSmHelper_;
  Qel::Ptr<KorvoL2McastHelper> mcastHelper_;
};

KORVO_L2_API Qel::Ptr<L2HwTableRequestSm> L2HwTableRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, const std::string& chipList,
    bool detail, KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper);
KORVO_L2_API Qel::Ptr<L2HwTableRequestSm> l2HwTableRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, const std::string& chipList,
    bool detail, KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper);

}  // namespace KorvoL2
