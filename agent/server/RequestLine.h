// The one line that a client sends: "ENTRY FORMAT COMMAND\n".
//
// The words of ENTRY and FORMAT are separated by one space each; all that follows the second space
// is the command, unchanged: commands are compared byte for byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "platform/rendering/Renderer.h"

namespace KorvoAgent {

/** The longest line that is read, its newline included, in bytes. */
inline constexpr std::size_t kMaxRequestLine = std::size_t{64} * 1024;
/** How much of a command traces and lists of requests show, in bytes. */
inline constexpr std::size_t kShownOfCommand = 64;

enum class Entry : std::uint8_t {
  plain,  ///< the plain-text callback
  sync,   ///< the formatted callback, answered at once
  async,  ///< the formatted callback, answered in slices
  agent,  ///< questions to the agent itself
};

std::string_view entryName(Entry entry) noexcept;
std::string_view formatName(Rendering::OutputFormat format) noexcept;

struct RequestLine {
  Entry entry = Entry::plain;
  Rendering::OutputFormat format = Rendering::kText;
  std::string command;
};

/** What is wrong with a line and what would be accepted, as one line of text without a newline. */
struct LineProblem {
  std::string text;
};

/** Reads a line without its newline. Any bytes may come in. */
std::variant<RequestLine, LineProblem> parseRequestLine(std::string_view line);

/** The problem of a line that did not end within kMaxRequestLine, or did not end at all. */
LineProblem lineTooLong();
LineProblem lineNotEnded();

}  // namespace KorvoAgent
