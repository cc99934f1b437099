// The chains of commands with an output format.
#pragma once

#include <span>

#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandler.h"
#include "KorvoL2/KorvoL2CliCallbacks/HandlerChain.h"

namespace KorvoL2 {

/** The commands that are answered at once, in the order in which they are tried. */
std::span<const ChainRow<CliCallbackWithFormat::Handler>> formattedHandlerChain();
/** The commands that are served by request state machines, in the order in which they are tried. */
std::span<const ChainRow<CliCallbackWithFormat::AsyncHandler>> asyncHandlerChain();

}  // namespace KorvoL2
