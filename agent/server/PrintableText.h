// Text of others in messages that a person reads.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace KorvoAgent {

/**
 * `text`, which is valid UTF-8 or any bytes, as part of a one-line message: at most about `limit`
 * bytes, cut between characters, with control characters and broken UTF-8 shown as "?".
 */
std::string printable(std::string_view text, std::size_t limit = 64);

}  // namespace KorvoAgent
