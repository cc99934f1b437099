// The one policy for texts that come from outside: names in tables, command lines, messages of a
// peer, documents. Such a text may hold any bytes; shown as it is, it could move a terminal's
// cursor, forge a line of a log or turn round the order in which a line is read.
//
// Whoever hands text to a reader applies the policy, and nobody before: trace sinks, renderers, the
// events of a control connection, and the standard error of every program. Code in between passes a
// text on as it came.
//   shown to people   control characters and bytes that are not UTF-8 as \xNN; U+0080 to U+009F and
//                     marks that change the direction of writing as \u{NNNN} (printable())
//   JSON              the value, with \u escapes for the same characters (JsonString.h)
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Text {

/**
 * Whether a character is never shown as it is: a control character (U+0000 to U+001F, U+007F to
 * U+009F) or a bidirectional mark (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069).
 */
constexpr bool isUnsafe(char32_t c) noexcept {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x061C || c == 0x200E || c == 0x200F ||
         (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

/** Whether printable() leaves `text` as it is. */
bool isPrintable(std::string_view text) noexcept;

/** `text` as people are shown it. What it gives is printable: a second call changes nothing. */
std::string printable(std::string_view text);
/** The same for rows by the hundred thousand: `text` itself, or what `room` is then made to hold.
 */
std::string_view printable(std::string_view text, std::string& room);

/** At most `limit` bytes of `text`, cut between characters; "..." follows what was cut. */
std::string shortened(std::string_view text, std::size_t limit);
/**
 * `text` as a message quotes it: in quotation marks, shortened. A NUL is shown already: messages
 * travel in exceptions, whose text ends at one.
 */
std::string inQuotes(std::string_view text, std::size_t limit = 80);

}  // namespace Text
