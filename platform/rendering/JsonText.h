// JSON string escaping.
#pragma once

#include <string>
#include <string_view>

namespace Rendering {

/**
 * Appends `text` to `out` as a JSON string (RFC 8259), quotes included. Names may hold any bytes;
 * what is not valid UTF-8 is replaced by U+FFFD, so that the document stays valid.
 */
void appendJsonString(std::string& out, std::string_view text);

}  // namespace Rendering
