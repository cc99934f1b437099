#include "agent/services/ModFifoModel.h"

#include <string>

#include "agent/services/AnswerTable.h"

namespace KorvoAgent {

namespace {

std::uint64_t fillPercent(const FifoRegisters& registers) {
  if (registers.limit == 0) return 0;
  return std::uint64_t{registers.level} * 100 / registers.limit;
}

}  // namespace

FifoRegisters ModFifoShowModel::registers(Tessar::FapId chip) const {
  const FifoRegisters* const said = registers_.find(chip);
  return said == nullptr ? FifoRegisters{} : *said;
}

void ModFifoShowModel::registersIs(Tessar::FapId chip, const FifoRegisters& registers) {
  registers_.put(chip, registers);
  changed("registers");
}

void ModFifoShowModel::showFifoRegisters(std::uint32_t socket) {
  using enum AnswerTable::Alignment;
  AnswerTable table({{"Chip", kRight},
                     {"Name"},
                     {"Level", kRight},
                     {"High water", kRight},
                     {"Limit", kRight},
                     {"Fill (%)", kRight},
                     {"Overflows", kRight}});
  std::uint64_t overflows = 0;
  for (const ChipName& chip : chips_()) {
    const FifoRegisters fifo = registers(chip.id);
    overflows += fifo.overflows;
    table.row(chip.id.value(), chip.name, fifo.level, fifo.highWater, fifo.limit, fillPercent(fifo),
              fifo.overflows);
  }
  Answer answer(socket);
  table.print(answer, {.title = "FIFO registers",
                       .one = "chip",
                       .many = "chips",
                       .total = counted(overflows, "overflow", "overflows")});
}

void ModFifoMonitorModel::printState(std::uint32_t socket) {
  ChipSet overflowed;
  ChipSet full;
  for (const ChipName& chip : fifos_->chips()) {
    const FifoRegisters fifo = fifos_->registers(chip.id);
    if (fifo.overflows != 0) overflowed.add(chip.id);
    if (fifo.level >= fifo.limit) full.add(chip.id);
  }
  Answer answer(socket);
  answer.line("FIFO monitor");
  answer.fact("State", running_ ? "running" : "stopped");
  answer.fact("Poll interval (ms)", pollIntervalMs_);
  answer.fact("Addresses reported", reported_());
  answer.fact("Chips whose FIFO is full", full.text());
  answer.fact("Chips that overflowed", overflowed.text());
}

const Qel::TypeData& ModFifoShowModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::ModFifoShowModel"};
  return kType;
}

const Qel::TypeData& ModFifoMonitorModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::ModFifoMonitorModel"};
  return kType;
}

}  // namespace KorvoAgent
