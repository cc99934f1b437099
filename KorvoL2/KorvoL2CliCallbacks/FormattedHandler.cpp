#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandler.h"

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "platform/base/Exceptions.h"

namespace KorvoL2 {

using Kind = AgentCommand::CommandOutcome::Kind;

bool CliCallbackWithFormat::Handler::condition(
    const Qel::Ptr<CliCallbackWithFormat>& callback) const {
  return callback->command().starts_with(cmdName_);
}

void CliCallbackWithFormat::Handler::action(const Qel::Ptr<CliCallbackWithFormat>& /*callback*/) {
  Qel::mustBeImplementedInDerivedClass(__PRETTY_FUNCTION__);
}

bool CliCallbackWithFormat::AsyncHandler::condition(
    const Qel::Ptr<CliCallbackWithFormat>& callback) const {
  return callback->command().starts_with(cmdName_);
}

CliCallbackWithFormat::AsyncHandler::Machine CliCallbackWithFormat::AsyncHandler::action(
    const Qel::Ptr<CliCallbackWithFormat>& /*callback*/) {
  Qel::mustBeImplementedInDerivedClass(__PRETTY_FUNCTION__);
}

bool CliCallbackWithFormat::AsyncHandler::macHelperCondition(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  const Qel::Ptr<const KorvoL2MacAddrSmHelper> helper(callback->macAddrSmHelper());
  if (helper == nullptr) {
    callback->outcomeIs(notReady("no macAddrSmHelp", Qel::TraceSite(fmTypeName)));
    return false;
  }
  if (helper->macTblShadow() == nullptr) {
    callback->outcomeIs(notReady("no macTblShadow", Qel::TraceSite(fmTypeName)));
    return false;
  }
  return true;
}

bool CliCallbackWithFormat::DefaultH::condition(
    const Qel::Ptr<CliCallbackWithFormat>& /*callback*/) const {
  return true;
}

void CliCallbackWithFormat::DefaultH::action(const Qel::Ptr<CliCallbackWithFormat>& callback) {
  // A handler that knew the command but missed something has already said so.
  if (callback->outcome().kind == Kind::handled) {
    callback->outcomeIs({.kind = Kind::noHandler, .reason = {}});
  }
}

bool CliCallbackWithFormat::DefaultAsyncH::condition(
    const Qel::Ptr<CliCallbackWithFormat>& /*callback*/) const {
  return true;
}

CliCallbackWithFormat::AsyncHandler::Machine CliCallbackWithFormat::DefaultAsyncH::action(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  // A handler that knew the command but missed something has already said so.
  if (callback->outcome().kind == Kind::handled) {
    callback->outcomeIs({.kind = Kind::noHandler, .reason = {}});
  }
  return nullptr;
}

}  // namespace KorvoL2
