#include "KorvoL2/KorvoL2CliCallbacks/PerVlanEntryHandler.h"

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "platform/command/CommandArgument.h"

namespace KorvoL2 {

namespace {

constexpr std::string_view kVlanSelector = "_VLAN-";
constexpr std::string_view kMacSelector = "_MAC-";

}  // namespace

void CliCallback::PerVlanEntryH::action(const Qel::Ptr<CliCallback>& callback) {
  const std::string& arg = callback->arg();
  Bridging::EthAddr mac;
  Bridging::VlanId vlan(1);
  auto kind = KorvoRouterMacSm::ShowKind::all;
  if (arg.starts_with(kVlanSelector)) {
    const std::string text = arg.substr(kVlanSelector.size());
    vlan = AgentCommand::readArgument("VLAN", text,
                                      [&] { return Bridging::VlanId(decimalNumber(text)); });
    kind = KorvoRouterMacSm::ShowKind::vlan;
  } else if (arg.starts_with(kMacSelector)) {
    const std::string_view text = std::string_view(arg).substr(kMacSelector.size());
    mac = AgentCommand::readArgument("MAC address", text, [&] { return Bridging::EthAddr(text); });
    kind = KorvoRouterMacSm::ShowKind::mac;
  }
  forward(callback, callback->unicastAgent().routerMacSm(), "no routerMacSm",
          &KorvoRouterMacSm::handleShowCommand, callback->socket(), mac, vlan, kind);
}

}  // namespace KorvoL2
