#include "KorvoL2/KorvoL2CliCallbacks/MacTableHandlers.h"

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2HwTableRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacDiffRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacMissingRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"

namespace KorvoL2 {

using Machine = CliCallbackWithFormat::AsyncHandler::Machine;

bool CliCallbackWithFormat::MacTableHandler::condition(
    const Qel::Ptr<CliCallbackWithFormat>& callback) const {
  return AsyncHandler::condition(callback) && macHelperCondition(callback);
}

Machine CliCallbackWithFormat::MactAllH::action(const Qel::Ptr<CliCallbackWithFormat>& callback) {
  return createMachine(callback, l2SwTableRequestSmFactory, callback->macAddrSmHelper());
}

Machine CliCallbackWithFormat::MactHwAllH::action(const Qel::Ptr<CliCallbackWithFormat>& callback) {
  return createMachine(callback, l2HwTableRequestSmFactory, callback->arg(), callback->detail(),
                       callback->macAddrSmHelper(), callback->mcastHelper());
}

Machine CliCallbackWithFormat::MactDiffH::action(const Qel::Ptr<CliCallbackWithFormat>& callback) {
  return createMachine(callback, l2MacDiffRequestSmFactory, callback->macAddrSmHelper(),
                       callback->mcastHelper(), callback->arg(), callback->detail());
}

Machine CliCallbackWithFormat::MactMissingH::action(
    const Qel::Ptr<CliCallbackWithFormat>& callback) {
  return createMachine(callback, l2MacMissingRequestSmFactory, callback->macAddrSmHelper(),
                       callback->mcastHelper(), callback->arg(), callback->detail());
}

}  // namespace KorvoL2
