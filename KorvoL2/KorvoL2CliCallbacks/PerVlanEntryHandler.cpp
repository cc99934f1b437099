#include "KorvoL2/KorvoL2CliCallbacks/PerVlanEntryHandler.h"

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"

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
    vlan = Bridging::VlanId(decimalNumber(arg.substr(kVlanSelector.size())));
    kind = KorvoRouterMacSm::ShowKind::vlan;
  } else if (arg.starts_with(kMacSelector)) {
    mac = Bridging::EthAddr(std::string_view(arg).substr(kMacSelector.size()));
    kind = KorvoRouterMacSm::ShowKind::mac;
  }
  forward(callback, callback->unicastAgent().routerMacSm(), "no routerMacSm",
          &KorvoRouterMacSm::handleShowCommand, callback->socket(), mac, vlan, kind);
}

}  // namespace KorvoL2
