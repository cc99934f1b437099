#include "agent/model/LogicalPorts.h"

#include "platform/types/ModPort.h"

namespace KorvoAgent {

using Bridging::IntfId;

namespace {

constexpr std::uint16_t kNoLogicalFap = 0x200;

std::uint32_t hwIndexOf(UnicastAgentModel& unicast, IntfId intf) {
  const auto& indexes = unicast.ingVlanRange().hwIndexes->entries;
  if (const std::uint16_t* const own = indexes.find(intf)) return *own;
  const IntfId* const lag = unicast.common().portToLag().find(intf);
  const std::uint16_t* const ofLag = lag == nullptr ? nullptr : indexes.find(*lag);
  return ofLag == nullptr ? 0 : *ofLag;
}

}  // namespace

LogicalPort logicalPortOf(SwitchModel& model, IntfId intf) {
  UnicastAgentModel& unicast = model.unicast();
  const KorvoL2::FeatureAgentCommonSmData& common = unicast.common();
  const KorvoL2::KorvoPortIdBase* const portId = common.intfPortId.find(intf);
  const Bridging::ModPort modPort = portId == nullptr ? Bridging::ModPort{} : portId->modPort;
  const std::uint16_t* const fap = common.modPortLogicalFap.find(modPort);

  const KorvoL2::ChipL2TableFeature& feature = model.l2TableFeature();
  const bool dynamic = feature.ingVlanDynamicRange && !feature.ingVlanRangeDisabled;
  return {.fap = fap == nullptr ? kNoLogicalFap : *fap,
          .port = dynamic ? hwIndexOf(unicast, intf) : modPort.port};
}

}  // namespace KorvoAgent
