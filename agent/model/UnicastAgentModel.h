// The unicast side of the switch model.
#pragma once

#include <cstdint>
#include <string>

#include "platform/l2/UnicastAgent.h"

namespace KorvoAgent {

/** Ready and without entries unless told otherwise. Agent's event-loop thread only. */
class UnicastAgentModel final : public KorvoL2::UnicastAgent {
 public:
  bool initialized() const override { return initialized_; }
  bool ready() const override { return ready_; }
  std::string chipIdentity() const override { return chipIdentity_; }
  const KorvoL2::RemoteMacCollection& remoteMac() const override { return remoteMac_; }
  const KorvoL2::LagMembershipCollection& lagMembership() const override { return lagMembership_; }
  const KorvoL2::SwitchportConfigCollection& switchportConfig() const override {
    return switchportConfig_;
  }
  const Qel::TypeData& typeData() const noexcept override;

  void initializedIs(bool initialized) { attributeIs(initialized_, initialized, "initialized"); }
  void readyIs(bool ready) { attributeIs(ready_, ready, "ready"); }
  void chipIdentityIs(std::string identity) {
    attributeIs(chipIdentity_, std::move(identity), "chipIdentity");
  }
  void remoteMacIs(const Bridging::MacVlanPair& key, KorvoL2::RemoteMacEntry entry) {
    remoteMac_.put(key, entry);
    changed("remoteMac");
  }
  /** `member` belongs to the port-channel `lag`. */
  void lagMembershipIs(Bridging::IntfId member, Bridging::IntfId lag) {
    lagMembership_.put(member, lag);
    changed("lagMembership");
  }
  void switchportConfigIs(Bridging::IntfId intf, KorvoL2::SwitchportConfig config) {
    switchportConfig_.put(intf, config);
    changed("switchportConfig");
  }

 private:
  bool initialized_ = true;
  bool ready_ = true;
  std::string chipIdentity_;
  KorvoL2::RemoteMacCollection remoteMac_;
  KorvoL2::LagMembershipCollection lagMembership_;
  KorvoL2::SwitchportConfigCollection switchportConfig_;
};

}  // namespace KorvoAgent
