// Sockets that take little at a time.
#pragma once

namespace KorvoSimulation {

/**
 * From now on every send buffer that this program asks for is of so many bytes, whatever the size
 * asked for: tables of a few hundred rows then fill a socket as millions of rows do. 0 stands for
 * what is asked for.
 */
void sendBufferSizeIs(int bytes) noexcept;

}  // namespace KorvoSimulation
