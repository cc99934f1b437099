// One request as it goes over the wire: "ENTRY FORMAT COMMAND\n", at most 64 KiB.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "client/ExitStatus.h"

namespace KorvoCtl {

// Which entry of the agent takes the command.
enum class Entry {
  kPlain,  // the plain-text commands
  kSync,   // formatted commands that answer at once
  kAsync,  // formatted commands that walk a table in slices
  kAgent,  // questions about the agent itself
};

enum class Format { kText, kJson };

// The whole line, newline included.
inline constexpr std::size_t kMaxRequestLine = 64UL * 1024;

struct Request {
  Entry entry = Entry::kPlain;
  Format format = Format::kText;
  std::string command;
};

[[nodiscard]] std::string_view toText(Entry entry);
[[nodiscard]] std::string_view toText(Format format);
[[nodiscard]] std::optional<Entry> entryFromText(std::string_view text);
[[nodiscard]] std::optional<Format> formatFromText(std::string_view text);

// The line to send, with its newline. A command that is empty, holds a newline, or makes the line
// longer than kMaxRequestLine is wrong usage: the agent would read something else than was meant.
[[nodiscard]] Result<std::string> requestLine(const Request& request);

}  // namespace KorvoCtl
