#include "agent/server/ConnectionSlots.h"

#include <fmt/format.h>

namespace KorvoAgent {

void ConnectionSlot::reset() noexcept {
  if (slots_ != nullptr) std::exchange(slots_, nullptr)->release(user_);
}

std::variant<ConnectionSlot, std::string> ConnectionSlots::take(uid_t user) {
  const bool keeper = access_.isKeeper(user);
  if (!keeper && numTakenBy(user) >= limits_.perUser) {
    return fmt::format(
        "user {} has {} connections, which is the limit; close one of them and try again", user,
        limits_.perUser);
  }
  const std::size_t most = limits_.together + (keeper ? limits_.reserved : 0);
  if (taken_ >= most) {
    return fmt::format(
        "the agent has {} connections, which is the limit; try again when others have left",
        taken_);
  }
  ++byUser_[user];
  ++taken_;
  return ConnectionSlot(*this, user);
}

void ConnectionSlots::release(uid_t user) noexcept {
  --taken_;
  const auto it = byUser_.find(user);
  if (--it->second == 0) byUser_.erase(it);
}

std::size_t ConnectionSlots::numTakenBy(uid_t user) const {
  const auto it = byUser_.find(user);
  return it == byUser_.end() ? 0 : it->second;
}

}  // namespace KorvoAgent
