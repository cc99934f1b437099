// The simulated hardware of a switch: its chips, who programs them, and who reads them.
//
//   software MAC table --changes--> programmer --writes--> chips <--compares-- table reader
//
// Made when the model has been filled; from then on the model's MAC helper shows the chips, and the
// commands about hardware have something to show. It goes before the model.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "agent/chips/HwChips.h"
#include "agent/chips/HwProgrammer.h"
#include "agent/chips/HwRowPrinter.h"
#include "agent/chips/HwTableReader.h"
#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

struct HardwarePolicy {
  /** Slots of each chip's MAC table; unless given, three for each entry that software holds. */
  std::optional<std::size_t> tableSize{};
  /** How many entries a second each chip takes. */
  double entriesPerSecond = 50'000;
  /** The share of writes that go wrong. */
  double faultRate = 0;
  /** Bytes that the findings of one consistency check may take. */
  std::size_t checkMemory = std::size_t{256} * 1024 * 1024;
  std::uint64_t seed = 1;
};

class SwitchHardware {
 public:
  /**
   * Makes the model's chips, programs them and brings about what they are said to hold otherwise.
   * Throws Qel::RangeException on a policy out of range, and on a deviation that cannot be.
   */
  SwitchHardware(Qel::Ptr<const Qel::Clock> clock, Qel::Ptr<SwitchModel> model,
                 const HardwarePolicy& policy);
  ~SwitchHardware();
  SwitchHardware(const SwitchHardware&) = delete;
  SwitchHardware& operator=(const SwitchHardware&) = delete;

  HwChips& chips() noexcept { return chips_; }
  const HwChips& chips() const noexcept { return chips_; }
  HwProgrammer& programmer() noexcept { return programmer_; }
  HwTableReader& reader() noexcept { return *reader_; }
  /** The chip has gone: commands do not find it any more, and reads of it come to their end. */
  void chipDel(Tessar::FapId chip);

 private:
  Qel::Ptr<SwitchModel> model_;
  HwChips chips_;
  KorvoL2::FapChipCollection shown_;
  HwProgrammer programmer_;
  HwRowPrinter rows_;
  Qel::Ptr<HwTableReader> reader_;
};

}  // namespace KorvoAgent
