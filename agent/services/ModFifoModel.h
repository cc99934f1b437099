// The FIFOs through which the chips report learned and moved addresses, and who watches them.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "agent/services/ChipSet.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/l2/L2Services.h"

namespace KorvoAgent {

/** The registers of one chip's FIFO. */
struct FifoRegisters {
  std::uint32_t level = 0;      ///< reports that wait
  std::uint32_t highWater = 0;  ///< most that ever waited
  std::uint32_t limit = 512;    ///< room
  std::uint64_t overflows = 0;  ///< reports that found no room
  friend bool operator==(const FifoRegisters&, const FifoRegisters&) = default;
};

/** A chip of which nothing is said has a FIFO that was never used. */
class ModFifoShowModel final : public KorvoL2::L2ModFifoShowSm {
 public:
  explicit ModFifoShowModel(ChipNames chips) : chips_(std::move(chips)) {}

  void showFifoRegisters(std::uint32_t socket) override;
  const Qel::TypeData& typeData() const noexcept override;

  std::vector<ChipName> chips() const { return chips_(); }
  FifoRegisters registers(Tessar::FapId chip) const;
  void registersIs(Tessar::FapId chip, const FifoRegisters& registers);

 private:
  ChipNames chips_;
  Qel::KeyedCollection<Tessar::FapId, FifoRegisters> registers_;
};

class ModFifoMonitorModel final : public KorvoL2::KorvoL2ModFifoMonitorSm {
 public:
  /** How many addresses the chips have reported so far. */
  using Reported = std::function<std::uint64_t()>;

  /** Watches `fifos`. */
  ModFifoMonitorModel(Qel::Ptr<const ModFifoShowModel> fifos, Reported reported)
      : fifos_(std::move(fifos)), reported_(std::move(reported)) {}

  void printState(std::uint32_t socket) override;
  const Qel::TypeData& typeData() const noexcept override;

  bool running() const noexcept { return running_; }
  void runningIs(bool running) { attributeIs(running_, running, "running"); }
  std::uint32_t pollIntervalMs() const noexcept { return pollIntervalMs_; }
  void pollIntervalMsIs(std::uint32_t interval) {
    attributeIs(pollIntervalMs_, interval, "pollIntervalMs");
  }

 private:
  Qel::Ptr<const ModFifoShowModel> fifos_;
  Reported reported_;
  bool running_ = true;
  std::uint32_t pollIntervalMs_ = 100;
};

}  // namespace KorvoAgent
