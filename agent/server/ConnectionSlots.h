// How many connections there may be, and who may have them.
//
// Each user has a limit, and all users together have one. Root and the agent's own user have no
// limit of their own, and some places beyond the common limit that nobody else gets: whatever
// others do, whoever looks after the agent can connect.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <variant>

#include "agent/server/Access.h"

namespace KorvoAgent {

struct ConnectionCounts {
  std::size_t together = 1024;  ///< of all users
  std::size_t perUser = 576;    ///< of each user but root and the agent's own
  /** Beyond `together`, for root and the agent's own user. */
  std::size_t reserved = 64;
};

class ConnectionSlots;

/** A place that somebody's connection takes until reset(); an empty one is nobody's. */
class ConnectionSlot {
 public:
  ConnectionSlot() = default;
  ConnectionSlot(ConnectionSlot&& other) noexcept
      : slots_(std::exchange(other.slots_, nullptr)), user_(other.user_) {}
  ConnectionSlot& operator=(ConnectionSlot&& other) noexcept {
    std::swap(slots_, other.slots_);
    std::swap(user_, other.user_);
    return *this;
  }
  ConnectionSlot(const ConnectionSlot&) = delete;
  ConnectionSlot& operator=(const ConnectionSlot&) = delete;
  ~ConnectionSlot() { reset(); }

  void reset() noexcept;

 private:
  friend class ConnectionSlots;
  ConnectionSlot(ConnectionSlots& slots, uid_t user) : slots_(&slots), user_(user) {}

  ConnectionSlots* slots_ = nullptr;
  uid_t user_ = kNoUser;
};

class ConnectionSlots {
 public:
  /** Both are kept by reference. */
  ConnectionSlots(const ConnectionCounts& limits, const AccessPolicy& access)
      : limits_(limits), access_(access) {}
  ConnectionSlots(const ConnectionSlots&) = delete;
  ConnectionSlots& operator=(const ConnectionSlots&) = delete;

  /** A place for `user`, or why there is none and what the user can do about it. */
  std::variant<ConnectionSlot, std::string> take(uid_t user);
  std::size_t numTaken() const noexcept { return taken_; }

 private:
  friend class ConnectionSlot;
  void release(uid_t user) noexcept;
  std::size_t numTakenBy(uid_t user) const;

  const ConnectionCounts& limits_;
  const AccessPolicy& access_;
  std::size_t taken_ = 0;
  std::map<uid_t, std::size_t> byUser_;
};

}  // namespace KorvoAgent
