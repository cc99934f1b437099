#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngDynamicVlanRangeRequestSm.h"

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"

namespace KorvoL2 {

IngDynamicVlanRangeRequestSm::IngDynamicVlanRangeRequestSm(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
    Qel::Ptr<const FeatureAgentCommonSmData> fcsd,
    Qel::Ptr<const VlanXlateScaleEntryDir> vlanXlateScaleEntryDir,
    Qel::Ptr<L2CmdRingManager> cmdRingManager, std::uint8_t ingVlanRangeSize,
    Qel::Ptr<const PortHwIndexMappingDir> portHwIndexMappingDir)
    : IngVlanRangeRequestSmBase(std::move(name), std::move(request), maxRunTime, std::move(clock),
                                std::move(fcsd), std::move(vlanXlateScaleEntryDir),
                                std::move(cmdRingManager), ingVlanRangeSize),
      portHwIndexMappingDir_(recordOrEmpty(std::move(portHwIndexMappingDir))) {}

std::uint32_t IngDynamicVlanRangeRequestSm::getLogicalPort(Bridging::IntfId intf) const {
  const auto& indexes = portHwIndexMappingDir_->entries;
  const std::uint16_t* index = indexes.find(intf);
  if (index == nullptr) {
    const Bridging::IntfId* const lag = fcsd()->portToLag().find(intf);
    if (lag != nullptr) index = indexes.find(*lag);
  }
  return index == nullptr ? 0 : *index;
}

Qel::Ptr<IngDynamicVlanRangeRequestSm> IngDynamicVlanRangeRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize,
    const Qel::Ptr<const PortHwIndexMappingDir>& portHwIndexMappingDir) {
  return createRequestSm<IngDynamicVlanRangeRequestSm>(name, request, maxRunTime, clock, fcsd,
                                                       vlanXlateScaleEntryDir, cmdRingManager,
                                                       ingVlanRangeSize, portHwIndexMappingDir);
}

Qel::Ptr<IngDynamicVlanRangeRequestSm> ingDynamicVlanRangeRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize,
    const Qel::Ptr<const PortHwIndexMappingDir>& portHwIndexMappingDir) {
  return IngDynamicVlanRangeRequestSmIs(name, request, maxRunTime, clock, fcsd,
                                        vlanXlateScaleEntryDir, cmdRingManager, ingVlanRangeSize,
                                        portHwIndexMappingDir);
}

}  // namespace KorvoL2
