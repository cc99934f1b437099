// Readers of the value types that several sections and documents hold.
#pragma once

#include <cstdint>
#include <string_view>

#include "agent/documents/JsonNode.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"
#include "platform/types/MacVlanPair.h"

namespace KorvoAgent {

/** A VLAN number, or 0 for outside any VLAN. */
std::uint16_t readVlanNumber(const JsonNode& node);
/** A MAC address in either form. */
Bridging::EthAddr readMac(const JsonNode& node);

/** Refuses the elements `first` and `second` of `list`, which are of the same key. */
[[noreturn]] void refuseSameKey(const JsonNode& list, std::size_t first, std::size_t second,
                                const Bridging::MacVlanPair& key);

/** Reads interface names. Tables name the same few over and over, often in a row. */
class IntfReader {
 public:
  /** An interface by its name; "" is none. */
  Bridging::IntfId read(const JsonNode& node) { return named(node, node.string()); }
  /** The same for a name that is a member's key. */
  Bridging::IntfId named(const JsonNode& node, std::string_view name);

 private:
  Bridging::IntfId last_;
};

}  // namespace KorvoAgent
