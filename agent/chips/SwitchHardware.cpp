#include "agent/chips/SwitchHardware.h"

#include <algorithm>
#include <utility>

namespace KorvoAgent {

namespace {

// A switch with few entries may learn more.
constexpr std::size_t kSmallestTable = 8192;
// A third full, buckets overflow once in hundreds of millions of entries.
constexpr std::size_t kSlotsPerEntry = 3;

std::size_t tableSize(const HardwarePolicy& policy, std::size_t entries) {
  if (policy.tableSize) return *policy.tableSize;
  return std::clamp(kSlotsPerEntry * entries, kSmallestTable, HwMacTable::kMaxSlots);
}

}  // namespace

SwitchHardware::SwitchHardware(Qel::Ptr<const Qel::Clock> clock, Qel::Ptr<SwitchModel> model,
                               const HardwarePolicy& policy)
    : model_(std::move(model)),
      programmer_(clock, &model_->swMacTable(), chips_, policy.entriesPerSecond, policy.faultRate,
                  policy.seed),
      rows_(chips_),
      reader_(Qel::makePtr<HwTableReader>(std::move(clock), &model_->swMacTable(), chips_,
                                          programmer_, policy.checkMemory)) {
  const std::size_t slots = tableSize(policy, model_->swMacTable().size());
  for (const Chip& chip : model_->chips()) {
    chips_.chipIs(chip.id, chip.name, slots);
    KorvoL2::FapChip shown{.fapChipName = chip.name};
    if (chip.hasData) shown.chipData = chip.id;
    shown_.put(chip.id, std::move(shown));
  }
  programmer_.start();
  for (const Chip& chip : model_->chips()) programmer_.deviate(chip.id, chip.deviations);
  model_->hardwareIs(&shown_, reader_.get(), &rows_);
}

SwitchHardware::~SwitchHardware() { model_->hardwareIs(nullptr, nullptr, nullptr); }

void SwitchHardware::chipDel(Tessar::FapId chip) {
  shown_.erase(chip);
  chips_.chipDel(chip);
  programmer_.chipDel(chip);
}

}  // namespace KorvoAgent
