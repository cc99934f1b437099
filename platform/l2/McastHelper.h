// The agent's multicast objects.
#pragma once

#include <cstdint>

#include "platform/base/Entity.h"

namespace KorvoL2 {

/** Any multicast helper; which kind the agent has depends on the chips. */
class McastHelper : public Qel::Entity {};

/** The multicast helper of this family of chips. Printers write to the socket given. */
class KorvoL2McastHelper : public McastHelper {
 public:
  /**
   * Prints the hardware multicast group table: only groups that differ from the shadow with
   * `differenceOnly`; all groups with `allGroups`, else the one of index `groupIndex`.
   */
  virtual void showHwMcastGroupTable(std::uint32_t socket, bool differenceOnly, bool allGroups,
                                     std::uint32_t groupIndex) = 0;
  /** Prints the software multicast group table. */
  virtual void showMcastGroupTable(std::uint32_t socket) = 0;
  /** Empties the shadow multicast group table. */
  virtual void clearShadowMcastGroupTable() = 0;
};

/** The agent's multicast object; holds the helper. */
class McastObject : public Qel::Entity {
 public:
  virtual McastHelper* mcastHelper() const = 0;
};

}  // namespace KorvoL2
