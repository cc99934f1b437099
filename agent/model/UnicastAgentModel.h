// The unicast side of the switch model.
#pragma once

#include <cstdint>
#include <string>

#include "agent/services/SwitchServices.h"
#include "agent/services/VlanXlateModel.h"
#include "agent/services/VxlanL2SmModel.h"
#include "platform/l2/UnicastAgent.h"

namespace KorvoAgent {

/**
 * Ready, with every object in place and no entries, unless told otherwise. Agent's event-loop
 * thread only.
 */
class UnicastAgentModel final : public KorvoL2::UnicastAgent {
 public:
  bool initialized() const override { return initialized_; }
  bool ready() const override { return ready_; }
  std::string chipIdentity() const override { return chipIdentity_; }
  KorvoL2::VxlanL2Sm* vxlanL2Sm() const override { return vxlanPresent_ ? vxlan_.get() : nullptr; }
  KorvoL2::VlanXlateSm* vlanXlateSm() const override {
    return vlanXlatePresent_ ? vlanXlate_.get() : nullptr;
  }
  KorvoL2::IngVlanRangeSm* ingVlanRangeSm() const override {
    return ingVlanRangePresent_ ? ingVlanRange_.get() : nullptr;
  }
  KorvoL2::SvpManager* svpManager() const override { return services_.svpManager.shown(); }
  KorvoL2::KorvoRouterMacSm* routerMacSm() const override { return services_.routerMac.shown(); }
  KorvoL2::VlanXlate2Manager* vlanXlate2Manager() const override {
    return services_.vlanXlate2Manager.shown();
  }
  KorvoL2::EgrVlanXlateQuorraManager* egrVlanXlateManager() const override {
    return services_.egrVlanXlateManager.shown();
  }
  Qel::Ptr<const KorvoL2::FeatureAgentCommonSmData> featureAgentCommonSmData() const override {
    return common_;
  }
  Qel::Ptr<const KorvoL3::RoutingStatus> routingStatus() const override { return routingStatus_; }
  Qel::Ptr<const KorvoL2::VlanSvpConfigDir> vlanSvpConfigDir() const override {
    return vlanSvpConfig_;
  }
  Bridging::IntfId recircIntf() const override { return recircIntf_; }
  const KorvoL2::RemoteMacCollection& remoteMac() const override { return remoteMac_; }
  const KorvoL2::LagMembershipCollection& lagMembership() const override {
    return common_->portToLag();
  }
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
    common_->lagMembershipIs(member, lag);
    changed("lagMembership");
  }
  void switchportConfigIs(Bridging::IntfId intf, KorvoL2::SwitchportConfig config) {
    switchportConfig_.put(intf, config);
    changed("switchportConfig");
  }

  void vxlanPresentIs(bool present) { attributeIs(vxlanPresent_, present, "vxlanPresent"); }
  void vlanXlatePresentIs(bool present) {
    attributeIs(vlanXlatePresent_, present, "vlanXlatePresent");
  }
  void ingVlanRangePresentIs(bool present) {
    attributeIs(ingVlanRangePresent_, present, "ingVlanRangePresent");
  }
  void recircIntfIs(Bridging::IntfId intf) { attributeIs(recircIntf_, intf, "recircIntf"); }

  // The contents, there whether or not the object that leads to them is present.

  /** The objects that plain commands forward to, and whether they are present. */
  UnicastServices& services() noexcept { return services_; }
  VxlanL2SmModel& vxlan() noexcept { return *vxlan_; }
  VlanXlateSmModel& vlanXlate() noexcept { return *vlanXlate_; }
  IngVlanRangeSmModel& ingVlanRange() noexcept { return *ingVlanRange_; }
  KorvoL2::FeatureAgentCommonSmData& common() noexcept { return *common_; }
  KorvoL3::RoutingStatus& routing() noexcept { return *routingStatus_; }
  KorvoL2::VlanSvpConfigDir& vlanSvpConfig() noexcept { return *vlanSvpConfig_; }

 private:
  bool vxlanPresent_ = true;
  bool vlanXlatePresent_ = true;
  bool ingVlanRangePresent_ = true;
  Qel::Ptr<VxlanL2SmModel> vxlan_ = Qel::makePtr<VxlanL2SmModel>();
  Qel::Ptr<VlanXlateSmModel> vlanXlate_ = Qel::makePtr<VlanXlateSmModel>();
  Qel::Ptr<IngVlanRangeSmModel> ingVlanRange_ = Qel::makePtr<IngVlanRangeSmModel>();
  Qel::Ptr<KorvoL2::FeatureAgentCommonSmData> common_ =
      Qel::makePtr<KorvoL2::FeatureAgentCommonSmData>();
  Qel::Ptr<KorvoL3::RoutingStatus> routingStatus_ = Qel::makePtr<KorvoL3::RoutingStatus>();
  Qel::Ptr<KorvoL2::VlanSvpConfigDir> vlanSvpConfig_ = Qel::makePtr<KorvoL2::VlanSvpConfigDir>();
  UnicastServices services_{*vxlan_, vlanXlate_, routingStatus_};
  Bridging::IntfId recircIntf_;
  bool initialized_ = true;
  bool ready_ = true;
  std::string chipIdentity_;
  KorvoL2::RemoteMacCollection remoteMac_;
  KorvoL2::SwitchportConfigCollection switchportConfig_;
};

}  // namespace KorvoAgent
