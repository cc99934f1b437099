// Programs the chips from the software MAC table, as the driver of real chips does: after the
// software, at a bounded rate, and not always with success.
//
// What software holds when it starts is programmed at once. From then on every change is queued
// under its key and carried out later: the key's entry, as it then is, is written to every chip, or
// taken out. Until that is done the software entry has its flag kPending; afterwards its bitmap
// tells which modules took it. An entry that finds no room on a chip is left out there, its flag
// cleared all the same: the programmer tries again only when the entry changes.
//
// A fault that is injected is nothing the programmer knows of: it takes the write for done.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "agent/chips/HwChips.h"
#include "agent/chips/HwFaults.h"
#include "agent/model/ChipDeviation.h"
#include "agent/model/SwMacTable.h"
#include "agent/server/LoopClient.h"
#include "platform/base/Clock.h"

namespace KorvoAgent {

class HwProgrammer final : public LoopClient, private SwMacTable::Listener {
 public:
  /** `entriesPerSecond`, more than zero, is what a chip takes; all are written side by side. */
  HwProgrammer(Qel::Ptr<const Qel::Clock> clock, Qel::Ptr<SwMacTable> software, HwChips& chips,
               double entriesPerSecond, double faultRate, std::uint64_t seed);
  ~HwProgrammer() override;
  HwProgrammer(const HwProgrammer&) = delete;
  HwProgrammer& operator=(const HwProgrammer&) = delete;

  /**
   * Programs all that software holds into the chips, whose tables are empty and of one size, and
   * listens to changes from now on. An entry goes to the modules of its bitmap and to every chip
   * that has no bit there. One that is pending is taken as it stands: its bitmap is what it is
   * waiting with.
   */
  void start();
  /** Brings about what a chip is said to hold otherwise. Entries that there are not are left out.
   */
  void deviate(Tessar::FapId chip, const ChipDeviations& deviations);

  /** Whether a change to the entry has still to be programmed. */
  bool isDue(const Bridging::MacVlanPair& pair) const { return due_.contains(pair); }
  std::size_t numDue() const noexcept { return due_.size(); }
  /** Entries that found no room, counted for each chip and each time. */
  std::uint64_t numWithoutRoom() const noexcept { return numWithoutRoom_; }
  const HwFaults& faults() const noexcept { return faults_; }
  /** The chip has gone. */
  void chipDel(Tessar::FapId chip) { faults_.chipDel(chip); }

  bool runnable() const override { return awake_ && !due_.empty(); }
  void runPiece() override;
  std::optional<Qel::Duration> nextDeadline() const override;
  void deadlinesPassed(Qel::Duration) override { awake_ = true; }

 private:
  /** Key types, one bit each, under which an entry may stand in the chips though it should not. */
  using OldKeyTypes = std::uint8_t;

  void macEntryChanged(const Bridging::MacVlanPair& pair,
                       std::optional<KorvoL2::MacKeyType> before) override;
  std::uint64_t allowed(Qel::Duration now);
  void programNext();
  void program(const Bridging::MacVlanPair& pair, OldKeyTypes oldKeyTypes);
  void removeFromAll(const HwMacKey& key);
  bool write(HwChip& chip, HwGroupWrite& group, const HwMacEntry& entry);
  void startWithFaults();

  Qel::Ptr<const Qel::Clock> clock_;
  Qel::Ptr<SwMacTable> software_;
  HwChips& chips_;
  double rate_;
  HwFaults faults_;
  std::uint64_t numWithoutRoom_ = 0;

  std::deque<Bridging::MacVlanPair> queue_;
  absl::flat_hash_map<Bridging::MacVlanPair, OldKeyTypes> due_;  // the same keys
  bool awake_ = false;
  Qel::Duration since_{0};   // when the queue began to fill
  std::uint64_t done_ = 0;   // entries since then, those that were not made up for included
  Qel::Duration wakeAt_{0};  // when there is enough to do for a piece
};

}  // namespace KorvoAgent
