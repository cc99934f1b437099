// The handler that shows how router MAC addresses are programmed.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"

namespace KorvoL2 {

/** PER_VLAN_ENTRY for everything, PER_VLAN_ENTRY_VLAN-N for one VLAN, PER_VLAN_ENTRY_MAC-M for one
 * address. Throws what the value types throw for a VLAN or an address that is none. */
class CliCallback::PerVlanEntryH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::PerVlanEntryH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

}  // namespace KorvoL2
