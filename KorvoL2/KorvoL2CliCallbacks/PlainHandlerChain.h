// The chain of plain-text commands.
#pragma once

#include <span>

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"
#include "KorvoL2/KorvoL2CliCallbacks/HandlerChain.h"

namespace KorvoL2 {

/** The commands in the order in which they are tried; the last row takes what is left over. */
std::span<const ChainRow<CliCallback::Handler>> plainHandlerChain();

}  // namespace KorvoL2
