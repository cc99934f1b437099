#include "KorvoL2/KorvoL2CliCallbacks/PortHandlers.h"

namespace KorvoL2 {

void CliCallback::EgrMaskStatusH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->agent().mlagHelper(), "no mlagHelper", &MlagHelper::showEgrMaskStatus,
          callback->socket());
}

bool CliCallback::HwFiforegH::condition(const Qel::Ptr<CliCallback>& callback) const {
  if (!Handler::condition(callback)) return false;
  const Qel::Ptr<const KorvoL2MacAddrSmHelper> helper(callback->macAddrSmHelper());
  return helper != nullptr && helper->l2ModFifoShowSm() != nullptr;
}

void CliCallback::HwFiforegH::action(const Qel::Ptr<CliCallback>& callback) {
  const Qel::Ptr<const KorvoL2MacAddrSmHelper> helper(callback->macAddrSmHelper());
  forward(callback, helper->l2ModFifoShowSm(), "no l2ModFifoShowSm",
          &L2ModFifoShowSm::showFifoRegisters, callback->socket());
  forward(callback, callback->l2ModFifoMonitorSm(), "no l2ModFifoMonitorSm",
          &KorvoL2ModFifoMonitorSm::printState, callback->socket());
}

}  // namespace KorvoL2
