// What one row of the software MAC table costs in JSON, by how it is written: the row printer with
// its ready-made pieces, the renderer's members one by one, and RapidJSON's Writer on the same
// print buffer. All three write the same bytes.

#include <benchmark/benchmark.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <memory>
#include <string_view>

#include "agent/model/MacGenerator.h"
#include "agent/model/MacWords.h"

namespace {

using KorvoAgent::SwitchModel;
using KorvoL2::MacEntry;
using KorvoL2::MacKeyType;
using Rendering::PrintBuffer;
using Rendering::RendererV2;

constexpr std::uint64_t kRows = 10'000;
constexpr std::string_view kHexMark = "0x";

// What a dump gathers before it sends.
constexpr std::size_t kGathered = 65536;

/** Takes everything, and keeps it where it is told to. */
class TakesEverything final : public Rendering::OutputPort {
 public:
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    benchmark::DoNotOptimize(data);
    if (kept_ != nullptr) kept_->append(data, size);
    return static_cast<std::ptrdiff_t>(size);
  }
  void keptIn(std::string& kept) { kept_ = &kept; }

 private:
  std::string* kept_ = nullptr;
};

const KorvoL2::MacEntryCollection& table() {
  static const auto model = [] {
    auto made = Qel::makePtr<SwitchModel>(Qel::makePtr<Qel::SteadyClock>());
    generateMacs(*made, kRows, 1);
    return made;
  }();
  return model->swMacTable().entries();
}

std::string_view hexText(std::array<char, 18>& room, std::uint64_t value) {
  std::copy(kHexMark.begin(), kHexMark.end(), room.begin());
  const auto end = std::to_chars(room.data() + 2, room.data() + room.size(), value, 16).ptr;
  return {room.data(), static_cast<std::size_t>(end - room.data())};
}

std::string_view keyTypeWord(const MacEntry& entry) {
  return entry.keyType == MacKeyType::bridge ? "bridge" : "vfi";
}

/** RapidJSON's output stream on a print buffer. */
class BufferStream {
 public:
  using Ch = char;
  explicit BufferStream(PrintBuffer& buffer) : buffer_(buffer) {}
  void Put(char c) { buffer_.append(c); }  // NOLINT(readability-identifier-naming)
  void Flush() {}                          // NOLINT(readability-identifier-naming)

 private:
  PrintBuffer& buffer_;
};

class ByRowPrinter {
 public:
  explicit ByRowPrinter(RendererV2& out) : out_(out) {}
  void row(const Bridging::MacVlanPair& key, const MacEntry& entry) {
    out_.openObject();
    shadow_->printMacEntry(out_, key, entry);
    out_.closeObject();
  }

 private:
  RendererV2& out_;
  Qel::Ptr<KorvoAgent::SwMacTable> shadow_ = Qel::makePtr<KorvoAgent::SwMacTable>();
};

class ByMembers {
 public:
  explicit ByMembers(RendererV2& out) : out_(out) {}
  void row(const Bridging::MacVlanPair& key, const MacEntry& entry) {
    std::array<char, Bridging::EthAddr::kDisplayLength> mac{};
    key.mac().writeDisplay(mac.data());
    std::array<char, 18> hex{};
    out_.openObject();
    out_.member("vlan", key.vlan());
    out_.member("mac", std::string_view(mac.data(), mac.size()));
    out_.member("interface", entry.intf.stringValue());
    out_.member("mcastId", entry.mcastId);
    out_.member("type", KorvoAgent::kMacTypeWords[static_cast<std::size_t>(entry.type)]);
    out_.member("bitmap", hexText(hex, entry.modBitmap));
    out_.member("source", KorvoAgent::kMacSourceWords[static_cast<std::size_t>(entry.source)]);
    out_.openList("flags");
    for (std::size_t bit = 0; bit < KorvoAgent::kMacFlagWords.size(); ++bit) {
      if ((entry.flags >> bit & 1) != 0) out_.element(KorvoAgent::kMacFlagWords[bit]);
    }
    out_.closeList();
    out_.member("keyType", keyTypeWord(entry));
    out_.closeObject();
  }

 private:
  RendererV2& out_;
};

class ByRapidJson {
 public:
  explicit ByRapidJson(RendererV2& out) : stream_(out.buffer()), writer_(stream_) {
    writer_.StartArray();  // its bracket is the only byte that the others do not write
  }
  void row(const Bridging::MacVlanPair& key, const MacEntry& entry) {
    std::array<char, Bridging::EthAddr::kDisplayLength> mac{};
    key.mac().writeDisplay(mac.data());
    std::array<char, 18> hex{};
    writer_.StartObject();
    text("vlan");
    writer_.Uint(key.vlan());
    text("mac");
    text({mac.data(), mac.size()});
    text("interface");
    text(entry.intf.stringValue());
    text("mcastId");
    writer_.Uint(entry.mcastId);
    text("type");
    text(KorvoAgent::kMacTypeWords[static_cast<std::size_t>(entry.type)]);
    text("bitmap");
    text(hexText(hex, entry.modBitmap));
    text("source");
    text(KorvoAgent::kMacSourceWords[static_cast<std::size_t>(entry.source)]);
    text("flags");
    writer_.StartArray();
    for (std::size_t bit = 0; bit < KorvoAgent::kMacFlagWords.size(); ++bit) {
      if ((entry.flags >> bit & 1) != 0) text(KorvoAgent::kMacFlagWords[bit]);
    }
    writer_.EndArray();
    text("keyType");
    text(keyTypeWord(entry));
    writer_.EndObject();
  }

 private:
  void text(std::string_view value) {
    writer_.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
  }

  BufferStream stream_;
  rapidjson::Writer<BufferStream> writer_;
};

template <class Way>
std::string written() {
  auto port = std::make_unique<TakesEverything>();
  std::string kept;
  port->keptIn(kept);
  RendererV2 out(Rendering::kJson,
                 Qel::makePtr<PrintBuffer>(std::move(port), 0U, kGathered, PrintBuffer::kStream),
                 true);
  Way way(out);
  for (const auto& [key, entry] : table()) {
    way.row(key, entry);
    out.buffer().unitEnd();
  }
  out.buffer().flush();
  if (kept.starts_with('[')) kept.erase(0, 1);
  return kept;
}

template <class Way>
void jsonRow(benchmark::State& state) {
  const auto& entries = table();
  static const bool same = written<Way>() == written<ByRowPrinter>();
  if (!same) {
    state.SkipWithError("it does not write the same bytes as the row printer");
    return;
  }
  const auto out =
      Qel::makePtr<RendererV2>(Rendering::kJson,
                               Qel::makePtr<PrintBuffer>(std::make_unique<TakesEverything>(), 0U,
                                                         kGathered, PrintBuffer::kStream),
                               true);
  Way way(*out);
  for ([[maybe_unused]] auto _ : state) {
    for (const auto& [key, entry] : entries) {
      way.row(key, entry);
      out->buffer().unitEnd();
    }
  }
  state.counters["per row"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(kRows),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK(jsonRow<ByRowPrinter>);
BENCHMARK(jsonRow<ByMembers>);
BENCHMARK(jsonRow<ByRapidJson>);

}  // namespace

BENCHMARK_MAIN();
