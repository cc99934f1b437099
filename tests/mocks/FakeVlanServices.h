// The agent's VLAN translation and VLAN range objects, with directories that a test fills.
#pragma once

#include "platform/l2/VlanXlateRecords.h"

namespace KorvoL2::Testing {

class FakeVlanXlateSm final : public VlanXlateSm {
 public:
  Qel::Ptr<const VlanXlateDipConfigDir> vlanXlateDipConfigDir() const override { return dips; }
  Qel::Ptr<const VlanSvpStatusDir> vlanSvpStatusDir() const override { return vlanSvps; }
  Qel::Ptr<const PortVlanXlateStatusDir> portVlanXlateStatusDir() const override {
    return portVlans;
  }
  Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir> egrVlanXlateVxlanVfiConfigDir() const override {
    return vlanVnis;
  }
  Qel::Ptr<const EgrPortVlanXlateStatusDir> egrPortVlanXlateStatusDir() const override {
    return egrPortVlans;
  }
  Qel::Ptr<const EgrVxlanVlanXlateStatusDir> egrVxlanVlanXlateStatusDir() const override {
    return egrVxlanVlans;
  }

  Qel::Ptr<VlanXlateDipConfigDir> dips = Qel::makePtr<VlanXlateDipConfigDir>();
  Qel::Ptr<VlanSvpStatusDir> vlanSvps = Qel::makePtr<VlanSvpStatusDir>();
  Qel::Ptr<PortVlanXlateStatusDir> portVlans = Qel::makePtr<PortVlanXlateStatusDir>();
  Qel::Ptr<EgrVlanXlateVxlanVfiConfigDir> vlanVnis = Qel::makePtr<EgrVlanXlateVxlanVfiConfigDir>();
  Qel::Ptr<EgrPortVlanXlateStatusDir> egrPortVlans = Qel::makePtr<EgrPortVlanXlateStatusDir>();
  Qel::Ptr<EgrVxlanVlanXlateStatusDir> egrVxlanVlans = Qel::makePtr<EgrVxlanVlanXlateStatusDir>();
};

class FakeIngVlanRangeSm final : public IngVlanRangeSm {
 public:
  Qel::Ptr<const VlanXlateScaleEntryDir> vlanXlateScaleEntryDir() const override { return scale; }
  Qel::Ptr<const PortHwIndexMappingDir> portHwIndexMappingDir() const override { return hwIndexes; }
  std::uint8_t ingVlanRangeSize() const override { return size; }

  Qel::Ptr<VlanXlateScaleEntryDir> scale = Qel::makePtr<VlanXlateScaleEntryDir>();
  Qel::Ptr<PortHwIndexMappingDir> hwIndexes = Qel::makePtr<PortHwIndexMappingDir>();
  std::uint8_t size = 8;
};

}  // namespace KorvoL2::Testing
