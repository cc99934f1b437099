// The dumps of VLAN translation and of VLAN ranges: whole machines on a port that takes everything,
// against a loop of snprintf that writes the same rows, in one run. Every run checks how many bytes
// came out; longest slices and memory are counted on the way.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngVlanRangeRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/EgrVlanXlateSwRequestSmBase.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanXlateSwRequestSmBase.h"

namespace {

using namespace KorvoL2;  // NOLINT(google-build-using-namespace): a program of its own
using AgentCommand::AgentAsyncCommandRequestSm;
using AgentCommand::AgentCommandRequest;
using Bridging::IntfId;
using Bridging::VlanId;
using Bridging::VlanIdRange;
using Rendering::PrintBuffer;
using Rendering::RendererV2;

constexpr std::int64_t kFew = 2'000;
constexpr std::int64_t kMany = 100'000;

class CountsBytes final : public Rendering::OutputPort {
 public:
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    benchmark::DoNotOptimize(data);
    return static_cast<std::ptrdiff_t>(size);
  }
};

Qel::Ptr<const AgentCommandRequest> makeRequest(std::uint32_t format) {
  const auto buffer = Qel::makePtr<PrintBuffer>(std::make_unique<CountsBytes>(), 0U,
                                                std::size_t{65536}, PrintBuffer::kStream);
  return Qel::makePtr<AgentCommandRequest>("bench", "BENCH", 0U, format,
                                           Qel::makePtr<RendererV2>(format, buffer, false));
}

// Tables as a large switch has them: a few hundred ports, up to a few hundred tags on each.
struct Tables {
  explicit Tables(std::int64_t rows) {
    constexpr unsigned kVlansPerPort = 400;
    for (std::uint32_t i = 0; i < rows; ++i) {
      const IntfId intf("Ethernet" + std::to_string(1 + i / kVlansPerPort) + "/1");
      const Bridging::PortVlanKey key(intf, VlanId(1 + i % kVlansPerPort * 10));
      const auto vlan = static_cast<std::uint16_t>(i % 7 == 0 ? 0 : 1 + i % 4094);
      portVlans->entries.put(key, {.svp = i % 5 == 0 ? 0 : 32768 + i, .vlan = vlan});
      egrPortVlans->entries.put(key, {.innerVlan = vlan, .dot1qTag = key.vlan().value()});
      egrVxlanVlans->entries.put(key, {.dvp = 40000 + i, .dot1qTag = key.vlan().value()});
    }
  }
  Qel::Ptr<PortVlanXlateStatusDir> portVlans = Qel::makePtr<PortVlanXlateStatusDir>();
  Qel::Ptr<EgrPortVlanXlateStatusDir> egrPortVlans = Qel::makePtr<EgrPortVlanXlateStatusDir>();
  Qel::Ptr<EgrVxlanVlanXlateStatusDir> egrVxlanVlans = Qel::makePtr<EgrVxlanVlanXlateStatusDir>();
};

const Tables& tables(std::int64_t rows) {
  static std::unique_ptr<Tables> made;
  static std::int64_t madeRows = 0;
  if (madeRows != rows) {
    made = std::make_unique<Tables>(rows);
    madeRows = rows;
  }
  return *made;
}

/** Ranges of every interface; the same for all, eight of them. */
class Ranges final : public L2CmdRingManager {
 public:
  void showEgrVfiTable(std::uint32_t, const Parameters&) override {}
  void showEgrVlanXlate2Entries(std::uint32_t, const Parameters&) override {}
  void showEgrVlanXlateEntries(std::uint32_t, const Parameters&) override {}
  void showVfiTable(std::uint32_t, const Parameters&) override {}
  void showVlanXlate2Entries(std::uint32_t, const Parameters&) override {}
  void showVlanXlateEntries(std::uint32_t, const Parameters&) override {}
  Qel::Ptr<ShadowTable> evtapTable() override { return nullptr; }
  Qel::Ptr<ShadowTable> ivtapTable() override { return nullptr; }
  Qel::Ptr<ShadowTable> sourceVpTable() override { return nullptr; }
  IngVlanRangeParam getIngVlanRangeEntry(std::uint16_t, std::uint32_t) override { return ranges; }

  IngVlanRangeParam ranges{[] {
    std::vector<VlanIdRange> eight;
    for (unsigned first = 100; first < 900; first += 100) {
      eight.emplace_back(VlanId(first), VlanId(first + 50));
    }
    return eight;
  }()};
};

struct Interfaces {
  explicit Interfaces(std::int64_t count, bool scaled) {
    for (std::int64_t i = 0; i < count; ++i) {
      const IntfId intf("Ethernet" + std::to_string(1 + i));
      fcsd->intf.add(intf);
      fcsd->intfPortId.put(intf, {.modPort = {.module = 1, .port = 9}});
      if (scaled) scale->entries.put(intf, {.size = 8});
    }
  }
  Qel::Ptr<FeatureAgentCommonSmData> fcsd = Qel::makePtr<FeatureAgentCommonSmData>();
  Qel::Ptr<VlanXlateScaleEntryDir> scale = Qel::makePtr<VlanXlateScaleEntryDir>();
  Qel::Ptr<Ranges> ring = Qel::makePtr<Ranges>();
};

void perRow(benchmark::State& state, std::int64_t rows) {
  state.SetItemsProcessed(state.iterations() * rows);
  state.counters["per row"] =
      benchmark::Counter(static_cast<double>(state.iterations() * rows),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/** Runs machines to their end; checks bytes and rows, notes the longest slice and the memory. */
template <class Make>
void machine(benchmark::State& state, std::uint32_t format, std::uint64_t expectedBytes,
             std::uint64_t expectedRows, Make&& make) {
  Qel::Duration worst{0};
  std::size_t memory = 0;
  std::uint64_t slices = 0;
  for ([[maybe_unused]] auto _ : state) {
    const std::size_t before = ::mallinfo2().uordblks;
    const auto request = makeRequest(format);
    const Qel::Ptr<AgentAsyncCommandRequestSm> sm = make(request);
    while (!sm->executionCompleteFlag()) sm->runCommand();
    memory = std::max(memory, ::mallinfo2().uordblks - before);
    worst = std::max(worst, sm->worstSlice());
    slices = sm->slices();
    const PrintBuffer& buffer = request->renderer().buffer();
    if (buffer.appended() != expectedBytes || sm->rows() != expectedRows) {
      state.SkipWithError("not the bytes or not the rows that the dump should have");
      return;
    }
  }
  state.counters["slice ms, longest"] = std::chrono::duration<double, std::milli>(worst).count();
  state.counters["slices"] = static_cast<double>(slices);
  state.counters["memory KiB"] = static_cast<double>(memory) / 1024;
  perRow(state, state.range(0));
}

// The sections' rows by snprintf, into the same kind of buffer.

std::uint64_t ingRows(const Tables& t, PrintBuffer& buffer) {
  std::uint64_t bytes = 0;
  for (const auto& [key, value] : t.portVlans->entries) {
    char vlan[16] = "-";
    char svp[16] = "-";
    if (value.vlan != 0) std::snprintf(vlan, sizeof vlan, "%u", unsigned{value.vlan});
    if (value.svp != 0) std::snprintf(svp, sizeof svp, "%u", value.svp);
    char* const out = buffer.reserve(256);
    const int length =
        std::snprintf(out, 256, "%-8s%-15u%-15s%-15s\n", key.intf().shortName().c_str(),
                      unsigned{key.vlan().value()}, vlan, svp);
    buffer.commit(out + length);
    buffer.unitEnd();
    bytes += static_cast<std::uint64_t>(length);
  }
  return bytes;
}

std::uint64_t egrRows(const Tables& t, PrintBuffer& buffer) {
  std::uint64_t bytes = 0;
  for (const auto& [key, value] : t.egrVxlanVlans->entries) {
    char* const out = buffer.reserve(256);
    const int length =
        std::snprintf(out, 256, "%-8u%-15u%-15s%-15u\n", value.dvp, unsigned{key.vlan().value()},
                      key.intf().shortName().c_str(), unsigned{value.dot1qTag});
    buffer.commit(out + length);
    buffer.unitEnd();
    bytes += static_cast<std::uint64_t>(length);
  }
  return bytes;
}

std::uint64_t rangeRows(const Interfaces& world, PrintBuffer& buffer) {
  std::uint64_t bytes = 0;
  for (const auto& entry : world.fcsd->intf) {
    const std::vector<VlanIdRange>& ranges = world.ring->ranges.ranges;
    char* const out = buffer.reserve(1024);
    int length = std::snprintf(out, 1024, "%s: logical port %u, %zu VLAN ranges:",
                               entry.key.stringValue().c_str(), 9U, ranges.size());
    int column = length;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
      char word[16];
      const int size = std::snprintf(word, sizeof word, "%u-%u%s", ranges[i].first().value(),
                                     ranges[i].last().value(), i + 1 == ranges.size() ? "" : ",");
      const bool fold = column + 1 + size > 100;
      length += std::snprintf(out + length, static_cast<std::size_t>(1024 - length), "%s%s",
                              fold ? "\n    " : " ", word);
      column = fold ? 4 + size : column + 1 + size;
    }
    out[length++] = '\n';
    buffer.commit(out + length);
    buffer.unitEnd();
    bytes += static_cast<std::uint64_t>(length);
  }
  return bytes;
}

/** Bytes of what stands around the rows: the dump of an empty switch with one row more, or less. */
std::uint64_t bytesOf(const Qel::Ptr<const AgentCommandRequest>& request,
                      AgentAsyncCommandRequestSm& sm) {
  while (!sm.executionCompleteFlag()) sm.runCommand();
  return request->renderer().buffer().appended();
}

const Qel::Ptr<const Qel::Clock>& steady() {
  static const Qel::Ptr<const Qel::Clock> clock = Qel::makePtr<Qel::SteadyClock>();
  return clock;
}
constexpr Qel::Duration kBudget = std::chrono::milliseconds(50);

Qel::Ptr<IngVlanXlateSwRequestSmBase> ingMachine(const Tables& t,
                                                 const Qel::Ptr<const AgentCommandRequest>& r) {
  return ingVlanXlateSwRequestSmBaseFactory("bench", r, kBudget, steady(), nullptr, nullptr,
                                            t.portVlans);
}
Qel::Ptr<EgrVlanXlateSwRequestSmBase> egrMachine(const Tables& t,
                                                 const Qel::Ptr<const AgentCommandRequest>& r) {
  return egrVlanXlateSwRequestSmBaseFactory("bench", r, kBudget, steady(), nullptr, nullptr,
                                            t.egrVxlanVlans);
}

// What stands around the rows, measured on a table of one row, whose row snprintf tells. The count
// line is as much longer as the larger count has digits.
template <class Make, class Rows>
std::uint64_t expectedBytes(std::int64_t rows, Make&& make, Rows&& rowsBySnprintf) {
  const Tables one(1);
  const auto request = makeRequest(Rendering::kText);
  const auto scratch = makeRequest(Rendering::kText);
  const std::uint64_t around =
      bytesOf(request, *make(one, request)) - rowsBySnprintf(one, scratch->renderer().buffer());
  return around + std::to_string(rows).size() - 1 +
         rowsBySnprintf(tables(rows), scratch->renderer().buffer());
}

void ingressDump(benchmark::State& state) {
  const Tables& t = tables(state.range(0));
  const std::uint64_t bytes = expectedBytes(state.range(0), ingMachine, ingRows);
  machine(state, Rendering::kText, bytes, static_cast<std::uint64_t>(state.range(0)),
          [&](const auto& request) { return ingMachine(t, request); });
}
void ingressSnprintf(benchmark::State& state) {
  const Tables& t = tables(state.range(0));
  const auto request = makeRequest(Rendering::kText);
  for ([[maybe_unused]] auto _ : state) ingRows(t, request->renderer().buffer());
  perRow(state, state.range(0));
}
void egressDump(benchmark::State& state) {
  const Tables& t = tables(state.range(0));
  const std::uint64_t bytes = expectedBytes(state.range(0), egrMachine, egrRows);
  machine(state, Rendering::kText, bytes, static_cast<std::uint64_t>(state.range(0)),
          [&](const auto& request) { return egrMachine(t, request); });
}
void egressSnprintf(benchmark::State& state) {
  const Tables& t = tables(state.range(0));
  const auto request = makeRequest(Rendering::kText);
  for ([[maybe_unused]] auto _ : state) egrRows(t, request->renderer().buffer());
  perRow(state, state.range(0));
}

Qel::Ptr<IngVlanRangeRequestSm> rangeMachine(const Interfaces& world,
                                             const Qel::Ptr<const AgentCommandRequest>& request) {
  return ingVlanRangeRequestSmFactory("bench", request, kBudget, steady(), world.fcsd, world.scale,
                                      world.ring, 8);
}
void rangeDump(benchmark::State& state) {
  const Interfaces world(state.range(0), true);
  const std::uint64_t bytes = rangeRows(world, makeRequest(Rendering::kText)->renderer().buffer());
  machine(state, Rendering::kText, bytes, static_cast<std::uint64_t>(state.range(0)),
          [&](const auto& request) { return rangeMachine(world, request); });
}
void rangeSnprintf(benchmark::State& state) {
  const Interfaces world(state.range(0), true);
  const auto request = makeRequest(Rendering::kText);
  for ([[maybe_unused]] auto _ : state) rangeRows(world, request->renderer().buffer());
  perRow(state, state.range(0));
}
/** Interfaces that print nothing: what coming by one costs, and that slices stay short. */
void silentInterfaces(benchmark::State& state) {
  const Interfaces world(state.range(0), false);
  machine(state, Rendering::kText, 0, 0,
          [&](const auto& request) { return rangeMachine(world, request); });
}

BENCHMARK(ingressDump)->Arg(kFew)->Arg(kMany);
BENCHMARK(ingressSnprintf)->Arg(kFew)->Arg(kMany);
BENCHMARK(egressDump)->Arg(kFew)->Arg(kMany);
BENCHMARK(egressSnprintf)->Arg(kFew)->Arg(kMany);
BENCHMARK(rangeDump)->Arg(kFew);
BENCHMARK(rangeSnprintf)->Arg(kFew);
BENCHMARK(silentInterfaces)->Arg(kMany);

}  // namespace

BENCHMARK_MAIN();
