#include "agent/server/UserPlaces.h"

#include <fmt/format.h>

namespace KorvoAgent {

void UserPlace::reset() noexcept {
  if (places_ != nullptr) std::exchange(places_, nullptr)->release(user_);
}

std::optional<std::string> UserPlaces::refusal(uid_t user) const {
  const bool keeper = access_.isKeeper(user);
  if (!keeper && numTakenBy(user) >= limits_.perUser) {
    return fmt::format("user {} has {} {}, which is the limit; {}", user, limits_.perUser,
                       words_.things, words_.ownAdvice);
  }
  const std::size_t most = limits_.together + (keeper ? limits_.reserved : 0);
  if (taken_ < most) return std::nullopt;
  return fmt::format("the agent has {} {}, which is the limit; {}", taken_, words_.things,
                     words_.commonAdvice);
}

UserPlace UserPlaces::take(uid_t user) {
  if (refusal(user)) return {};
  ++byUser_[user];
  ++taken_;
  return UserPlace(*this, user);
}

void UserPlaces::release(uid_t user) noexcept {
  --taken_;
  const auto it = byUser_.find(user);
  if (--it->second == 0) byUser_.erase(it);
}

std::size_t UserPlaces::numTakenBy(uid_t user) const {
  const auto it = byUser_.find(user);
  return it == byUser_.end() ? 0 : it->second;
}

}  // namespace KorvoAgent
