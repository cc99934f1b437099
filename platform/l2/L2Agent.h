// The layer-2 agent as its command plug-ins see it.
#pragma once

#include <cstdint>

#include "platform/base/Clock.h"
#include "platform/base/Entity.h"
#include "platform/l2/ChipAttr.h"
#include "platform/l2/KorvoL2MacAddrSmHelper.h"
#include "platform/l2/L2CmdRingManager.h"
#include "platform/l2/L2Services.h"
#include "platform/l2/McastHelper.h"
#include "platform/l2/UnicastAgent.h"

namespace KorvoL2 {

/** The agent's readiness; commands are answered when both flags are set. */
struct L2AgentStatus {
  bool configReady = false;    ///< configuration has been read
  bool hardwareReady = false;  ///< the chips are up and hold what the agent believes
};

/**
 * The context of every command. All pointers are the agent's own; one that is null stands for an
 * object that this agent does not have (yet).
 *
 * Threading: the agent's event-loop thread only.
 */
class L2Agent : public Qel::Entity {
 public:
  virtual UnicastAgent* unicastAgent() const = 0;
  virtual L2AgentStatus status() const = 0;
  virtual KorvoL2MacAddrSmHelper* macAddrSmHelper() const = 0;
  /** The platform attributes table. */
  virtual const ChipAttrDir& chipAttrDir() const = 0;
  /** What the layer-2 tables of the chip that the agent runs on can do; null when not known. */
  virtual Qel::Ptr<const ChipL2TableFeature> chipL2TableFeature() const { return nullptr; }
  /** Set when the layer-2 table has another owner, so that commands do without the MAC helper. */
  virtual bool l2TableMode() const { return false; }
  /** The clock of the agent's activity manager; slices are measured on it. Never null. */
  virtual Qel::Ptr<const Qel::Clock> activityClock() const = 0;

  virtual KorvoL2ModFifoMonitorSm* l2ModFifoMonitorSm() const { return nullptr; }
  virtual McastObject* mcast() const { return nullptr; }
  virtual L2CmdRingManager* l2CmdRingManager() const { return nullptr; }
  virtual MlagHelper* mlagHelper() const { return nullptr; }
  virtual VfiAllocatorSm* vfiAllocatorSm() const { return nullptr; }
  virtual KorvoL2FlexCounter* flexCounter() const { return nullptr; }

  /** Whether the shadows of the hardware tables hold anything to show. */
  virtual bool hwTableStateAvailable() const { return false; }
  virtual bool isModulePresent(Tessar::FapId chip) const = 0;
  /** `MaxL2MulticastGroupsAll`: how many multicast groups the layer-2 partition has. */
  virtual std::uint32_t maxL2MulticastGroupsAll() const = 0;
};

}  // namespace KorvoL2
