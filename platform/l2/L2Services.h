// The agent's small layer-2 services that commands forward to. Each prints straight to the answer
// socket that it is given; what it prints is the agent's.
//
// Threading, for all of them: the agent's event-loop thread only, synchronously within the command.
#pragma once

#include <cstdint>

#include "platform/base/Entity.h"
#include "platform/l2/VxlanRecords.h"
#include "platform/types/EthAddr.h"
#include "platform/types/VlanId.h"

namespace KorvoL2 {

/** Shows the FIFO registers through which the chips report learned addresses. */
class L2ModFifoShowSm : public Qel::Entity {
 public:
  virtual void showFifoRegisters(std::uint32_t socket) = 0;
};

/** Watches those FIFOs. */
class KorvoL2ModFifoMonitorSm : public Qel::Entity {
 public:
  virtual void printState(std::uint32_t socket) = 0;
};

/** Multi-chassis link aggregation. */
class MlagHelper : public Qel::Entity {
 public:
  virtual void showEgrMaskStatus(std::uint32_t socket) = 0;
};

/** Second-stage ingress VLAN translation. */
class VlanXlate2Manager : public Qel::Entity {
 public:
  virtual void showVlanXlate2(std::uint32_t socket) = 0;
};

/** Egress VLAN translation. */
class EgrVlanXlateQuorraManager : public Qel::Entity {
 public:
  /** With `hashView`, entries are shown by hash bucket, as the hardware looks them up. */
  virtual void showEgrVlanXlate(std::uint32_t socket, bool hashView) = 0;
};

/** Allocates virtual forwarding instances to VLANs. */
class VfiAllocatorSm : public Qel::Entity {
 public:
  virtual void showVlanVfiMap(std::uint32_t socket) = 0;
};

enum class CounterDirection : std::uint8_t { ingress, egress };

/** Flexible counters of VXLAN tunnels. */
class KorvoL2FlexCounter : public Qel::Entity {
 public:
  virtual void showVtepDecapFlexCountersSummary(std::uint32_t socket) = 0;
  virtual void showVtepDecapFlexCountersValues(std::uint32_t socket) = 0;
  virtual void showVniIngressFlexCountersSummary(std::uint32_t socket) = 0;
  virtual void showVniEgressFlexCountersSummary(std::uint32_t socket) = 0;
  virtual void showVniFlexCountersValues(std::uint32_t socket, CounterDirection direction) = 0;
};

/** The VXLAN state machine of the unicast agent, with the records that it keeps; none is null. */
class VxlanL2Sm : public Qel::Entity {
 public:
  virtual void showSoftwareVxlanDebugInfo(std::uint32_t socket) = 0;
  virtual Qel::Ptr<const VxlanL2State> vxlanL2State() const = 0;
  virtual Qel::Ptr<const VxlanL3Config> vxlanL3Config() const = 0;
  virtual Qel::Ptr<const VxlanL3Status> vxlanL3Status() const = 0;
  virtual Qel::Ptr<const VxlanCapabilities> vxlanCapabilities() const = 0;
};

/** Allocates source virtual ports. */
class SvpManager : public Qel::Entity {
 public:
  virtual void showVirtualPorts(std::uint32_t socket) = 0;
};

/** Programs the router MAC addresses. */
class KorvoRouterMacSm : public Qel::Entity {
 public:
  /** What an entry is selected by; the numbers are those that the command carries. */
  enum class ShowKind : std::uint32_t { vlan = 0, all = 1, mac = 2 };
  virtual void handleShowCommand(std::uint32_t socket, Bridging::EthAddr mac, Bridging::VlanId vlan,
                                 ShowKind kind) = 0;
};

}  // namespace KorvoL2
