// The detailed VXLAN VLAN dump of a large switch: how long its slices are, what making the lists by
// VLAN costs in time and memory, and what an interface costs to print against a plain snprintf of
// the same bytes.
//
// Arguments are VLANs and interfaces of each.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2VxlanVlanRequestSmBase.h"
#include "platform/base/Clock.h"

namespace {

using namespace KorvoL2;  // NOLINT(google-build-using-namespace): a program of its own
using Bridging::IntfId;
using Bridging::VlanId;

class TakesEverything final : public Rendering::OutputPort {
 public:
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    benchmark::DoNotOptimize(data);
    return static_cast<std::ptrdiff_t>(size);
  }
};

Qel::Ptr<Rendering::RendererV2> makeRenderer(std::uint32_t format) {
  return Qel::makePtr<Rendering::RendererV2>(
      format,
      Qel::makePtr<Rendering::PrintBuffer>(std::make_unique<TakesEverything>(), 0U, 65536U,
                                           Rendering::PrintBuffer::kStream),
      false);
}

struct Switch {
  Switch(std::int64_t numVlans, std::int64_t numPorts) : vlans(numVlans), ports(numPorts) {
    for (std::int64_t n = 1; n <= vlans; ++n) {
      const VlanId vlan(static_cast<std::uint32_t>(n));
      l2State->vlanMapping.add(vlan);
      l2State->vlanToSvp.put(vlan, {.number = static_cast<std::uint16_t>(n)});
      l3Config->vlanMapping.put(vlan, {.vlanId = vlan.value(),
                                       .vfi = static_cast<std::uint16_t>(4096 + n),
                                       .vni = static_cast<std::uint32_t>(10000 + n)});
      l3Status->statusEntry.put(vlan.value(), {.mcastIndex = 3});
    }
    for (std::int64_t port = 1; port <= ports; ++port) {
      const IntfId intf("Ethernet" + std::to_string(port));
      for (std::int64_t n = 1; n <= vlans; ++n) {
        l2State->portToEdgeSvp.put({intf, VlanId(static_cast<std::uint32_t>(n))}, {.svp = svp(n)});
      }
    }
  }
  static std::uint16_t svp(std::int64_t vlan) { return static_cast<std::uint16_t>(1000 + vlan); }
  std::int64_t edges() const { return vlans * ports; }

  Qel::Ptr<L2VxlanVlanRequestSmBase> dump(std::uint32_t format) const {
    const auto request = Qel::makePtr<AgentCommand::AgentCommandRequest>(
        "r", "VXLAN_VLAN+detail", 0U, format, makeRenderer(format));
    return l2VxlanVlanRequestSmBaseFactory("r", request, std::chrono::milliseconds(50), clock, fcsd,
                                           l2State, l3Config, l3Status, true);
  }

  std::int64_t vlans;
  std::int64_t ports;
  Qel::Ptr<Qel::SteadyClock> clock = Qel::makePtr<Qel::SteadyClock>();
  Qel::Ptr<FeatureAgentCommonSmData> fcsd = Qel::makePtr<FeatureAgentCommonSmData>();
  Qel::Ptr<VxlanL2State> l2State = Qel::makePtr<VxlanL2State>();
  Qel::Ptr<VxlanL3Config> l3Config = Qel::makePtr<VxlanL3Config>();
  Qel::Ptr<VxlanL3Status> l3Status = Qel::makePtr<VxlanL3Status>();
};

const Switch& theSwitch(const benchmark::State& state) {
  static std::unique_ptr<Switch> made;
  if (made == nullptr || made->vlans != state.range(0) || made->ports != state.range(1)) {
    made.reset();
    made = std::make_unique<Switch>(state.range(0), state.range(1));
  }
  return *made;
}

/** Writes what the dump writes, into `buffer`; returns how many bytes that were. */
std::uint64_t printBySnprintf(const Switch& world, Rendering::PrintBuffer& buffer,
                              std::uint32_t format) {
  const bool json = format == Rendering::kJson;
  const std::uint64_t before = buffer.appended();
  const auto print = [&buffer](const char* text, auto... values) {
    char* const out = buffer.reserve(256);
    const int length = std::snprintf(out, 256, text, values...);
    buffer.commit(out + length);
    buffer.unitEnd();
  };
  if (json) print("%s", "{\"vlans\":{");
  for (std::int64_t n = 1; n <= world.vlans; ++n) {
    const int vlan = static_cast<int>(n);
    print(json ? "%s\"%d\":{\"vni\":%d,\"vfi\":%d,\"mcastIndex\":3,\"vlanSvp\":%d,"
                 "\"virtualPorts\":{"
               : "%sVlan %d:\n   VNI %d, VFI %d:\n   Mcast index: 3\n   Vlan SVP: %d\n"
                 "   Interfaces:\n",
          json && n > 1 ? "," : "", vlan, 10000 + vlan, 4096 + vlan, vlan);
    for (std::int64_t port = 1; port <= world.ports; ++port) {
      print(json ? "%s\"Ethernet%d\":%d" : "%s      Ethernet%d: SVP %d\n",
            json && port > 1 ? "," : "", static_cast<int>(port), static_cast<int>(Switch::svp(n)));
    }
    if (json) print("%s", "}}");
  }
  if (json) print("%s", "}}\n");
  return buffer.appended() - before;
}

void perEdge(benchmark::State& state, const Switch& world) {
  const auto edges = static_cast<double>(state.iterations() * world.edges());
  state.counters["per interface"] =
      benchmark::Counter(edges, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void dump(benchmark::State& state, std::uint32_t format) {
  const Switch& world = theSwitch(state);
  Qel::Duration building{0};
  Qel::Duration worstBuilding{0};
  Qel::Duration worstPrinting{0};
  Qel::Duration worstRelease{0};
  std::uint64_t slices = 0;
  std::uint64_t bytes = 0;
  for ([[maybe_unused]] auto _ : state) {
    auto sm = world.dump(format);
    while (!sm->executionCompleteFlag()) {
      const bool built = sm->vpListBuilt();
      const Qel::Duration start = world.clock->now();
      sm->runCommand();
      const Qel::Duration took = world.clock->now() - start;
      if (!built) building += took;
      Qel::Duration& worst = built ? worstPrinting : worstBuilding;
      worst = std::max(worst, took);
    }
    slices = sm->slices();
    bytes = sm->renderer().buffer().appended();
    const Qel::Duration start = world.clock->now();
    sm = nullptr;
    worstRelease = std::max(worstRelease, world.clock->now() - start);
  }
  const auto check = makeRenderer(format);
  if (bytes != printBySnprintf(world, check->buffer(), format)) {
    state.SkipWithError("the dump and snprintf write different numbers of bytes");
    return;
  }
  const auto ms = [](Qel::Duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
  };
  state.counters["slices"] = static_cast<double>(slices);
  state.counters["building ms"] = ms(building) / static_cast<double>(state.iterations());
  state.counters["longest building slice ms"] = ms(worstBuilding);
  state.counters["longest printing slice ms"] = ms(worstPrinting);
  state.counters["longest release ms"] = ms(worstRelease);
  state.counters["bytes"] = static_cast<double>(bytes);
  perEdge(state, world);
}

void snprintfLoop(benchmark::State& state, std::uint32_t format) {
  const Switch& world = theSwitch(state);
  const auto renderer = makeRenderer(format);
  for ([[maybe_unused]] auto _ : state) printBySnprintf(world, renderer->buffer(), format);
  perEdge(state, world);
}

/** What a request takes at its peak, and how much of that is not its lists. */
void memory(benchmark::State& state) {
  const Switch& world = theSwitch(state);
  const auto inUse = [] {
    const auto info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
  };
  for ([[maybe_unused]] auto _ : state) {
    const std::size_t before = inUse();
    const auto sm = world.dump(Rendering::kJson);
    std::size_t peak = 0;
    std::size_t withLists = 0;
    while (!sm->executionCompleteFlag()) {
      sm->runCommand();
      peak = std::max(peak, inUse() - before);
      if (sm->vpListBuilt() && withLists == 0) withLists = inUse() - before;
    }
    const std::size_t ended = inUse();
    std::size_t edges = 0;
    for (std::int64_t n = 1; n <= world.vlans; ++n) {
      edges += sm->vpList()->vlanVpList(VlanId(static_cast<std::uint32_t>(n)))->size();
    }
    if (edges != static_cast<std::size_t>(world.edges())) {
      state.SkipWithError("the lists do not hold every interface");
      return;
    }
    sm->vpListIs(nullptr);
    const std::size_t lists = ended - inUse();
    state.counters["list bytes per interface"] =
        static_cast<double>(lists) / static_cast<double>(edges);
    state.counters["list MiB"] = static_cast<double>(lists) / 1048576;
    state.counters["beyond the lists KiB"] =
        (static_cast<double>(peak) - static_cast<double>(lists)) / 1024;
  }
}

void sizes(benchmark::internal::Benchmark* bench) {
  bench->Args({4094, 200})->Args({1, 100'000})->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(dump, text, Rendering::kText)->Apply(sizes);
BENCHMARK_CAPTURE(snprintfLoop, text, Rendering::kText)->Apply(sizes);
BENCHMARK_CAPTURE(dump, json, Rendering::kJson)->Apply(sizes);
BENCHMARK_CAPTURE(snprintfLoop, json, Rendering::kJson)->Apply(sizes);
BENCHMARK(memory)->Apply(sizes)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
