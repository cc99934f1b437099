#include "KorvoL2/KorvoL2CliCallbacks/EcmpTunnelHandler.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"
#include "platform/base/Toggles.h"
#include "platform/command/CommandArgument.h"
#include "platform/rendering/PrintBuffer.h"

namespace KorvoL2 {

namespace {

// The value of `key` in "key=value,key=value"; empty when the key is not there. One character
// separates key and value, whichever it is; the next "," after the key ends the value.
std::string_view valueOf(std::string_view args, std::string_view key) {
  const std::size_t at = args.find(key);
  if (at == std::string_view::npos) return {};
  const std::size_t keyEnd = at + key.size();
  const std::size_t end = std::min(args.find(',', keyEnd), args.size());
  const std::size_t begin = std::min(keyEnd + 1, end);
  return args.substr(begin, end - begin);
}

const RemoteMacEntry* findRemoteMac(const RemoteMacCollection& remoteMac, std::uint32_t vlan,
                                    Bridging::EthAddr mac) {
  // A number that a VLAN field cannot hold must not come out as another VLAN's.
  if (vlan > std::numeric_limits<std::uint16_t>::max()) return nullptr;
  return remoteMac.find({static_cast<std::uint16_t>(vlan), mac});
}

}  // namespace

bool CliCallback::EcmpOutputIntfTunnelIdH::condition(const Qel::Ptr<CliCallback>& callback) const {
  return Handler::condition(callback) &&
         Qel::getToggleState("ShowL2EcmpVxlanDestination", "KorvoL2.json", true);
}

void CliCallback::EcmpOutputIntfTunnelIdH::action(const Qel::Ptr<CliCallback>& callback) {
  const std::string& args = callback->arg();
  KORVO_L2_TRACE(8, "Running EcmpOutputIntfTunnelIdH with args: \"{}\"", args);
  const std::string_view macText = valueOf(args, "dst-mac");
  const auto dstMac =
      AgentCommand::readArgument("dst-mac", macText, [&] { return Bridging::EthAddr(macText); });
  std::uint32_t vlanId = decimalNumber(std::string(valueOf(args, "vlan-id")));
  const std::string_view ingressName = valueOf(args, "ingress-intf-id");
  // Looked up only: the process keeps every interface name that is entered, and a client may send
  // any number of them. A name that nobody has entered is that of no interface.
  const std::optional<Bridging::IntfId> ingressIntf = AgentCommand::readArgument(
      "ingress-intf-id", ingressName, [&] { return Bridging::IntfId::find(ingressName); });
  KORVO_L2_TRACE(8, "Parsed dstMac={}, vlanId={}, and ingressIntf={}", dstMac.stringValue(), vlanId,
                 ingressName);

  const Qel::Ptr<const UnicastAgent> agent(&callback->unicastAgent());
  if (vlanId == 0) {
    KORVO_L2_TRACE(8, "Did not receive VLAN ID, checking switchport config for VLAN");
    if (ingressIntf) {
      vlanId = switchAccessVlanForIntf(agent, *ingressIntf);
    } else {
      KORVO_L2_TRACE(8, "Config not found for interface {}", ingressName);
    }
    if (vlanId == 0) {
      KORVO_L2_TRACE(8, "Unable to resolve VLAN ID from ingress interface");
      return;
    }
  }
  const RemoteMacEntry* const entry = findRemoteMac(agent->remoteMac(), vlanId, dstMac);
  if (entry == nullptr) {
    KORVO_L2_TRACE(8, "Failed to find entry for MAC/VLAN pair");
    return;
  }
  KORVO_L2_TRACE(8, "Found tunnel ID: {}", entry->tunnelId);
  Rendering::printToSocket(callback->socket(), std::to_string(entry->tunnelId));
}

std::uint32_t switchAccessVlanForIntf(const Qel::Ptr<const UnicastAgent>& agent,
                                      Bridging::IntfId intf) {
  const LagMembershipCollection& lags = agent->lagMembership();
  std::size_t steps = 0;
  while (const Bridging::IntfId* const lag = lags.find(intf)) {
    const Bridging::IntfId lagIntf = *lag;
    QEL_TRACE(trace(), 8, "Interface {} found to be a member of LAG {}", intf.stringValue(),
              lagIntf.stringValue());
    QEL_ASSERT(lagIntf != intf);
    // A longer circle would hold the event loop for good. More steps than memberships prove one.
    ++steps;
    QEL_ASSERT(steps <= lags.size());
    intf = lagIntf;
  }
  const SwitchportConfig* const config = agent->switchportConfig().find(intf);
  if (config == nullptr) {
    QEL_TRACE(trace(), 8, "Config not found for interface {}", intf.stringValue());
    return 0;
  }
  QEL_TRACE(trace(), 8, "Found nativeVlan={} for interface {}", config->nativeVlan,
            intf.stringValue());
  return config->nativeVlan;
}

}  // namespace KorvoL2
