#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"

#include <unistd.h>

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "platform/base/Exceptions.h"
#include "platform/rendering/PrintBuffer.h"

namespace KorvoL2 {

bool CliCallback::Handler::condition(const Qel::Ptr<CliCallback>& callback) const {
  return callback->command().starts_with(cmdName_);
}

void CliCallback::Handler::action(const Qel::Ptr<CliCallback>& /*callback*/) {
  Qel::mustBeImplementedInDerivedClass(__PRETTY_FUNCTION__);
}

void CliCallback::Handler::lacks(const Qel::Ptr<CliCallback>& callback, const Lack& lack) const {
  const Qel::TraceSite site(typeData().name, lack.file, lack.function, lack.line);
  callback->outcomeIs(notReady(lack.reason, site));
}

void CliCallback::Handler::notHandled(const Qel::Ptr<CliCallback>& callback, std::string reason) {
  callback->outcomeIs(
      {.kind = AgentCommand::CommandOutcome::Kind::noHandler, .reason = std::move(reason)});
}

bool CliCallback::DefaultH::condition(const Qel::Ptr<CliCallback>& /*callback*/) const {
  return true;
}

void CliCallback::DefaultH::action(const Qel::Ptr<CliCallback>& callback) {
  notHandled(callback);
  Rendering::printToSocket(callback->socket(), "Invalid Command\n");
  ::close(static_cast<int>(callback->socket()));
}

}  // namespace KorvoL2
