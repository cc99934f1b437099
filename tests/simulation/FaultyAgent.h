// The switch model's layer-2 agent as commands see it, with faults: accessors and row printers that
// throw now and then, rows that take time, and chips that come and go.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "agent/model/SeededRandom.h"
#include "agent/model/SwitchModel.h"
#include "platform/base/Clock.h"
#include "tests/support/ManualClock.h"

namespace KorvoSimulation {

/** When the agent's objects throw, and how long their rows take. */
class FaultPlan {
 public:
  FaultPlan(std::uint64_t seed, Qel::Ptr<Qel::ManualClock> clock)
      : random_(seed), clock_(std::move(clock)) {}

  /** Accessors throw once in so many calls, row printers once in so many rows; 0 is never. */
  void ratesAre(std::uint64_t accessor, std::uint64_t row) noexcept {
    accessorOneIn_ = accessor;
    rowOneIn_ = row;
  }
  void rowCostIs(Qel::Duration cost) noexcept { rowCost_ = cost; }
  std::uint64_t numThrown() const noexcept { return numThrown_; }

  void accessor() { throwOneIn(accessorOneIn_, "an object of the agent is broken"); }
  void row() {
    clock_->advance(rowCost_);
    throwOneIn(rowOneIn_, "a row cannot be printed");
  }

 private:
  void throwOneIn(std::uint64_t times, const char* what) {
    if (times == 0 || !random_.onceIn(times)) return;
    ++numThrown_;
    throw std::runtime_error(what);
  }

  KorvoAgent::SeededRandom random_;
  Qel::Ptr<Qel::ManualClock> clock_;
  std::uint64_t accessorOneIn_ = 0;
  std::uint64_t rowOneIn_ = 0;
  Qel::Duration rowCost_{0};
  std::uint64_t numThrown_ = 0;
};

/** Prints as the model's table does, unless the plan says otherwise. */
class FaultyShadow final : public KorvoL2::MacTblShadow {
 public:
  FaultyShadow(KorvoAgent::SwitchModel& model, FaultPlan& plan) : model_(model), plan_(plan) {}
  const KorvoL2::MacEntryCollection* macEntry() const override {
    return model_.swMacTable().macEntry();
  }
  std::uint64_t refModBitmap() const override { return model_.swMacTable().refModBitmap(); }
  void printMacEntry(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& key,
                     const KorvoL2::MacEntry& entry) const override {
    plan_.row();
    model_.swMacTable().printMacEntry(renderer, key, entry);
  }
  void printMacEntryHw(Rendering::RendererV2& renderer, Rendering::TableRenderer* table,
                       Tessar::FapId fapId, bool detail, const Bridging::MacVlanPair& key,
                       const KorvoL2::MacEntry& entry,
                       KorvoL2::KorvoL2McastHelper* mcastHelper) const override {
    plan_.row();
    model_.swMacTable().printMacEntryHw(renderer, table, fapId, detail, key, entry, mcastHelper);
  }

 private:
  KorvoAgent::SwitchModel& model_;
  FaultPlan& plan_;
};

class FaultyMacAddrSmHelper final : public KorvoL2::KorvoL2MacAddrSmHelper {
 public:
  FaultyMacAddrSmHelper(KorvoAgent::SwitchModel& model, FaultPlan& plan)
      : real_(model.macAddrSmHelper()),
        plan_(plan),
        shadow_(Qel::makePtr<FaultyShadow>(model, plan)) {}

  KorvoL2::MacTblShadow* macTblShadow() const override {
    plan_.accessor();
    return real_->macTblShadow() == nullptr ? nullptr : shadow_.get();
  }
  KorvoL2::L2ModFifoShowSm* l2ModFifoShowSm() const override { return real_->l2ModFifoShowSm(); }
  const KorvoL2::FapChipCollection* fapChip() const override {
    plan_.accessor();
    return &chips;
  }
  bool readUnknownChips() const override { return real_->readUnknownChips(); }
  KorvoL2::L2TableReadSm* l2TableReadSm() const override { return real_->l2TableReadSm(); }

  /** The chips as commands see them. */
  KorvoL2::FapChipCollection chips;

 private:
  Qel::Ptr<KorvoL2::KorvoL2MacAddrSmHelper> real_;
  FaultPlan& plan_;
  Qel::Ptr<FaultyShadow> shadow_;
};

class FaultyAgent final : public KorvoL2::L2Agent {
 public:
  FaultyAgent(KorvoAgent::SwitchModel& model, FaultPlan& plan)
      : model_(model), plan_(plan), helper_(Qel::makePtr<FaultyMacAddrSmHelper>(model, plan)) {}

  KorvoL2::UnicastAgent* unicastAgent() const override {
    plan_.accessor();
    return model_.unicastAgent();
  }
  KorvoL2::L2AgentStatus status() const override { return model_.status(); }
  KorvoL2::KorvoL2MacAddrSmHelper* macAddrSmHelper() const override {
    return model_.macAddrSmHelper() == nullptr ? nullptr : helper_.get();
  }
  const KorvoL2::ChipAttrDir& chipAttrDir() const override { return model_.chipAttrDir(); }
  Qel::Ptr<const KorvoL2::ChipL2TableFeature> chipL2TableFeature() const override {
    return model_.chipL2TableFeature();
  }
  bool l2TableMode() const override { return model_.l2TableMode(); }
  Qel::Ptr<const Qel::Clock> activityClock() const override { return model_.activityClock(); }
  KorvoL2::McastObject* mcast() const override { return model_.mcast(); }
  KorvoL2::L2CmdRingManager* l2CmdRingManager() const override {
    plan_.accessor();
    return model_.l2CmdRingManager();
  }
  KorvoL2::KorvoL2ModFifoMonitorSm* l2ModFifoMonitorSm() const override {
    return model_.l2ModFifoMonitorSm();
  }
  KorvoL2::MlagHelper* mlagHelper() const override { return model_.mlagHelper(); }
  KorvoL2::VfiAllocatorSm* vfiAllocatorSm() const override { return model_.vfiAllocatorSm(); }
  KorvoL2::KorvoL2FlexCounter* flexCounter() const override {
    plan_.accessor();
    return model_.flexCounter();
  }
  bool hwTableStateAvailable() const override { return model_.hwTableStateAvailable(); }
  bool isModulePresent(Tessar::FapId chip) const override { return model_.isModulePresent(chip); }
  std::uint32_t maxL2MulticastGroupsAll() const override {
    return model_.maxL2MulticastGroupsAll();
  }

  FaultyMacAddrSmHelper& helper() noexcept { return *helper_; }

 private:
  KorvoAgent::SwitchModel& model_;
  FaultPlan& plan_;
  Qel::Ptr<FaultyMacAddrSmHelper> helper_;
};

}  // namespace KorvoSimulation
