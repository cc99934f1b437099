// Which commands change something, and so are for privileged peers only (Access.h).
//
// This is the one place that knows: the plug-in offers commands and has no notion of who sends
// them. A row's keyword is tried as the plug-in tries its own, as a prefix of the command, byte for
// byte; what the plug-in would take for the keyword is therefore taken for it here. A test offers
// the same commands to both, and fails for a keyword of the plug-in's that nobody has judged.
//
// Not here: `agent cancel N`, which is everybody's right for requests of their own; whose request
// it is, AgentQuestions knows.
//
// Threading: constant.
#pragma once

#include <span>
#include <string_view>

#include "agent/server/RequestLine.h"

namespace KorvoAgent {

struct ChangingCommand {
  Entry entry;
  std::string_view keyword;
  std::string_view what;  ///< what it does, to follow the keyword in a message
};

std::span<const ChangingCommand> changingCommands() noexcept;

/** The row that `request` falls under; null when the request only looks. */
const ChangingCommand* changingCommandOf(const RequestLine& request) noexcept;

}  // namespace KorvoAgent
