// Readers of the value types that several sections and documents hold.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "agent/documents/JsonNode.h"
#include "agent/model/SwitchModel.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"
#include "platform/types/IpAddr.h"
#include "platform/types/MacVlanPair.h"
#include "platform/types/VlanId.h"

namespace KorvoAgent {

std::uint16_t readUnsigned16(const JsonNode& node);
std::uint32_t readUnsigned32(const JsonNode& node);
/** A VXLAN network identifier, 24 bits. */
std::uint32_t readVni(const JsonNode& node);
/** A VLAN number, or 0 for outside any VLAN. */
std::uint16_t readVlanNumber(const JsonNode& node);
/** The number of a VLAN. */
Bridging::VlanId readVlan(const JsonNode& node);
/** A MAC address in either form. */
Bridging::EthAddr readMac(const JsonNode& node);
/** An IPv4 or IPv6 address. */
Bridging::IpAddr readIp(const JsonNode& node);

/** How messages name a key, as the beginning of a sentence. */
std::string describeKey(const Bridging::MacVlanPair& key);
/**
 * Refuses the elements `first` and `second` of `list`, which are of the same key; `description`
 * begins the sentence, as in "VLAN 10 is".
 */
[[noreturn]] void refuseSameKey(const JsonNode& list, std::size_t first, std::size_t second,
                                std::string_view description);

/**
 * Reads interface names. Tables name the same few over and over, often in a row. For one document:
 * it refers to the document's texts.
 */
class IntfReader {
 public:
  /** Takes any name. */
  IntfReader() = default;
  /** Refuses what is no interface of the switch, once the switch has interfaces. */
  explicit IntfReader(SwitchModel& model) : known_(&model.unicast().common().intf) {}

  /** An interface by its name; "" is none. */
  Bridging::IntfId read(const JsonNode& node) { return named(node, node.string()); }
  /** The same for a name that is a member's key. */
  Bridging::IntfId named(const JsonNode& node, std::string_view name);
  /** The same where there has to be one. */
  Bridging::IntfId someNamed(const JsonNode& node, std::string_view name);
  Bridging::IntfId readSome(const JsonNode& node) { return someNamed(node, node.string()); }

 private:
  const Qel::KeyedSet<Bridging::IntfId>* known_ = nullptr;
  absl::flat_hash_map<std::string_view, Bridging::IntfId> read_;
  Bridging::IntfId last_;
};

}  // namespace KorvoAgent
