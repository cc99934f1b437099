#include "KorvoL2/KorvoL2CliCallbacks/VlanDumpHandlers.h"

#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngDynamicVlanRangeRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngVlanRangeRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/EgrVlanXlateSwRequestSmBase.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanXlateSwRequestSmBase.h"
#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"

namespace KorvoL2 {

using Machine = CliCallbackWithFormat::AsyncHandler::Machine;

bool CliCallbackWithFormat::VlanDumpHandler::condition(
    const Qel::Ptr<CliCallbackWithFormat>& callback) const {
  if (!AsyncHandler::condition(callback) || !chipSupport(*callback)) return false;
  const std::string_view missing = missingObject(*callback);
  if (missing.empty()) return true;
  callback->outcomeIs(notReady(missing, Qel::TraceSite(typeData().name)));
  return false;
}

std::string_view CliCallbackWithFormat::VlanDumpHandler::missingObject(
    const CliCallbackWithFormat& callback) const {
  return callback.unicastAgent().vlanXlateSm() == nullptr ? "no vlanXlateSm" : "";
}

bool CliCallbackWithFormat::EgrVlanXlateStatusH::chipSupport(
    const CliCallbackWithFormat& callback) const {
  return callback.egrVlanXlateFeature();
}

Machine CliCallbackWithFormat::EgrVlanXlateStatusH::action(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  const Qel::Ptr<const VlanXlateSm> xlate(callback->unicastAgent().vlanXlateSm());
  return createMachine(callback, egrVlanXlateSwRequestSmBaseFactory,
                       xlate->egrVlanXlateVxlanVfiConfigDir(), xlate->egrPortVlanXlateStatusDir(),
                       xlate->egrVxlanVlanXlateStatusDir());
}

bool CliCallbackWithFormat::IngVlanRangeH::chipSupport(
    const CliCallbackWithFormat& callback) const {
  return callback.vlanRangeSupported();
}

std::string_view CliCallbackWithFormat::IngVlanRangeH::missingObject(
    const CliCallbackWithFormat& callback) const {
  const UnicastAgent& unicast = callback.unicastAgent();
  if (unicast.ingVlanRangeSm() == nullptr) return "no ingVlanRangeSm";
  if (unicast.featureAgentCommonSmData() == nullptr) return "no featureAgentCommonSmData";
  return callback.agent().l2CmdRingManager() == nullptr ? "no l2CmdRingManager" : "";
}

Machine CliCallbackWithFormat::IngVlanRangeH::action(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  const Qel::Ptr<const IngVlanRangeSm> ranges(callback->unicastAgent().ingVlanRangeSm());
  const Qel::Ptr<const FeatureAgentCommonSmData> fcsd =
      callback->unicastAgent().featureAgentCommonSmData();
  const Qel::Ptr<L2CmdRingManager> ring(callback->agent().l2CmdRingManager());
  if (callback->ingVlanDynamicRange()) {
    return createMachine(callback, ingDynamicVlanRangeRequestSmFactory, fcsd,
                         ranges->vlanXlateScaleEntryDir(), ring, ranges->ingVlanRangeSize(),
                         ranges->portHwIndexMappingDir());
  }
  return createMachine(callback, ingVlanRangeRequestSmFactory, fcsd,
                       ranges->vlanXlateScaleEntryDir(), ring, ranges->ingVlanRangeSize());
}

bool CliCallbackWithFormat::VlanXlateStatusH::chipSupport(
    const CliCallbackWithFormat& callback) const {
  return callback.vlanXlateFeature();
}

Machine CliCallbackWithFormat::VlanXlateStatusH::action(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  const Qel::Ptr<const VlanXlateSm> xlate(callback->unicastAgent().vlanXlateSm());
  return createMachine(callback, ingVlanXlateSwRequestSmBaseFactory, xlate->vlanXlateDipConfigDir(),
                       xlate->vlanSvpStatusDir(), xlate->portVlanXlateStatusDir());
}

}  // namespace KorvoL2
