// The handlers that show the VXLAN side of the unicast agent.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandler.h"
#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"
#include "KorvoL2/KorvoL2CliCallbacks/MacTableHandlers.h"

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

/** What routing into each VXLAN VLAN hangs on. Does without the VXLAN object, not without MACs. */
class CliCallbackWithFormat::VxlanRoutingInfoH final : public MacTableHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::VxlanRoutingInfoH)
 public:
  using MacTableHandler::MacTableHandler;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

/** The VLANs that are mapped to VXLAN networks. */
class CliCallbackWithFormat::VxlanVlanH final : public AsyncHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::VxlanVlanH)
 public:
  using AsyncHandler::AsyncHandler;
  bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const override;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

/** How many of them there are, and which lack something; printed at once. */
class CliCallbackWithFormat::VxlanVlanSummaryH final : public Handler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::VxlanVlanSummaryH)
 public:
  using Handler::Handler;
  bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const override;
  void action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

}  // namespace KorvoL2
