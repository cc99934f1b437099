// How many of something there may be, and who may have them: connections, unread answers.
//
// Each user has a limit, and all users together have one. Root and the agent's own user have no
// limit of their own, and some places beyond the common limit that nobody else gets: whatever
// others do, whoever looks after the agent can use it.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "agent/server/Access.h"

namespace KorvoAgent {

struct PlaceLimits {
  std::size_t together;  ///< of all users
  std::size_t perUser;   ///< of each user but root and the agent's own
  /** Beyond `together`, for root and the agent's own user. */
  std::size_t reserved;
};

inline constexpr PlaceLimits kConnectionPlaces{.together = 1024, .perUser = 576, .reserved = 64};
inline constexpr PlaceLimits kUnreadPlaces{.together = 192, .perUser = 64, .reserved = 64};

/** What a refusal says. */
struct PlaceWords {
  std::string_view things;        ///< what there are too many of
  std::string_view ownAdvice;     ///< what to do at a user's own limit
  std::string_view commonAdvice;  ///< what to do at the limit of all
};

class UserPlaces;

/** A place that somebody has until reset(); an empty one is nobody's. */
class UserPlace {
 public:
  UserPlace() = default;
  UserPlace(UserPlace&& other) noexcept
      : places_(std::exchange(other.places_, nullptr)), user_(other.user_) {}
  UserPlace& operator=(UserPlace&& other) noexcept {
    std::swap(places_, other.places_);
    std::swap(user_, other.user_);
    return *this;
  }
  UserPlace(const UserPlace&) = delete;
  UserPlace& operator=(const UserPlace&) = delete;
  ~UserPlace() { reset(); }

  void reset() noexcept;
  bool isTaken() const noexcept { return places_ != nullptr; }

 private:
  friend class UserPlaces;
  UserPlace(UserPlaces& places, uid_t user) : places_(&places), user_(user) {}

  UserPlaces* places_ = nullptr;
  uid_t user_ = kNoUser;
};

class UserPlaces {
 public:
  /** Limits and access are kept by reference. */
  UserPlaces(const PlaceLimits& limits, const AccessPolicy& access, const PlaceWords& words)
      : limits_(limits), access_(access), words_(words) {}
  UserPlaces(const UserPlaces&) = delete;
  UserPlaces& operator=(const UserPlaces&) = delete;

  /** Why there is no place for `user` and what the user can do about it; nothing if there is. */
  std::optional<std::string> refusal(uid_t user) const;
  /** A place for `user`; an empty one when there is none. */
  UserPlace take(uid_t user);
  std::size_t numTaken() const noexcept { return taken_; }

 private:
  friend class UserPlace;
  void release(uid_t user) noexcept;
  std::size_t numTakenBy(uid_t user) const;

  const PlaceLimits& limits_;
  const AccessPolicy& access_;
  PlaceWords words_;
  std::size_t taken_ = 0;
  std::map<uid_t, std::size_t> byUser_;
};

}  // namespace KorvoAgent
