#include "KorvoL2/KorvoL2CliCallbacks/CliCallbackWithFormat.h"

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandlerChain.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"

namespace KorvoL2 {

using AgentCommand::AgentAsyncCommandRequestSm;
using AgentCommand::AgentCommandRequest;

CliCallbackWithFormat::CliCallbackWithFormat(std::string name)
    : CliCallbackBaseWithFormat(std::move(name), "KorvoL2WithFormat") {}

Qel::Ptr<CliCallbackWithFormat> CliCallbackWithFormat::CliCallbackWithFormatIs(
    const std::string& name) {
  auto callback = Qel::makePtr<CliCallbackWithFormat>(name);
  callback->hasNotificationActiveIs(true);
  return callback;
}

Qel::Ptr<CliCallbackWithFormat> cliCallbackWithFormatFactory(const std::string& name) {
  return CliCallbackWithFormat::CliCallbackWithFormatIs(name);
}

void CliCallbackWithFormat::handleCommand(std::uint32_t socket, std::string command,
                                          std::uint32_t outputFormat) {
  KORVO_L2_TRACE(8, "socket: {} command: {} outputFormat: {}", socket, command, outputFormat);
  const Command underWay(*this);
  commandIs(std::move(command));
  socketIs(socket);
  outputFormatIs(outputFormat);
  asyncRequestIs(nullptr);
  enlargeSendBuffer(socket);
  if (!handleCommandCommon()) return;
  dispatch(formattedHandlerChain(), Qel::Ptr<CliCallbackWithFormat>(this),
           Qel::TraceSite(typeData().name),
           [this](const Handler& tested) { prepare(tested.cmdName()); });
}

Qel::Ptr<AgentAsyncCommandRequestSm> CliCallbackWithFormat::createAgentAsyncCommandRequestSm(
    Qel::Ptr<const AgentCommandRequest> request) {
  QEL_ASSERT(request != nullptr);
  KORVO_L2_TRACE(8, "command: {}", request->commandString());
  const Command underWay(*this);
  commandIs(request->commandString());
  Qel::Ptr<AgentAsyncCommandRequestSm> machine;
  try {
    asyncRequestIs(request);
    if (handleCommandCommon()) {
      refreshChipFlags();
      machine = dispatch(asyncHandlerChain(), Qel::Ptr<CliCallbackWithFormat>(this),
                         Qel::TraceSite(typeData().name),
                         [this](const AsyncHandler& tested) { prepare(tested.cmdName()); });
    }
    // From here on the request is its machine's. Kept until the next command, it would hold a
    // dump's output buffer long after its client has gone.
    asyncRequestIs(nullptr);
  } catch (...) {
    try {
      asyncRequestIs(nullptr);
    } catch (...) {  // the first failure is the one that is told
    }
    throw;
  }
  return machine;
}

bool CliCallbackWithFormat::handleCommandCommon() {
  const Command underWay(*this);
  outcomeIs(agentReadiness(kept(), Qel::TraceSite(typeData().name)));
  if (isNotReady(outcome())) return false;
  macAddrSmHelperIs(keep(agent().macAddrSmHelper()));
  mcastHelperIs(keep(mcastHelperOf(agent())));
  detailIs(asksForDetail(command_));
  return true;
}

void CliCallbackWithFormat::refreshChipFlags() {
  const Qel::Ptr<const ChipAttr> chipAttr = chipAttrOf(*this);
  const Qel::Ptr<const ChipL2TableFeature> tables = agent().chipL2TableFeature();
  const bool ranges = tables != nullptr && !tables->ingVlanRangeDisabled;
  vlanRangeSupportedIs(ranges && tables->ingVlanRange);
  ingVlanDynamicRangeIs(ranges && tables->ingVlanDynamicRange);
  vlanXlateFeaturesIs(*this, chipAttr.get());
}

void CliCallbackWithFormat::prepare(const std::string& keyword) {
  // "KEYWORD+detail": the word and one separator are expected right behind the keyword, and that
  // many characters are skipped wherever the word stands.
  constexpr std::size_t kDetailLength = 7;
  argIs(argumentText(command_, keyword.size() + (detail_ ? kDetailLength : 0)));
}

}  // namespace KorvoL2
