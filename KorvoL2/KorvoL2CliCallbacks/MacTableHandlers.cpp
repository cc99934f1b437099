#include "KorvoL2/KorvoL2CliCallbacks/MacTableHandlers.h"

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"

namespace KorvoL2 {

bool CliCallbackWithFormat::MactAllH::condition(
    const Qel::Ptr<CliCallbackWithFormat>& callback) const {
  return AsyncHandler::condition(callback) && macHelperCondition(callback);
}

CliCallbackWithFormat::AsyncHandler::Machine CliCallbackWithFormat::MactAllH::action(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  return createMachine(callback, l2SwTableRequestSmFactory, callback->macAddrSmHelper());
}

}  // namespace KorvoL2
