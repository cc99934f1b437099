// Last words to a client, and an end of its connection that it sees as an end of file.
//
// A Unix socket that is closed while something unread lies in it breaks the connection: the client
// reads "connection reset" where the end of its answer should be.
#pragma once

#include <string_view>

namespace KorvoAgent {

/** Says `text` to a client, as far as its socket takes it at once. */
void sayToClient(int connection, std::string_view text) noexcept;

struct Discarded {
  bool any = false;    ///< something was there
  bool ended = false;  ///< nothing more will come
};

/** Throws away what has arrived, up to some hundred KiB of it. */
Discarded discardInput(int connection) noexcept;

/** Takes nothing more from the client and throws away what is there, to be called before closing.
 */
void endInput(int connection) noexcept;

/** Takes in out-of-band data: as long as it lies there, it looks like a hang-up. */
void discardOutOfBand(int connection) noexcept;

}  // namespace KorvoAgent
