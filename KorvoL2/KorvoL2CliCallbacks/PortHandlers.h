// The handlers that show what the chips' ports are allowed to send and what they report.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"

namespace KorvoL2 {

/** The egress masks of multi-chassis link aggregation. */
class CliCallback::EgrMaskStatusH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::EgrMaskStatusH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** The registers of the FIFOs through which learned addresses come, and their monitor. */
class CliCallback::HwFiforegH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::HwFiforegH)
 public:
  using Handler::Handler;
  bool condition(const Qel::Ptr<CliCallback>& callback) const override;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

}  // namespace KorvoL2
