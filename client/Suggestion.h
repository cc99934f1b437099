// "Did you mean": the commands and options nearest to what was typed.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace KorvoCtl {

// Whether one word may have been meant for the other: a beginning of it of two characters or more,
// or not more than about a third of its characters off.
[[nodiscard]] bool isNear(std::string_view typed, std::string_view meant);

// The path of the command whose keyword `unknown` is, as people know it from the agent's side, or
// else the paths of the commands that hold something near to `unknown` and as many as possible of
// all the typed words in their order; at most three, none when nothing is near.
[[nodiscard]] std::vector<std::string_view> suggestCommands(std::span<const std::string_view> typed,
                                                            std::string_view unknown);

}  // namespace KorvoCtl
