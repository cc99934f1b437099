#include "KorvoL2/KorvoL2CliCallbacks/McastHandlers.h"

#include <fmt/format.h>
#include <unistd.h>

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "platform/rendering/PrintBuffer.h"

namespace KorvoL2 {

void CliCallback::HwMcastAllH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->mcastHelper(), "no mcastHelper",
          &KorvoL2McastHelper::showHwMcastGroupTable, callback->socket(), false, true, 0U);
}

void CliCallback::HwMcastDiffH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->mcastHelper(), "no mcastHelper",
          &KorvoL2McastHelper::showHwMcastGroupTable, callback->socket(), true, true, 0U);
}

bool CliCallback::HwMcastMcidxH::condition(const Qel::Ptr<CliCallback>& callback) const {
  return Handler::condition(callback) && callback->cmdTokens().size() >= 2;
}

void CliCallback::HwMcastMcidxH::action(const Qel::Ptr<CliCallback>& callback) {
  const std::uint32_t groups = callback->agent().maxL2MulticastGroupsAll();
  const std::uint32_t group = decimalNumber(callback->cmdTokens(2));
  if (group >= groups) {
    Rendering::printToSocket(callback->socket(),
                             fmt::format("Entry outside of l2 partition (max:{}) \n",
                                         static_cast<std::int64_t>(groups) - 1));
    // Of all handlers that act, this one alone ends the answer itself: its callers read an error
    // line and wait for nothing more.
    ::close(static_cast<int>(callback->socket()));
    return;
  }
  forward(callback, callback->mcastHelper(), "no mcastHelper",
          &KorvoL2McastHelper::showHwMcastGroupTable, callback->socket(), false, false, group);
}

void CliCallback::HwMcastClearH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->mcastHelper(), "no mcastHelper",
          &KorvoL2McastHelper::clearShadowMcastGroupTable);
}

void CliCallback::McastAllH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->mcastHelper(), "no mcastHelper",
          &KorvoL2McastHelper::showMcastGroupTable, callback->socket());
}

}  // namespace KorvoL2
