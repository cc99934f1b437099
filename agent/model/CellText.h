// Texts for cells of rows.
#pragma once

#include <cstddef>
#include <string>

#include "platform/types/IntfId.h"

namespace KorvoAgent {

/**
 * How a cell with room for `room` bytes shows an interface: its whole name if that fits, else the
 * short form if that fits, else the whole; "-" for none.
 */
std::string intfCellText(Bridging::IntfId id, std::size_t room);
/** The short form, for columns in which not every usual name has room; "-" for none. */
std::string shortIntfCellText(Bridging::IntfId id);

}  // namespace KorvoAgent
