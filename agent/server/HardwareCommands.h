// Which commands read the chips' MAC tables.
//
// A switch whose MAC table came from a real machine has no such tables, and these commands would
// print a comparison with nothing, or an empty dump that looks like an answer. Which commands they
// are stands here and not in the plug-in, whose conditions are the same for every host. A row's
// keyword is tried as the plug-in tries its own, as a prefix of the command, byte for byte; a test
// offers the same commands to both.
//
// Threading: constant.
#pragma once

#include <span>
#include <string_view>

#include "agent/server/RequestLine.h"

namespace KorvoAgent {

/** The keywords, all of the entry async. */
std::span<const std::string_view> hardwareCommands() noexcept;

/** Whether `request` is for one of them. */
bool readsHardware(const RequestLine& request) noexcept;

}  // namespace KorvoAgent
