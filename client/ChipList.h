// Which chips a command is for.
//
// Operators name chips by number or by name; the wire knows numbers only. The agent's own list
// settles what there is: a number that no chip has is turned down here, because the agent passes
// over it in silence and a check of nothing would look like a check that found nothing.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "client/ExitStatus.h"

namespace KorvoCtl {

struct Chip {
  std::uint32_t id = 0;
  std::string name;
};

// The highest number that a chip can have.
inline constexpr std::uint32_t kMaxChipId = 127;

// Reads {"chips":[{"id":0,"name":"..."},...]}; members that are not known are passed over.
[[nodiscard]] Result<std::vector<Chip>> parseChips(std::string_view json);

// The numbers of all chips, "0,1,2".
[[nodiscard]] std::string allChips(const std::vector<Chip>& chips);

// Turns what the operator wrote, numbers and names separated by commas, into numbers, in the order
// given. Wrong usage: an empty piece, or a piece that is neither a chip's number nor its name.
[[nodiscard]] Result<std::string> resolveChips(std::string_view wanted,
                                               const std::vector<Chip>& chips);

// The same for a single chip, which may have commas in its name.
[[nodiscard]] Result<std::string> resolveChip(std::string_view wanted,
                                              const std::vector<Chip>& chips);

}  // namespace KorvoCtl
