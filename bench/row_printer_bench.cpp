// What one row of the software MAC table costs to print: the agent's row printer against a plain
// snprintf of the same bytes, and what walking the table costs without printing.
//
// Rows go to a port that takes everything, so nothing but the rows is measured; every run checks
// how many bytes came out.

#include <benchmark/benchmark.h>

#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>

#include "agent/model/MacGenerator.h"
#include "agent/model/MacWords.h"

namespace {

using KorvoAgent::SwitchModel;
using KorvoL2::MacEntry;
using KorvoL2::MacKeyType;
using Rendering::PrintBuffer;
using Rendering::RendererV2;

class TakesEverything final : public Rendering::OutputPort {
 public:
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    benchmark::DoNotOptimize(data);
    return static_cast<std::ptrdiff_t>(size);
  }
};

const KorvoL2::MacEntryCollection& table(std::int64_t rows) {
  static Qel::Ptr<SwitchModel> model;
  if (model == nullptr || model->swMacTable().size() != static_cast<std::size_t>(rows)) {
    model = Qel::makePtr<SwitchModel>(Qel::makePtr<Qel::SteadyClock>());
    generateMacs(*model, static_cast<std::uint64_t>(rows), 1);
  }
  return model->swMacTable().entries();
}

Qel::Ptr<RendererV2> makeRenderer(Rendering::OutputFormat format) {
  return Qel::makePtr<RendererV2>(
      format,
      Qel::makePtr<PrintBuffer>(std::make_unique<TakesEverything>(), 0U, std::size_t{65536},
                                PrintBuffer::kStream),
      true);
}

std::string flagList(const MacEntry& entry) {
  std::string flags;
  for (std::size_t bit = 0; bit < KorvoAgent::kMacFlagWords.size(); ++bit) {
    if ((entry.flags >> bit & 1) == 0) continue;
    if (!flags.empty()) flags += ',';
    flags.append("\"").append(KorvoAgent::kMacFlagWords[bit]).append("\"");
  }
  return flags;
}

std::size_t snprintfRow(char* out, std::size_t room, Rendering::OutputFormat format,
                        const Bridging::MacVlanPair& key, const MacEntry& entry) {
  const auto type = KorvoAgent::kMacTypeWords[static_cast<std::size_t>(entry.type)];
  const auto source = KorvoAgent::kMacSourceWords[static_cast<std::size_t>(entry.source)];
  const char* const keyType = entry.keyType == MacKeyType::bridge ? "bridge" : "vfi";
  const std::uint64_t mac = key.mac().value();
  const auto part = [mac](int shift) { return static_cast<unsigned>(mac >> shift & 0xffff); };
  int length;
  if (format == Rendering::kText) {
    char macText[16];
    std::snprintf(macText, sizeof macText, "%04x.%04x.%04x", part(32), part(16), part(0));
    char bitmap[24];
    std::snprintf(bitmap, sizeof bitmap, "0x%" PRIx64, entry.modBitmap);
    char flags[8];
    std::snprintf(flags, sizeof flags, "0x%x", unsigned{entry.flags});
    const std::string& name = entry.intf.shortName();
    // The made-up table has no multicast entries: their column is always a dash.
    length = std::snprintf(out, room, "%8u%16s%12s%10s%24s%12s%12s%6s%8s\n", key.vlan(), macText,
                           entry.intf.isDefault() ? "-" : name.c_str(), "-", type.data(), bitmap,
                           source.data(), flags, keyType);
  } else {
    length = std::snprintf(
        out, room,
        "%s\"vlan\":%u,\"mac\":\"%04x.%04x.%04x\",\"interface\":%s,\"mcastId\":%u,\"type\":\"%s\","
        "\"bitmap\":\"0x%" PRIx64 "\",\"source\":\"%s\",\"flags\":[%s],\"keyType\":\"%s\"",
        ",", key.vlan(), part(32), part(16), part(0), entry.intf.jsonString().c_str(),
        unsigned{entry.mcastId}, type.data(), entry.modBitmap, source.data(),
        flagList(entry).c_str(), keyType);
  }
  return static_cast<std::size_t>(length);
}

std::size_t bytesBySnprintf(const KorvoL2::MacEntryCollection& entries,
                            Rendering::OutputFormat format) {
  std::size_t bytes = 0;
  char row[1024];
  for (const auto& [key, entry] : entries) {
    bytes += snprintfRow(row, sizeof row, format, key, entry);
  }
  return bytes;
}

void finish(benchmark::State& state, std::uint64_t bytes) {
  const auto rows = state.iterations() * state.range(0);
  state.SetItemsProcessed(rows);
  if (bytes != 0) state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
  state.counters["per row"] = benchmark::Counter(
      static_cast<double>(rows), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void rowPrinter(benchmark::State& state, Rendering::OutputFormat format) {
  const auto& entries = table(state.range(0));
  const auto shadow = Qel::makePtr<KorvoAgent::SwMacTable>();
  const auto renderer = makeRenderer(format);
  renderer->separatorDueIs(true);
  PrintBuffer& buffer = renderer->buffer();
  for ([[maybe_unused]] auto _ : state) {
    for (const auto& [key, entry] : entries) {
      shadow->printMacEntry(*renderer, key, entry);
      buffer.unitEnd();
    }
  }
  const std::uint64_t expected =
      bytesBySnprintf(entries, format) * static_cast<std::uint64_t>(state.iterations());
  if (buffer.appended() != expected) {
    state.SkipWithError("the row printer and snprintf write different numbers of bytes");
    return;
  }
  finish(state, buffer.appended());
}

void snprintfLoop(benchmark::State& state, Rendering::OutputFormat format) {
  const auto& entries = table(state.range(0));
  const auto renderer = makeRenderer(format);
  PrintBuffer& buffer = renderer->buffer();
  for ([[maybe_unused]] auto _ : state) {
    for (const auto& [key, entry] : entries) {
      char* const out = buffer.reserve(1024);
      buffer.commit(out + snprintfRow(out, 1024, format, key, entry));
      buffer.unitEnd();
    }
  }
  finish(state, buffer.appended());
}

void walkOnly(benchmark::State& state) {
  const auto& entries = table(state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    std::uint64_t sum = 0;
    for (const auto& [key, entry] : entries) sum += key.mac().value() + entry.modBitmap;
    benchmark::DoNotOptimize(sum);
  }
  finish(state, 0);
}

constexpr std::int64_t kFewRows = 10'000;      // stay in the second-level cache
constexpr std::int64_t kManyRows = 1'000'000;  // come from memory

BENCHMARK(walkOnly)->Arg(kFewRows)->Arg(kManyRows);
BENCHMARK_CAPTURE(rowPrinter, text, Rendering::kText)->Arg(kFewRows)->Arg(kManyRows);
BENCHMARK_CAPTURE(snprintfLoop, text, Rendering::kText)->Arg(kFewRows)->Arg(kManyRows);
BENCHMARK_CAPTURE(rowPrinter, json, Rendering::kJson)->Arg(kFewRows)->Arg(kManyRows);
BENCHMARK_CAPTURE(snprintfLoop, json, Rendering::kJson)->Arg(kFewRows)->Arg(kManyRows);

}  // namespace

BENCHMARK_MAIN();
