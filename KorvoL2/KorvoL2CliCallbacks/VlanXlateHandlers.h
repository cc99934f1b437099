// The handlers that show how VLANs are translated and which forwarding instances they map to.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"

namespace KorvoL2 {

/** The egress VLAN translation table of the second stage. */
class CliCallback::EgrVlanXlateStatus2H final : public Handler {
  KORVO_L2_HANDLER(CliCallback::EgrVlanXlateStatus2H)
 public:
  using Handler::Handler;
  bool condition(const Qel::Ptr<CliCallback>& callback) const override;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** The ingress VLAN translation table of the second stage. */
class CliCallback::VlanXlateStatus2H final : public Handler {
  KORVO_L2_HANDLER(CliCallback::VlanXlateStatus2H)
 public:
  using Handler::Handler;
  bool condition(const Qel::Ptr<CliCallback>& callback) const override;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Which virtual forwarding instance each VLAN has. */
class CliCallback::VlanVfiMapH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::VlanVfiMapH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

}  // namespace KorvoL2
