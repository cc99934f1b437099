// The handlers of the MAC table dumps.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandler.h"

namespace KorvoL2 {

/** The software MAC table. */
class CliCallbackWithFormat::MactAllH final : public AsyncHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::MactAllH)
 public:
  using AsyncHandler::AsyncHandler;
  bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const override;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;
};

}  // namespace KorvoL2
