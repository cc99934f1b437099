// Interfaces by what people call them.
#pragma once

#include <optional>
#include <string_view>

#include "platform/types/IntfId.h"

namespace Bridging {

/**
 * The interface that `text` is the name of or, where it is none, the short form that column tables
 * use: "Ethernet3/1" and "Et3/1" are the same. Nothing when no such name has been entered; enters
 * none, like IntfId::find(). Takes the same time however many names there are.
 *
 * Threading: the agent's one thread.
 */
std::optional<IntfId> intfCalled(std::string_view text);

}  // namespace Bridging
