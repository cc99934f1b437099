#include "KorvoL2/KorvoL2CliCallbacks/VxlanHandlers.h"

#include <exception>
#include <string>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2RoutingInfoRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2VxlanVlanRequestSmBase.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "KorvoL2/Trace.h"
#include "platform/l2/VxlanPrinters.h"

namespace KorvoL2 {

using Machine = CliCallbackWithFormat::AsyncHandler::Machine;

namespace {

/** The agent's VXLAN object, or null. */
const VxlanL2Sm* vxlanOf(const CliCallbackWithFormat& callback) {
  return callback.unicastAgent().vxlanL2Sm();
}

}  // namespace

void CliCallback::VxlanDebugStateH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->unicastAgent().vxlanL2Sm(), "no vxlanL2 Sm",
          &VxlanL2Sm::showSoftwareVxlanDebugInfo, callback->socket());
}

void CliCallback::VxlanSvpUsageH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->unicastAgent().svpManager(), "no svp mgr",
          &SvpManager::showVirtualPorts, callback->socket());
}

Machine CliCallbackWithFormat::VxlanRoutingInfoH::action(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  const UnicastAgent& unicast = callback->unicastAgent();
  const VxlanL2Sm* const vxlan = vxlanOf(*callback);
  return createMachine(
      callback, l2RoutingInfoRequestSmFactory, unicast.recircIntf(), unicast.routingStatus(),
      vxlan == nullptr ? nullptr : vxlan->vxlanL2State(), unicast.vlanSvpConfigDir(),
      vxlan == nullptr ? nullptr : vxlan->vxlanCapabilities(), callback->macAddrSmHelper());
}

bool CliCallbackWithFormat::VxlanVlanH::condition(
    const Qel::Ptr<CliCallbackWithFormat>& callback) const {
  if (!AsyncHandler::condition(callback)) return false;
  if (vxlanOf(*callback) != nullptr) return true;
  callback->outcomeIs(notReady("no vxlanL2 Sm", Qel::TraceSite(typeData().name)));
  return false;
}

Machine CliCallbackWithFormat::VxlanVlanH::action(const Qel::Ptr<CliCallbackWithFormat>& callback) {
  const VxlanL2Sm& vxlan = *vxlanOf(*callback);
  return createMachine(callback, l2VxlanVlanRequestSmBaseFactory,
                       callback->unicastAgent().featureAgentCommonSmData(), vxlan.vxlanL2State(),
                       vxlan.vxlanL3Config(), vxlan.vxlanL3Status(), callback->detail());
}

bool CliCallbackWithFormat::VxlanVlanSummaryH::condition(
    const Qel::Ptr<CliCallbackWithFormat>& callback) const {
  if (!Handler::condition(callback)) return false;
  if (vxlanOf(*callback) != nullptr) return true;
  callback->outcomeIs(notReady("no vxlanL2 Sm", Qel::TraceSite(typeData().name)));
  return false;
}

void CliCallbackWithFormat::VxlanVlanSummaryH::action(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  std::string problem;
  try {
    const VxlanL2Sm& vxlan = *vxlanOf(*callback);
    const auto buffer = Qel::makePtr<Rendering::PrintBuffer>(callback->socket(), defaultBufferSize,
                                                             Rendering::PrintBuffer::kStream);
    const auto renderer =
        Qel::makePtr<Rendering::RendererV2>(callback->outputFormat(), buffer, true);
    printVxlanVlanSummaryUtil(*renderer, *recordOrEmpty(vxlan.vxlanL2State()),
                              *recordOrEmpty(vxlan.vxlanL3Config()));
    return;
  } catch (const std::exception& e) {
    problem = e.what();
  } catch (...) {
    problem = "unknown exception";
  }
  KORVO_L2_TRACE(8, "Exception caught");
  // What has been printed ends anywhere, and nothing in it says so.
  callback->outcomeIs(
      {.kind = AgentCommand::CommandOutcome::Kind::failed, .reason = std::move(problem)});
}

}  // namespace KorvoL2
