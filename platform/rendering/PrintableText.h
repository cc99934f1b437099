// Text of others inside lines that go to a terminal.
#pragma once

#include <string>
#include <string_view>

namespace Rendering {

/** Whether `text` holds control characters (bytes below 0x20, and 0x7f). */
bool hasControlBytes(std::string_view text) noexcept;

/**
 * `text` with control characters as \xNN: a row stays one line, and nobody's name moves a
 * terminal's cursor.
 */
std::string withoutControlBytes(std::string_view text);
/** The same for rows by the hundred thousand: `text` itself, or what `room` is then made to hold.
 */
std::string_view printableText(std::string_view text, std::string& room);

/** `text` as a message quotes it: in quotation marks, without control bytes, cut when it is long.
 */
std::string quotedText(std::string_view text);

}  // namespace Rendering
