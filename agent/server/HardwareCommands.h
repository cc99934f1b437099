// Which commands read the chips' MAC tables, and which of them keep what they find.
//
// A switch whose MAC table came from a real machine has no such tables, and these commands would
// print a comparison with nothing, or an empty dump that looks like an answer. Which commands they
// are stands here and not in the plug-in, whose conditions are the same for every host. A row's
// keyword is tried as the plug-in tries its own, as a prefix of the command, byte for byte; a test
// offers the same commands to both.
//
// The two consistency checks collect all their findings before they print the first: each holds a
// table of its own, which can be large. Only a few of them run at a time (SliceScheduler).
//
// Threading: constant.
#pragma once

#include <span>
#include <string_view>

#include "agent/server/RequestLine.h"

namespace KorvoAgent {

struct HardwareCommand {
  std::string_view keyword;
  bool isCheck;  ///< keeps its findings until they are printed
};

/** All of them, of the entry async. */
std::span<const HardwareCommand> hardwareCommands() noexcept;

/** The row that `request` falls under; null when it reads no chip's MAC table. */
const HardwareCommand* hardwareCommandOf(const RequestLine& request) noexcept;

}  // namespace KorvoAgent
