// What the values of options and arguments are, and which texts are values.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace KorvoCtl {

enum class ValueKind : std::uint8_t {
  kNone,       // no value: the option stands alone
  kNumber,     // an unsigned number of 32 bits
  kRequest,    // the number of a request
  kVlan,       // a VLAN, 1 to 4094
  kMac,        // a MAC address in one of the two forms that agents read
  kInterface,  // an interface's name
  kChip,       // a chip's number or name
  kChips,      // those of several chips, separated by commas
  kText,       // anything
};

// The word that stands for a value in help texts; empty for kNone.
[[nodiscard]] std::string_view placeholder(ValueKind kind);

// Empty when the text is such a value, or else a sentence that says what would be. Of chips only
// the agent knows which there are (ChipList.h).
[[nodiscard]] std::string problemWith(ValueKind kind, std::string_view text);

}  // namespace KorvoCtl
