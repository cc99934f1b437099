// What the tests of the simulated hardware share: a small switch with its chips, on a clock that
// the test moves.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "agent/chips/SwitchHardware.h"
#include "tests/agent/model/ModelTestSupport.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent::Testing {

inline Bridging::MacVlanPair macKey(unsigned vlan, std::uint64_t mac) {
  return {static_cast<std::uint16_t>(vlan), Bridging::EthAddr(mac)};
}

/** A switch whose hardware starts when the test has filled the software table. */
class HardwareTest : public ::testing::Test {
 protected:
  explicit HardwareTest(unsigned chips = 3) { model_->chipsIs(chips); }

  /** Puts an entry that every chip of the switch holds. */
  void put(unsigned vlan, std::uint64_t mac, const char* intf = "Ethernet3/1") {
    table().put(macKey(vlan, mac), held(intf));
  }
  KorvoL2::MacEntry held(const char* intf = "Ethernet3/1") const {
    return {.intf = Bridging::IntfId(intf), .modBitmap = model_->moduleBitmap()};
  }
  void startHardware() { hardware_.emplace(clock_, model_, policy_); }
  SwMacTable& table() { return model_->swMacTable(); }
  const KorvoL2::MacEntry& software(unsigned vlan, std::uint64_t mac) {
    return *table().entries().find(macKey(vlan, mac));
  }
  HwMacTable& chip(unsigned id) { return hardware_->chips().find(Tessar::FapId(id))->macTable; }
  /** What a chip holds under a bridge key; empty when nothing. */
  HwMacEntry hw(unsigned id, unsigned vlan, std::uint64_t mac) {
    const auto index = chip(id).find({macKey(vlan, mac), 0});
    return index == HwMacTable::kNowhere ? HwMacEntry() : chip(id).at(index);
  }
  /** Lets time pass and the programmer do what is due by then. */
  void letPass(Qel::Duration time) {
    clock_->advance(time);
    HwProgrammer& programmer = hardware_->programmer();
    const auto deadline = programmer.nextDeadline();
    if (deadline && *deadline <= clock_->now()) programmer.deadlinesPassed(clock_->now());
    while (programmer.runnable()) programmer.runPiece();
  }
  /** Lets the chips catch up with software. */
  void settle() {
    for (int i = 0; hardware_->programmer().numDue() != 0; ++i) {
      ASSERT_LT(i, 100'000) << "the programmer does not get done";
      letPass(std::chrono::milliseconds(10));
    }
  }

  Qel::Ptr<Qel::ManualClock> clock_ = Qel::makePtr<Qel::ManualClock>();
  Qel::Ptr<SwitchModel> model_ = Qel::makePtr<SwitchModel>(clock_);
  HardwarePolicy policy_;
  std::optional<SwitchHardware> hardware_;
};

}  // namespace KorvoAgent::Testing
