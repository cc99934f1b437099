// VLAN translation in the switch model.
#pragma once

#include "platform/l2/VlanXlateRecords.h"

namespace KorvoAgent {

/** Keeps the translation directories, empty at first. Agent's event-loop thread only. */
class VlanXlateSmModel final : public KorvoL2::VlanXlateSm {
 public:
  Qel::Ptr<const KorvoL2::VlanXlateDipConfigDir> vlanXlateDipConfigDir() const override {
    return dips;
  }
  Qel::Ptr<const KorvoL2::VlanSvpStatusDir> vlanSvpStatusDir() const override { return vlanSvps; }
  Qel::Ptr<const KorvoL2::PortVlanXlateStatusDir> portVlanXlateStatusDir() const override {
    return portVlans;
  }
  Qel::Ptr<const KorvoL2::EgrVlanXlateVxlanVfiConfigDir> egrVlanXlateVxlanVfiConfigDir()
      const override {
    return vlanVnis;
  }
  Qel::Ptr<const KorvoL2::EgrPortVlanXlateStatusDir> egrPortVlanXlateStatusDir() const override {
    return egrPortVlans;
  }
  Qel::Ptr<const KorvoL2::EgrVxlanVlanXlateStatusDir> egrVxlanVlanXlateStatusDir() const override {
    return egrVxlanVlans;
  }
  const Qel::TypeData& typeData() const noexcept override;

  const Qel::Ptr<KorvoL2::VlanXlateDipConfigDir> dips =
      Qel::makePtr<KorvoL2::VlanXlateDipConfigDir>();
  const Qel::Ptr<KorvoL2::VlanSvpStatusDir> vlanSvps = Qel::makePtr<KorvoL2::VlanSvpStatusDir>();
  const Qel::Ptr<KorvoL2::PortVlanXlateStatusDir> portVlans =
      Qel::makePtr<KorvoL2::PortVlanXlateStatusDir>();
  const Qel::Ptr<KorvoL2::EgrVlanXlateVxlanVfiConfigDir> vlanVnis =
      Qel::makePtr<KorvoL2::EgrVlanXlateVxlanVfiConfigDir>();
  const Qel::Ptr<KorvoL2::EgrPortVlanXlateStatusDir> egrPortVlans =
      Qel::makePtr<KorvoL2::EgrPortVlanXlateStatusDir>();
  const Qel::Ptr<KorvoL2::EgrVxlanVlanXlateStatusDir> egrVxlanVlans =
      Qel::makePtr<KorvoL2::EgrVxlanVlanXlateStatusDir>();
};

/** Keeps what the ingress VLAN ranges are sized by. Agent's event-loop thread only. */
class IngVlanRangeSmModel final : public KorvoL2::IngVlanRangeSm {
 public:
  Qel::Ptr<const KorvoL2::VlanXlateScaleEntryDir> vlanXlateScaleEntryDir() const override {
    return scaleEntries;
  }
  Qel::Ptr<const KorvoL2::PortHwIndexMappingDir> portHwIndexMappingDir() const override {
    return hwIndexes;
  }
  std::uint8_t ingVlanRangeSize() const override { return ingVlanRangeSize_; }
  const Qel::TypeData& typeData() const noexcept override;

  void ingVlanRangeSizeIs(std::uint8_t size) {
    attributeIs(ingVlanRangeSize_, size, "ingVlanRangeSize");
  }

  const Qel::Ptr<KorvoL2::VlanXlateScaleEntryDir> scaleEntries =
      Qel::makePtr<KorvoL2::VlanXlateScaleEntryDir>();
  const Qel::Ptr<KorvoL2::PortHwIndexMappingDir> hwIndexes =
      Qel::makePtr<KorvoL2::PortHwIndexMappingDir>();

 private:
  std::uint8_t ingVlanRangeSize_ = 8;
};

}  // namespace KorvoAgent
