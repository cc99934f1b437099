// The unicast side of the layer-2 agent.
#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Entity.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/l2/FeatureAgentCommonSmData.h"
#include "platform/l2/L2Services.h"
#include "platform/l2/VlanXlateRecords.h"
#include "platform/l2/VxlanRecords.h"
#include "platform/types/IntfId.h"
#include "platform/types/MacVlanPair.h"

namespace KorvoL2 {

/** A MAC address behind a VXLAN tunnel. */
struct RemoteMacEntry {
  std::uint32_t tunnelId = 0;
};
/** Layer-2 port configuration of an interface. */
struct SwitchportConfig {
  std::uint32_t nativeVlan = 1;  ///< access VLAN; 0 for none
};

using RemoteMacCollection = Qel::KeyedCollection<Bridging::MacVlanPair, RemoteMacEntry>;
using SwitchportConfigCollection = Qel::KeyedCollection<Bridging::IntfId, SwitchportConfig>;

/** What commands ask of the unicast agent. Objects that it does not have are null. */
class UnicastAgent : public Qel::Entity {
 public:
  virtual bool initialized() const = 0;
  virtual bool ready() const = 0;
  /** Identity of the chip that the agent runs on, the key of its chip attributes. */
  virtual std::string chipIdentity() const = 0;

  virtual VxlanL2Sm* vxlanL2Sm() const { return nullptr; }
  virtual SvpManager* svpManager() const { return nullptr; }
  virtual KorvoRouterMacSm* routerMacSm() const { return nullptr; }
  virtual VlanXlate2Manager* vlanXlate2Manager() const { return nullptr; }
  virtual EgrVlanXlateQuorraManager* egrVlanXlateManager() const { return nullptr; }
  virtual VlanXlateSm* vlanXlateSm() const { return nullptr; }
  virtual IngVlanRangeSm* ingVlanRangeSm() const { return nullptr; }

  virtual Qel::Ptr<const FeatureAgentCommonSmData> featureAgentCommonSmData() const {
    return nullptr;
  }
  virtual Qel::Ptr<const KorvoL3::RoutingStatus> routingStatus() const { return nullptr; }
  virtual Qel::Ptr<const VlanSvpConfigDir> vlanSvpConfigDir() const { return nullptr; }
  /** The interface through which routed VXLAN frames pass a second time; the default for none. */
  virtual Bridging::IntfId recircIntf() const { return {}; }

  virtual const RemoteMacCollection& remoteMac() const = 0;
  virtual const LagMembershipCollection& lagMembership() const = 0;
  virtual const SwitchportConfigCollection& switchportConfig() const = 0;
};

}  // namespace KorvoL2
