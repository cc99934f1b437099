// The handlers that show the VXLAN side of the unicast agent.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"

namespace KorvoL2 {

/** What the VXLAN state machine believes. */
class CliCallback::VxlanDebugStateH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::VxlanDebugStateH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Which source virtual ports are in use. */
class CliCallback::VxlanSvpUsageH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::VxlanSvpUsageH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

}  // namespace KorvoL2
