// The command table for people and for tools.
#pragma once

#include <string>

namespace KorvoCtl {

// Every command with the agent's entry and keyword that it stands for, in columns; where an option
// stands for another keyword, a line with that option too, and where arguments follow the keyword,
// an indented line with both. JSON: one document, a line.
[[nodiscard]] std::string listCommands(bool json);

}  // namespace KorvoCtl
