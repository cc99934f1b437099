// VXLAN in the switch model.
#pragma once

#include "platform/l2/L2Services.h"

namespace KorvoAgent {

/** Keeps the VXLAN records, empty at first. Agent's event-loop thread only. */
class VxlanL2SmModel final : public KorvoL2::VxlanL2Sm {
 public:
  void showSoftwareVxlanDebugInfo(std::uint32_t socket) override;
  Qel::Ptr<const KorvoL2::VxlanL2State> vxlanL2State() const override { return l2State_; }
  Qel::Ptr<const KorvoL2::VxlanL3Config> vxlanL3Config() const override { return l3Config_; }
  Qel::Ptr<const KorvoL2::VxlanL3Status> vxlanL3Status() const override { return l3Status_; }
  Qel::Ptr<const KorvoL2::VxlanCapabilities> vxlanCapabilities() const override {
    return capabilities_;
  }
  const Qel::TypeData& typeData() const noexcept override;

  KorvoL2::VxlanL2State& l2State() noexcept { return *l2State_; }
  KorvoL2::VxlanL3Config& l3Config() noexcept { return *l3Config_; }
  KorvoL2::VxlanL3Status& l3Status() noexcept { return *l3Status_; }
  KorvoL2::VxlanCapabilities& capabilities() noexcept { return *capabilities_; }

 private:
  Qel::Ptr<KorvoL2::VxlanL2State> l2State_ = Qel::makePtr<KorvoL2::VxlanL2State>();
  Qel::Ptr<KorvoL2::VxlanL3Config> l3Config_ = Qel::makePtr<KorvoL2::VxlanL3Config>();
  Qel::Ptr<KorvoL2::VxlanL3Status> l3Status_ = Qel::makePtr<KorvoL2::VxlanL3Status>();
  Qel::Ptr<KorvoL2::VxlanCapabilities> capabilities_ = Qel::makePtr<KorvoL2::VxlanCapabilities>();
};

}  // namespace KorvoAgent
