// The handler that tells through which VXLAN tunnel a frame would leave.
//
//   EcmpOutputIntfTunnelId+dst-mac=M,vlan-id=V,ingress-intf-id=I
//
// The keys may stand in any order, each followed by one separator of any kind. The answer is made
// for scripts: the tunnel's number in decimal without a newline, or nothing.
#pragma once

#include <cstdint>

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"

namespace KorvoL2 {

class CliCallback::EcmpOutputIntfTunnelIdH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::EcmpOutputIntfTunnelIdH)
 public:
  using Handler::Handler;
  bool condition(const Qel::Ptr<CliCallback>& callback) const override;
  /** Throws what the value types throw for an address or an interface that is none. */
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/**
 * The access VLAN of an interface, through the port-channel if it is a member of one; 0 when none
 * is known. Throws AssertionException when port-channels are members of each other in a circle.
 */
std::uint32_t switchAccessVlanForIntf(const Qel::Ptr<const UnicastAgent>& agent,
                                      Bridging::IntfId intf);

}  // namespace KorvoL2
