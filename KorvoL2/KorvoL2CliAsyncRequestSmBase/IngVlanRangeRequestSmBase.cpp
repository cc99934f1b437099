#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanRangeRequestSmBase.h"

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"
#include "platform/l2/VlanRangePrinter.h"

namespace KorvoL2 {

namespace {

/** The logical FAP of a port that none is known for; no chip has it. */
constexpr std::uint16_t kNoLogicalFap = 0x200;

}  // namespace

IngVlanRangeRequestSmBase::IngVlanRangeRequestSmBase(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
    Qel::Ptr<const FeatureAgentCommonSmData> fcsd,
    Qel::Ptr<const VlanXlateScaleEntryDir> vlanXlateScaleEntryDir,
    Qel::Ptr<L2CmdRingManager> cmdRingManager, std::uint8_t ingVlanRangeSize)
    : AgentAsyncCommandRequestSm(std::move(name), std::move(request), maxRunTime, std::move(clock)),
      fcsd_(recordOrEmpty(std::move(fcsd))),
      vlanXlateScaleEntryDir_(recordOrEmpty(std::move(vlanXlateScaleEntryDir))),
      cmdRingManager_(std::move(cmdRingManager)),
      ingVlanRangeSize_(ingVlanRangeSize) {}

void IngVlanRangeRequestSmBase::handleAsyncCommand(std::uint32_t socket, std::uint32_t format) {
  KORVO_L2_TRACE(8, "socket:{}, format:{}", socket, format);
  getAsyncState();
  showIngVlanRanges();
}

std::uint32_t IngVlanRangeRequestSmBase::getLogicalPort(Bridging::IntfId /*intf*/) const {
  throw Qel::NoImplementationException("not implemented in base-class");
}

void IngVlanRangeRequestSmBase::handleInitialized() { initializeSm(); }

void IngVlanRangeRequestSmBase::getAsyncState() {
  if (inProgress_) return;
  renderer().openObject();
  renderer().openObject("intfVlanRanges");
  inProgressIs(true);
}

void IngVlanRangeRequestSmBase::showIngVlanRanges() {
  const Qel::TraceSite here(typeData().name);
  const WalkEnd end = walk_.runSlice(fcsd_->intf, *this, here,
                                     [this](const auto& entry) { return showIntf(entry.key); });
  if (end == WalkEnd::yielded) return;
  KORVO_L2_TRACE_AT(8, here, "Execution Completed");
  executionComplete();
}

RowOutcome IngVlanRangeRequestSmBase::showIntf(Bridging::IntfId intf) {
  const std::uint32_t logicalPort = getLogicalPort(intf);
  // Before the rest is looked up: most interfaces of a switch have no entry.
  const VlanXlateScaleEntry* const scale = vlanXlateScaleEntryDir_->entries.find(intf);
  if (scale == nullptr || cmdRingManager_ == nullptr) return RowOutcome::silent;
  const bool oversize = ingVlanRangeSize_ < scale->size;
  const KorvoPortIdBase* const portId = fcsd_->intfPortId.find(intf);
  const auto* const fap =
      fcsd_->modPortLogicalFap.find(portId == nullptr ? Bridging::ModPort{} : portId->modPort);
  const IngVlanRangeParam programmed =
      cmdRingManager_->getIngVlanRangeEntry(fap == nullptr ? kNoLogicalFap : *fap, logicalPort);
  if (programmed.ranges.empty()) return RowOutcome::silent;
  printIngVlanRangeEntryUtil(renderer(), *fcsd_, intf, static_cast<std::uint16_t>(logicalPort),
                             oversize, programmed.ranges);
  return RowOutcome::printed;
}

void IngVlanRangeRequestSmBase::executionComplete() {
  KORVO_L2_TRACE(8, "");
  renderer().closeObject();
  renderer().closeObject();
  renderer().documentEnd();
  renderer().ioflush();
  executionCompleteFlagIs(true);
  inProgressIs(false);
}

Qel::Ptr<IngVlanRangeRequestSmBase> IngVlanRangeRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize) {
  return createRequestSm<IngVlanRangeRequestSmBase>(name, request, maxRunTime, clock, fcsd,
                                                    vlanXlateScaleEntryDir, cmdRingManager,
                                                    ingVlanRangeSize);
}

Qel::Ptr<IngVlanRangeRequestSmBase> ingVlanRangeRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize) {
  return IngVlanRangeRequestSmBaseIs(name, request, maxRunTime, clock, fcsd, vlanXlateScaleEntryDir,
                                     cmdRingManager, ingVlanRangeSize);
}

}  // namespace KorvoL2
