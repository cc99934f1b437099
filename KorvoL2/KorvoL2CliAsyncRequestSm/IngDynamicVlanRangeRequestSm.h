// The ingress VLAN ranges dump of chips with dynamic range tables: an interface's logical port is
// the hardware index of its port, or of the port-channel that it is a member of.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanRangeRequestSmBase.h"

namespace KorvoL2 {

class IngDynamicVlanRangeRequestSm final : public IngVlanRangeRequestSmBase {
  QEL_ENTITY_CLASS(IngDynamicVlanRangeRequestSm, "KorvoL2::IngDynamicVlanRangeRequestSm")
 public:
  /** Null for `portHwIndexMappingDir` stands for an empty one. */
  IngDynamicVlanRangeRequestSm(std::string name,
                               Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                               Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                               Qel::Ptr<const FeatureAgentCommonSmData> fcsd,
                               Qel::Ptr<const VlanXlateScaleEntryDir> vlanXlateScaleEntryDir,
                               Qel::Ptr<L2CmdRingManager> cmdRingManager,
                               std::uint8_t ingVlanRangeSize,
                               Qel::Ptr<const PortHwIndexMappingDir> portHwIndexMappingDir);

  /** 0 where neither the interface nor its port-channel has an index. */
  KORVO_L2_API std::uint32_t getLogicalPort(Bridging::IntfId intf) const override;

  /** Never null. */
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const PortHwIndexMappingDir>, portHwIndexMappingDir)
};

KORVO_L2_API Qel::Ptr<IngDynamicVlanRangeRequestSm> IngDynamicVlanRangeRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize,
    const Qel::Ptr<const PortHwIndexMappingDir>& portHwIndexMappingDir);
KORVO_L2_API Qel::Ptr<IngDynamicVlanRangeRequestSm> ingDynamicVlanRangeRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize,
    const Qel::Ptr<const PortHwIndexMappingDir>& portHwIndexMappingDir);

}  // namespace KorvoL2
