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

const Qel::TypeData& CliCallbackWithFormat::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoL2::CliCallbackWithFormat"};
  return kType;
}

void CliCallbackWithFormat::handleCommand(std::uint32_t socket, std::string command,
                                          std::uint32_t outputFormat) {
  QEL_TRACE(trace(), 8, "socket: {} command: {} outputFormat: {}", socket, command, outputFormat);
  const Qel::Ptr<CliCallbackWithFormat> self(this);
  const Qel::Ptr<const L2Agent> agent(l2Agent());
  commandIs(std::move(command));
  socketIs(socket);
  outputFormatIs(outputFormat);
  asyncRequestIs(nullptr);
  enlargeSendBuffer(socket);
  if (!handleCommandCommon()) return;
  dispatch(formattedHandlerChain(), self,
           [this](const Handler& tested) { prepare(tested.cmdName()); });
}

Qel::Ptr<AgentAsyncCommandRequestSm> CliCallbackWithFormat::createAgentAsyncCommandRequestSm(
    Qel::Ptr<const AgentCommandRequest> request) {
  QEL_ASSERT(request != nullptr);
  QEL_TRACE(trace(), 8, "command: {}", request->commandString());
  const Qel::Ptr<CliCallbackWithFormat> self(this);
  const Qel::Ptr<const L2Agent> agent(l2Agent());
  commandIs(request->commandString());
  asyncRequestIs(std::move(request));
  // From here on the request is its machine's. Kept until the next command, it would hold a dump's
  // output buffer long after its client has gone.
  struct LetGo {
    CliCallbackWithFormat& callback;
    explicit LetGo(CliCallbackWithFormat& c) : callback(c) {}
    LetGo(const LetGo&) = delete;
    LetGo& operator=(const LetGo&) = delete;
    ~LetGo() { callback.asyncRequestIs(nullptr); }
  } const letGo(*this);

  if (!handleCommandCommon()) return nullptr;
  refreshChipFlags();
  return dispatch(asyncHandlerChain(), self,
                  [this](const AsyncHandler& tested) { prepare(tested.cmdName()); });
}

bool CliCallbackWithFormat::handleCommandCommon() {
  const Qel::Ptr<const L2Agent> agent(l2Agent());
  outcomeIs(agentReadiness(agent.get()));
  if (isNotReady(outcome())) return false;
  macAddrSmHelperIs(agent->macAddrSmHelper());
  mcastHelperIs(mcastHelperOf(*agent));
  detailIs(asksForDetail(command_));
  return true;
}

void CliCallbackWithFormat::refreshChipFlags() {
  const Qel::Ptr<const ChipAttr> chipAttr = chipAttrOf(*l2Agent());
  const Qel::Ptr<const ChipL2TableFeature> tables = l2Agent()->chipL2TableFeature();
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
