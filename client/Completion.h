// Completion of command lines in shells, made from the command table.
//
// The scripts complete the words of commands, options, and the numbers and names of chips, for
// which they ask the running agent. The build writes them to completions/, where packages take
// them.
#pragma once

#include <string>
#include <string_view>

namespace KorvoCtl {

// shell: "bash" or "zsh".
[[nodiscard]] std::string completionScript(std::string_view shell);

}  // namespace KorvoCtl
