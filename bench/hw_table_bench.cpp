// The simulated hardware: what a row of the hardware dump costs against a plain snprintf of the
// same bytes, what comparing one entry of one chip costs, how long the reader's turns are, and what
// an entry of a result table weighs.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/chips/SwitchHardware.h"
#include "agent/model/MacGenerator.h"

namespace {

using namespace KorvoAgent;  // NOLINT(google-build-using-namespace): a program of its own
using KorvoL2::DiffMacEntryTable;
using KorvoL2::L2TableReadReq;
using KorvoL2::L2TableReadType;
using KorvoL2::MissingMacEntryTable;
using Rendering::PrintBuffer;
using Rendering::RendererV2;

constexpr unsigned kChips = 8;

class TakesEverything final : public Rendering::OutputPort {
 public:
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    benchmark::DoNotOptimize(data);
    return static_cast<std::ptrdiff_t>(size);
  }
};

/** A switch of eight chips with made-up entries; made once for each size and share of faults. */
struct Switch {
  Switch(std::int64_t entries, double faultRate) {
    model->chipsIs(kChips);
    generateMacs(*model, static_cast<std::uint64_t>(entries), 1);
    HardwarePolicy policy;
    policy.faultRate = faultRate;
    hardware.emplace(clock, model, policy);
  }
  Qel::Ptr<Qel::SteadyClock> clock = Qel::makePtr<Qel::SteadyClock>();
  Qel::Ptr<SwitchModel> model = Qel::makePtr<SwitchModel>(clock);
  std::optional<SwitchHardware> hardware;
};

Switch& theSwitch(std::int64_t entries, double faultRate) {
  static std::unique_ptr<Switch> made;
  static std::int64_t madeEntries = 0;
  static double madeRate = -1;
  if (made == nullptr || madeEntries != entries || madeRate != faultRate) {
    made.reset();
    made = std::make_unique<Switch>(entries, faultRate);
    madeEntries = entries;
    madeRate = faultRate;
  }
  return *made;
}

Qel::Ptr<RendererV2> makeRenderer(Rendering::OutputFormat format) {
  return Qel::makePtr<RendererV2>(format,
                                  Qel::makePtr<PrintBuffer>(std::make_unique<TakesEverything>(), 0,
                                                            65536, PrintBuffer::kStream),
                                  true);
}

std::size_t snprintfRow(char* out, std::size_t room, Rendering::OutputFormat format,
                        const Bridging::MacVlanPair& pair, const HwMacEntry& hw,
                        HwMacTable::Index index, const PortMap& ports) {
  const std::uint64_t mac = pair.mac().value();
  char macText[16];
  std::snprintf(macText, sizeof macText, "%04x.%04x.%04x", static_cast<unsigned>(mac >> 32),
                static_cast<unsigned>(mac >> 16 & 0xffff), static_cast<unsigned>(mac & 0xffff));
  const char* const type = kHwMacTypeWords[static_cast<std::size_t>(hw.type)].data();
  // The made-up table has neither groups nor classes.
  const char* const port =
      hw.dstDiscard ? "discard" : ports.interfaceOf(hw.destination()).stringValue().c_str();
  if (format == Rendering::kText) {
    return static_cast<std::size_t>(std::snprintf(out, room, "%4u %-17s %-8s %-12s %-7s %-17s\n",
                                                  pair.vlan(), macText, type, "-", "-", port));
  }
  return static_cast<std::size_t>(std::snprintf(
      out, room,
      ",\"vlan\":%u,\"mac\":\"%s\",\"programmed\":true,\"type\":\"%s\",\"mcastGroupId\":0,"
      "\"classId\":0,\"port\":\"%s\",\"hwIndex\":%u",
      pair.vlan(), macText, type, port, index));
}

std::uint64_t printBySnprintf(Switch& world, PrintBuffer& buffer, Rendering::OutputFormat format) {
  std::uint64_t bytes = 0;
  const HwMacTable& table = world.hardware->chips().find(Tessar::FapId(0))->macTable;
  const PortMap& ports = world.hardware->chips().ports();
  for (const auto& [pair, entry] : world.model->swMacTable().entries()) {
    const HwMacTable::Index index = table.find({pair, hwKeyType(entry)});
    char* const out = buffer.reserve(1024);
    const std::size_t length = snprintfRow(out, 1024, format, pair, table.at(index), index, ports);
    buffer.commit(out + length);
    buffer.unitEnd();
    bytes += length;
  }
  return bytes;
}

void perRow(benchmark::State& state, std::int64_t rows) {
  state.SetItemsProcessed(state.iterations() * rows);
  state.counters["per row"] =
      benchmark::Counter(static_cast<double>(state.iterations() * rows),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void rowPrinter(benchmark::State& state, Rendering::OutputFormat format) {
  Switch& world = theSwitch(state.range(0), 0);
  const auto& entries = world.model->swMacTable().entries();
  const auto renderer = makeRenderer(format);
  renderer->separatorDueIs(true);
  PrintBuffer& buffer = renderer->buffer();
  for ([[maybe_unused]] auto _ : state) {
    for (const auto& [pair, entry] : entries) {
      world.model->swMacTable().printMacEntryHw(*renderer, nullptr, Tessar::FapId(0), false, pair,
                                                entry, nullptr);
      buffer.unitEnd();
    }
  }
  const auto check = makeRenderer(format);
  const std::uint64_t expected = printBySnprintf(world, check->buffer(), format) *
                                 static_cast<std::uint64_t>(state.iterations());
  if (buffer.appended() != expected) {
    state.SkipWithError("the row printer and snprintf write different numbers of bytes");
    return;
  }
  perRow(state, state.range(0));
}

void snprintfLoop(benchmark::State& state, Rendering::OutputFormat format) {
  Switch& world = theSwitch(state.range(0), 0);
  const auto renderer = makeRenderer(format);
  for ([[maybe_unused]] auto _ : state) printBySnprintf(world, renderer->buffer(), format);
  perRow(state, state.range(0));
}

template <class Table>
Qel::Ptr<Table> ask(HwTableReader& reader, L2TableReadType type,
                    Qel::Ptr<Table> L2TableReadReq::*slot) {
  auto table = Qel::makePtr<Table>();
  L2TableReadReq request;
  request.*slot = table;
  request.type = type;
  for (unsigned chip = 0; chip < kChips; ++chip) {
    request.fapId = Tessar::FapId(chip);
    reader.newReqIs(request);
  }
  request.fapId = Tessar::FapId();
  reader.newReqIs(request);
  return table;
}

/** Reads all chips for one check: time per entry and chip, turns, and weight of the results. */
template <class Table>
void check(benchmark::State& state, L2TableReadType type, Qel::Ptr<Table> L2TableReadReq::*slot,
           double faultRate) {
  Switch& world = theSwitch(state.range(0), faultRate);
  HwTableReader& reader = world.hardware->reader();
  std::vector<double> turns;
  double bytesPerResult = 0;
  for ([[maybe_unused]] auto _ : state) {
    const std::size_t before = ::mallinfo2().uordblks;
    const Qel::Ptr<Table> table = ask(reader, type, slot);
    while (reader.runnable()) {
      const Qel::Duration start = world.clock->now();
      reader.runPiece();
      turns.push_back(
          std::chrono::duration<double, std::milli>(world.clock->now() - start).count());
    }
    const auto results = table->entries().size();
    if (!table->readComplete() || (faultRate == 0) != (results == 0)) {
      state.SkipWithError("the check did not find what it should");
      return;
    }
    if (results != 0) {
      bytesPerResult =
          static_cast<double>(::mallinfo2().uordblks - before) / static_cast<double>(results);
    }
    state.counters["results"] = static_cast<double>(results);
  }
  std::ranges::sort(turns);
  state.counters["turn ms, longest"] = turns.back();
  state.counters["turn ms, 99%"] = turns[turns.size() * 99 / 100];
  state.counters["bytes per result"] = bytesPerResult;
  perRow(state, state.range(0) * kChips);
}

void differenceCheck(benchmark::State& state, double faultRate) {
  check(state, L2TableReadType::difference, &L2TableReadReq::diffEntryTable, faultRate);
}

void missingCheck(benchmark::State& state, double faultRate) {
  check(state, L2TableReadType::missing, &L2TableReadReq::missingEntryTable, faultRate);
}

/** From nothing to programmed chips, as when the agent starts. */
void start(benchmark::State& state) {
  const auto clock = Qel::makePtr<Qel::SteadyClock>();
  const auto model = Qel::makePtr<SwitchModel>(clock);
  model->chipsIs(static_cast<unsigned>(state.range(1)));
  generateMacs(*model, static_cast<std::uint64_t>(state.range(0)), 1);
  for ([[maybe_unused]] auto _ : state) {
    const SwitchHardware hardware(clock, model, {});
    if (hardware.chips().find(Tessar::FapId(0))->macTable.size() !=
        static_cast<std::size_t>(state.range(0))) {
      state.SkipWithError("not every entry found room");
      return;
    }
  }
}

constexpr std::int64_t kFew = 10'000;
constexpr std::int64_t kMany = 500'000;

BENCHMARK_CAPTURE(rowPrinter, text, Rendering::kText)->Arg(kFew)->Arg(kMany);
BENCHMARK_CAPTURE(snprintfLoop, text, Rendering::kText)->Arg(kFew)->Arg(kMany);
BENCHMARK_CAPTURE(rowPrinter, json, Rendering::kJson)->Arg(kFew)->Arg(kMany);
BENCHMARK_CAPTURE(snprintfLoop, json, Rendering::kJson)->Arg(kFew)->Arg(kMany);

BENCHMARK_CAPTURE(differenceCheck, healthy, 0)->Arg(kMany)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(missingCheck, healthy, 0)->Arg(kMany)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(differenceCheck, faults, 0.1)->Arg(kMany)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(missingCheck, faults, 0.1)->Arg(kMany)->Unit(benchmark::kMillisecond);

BENCHMARK(start)->Args({kMany, 8})->Args({kMany, 128})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
