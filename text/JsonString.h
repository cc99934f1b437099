// JSON strings.
#pragma once

#include <string>
#include <string_view>

namespace Text {

/**
 * Appends `text` to `out` as a JSON string (RFC 8259), quotes included. The value is kept; what
 * Printable.h calls unsafe is written as a \u escape, so that a document may be looked at in a
 * terminal. What is not valid UTF-8 is replaced by U+FFFD, so that the document stays valid.
 */
void appendJsonString(std::string& out, std::string_view text);

}  // namespace Text
