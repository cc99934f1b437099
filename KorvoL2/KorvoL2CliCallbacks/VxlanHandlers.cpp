#include "KorvoL2/KorvoL2CliCallbacks/VxlanHandlers.h"

namespace KorvoL2 {

void CliCallback::VxlanDebugStateH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->l2Agent()->unicastAgent()->vxlanL2Sm(), "no vxlanL2 Sm",
          &VxlanL2Sm::showSoftwareVxlanDebugInfo, callback->socket());
}

void CliCallback::VxlanSvpUsageH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->l2Agent()->unicastAgent()->svpManager(), "no svp mgr",
          &SvpManager::showVirtualPorts, callback->socket());
}

}  // namespace KorvoL2
