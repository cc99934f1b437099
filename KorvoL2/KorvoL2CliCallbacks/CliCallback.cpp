#include "KorvoL2/KorvoL2CliCallbacks/CliCallback.h"

#include <algorithm>

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "KorvoL2/KorvoL2CliCallbacks/PlainHandlerChain.h"
#include "platform/base/Exceptions.h"

namespace KorvoL2 {

CliCallback::CliCallback(std::string name) : CliCallbackBase(std::move(name), "KorvoL2") {}

Qel::Ptr<CliCallback> CliCallback::CliCallbackIs(const std::string& name) {
  auto callback = Qel::makePtr<CliCallback>(name);
  callback->hasNotificationActiveIs(true);
  return callback;
}

Qel::Ptr<CliCallback> cliCallbackFactory(const std::string& name) {
  return CliCallback::CliCallbackIs(name);
}

void CliCallback::handleCommand(std::uint32_t socket, std::string command) {
  const Command underWay(*this);
  const Qel::TraceSite here(typeData().name);
  outcomeIs({});
  commandIs(std::move(command));
  socketIs(socket);
  enlargeSendBuffer(socket);
  outcomeIs(refreshContext(here));
  if (isNotReady(outcome())) return;
  detailIs(asksForDetail(command_));
  tokenise();
  dispatch(plainHandlerChain(), Qel::Ptr<CliCallback>(this), here, [this](const Handler& tested) {
    argIs(argumentText(command_, tested.cmdName().size()));
  });
}

AgentCommand::CommandOutcome CliCallback::refreshContext(const Qel::TraceSite& site) {
  if (auto readiness = agentReadiness(kept(), site); isNotReady(readiness)) return readiness;
  KorvoL2MacAddrSmHelper* const helper = keep(agent().macAddrSmHelper());
  macAddrSmHelperIs(helper);
  chipAttrIs(chipAttrOf(*this));
  vlanXlateFeaturesIs(*this, chipAttr_.get());
  l2ModFifoMonitorSmIs(keep(agent().l2ModFifoMonitorSm()));
  if (!agent().l2TableMode()) {
    if (helper == nullptr) return notReady("no macAddrSmHelper", site);
    if (helper->macTblShadow() == nullptr) return notReady("no macTblShadow", site);
  }
  if (agent().mcast() == nullptr) return notReady("no mcastHelper", site);
  mcastHelperIs(keep(mcastHelperOf(agent())));
  return {};
}

void CliCallback::tokenise() {
  cmdTokensDelAll();
  // The counter wraps at 256 tokens. No command has that many; one that does gets what fits.
  std::uint8_t position = 0;
  // A copy: tokens are published one by one, and a reactor may set another command.
  const std::string command = command_;
  std::string_view rest = command;
  // Nothing follows a '+' at the end: a field begins only where a character does.
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('+'), rest.size());
    cmdTokensIs(++position, std::string(rest.substr(0, end)));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
}

std::string CliCallback::cmdTokens(std::uint8_t position) const {
  const auto it = cmdTokens_.find(position);
  return it == cmdTokens_.end() ? std::string() : it->second->text();
}

void CliCallback::cmdTokensIs(std::uint8_t position, std::string text) {
  const auto it = cmdTokens_.entries_.find(position);
  if (it == cmdTokens_.entries_.end()) {
    auto entry = Qel::makePtr<QelCmdTokens::Entry>(position, std::move(text));
    cmdTokens_.entries_.emplace(position, std::move(entry));
  } else if (it->second->text_ != text) {
    it->second->text_ = std::move(text);
  } else {
    return;
  }
  changed("cmdTokens");
}

void CliCallback::cmdTokensDel(std::uint8_t position) {
  if (const auto it = cmdTokens_.find(position); it != cmdTokens_.end()) cmdTokensDel(it);
}

void CliCallback::cmdTokensDel(QelCmdTokens::const_iterator token) {
  QEL_ASSERT(token != cmdTokens_.end());
  cmdTokens_.entries_.erase(token);
  changed("cmdTokens");
}

void CliCallback::cmdTokensDelAll() {
  const Qel::Ptr<const Qel::Entity> held = hold();
  while (!cmdTokens_.empty()) cmdTokensDel(cmdTokens_.begin());
}

std::uint8_t CliCallback::findSubArg(std::string_view text) const {
  for (const auto& [position, entry] : cmdTokens_) {
    if (entry->text() == text) return position;
  }
  return 0;
}

}  // namespace KorvoL2
