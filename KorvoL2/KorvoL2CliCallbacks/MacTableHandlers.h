// The handlers of the MAC table dumps.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandler.h"

namespace KorvoL2 {

/** What the MAC table commands share: all need the MAC helper with its shadow. */
class CliCallbackWithFormat::MacTableHandler : public AsyncHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::MacTableHandler)
 public:
  using AsyncHandler::AsyncHandler;
  bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const override;
};

/** The software MAC table. */
class CliCallbackWithFormat::MactAllH final : public MacTableHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::MactAllH)
 public:
  using MacTableHandler::MacTableHandler;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

/** The hardware MAC tables; the argument is the list of chips. */
class CliCallbackWithFormat::MactHwAllH final : public MacTableHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::MactHwAllH)
 public:
  using MacTableHandler::MacTableHandler;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

/** The entries that software and hardware hold differently; the argument is the list of chips. */
class CliCallbackWithFormat::MactDiffH final : public MacTableHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::MactDiffH)
 public:
  using MacTableHandler::MacTableHandler;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

/** The entries that one side does not hold; the argument is the list of chips. */
class CliCallbackWithFormat::MactMissingH final : public MacTableHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::MactMissingH)
 public:
  using MacTableHandler::MacTableHandler;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

}  // namespace KorvoL2
