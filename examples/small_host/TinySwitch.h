// A switch of five MAC addresses: the objects of a layer-2 agent as the plug-in sees them, each
// with no more than it must have. What an agent does not have stays at the base's default, which is
// null.
//
// The plug-in takes reference-counted pointers to them, so they are made with Qel::makePtr.
// Threading: the event-loop thread only.
#pragma once

#include <string>

#include "platform/l2/L2Agent.h"
#include "platform/rendering/PrintBuffer.h"

/** The software MAC table; it alone knows what a row looks like. */
class TinyMacTable final : public KorvoL2::MacTblShadow {
 public:
  TinyMacTable() {
    for (std::uint16_t i = 0; i < 5; ++i) {
      KorvoL2::MacEntry entry;
      entry.intf = Bridging::IntfId("Ethernet" + std::to_string(i + 1));
      const Bridging::EthAddr mac(0x0200'0000'0001ULL + i);
      entries_.put({static_cast<std::uint16_t>(i < 3 ? 10 : 20), mac}, entry);
    }
  }
  const KorvoL2::MacEntryCollection* macEntry() const override { return &entries_; }

  // In text a line under the dump's heads, in JSON the members of an object that is open already.
  void printMacEntry(Rendering::RendererV2& out, const Bridging::MacVlanPair& key,
                     const KorvoL2::MacEntry& entry) const override {
    const std::string mac = key.mac().stringValue();
    out.addFrills("%8u%16s%12s%10s%24s%12s%12s%6s%8s\n", key.vlan(), mac, entry.intf.shortName(),
                  "-", "learnedDynamic", "-", "hardware", "-", "bridge");
    if (!out.isJson()) return;
    out.member("vlan", key.vlan());
    out.member("mac", mac);
    out.member("interface", entry.intf.stringValue());
  }
  // No chip, no hardware rows.
  void printMacEntryHw(Rendering::RendererV2&, Rendering::TableRenderer*, Tessar::FapId, bool,
                       const Bridging::MacVlanPair&, const KorvoL2::MacEntry&,
                       KorvoL2::KorvoL2McastHelper*) const override {}

 private:
  KorvoL2::MacEntryCollection entries_;
};

class TinyMacHelper final : public KorvoL2::KorvoL2MacAddrSmHelper {
 public:
  KorvoL2::MacTblShadow* macTblShadow() const override { return table_.get(); }

 private:
  Qel::Ptr<TinyMacTable> table_ = Qel::makePtr<TinyMacTable>();
};

/** One of the services that commands forward to: it prints its answer itself. */
class TinyVfiAllocator final : public KorvoL2::VfiAllocatorSm {
 public:
  void showVlanVfiMap(std::uint32_t socket) override {
    Rendering::printToSocket(socket, "VLAN 10 has VFI 4106\nVLAN 20 has VFI 4116\n");
  }
};

/** Plain commands want a multicast object, even of an agent that has no groups. */
class TinyMulticast final : public KorvoL2::McastObject {
 public:
  KorvoL2::McastHelper* mcastHelper() const override { return nullptr; }
};

/** VXLAN with one VLAN; the summary is printed from these records. */
class TinyVxlan final : public KorvoL2::VxlanL2Sm {
 public:
  TinyVxlan() {
    const Bridging::VlanId vlan(10);
    state_->vlanMapping.add(vlan);
    state_->vlanToSvp.put(vlan, {.number = 7});
    config_->vlanMapping.put(vlan, {.vlanId = vlan.value(), .vfi = 4106, .vni = 10010});
  }
  void showSoftwareVxlanDebugInfo(std::uint32_t socket) override {
    Rendering::printToSocket(socket, "one VLAN\n");
  }
  Qel::Ptr<const KorvoL2::VxlanL2State> vxlanL2State() const override { return state_; }
  Qel::Ptr<const KorvoL2::VxlanL3Config> vxlanL3Config() const override { return config_; }
  Qel::Ptr<const KorvoL2::VxlanL3Status> vxlanL3Status() const override { return status_; }
  Qel::Ptr<const KorvoL2::VxlanCapabilities> vxlanCapabilities() const override { return chips_; }

 private:
  Qel::Ptr<KorvoL2::VxlanL2State> state_ = Qel::makePtr<KorvoL2::VxlanL2State>();
  Qel::Ptr<KorvoL2::VxlanL3Config> config_ = Qel::makePtr<KorvoL2::VxlanL3Config>();
  Qel::Ptr<KorvoL2::VxlanL3Status> status_ = Qel::makePtr<KorvoL2::VxlanL3Status>();
  Qel::Ptr<KorvoL2::VxlanCapabilities> chips_ = Qel::makePtr<KorvoL2::VxlanCapabilities>();
};

class TinyUnicastAgent final : public KorvoL2::UnicastAgent {
 public:
  bool initialized() const override { return true; }
  bool ready() const override { return true; }
  std::string chipIdentity() const override { return "tiny"; }
  KorvoL2::VxlanL2Sm* vxlanL2Sm() const override { return vxlan_.get(); }
  const KorvoL2::RemoteMacCollection& remoteMac() const override { return remoteMac_; }
  const KorvoL2::LagMembershipCollection& lagMembership() const override { return lags_; }
  const KorvoL2::SwitchportConfigCollection& switchportConfig() const override { return ports_; }

 private:
  KorvoL2::RemoteMacCollection remoteMac_;
  KorvoL2::LagMembershipCollection lags_;
  KorvoL2::SwitchportConfigCollection ports_;
  Qel::Ptr<TinyVxlan> vxlan_ = Qel::makePtr<TinyVxlan>();
};

class TinyAgent final : public KorvoL2::L2Agent {
 public:
  /** Until then every command is refused. */
  void readyIs(bool ready) { ready_ = ready; }

  KorvoL2::L2AgentStatus status() const override {
    return {.configReady = ready_, .hardwareReady = ready_};
  }
  KorvoL2::UnicastAgent* unicastAgent() const override { return unicast_.get(); }
  KorvoL2::KorvoL2MacAddrSmHelper* macAddrSmHelper() const override { return macs_.get(); }
  KorvoL2::McastObject* mcast() const override { return multicast_.get(); }
  KorvoL2::VfiAllocatorSm* vfiAllocatorSm() const override { return vfis_.get(); }
  const KorvoL2::ChipAttrDir& chipAttrDir() const override { return chips_; }
  Qel::Ptr<const Qel::Clock> activityClock() const override { return clock_; }
  bool isModulePresent(Tessar::FapId) const override { return false; }
  std::uint32_t maxL2MulticastGroupsAll() const override { return 0; }

 private:
  bool ready_ = false;
  KorvoL2::ChipAttrDir chips_;
  Qel::Ptr<const Qel::Clock> clock_ = Qel::makePtr<Qel::SteadyClock>();
  Qel::Ptr<TinyUnicastAgent> unicast_ = Qel::makePtr<TinyUnicastAgent>();
  Qel::Ptr<TinyMacHelper> macs_ = Qel::makePtr<TinyMacHelper>();
  Qel::Ptr<TinyMulticast> multicast_ = Qel::makePtr<TinyMulticast>();
  Qel::Ptr<TinyVfiAllocator> vfis_ = Qel::makePtr<TinyVfiAllocator>();
};
