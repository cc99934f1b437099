// The handlers that show and clear the multicast group tables.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"

namespace KorvoL2 {

/** All groups of the hardware table. */
class CliCallback::HwMcastAllH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::HwMcastAllH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** The groups in which the hardware table differs from its shadow. */
class CliCallback::HwMcastDiffH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::HwMcastDiffH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** One group of the hardware table: HW_MCAST_MCIDX+INDEX, in decimal. */
class CliCallback::HwMcastMcidxH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::HwMcastMcidxH)
 public:
  using Handler::Handler;
  bool condition(const Qel::Ptr<CliCallback>& callback) const override;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Empties the shadow of the group table. */
class CliCallback::HwMcastClearH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::HwMcastClearH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** The software group table. */
class CliCallback::McastAllH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::McastAllH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

}  // namespace KorvoL2
