#include "KorvoL2/KorvoL2CliCallbacks/VlanXlateHandlers.h"

#include "platform/base/Toggles.h"

namespace KorvoL2 {

bool CliCallback::EgrVlanXlateStatus2H::condition(const Qel::Ptr<CliCallback>& callback) const {
  // The ingress flag, not the egress one: the second-stage tables exist as a pair, on chips that
  // translate at ingress, while egress translation alone is found on chips that have neither.
  return Handler::condition(callback) && callback->vlanXlateFeature();
}

void CliCallback::EgrVlanXlateStatus2H::action(const Qel::Ptr<CliCallback>& callback) {
  const bool hashView = Qel::getToggleState("ShowEgrVlanXlateHashView", "KorvoQuorra.json", true);
  forward(callback, callback->unicastAgent().egrVlanXlateManager(), "no egrVlanXlateManager",
          &EgrVlanXlateQuorraManager::showEgrVlanXlate, callback->socket(), hashView);
}

bool CliCallback::VlanXlateStatus2H::condition(const Qel::Ptr<CliCallback>& callback) const {
  return Handler::condition(callback) && callback->vlanXlateFeature();
}

void CliCallback::VlanXlateStatus2H::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->unicastAgent().vlanXlate2Manager(), "no vlanXlate2Manager",
          &VlanXlate2Manager::showVlanXlate2, callback->socket());
}

void CliCallback::VlanVfiMapH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->agent().vfiAllocatorSm(), "no vfiAllocatorSm",
          &VfiAllocatorSm::showVlanVfiMap, callback->socket());
}

}  // namespace KorvoL2
