#include "agent/documents/ValueReaders.h"

#include "platform/types/VlanId.h"

namespace KorvoAgent {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::VlanId;

std::uint16_t readVlanNumber(const JsonNode& node) {
  const std::uint32_t number = node.number();
  if (number == 0) return 0;
  if (number <= VlanId::kMax) return static_cast<std::uint16_t>(number);
  return node.checked([number] { return VlanId(number).value(); },
                      "write a VLAN number, or 0 for outside any VLAN");
}

EthAddr readMac(const JsonNode& node) {
  const std::string_view text = node.string();
  if (const auto mac = EthAddr::parse(text)) return *mac;
  node.refuse(quotedText(text) + " is no MAC address; write hhhh.hhhh.hhhh or hh:hh:hh:hh:hh:hh");
}

void refuseSameKey(const JsonNode& list, std::size_t first, std::size_t second,
                   const Bridging::MacVlanPair& key) {
  const std::string place = list.pointer() + "/";
  list.refuse("VLAN " + std::to_string(key.vlan()) + " and MAC address " + key.mac().stringValue() +
              " are in " + place + std::to_string(first) + " and in " + place +
              std::to_string(second) + "; remove one of them");
}

IntfId IntfReader::named(const JsonNode& node, std::string_view name) {
  if (name != last_.stringValue()) {
    last_ = node.checked([name] { return IntfId(name); }, "use a shorter name");
  }
  return last_;
}

}  // namespace KorvoAgent
