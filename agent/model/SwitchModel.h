// The switch that the stand-alone agent simulates: the layer-2 agent's objects, settable.
//
// A new model is a switch that is ready for every command: one chip, both readiness flags set,
// every object in place, an empty MAC table. Each flag and object that a command checks can be
// cleared or taken away, so that what an agent says while it is not ready can be seen at will.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "agent/model/ChipDeviation.h"
#include "agent/model/SwMacTable.h"
#include "agent/model/UnicastAgentModel.h"
#include "agent/services/SwitchServices.h"
#include "platform/l2/L2Agent.h"

namespace KorvoAgent {

/** One forwarding chip of the switch. */
struct Chip {
  Tessar::FapId id;
  std::string name;
  /** Clear while the chip is still coming up and has not told its id. */
  bool hasData = true;
  /** What its hardware MAC table is said to hold other than the software one. */
  ChipDeviations deviations{};
};

class SwitchModel final : public KorvoL2::L2Agent {
 public:
  static constexpr unsigned kMaxChips = 128;
  /** Key of the attributes that a new model's chips have. */
  static constexpr const char* kDefaultChipIdentity = "quorra2";

  /** `clock` is what slices are measured on. Throws AssertionException when it is null. */
  explicit SwitchModel(Qel::Ptr<const Qel::Clock> clock);

  KorvoL2::UnicastAgent* unicastAgent() const override;
  KorvoL2::L2AgentStatus status() const override { return status_; }
  KorvoL2::KorvoL2MacAddrSmHelper* macAddrSmHelper() const override;
  const KorvoL2::ChipAttrDir& chipAttrDir() const override { return chipAttrDir_; }
  Qel::Ptr<const KorvoL2::ChipL2TableFeature> chipL2TableFeature() const override {
    return chipL2TableFeature_;
  }
  bool l2TableMode() const override { return l2TableMode_; }
  Qel::Ptr<const Qel::Clock> activityClock() const override { return clock_; }
  KorvoL2::McastObject* mcast() const override;
  KorvoL2::L2CmdRingManager* l2CmdRingManager() const override {
    return services_.cmdRingManager.shown();
  }
  KorvoL2::KorvoL2ModFifoMonitorSm* l2ModFifoMonitorSm() const override {
    return services_.modFifoMonitor.shown();
  }
  KorvoL2::MlagHelper* mlagHelper() const override { return services_.mlagHelper.shown(); }
  KorvoL2::VfiAllocatorSm* vfiAllocatorSm() const override {
    return services_.vfiAllocator.shown();
  }
  KorvoL2::KorvoL2FlexCounter* flexCounter() const override {
    return services_.flexCounter.shown();
  }
  bool hwTableStateAvailable() const override { return hwTableStateAvailable_; }
  bool isModulePresent(Tessar::FapId chip) const override;
  std::uint32_t maxL2MulticastGroupsAll() const override { return maxL2MulticastGroupsAll_; }
  const Qel::TypeData& typeData() const noexcept override;

  const std::string& name() const noexcept { return name_; }
  void nameIs(std::string name) { attributeIs(name_, std::move(name), "name"); }

  /** The chips that are present, ascending by id. */
  const std::vector<Chip>& chips() const noexcept { return chips_; }
  /**
   * Makes the chips 0 to count - 1, named as chips on line cards of four, in place of the present
   * ones. Throws Qel::RangeException unless `count` is 1 to kMaxChips.
   */
  void chipsIs(unsigned count);
  /**
   * Adds a chip, or renames it and keeps the rest. Throws Qel::RangeException for the null id, and
   * for the name of another chip: names are keys of the JSON that is printed.
   */
  void chipIs(Tessar::FapId id, std::string name);
  /** The same with everything said of a chip. */
  void chipIs(Chip chip);
  void chipDelAll();
  /** Modules 0 to 63 that are present, bit n for module n: an entry that every chip holds. */
  std::uint64_t moduleBitmap() const noexcept;

  // What commands check before they run.

  /** The agent as commands see it: this object, or null while it counts as absent. */
  KorvoL2::L2Agent* l2Agent() noexcept { return l2AgentPresent_ ? this : nullptr; }
  void l2AgentPresentIs(bool present) { attributeIs(l2AgentPresent_, present, "l2AgentPresent"); }
  void configReadyIs(bool ready);
  void hardwareReadyIs(bool ready);
  void l2TableModeIs(bool mode) { attributeIs(l2TableMode_, mode, "l2TableMode"); }
  void unicastAgentPresentIs(bool present);
  void macAddrSmHelperPresentIs(bool present);
  void macTblShadowPresentIs(bool present);
  void mcastPresentIs(bool present);
  void readUnknownChipsIs(bool read);

  /**
   * Whether the chips hold MAC tables, programmed from the software one. Clear where that came from
   * a real machine: chips made up from it would only seem to say something about that machine.
   */
  bool simulatesHardware() const noexcept { return simulatesHardware_; }
  void simulatesHardwareIs(bool simulates) {
    attributeIs(simulatesHardware_, simulates, "simulatesHardware");
  }

  /**
   * What there is of hardware: the chips as commands see them, who reads their tables and who
   * prints them. Null, as in a new model: commands find no chip. Not owned.
   */
  void hardwareIs(const KorvoL2::FapChipCollection* chips, KorvoL2::L2TableReadSm* reader,
                  HwMacRows* rows);

  // The contents, there whether or not the object that leads to them is present.

  SwMacTable& swMacTable() noexcept { return *swMacTable_; }
  const SwMacTable& swMacTable() const noexcept { return *swMacTable_; }
  UnicastAgentModel& unicast() noexcept { return *unicast_; }
  const UnicastAgentModel& unicast() const noexcept { return *unicast_; }
  CmdRingManagerModel& cmdRingManager() noexcept { return *services_.cmdRingManager; }
  /** The objects that plain commands forward to, and whether they are present. */
  SwitchServices& services() noexcept { return services_; }
  /** What the layer-2 tables of the agent's chip can do about VLAN ranges. */
  KorvoL2::ChipL2TableFeature& l2TableFeature() noexcept { return *chipL2TableFeature_; }
  /** Enters or replaces the attributes of the chips of that identity. */
  void chipAttrIs(const std::string& identity, bool ingVlanXlate, bool egrVlanXlate);
  void chipAttrDelAll();
  void hwTableStateAvailableIs(bool available) {
    attributeIs(hwTableStateAvailable_, available, "hwTableStateAvailable");
  }
  void maxL2MulticastGroupsAllIs(std::uint32_t groups) {
    attributeIs(maxL2MulticastGroupsAll_, groups, "maxL2MulticastGroupsAll");
  }

 private:
  class MacAddrSmHelper;
  class Mcast;

  ~SwitchModel() override;
  void chipsChanged();
  std::vector<ChipName> chipNames() const;

  Qel::Ptr<const Qel::Clock> clock_;
  std::string name_ = "switch";
  std::vector<Chip> chips_;
  KorvoL2::L2AgentStatus status_{.configReady = true, .hardwareReady = true};
  bool l2AgentPresent_ = true;
  bool l2TableMode_ = false;
  bool unicastAgentPresent_ = true;
  bool macAddrSmHelperPresent_ = true;
  bool mcastPresent_ = true;
  bool hwTableStateAvailable_ = true;
  bool simulatesHardware_ = true;
  std::uint32_t maxL2MulticastGroupsAll_ = 4096;
  Qel::Ptr<SwMacTable> swMacTable_;
  Qel::Ptr<UnicastAgentModel> unicast_;
  SwitchServices services_;
  Qel::Ptr<MacAddrSmHelper> macAddrSmHelper_;
  Qel::Ptr<Mcast> mcast_;
  Qel::Ptr<KorvoL2::ChipL2TableFeature> chipL2TableFeature_ =
      Qel::makePtr<KorvoL2::ChipL2TableFeature>();
  KorvoL2::ChipAttrDir chipAttrDir_;
};

}  // namespace KorvoAgent
