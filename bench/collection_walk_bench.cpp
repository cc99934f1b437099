// What walking a table costs, by the collection that holds it: the keyed collection of the platform
// against an absl::btree_map and a std::map of the same entries, filled in the order in which a
// switch learns addresses (none).

#include <absl/container/btree_map.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>

#include "platform/l2/MacEntry.h"

namespace {

using Bridging::EthAddr;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryCollection;

// About a thousand addresses in each of the VLANs 1 to 4000.
MacVlanPair randomKey(std::mt19937_64& random) {
  const auto vlan = static_cast<std::uint16_t>(1 + random() % 4000);
  return MacVlanPair(vlan, EthAddr(random() & 0x02ff'ffff'ffffULL));
}

void put(MacEntryCollection& table, const MacVlanPair& key, const MacEntry& entry) {
  table.put(key, entry);
}
template <class Map>
void put(Map& table, const MacVlanPair& key, const MacEntry& entry) {
  table.insert_or_assign(key, entry);
}

std::uint64_t read(const MacVlanPair& key, const MacEntry& entry) {
  return key.mac().value() + entry.modBitmap;
}

// One table at a time: two of four million entries would crowd each other out of memory.
template <class Table>
const Table& filled(std::int64_t rows) {
  static std::unique_ptr<Table> table;
  if (table == nullptr || table->size() != static_cast<std::size_t>(rows)) {
    table = std::make_unique<Table>();
    std::mt19937_64 random(1);
    while (table->size() != static_cast<std::size_t>(rows)) {
      put(*table, randomKey(random), MacEntry{.modBitmap = 1});
    }
  }
  return *table;
}

template <class Table>
void walk(benchmark::State& state) {
  const Table& table = filled<Table>(state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    std::uint64_t sum = 0;
    std::int64_t rows = 0;
    for (const auto& [key, entry] : table) {
      sum += read(key, entry);
      ++rows;
    }
    benchmark::DoNotOptimize(sum);
    if (rows != state.range(0)) state.SkipWithError("the walk missed entries");
  }
  const auto rows = static_cast<double>(state.iterations() * state.range(0));
  state.counters["per row"] =
      benchmark::Counter(rows, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <class Table>
auto positionAt(const Table& table, const MacVlanPair& key) {
  return table.lower_bound(key);
}
auto positionAt(const MacEntryCollection& table, const MacVlanPair& key) {
  return table.lowerBound(key);
}

// What a slice pays to find its place again.
template <class Table>
void position(benchmark::State& state) {
  const Table& table = filled<Table>(state.range(0));
  std::mt19937_64 random(2);
  for ([[maybe_unused]] auto _ : state) {
    const auto it = positionAt(table, randomKey(random));
    benchmark::DoNotOptimize(it == table.end());
  }
}

constexpr std::int64_t kMillion = 1'000'000;
using BtreeMap = absl::btree_map<MacVlanPair, MacEntry>;
using StdMap = std::map<MacVlanPair, MacEntry>;

// The sizes of one collection in turn, so that each table is filled once.
void sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(kMillion)->Arg(4 * kMillion)->Unit(benchmark::kMillisecond);
}

BENCHMARK(walk<MacEntryCollection>)->Apply(sizes);
BENCHMARK(position<MacEntryCollection>)->Arg(4 * kMillion);
BENCHMARK(walk<BtreeMap>)->Apply(sizes);
BENCHMARK(position<BtreeMap>)->Arg(4 * kMillion);
BENCHMARK(walk<StdMap>)->Apply(sizes);
BENCHMARK(position<StdMap>)->Arg(4 * kMillion);

}  // namespace

BENCHMARK_MAIN();
