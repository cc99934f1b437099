#include "agent/documents/ValueReaders.h"

#include "text/Printable.h"

namespace KorvoAgent {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::VlanId;

std::uint16_t readUnsigned16(const JsonNode& node) {
  return static_cast<std::uint16_t>(node.integer(0, 0xffff));
}

std::uint32_t readUnsigned32(const JsonNode& node) {
  return static_cast<std::uint32_t>(node.integer(0, 0xffff'ffff));
}

std::uint32_t readVni(const JsonNode& node) {
  return static_cast<std::uint32_t>(node.integer(0, 0xff'ffff));
}

std::uint16_t readVlanNumber(const JsonNode& node) {
  const std::uint32_t number = node.number();
  if (number == 0) return 0;
  if (number <= VlanId::kMax) return static_cast<std::uint16_t>(number);
  return node.checked([number] { return VlanId(number).value(); },
                      "write a VLAN number, or 0 for outside any VLAN");
}

VlanId readVlan(const JsonNode& node) {
  const std::uint32_t number = node.number();
  return node.checked([number] { return VlanId(number); }, "write a VLAN number");
}

EthAddr readMac(const JsonNode& node) {
  const std::string_view text = node.string();
  const auto mac = EthAddr::parse(text);
  if (!mac) {
    node.refuse(Text::inQuotes(text) +
                " is no MAC address; write hhhh.hhhh.hhhh or hh:hh:hh:hh:hh:hh");
  }
  return *mac;
}

IpAddr readIp(const JsonNode& node) {
  const std::string_view text = node.string();
  const auto ip = IpAddr::parse(text);
  if (!ip) {
    node.refuse(Text::inQuotes(text) + " is no IP address; write it as 192.0.2.1 or 2001:db8::1");
  }
  return *ip;
}

std::string describeKey(const Bridging::MacVlanPair& key) {
  return "VLAN " + std::to_string(key.vlan()) + " and MAC address " + key.mac().stringValue() +
         " are";
}

void refuseSameKey(const JsonNode& list, std::size_t first, std::size_t second,
                   std::string_view description) {
  const std::string place = list.pointer() + "/";
  list.refuse(std::string(description) + " in " + place + std::to_string(first) + " and in " +
              place + std::to_string(second) + "; remove one of them");
}

IntfId IntfReader::named(const JsonNode& node, std::string_view name) {
  if (name == last_.stringValue()) return last_;
  const auto [at, isNew] = read_.try_emplace(name);
  if (isNew) {
    at->second = node.checked([name] { return IntfId(name); }, "use a shorter name");
    if (known_ != nullptr && !known_->empty() && !name.empty() && !known_->has(at->second)) {
      node.refuse("interface " + Text::inQuotes(name) +
                  " is not in the section \"interfaces\"; add it there or correct the name");
    }
  }
  last_ = at->second;
  return last_;
}

IntfId IntfReader::someNamed(const JsonNode& node, std::string_view name) {
  if (name.empty()) node.refuse("expected the name of an interface, not \"\"");
  return named(node, name);
}

}  // namespace KorvoAgent
