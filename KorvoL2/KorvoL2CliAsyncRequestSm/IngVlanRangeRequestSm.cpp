#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngVlanRangeRequestSm.h"

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"

namespace KorvoL2 {

std::uint32_t IngVlanRangeRequestSm::getLogicalPort(Bridging::IntfId intf) const {
  const KorvoPortIdBase* const portId = fcsd()->intfPortId.find(intf);
  return portId == nullptr ? Bridging::ModPort{}.port : portId->modPort.port;
}

Qel::Ptr<IngVlanRangeRequestSm> IngVlanRangeRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize) {
  return createRequestSm<IngVlanRangeRequestSm>(name, request, maxRunTime, clock, fcsd,
                                                vlanXlateScaleEntryDir, cmdRingManager,
                                                ingVlanRangeSize);
}

Qel::Ptr<IngVlanRangeRequestSm> ingVlanRangeRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize) {
  return IngVlanRangeRequestSmIs(name, request, maxRunTime, clock, fcsd, vlanXlateScaleEntryDir,
                                 cmdRingManager, ingVlanRangeSize);
}

}  // namespace KorvoL2
