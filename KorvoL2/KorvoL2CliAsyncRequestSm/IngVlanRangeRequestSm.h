// The ingress VLAN ranges dump of chips with fixed range tables: an interface's logical port is the
// number of its port on the chip.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanRangeRequestSmBase.h"

namespace KorvoL2 {

class IngVlanRangeRequestSm final : public IngVlanRangeRequestSmBase {
  QEL_ENTITY_CLASS(IngVlanRangeRequestSm, "KorvoL2::IngVlanRangeRequestSm")
 public:
  using IngVlanRangeRequestSmBase::IngVlanRangeRequestSmBase;

  /** The hardware's "no port", 1023, for an interface without a port. */
  KORVO_L2_API std::uint32_t getLogicalPort(Bridging::IntfId intf) const override;
};

KORVO_L2_API Qel::Ptr<IngVlanRangeRequestSm> IngVlanRangeRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize);
KORVO_L2_API Qel::Ptr<IngVlanRangeRequestSm> ingVlanRangeRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize);

}  // namespace KorvoL2
