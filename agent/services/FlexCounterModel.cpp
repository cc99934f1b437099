#include "agent/services/FlexCounterModel.h"

#include <algorithm>
#include <string>

#include "agent/services/AnswerTable.h"

namespace KorvoAgent {

using Bridging::IpAddr;
using KorvoL2::CounterDirection;

namespace {

// What counters belong to, in one word, so that each grows at a rate of its own.
enum class Purpose : std::uint8_t { vtep = 1, ingress = 2, egress = 3 };

// The finaliser of splitmix64.
std::uint64_t mixed(std::uint64_t word) {
  word = (word ^ word >> 30) * 0xbf58476d1ce4e5b9ULL;
  word = (word ^ word >> 27) * 0x94d049bb133111ebULL;
  return word ^ word >> 31;
}

std::uint64_t owner(Purpose purpose, std::uint64_t number) {
  return mixed(number * 4 + static_cast<std::uint64_t>(purpose));
}

std::uint64_t ownerOf(const IpAddr& vtep) {
  std::uint64_t words[2]{};
  for (std::size_t i = 0; i < vtep.bytes().size(); ++i) {
    words[i / 8] = words[i / 8] << 8 | vtep.bytes()[i];
  }
  return owner(Purpose::vtep, mixed(words[0] ^ (vtep.isV6() ? 1 : 0)) ^ words[1]);
}

Purpose purposeOf(CounterDirection direction) {
  return direction == CounterDirection::ingress ? Purpose::ingress : Purpose::egress;
}

CounterValue valueOf(const VniCounters& counters, CounterDirection direction) {
  return direction == CounterDirection::ingress ? counters.ingress : counters.egress;
}

std::string_view nameOf(CounterDirection direction) {
  return direction == CounterDirection::ingress ? "ingress" : "egress";
}

/** Sums up counters, and finds the one that counted most. */
class Sum {
 public:
  /** `name()` gives the owner's name. */
  template <class Name>
  void add(const CounterValue& value, Name&& name) {
    ++count_;
    total_.packets += value.packets;
    total_.bytes += value.bytes;
    if (value.packets > most_) {
      most_ = value.packets;
      busiest_ = name();
    }
  }
  std::string text() const {
    return counted(total_.packets, "packet", "packets") + ", " +
           counted(total_.bytes, "byte", "bytes");
  }
  void printFacts(Answer& answer, std::uint32_t size) const {
    answer.fact("Counters in use", std::to_string(count_) + " of " + std::to_string(size));
    answer.fact("Packets", total_.packets);
    answer.fact("Bytes", total_.bytes);
    answer.fact("Busiest", busiest_);
  }

 private:
  std::uint64_t count_ = 0;
  CounterValue total_;
  std::uint64_t most_ = 0;
  std::string busiest_;
};

}  // namespace

void FlexCounterModel::vtepIs(const IpAddr& vtep, const CounterValue& value) {
  vteps_.put(vtep, value);
  changed("vtep");
}

void FlexCounterModel::vniIs(std::uint32_t vni, const VniCounters& values) {
  vnis_.put(vni, values);
  changed("vni");
}

void FlexCounterModel::trafficIs(std::uint64_t seed) {
  seed_ = seed;
  trafficStart_ = clock_->now();
  longest_ = Qel::Duration::zero();
  changed("traffic");
}

Qel::Duration FlexCounterModel::trafficTime() const {
  if (!seed_) return Qel::Duration::zero();
  // A counter that went back, because the clock did, would be taken for one that wrapped.
  longest_ = std::max(longest_, clock_->now() - trafficStart_);
  return longest_;
}

CounterValue FlexCounterModel::grown(const CounterValue& value, std::uint64_t owner,
                                     Qel::Duration traffic) const {
  if (!seed_) return value;
  constexpr std::uint64_t kNanoseconds = 1'000'000'000;
  const std::uint64_t draw = mixed(owner ^ mixed(*seed_));
  const std::uint64_t perSecond = 10 + draw % 9'990;
  const std::uint64_t packetSize = 64 + (draw >> 32) % 1'437;
  const auto elapsed = static_cast<std::uint64_t>(traffic.count());
  const std::uint64_t packets =
      elapsed / kNanoseconds * perSecond + elapsed % kNanoseconds * perSecond / kNanoseconds;
  return {value.packets + packets, value.bytes + packets * packetSize};
}

std::optional<CounterValue> FlexCounterModel::vtep(const IpAddr& vtep) const {
  const CounterValue* const value = vteps_.find(vtep);
  if (value == nullptr) return std::nullopt;
  return grown(*value, ownerOf(vtep), trafficTime());
}

std::optional<CounterValue> FlexCounterModel::vni(std::uint32_t vni,
                                                  CounterDirection direction) const {
  const VniCounters* const values = vnis_.find(vni);
  if (values == nullptr) return std::nullopt;
  return grown(valueOf(*values, direction), owner(purposeOf(direction), vni), trafficTime());
}

void FlexCounterModel::showVtepDecapFlexCountersSummary(std::uint32_t socket) {
  Sum sum;
  const Qel::Duration traffic = trafficTime();
  for (const auto& entry : vteps_) {
    sum.add(grown(entry.value, ownerOf(entry.key), traffic),
            [&entry] { return entry.key.stringValue(); });
  }
  Answer answer(socket);
  answer.line("VTEP decapsulation counters");
  sum.printFacts(answer, size_);
}

void FlexCounterModel::showVtepDecapFlexCountersValues(std::uint32_t socket) {
  using enum AnswerTable::Alignment;
  AnswerTable table({{"VTEP"}, {"Packets", kRight}, {"Bytes", kRight}});
  Sum sum;
  const Qel::Duration traffic = trafficTime();
  for (const auto& [address, value] : vteps_) {
    const CounterValue now = grown(value, ownerOf(address), traffic);
    sum.add(now, [] { return std::string(); });
    if (table.full()) {
      table.omit(1);
    } else {
      table.row(address.stringValue(), now.packets, now.bytes);
    }
  }
  Answer answer(socket);
  table.print(answer, {.title = "VTEP decapsulation counters",
                       .one = "VTEP",
                       .many = "VTEPs",
                       .none = "No VTEP has a decapsulation counter.",
                       .total = sum.text()});
}

std::vector<FlexCounterModel::Network> FlexCounterModel::networks(
    CounterDirection direction) const {
  std::vector<Network> all;
  for (const auto& [vlan, mapping] : networks_->vlanMapping) {
    if (mapping.vni == 0) continue;
    all.push_back({mapping.vni, vlan.value(), vni(mapping.vni, direction)});
  }
  std::ranges::sort(all, {}, [](const Network& n) { return std::pair(n.vni, n.vlan); });
  const std::size_t mapped = all.size();
  // Counters that a network left behind when its last VLAN went.
  for (const auto& [number, values] : vnis_) {
    const bool isMapped = std::ranges::binary_search(
        all.begin(), all.begin() + static_cast<std::ptrdiff_t>(mapped), number, {}, &Network::vni);
    if (!isMapped) all.push_back({number, 0, vni(number, direction)});
  }
  std::ranges::sort(all, {}, [](const Network& n) { return std::pair(n.vni, n.vlan); });
  return all;
}

void FlexCounterModel::showVniSummary(std::uint32_t socket, CounterDirection direction) {
  Sum sum;
  std::size_t without = 0;
  std::optional<std::uint32_t> last;  // two VLANs may share a network, and then its counter
  for (const Network& network : networks(direction)) {
    if (network.vni == last) continue;
    last = network.vni;
    if (network.value) {
      sum.add(*network.value, [&network] { return "VNI " + std::to_string(network.vni); });
    } else {
      ++without;
    }
  }
  Answer answer(socket);
  answer.line(std::string("VNI ").append(nameOf(direction)).append(" counters"));
  sum.printFacts(answer, size_);
  answer.fact("VNIs without a counter", without);
}

void FlexCounterModel::showVniIngressFlexCountersSummary(std::uint32_t socket) {
  showVniSummary(socket, CounterDirection::ingress);
}

void FlexCounterModel::showVniEgressFlexCountersSummary(std::uint32_t socket) {
  showVniSummary(socket, CounterDirection::egress);
}

void FlexCounterModel::showVniFlexCountersValues(std::uint32_t socket, CounterDirection direction) {
  using enum AnswerTable::Alignment;
  AnswerTable table({{"VNI", kRight}, {"VLANs"}, {"Packets", kRight}, {"Bytes", kRight}});
  Sum sum;
  const std::vector<Network> all = networks(direction);
  for (auto it = all.begin(); it != all.end();) {
    const Network& network = *it;
    std::string vlans;
    for (; it != all.end() && it->vni == network.vni; ++it) {
      if (it->vlan == 0) continue;
      vlans.append(vlans.empty() ? "" : ", ").append(std::to_string(it->vlan));
    }
    if (network.value) sum.add(*network.value, [] { return std::string(); });
    table.row(network.vni, vlans,
              network.value ? std::optional(network.value->packets) : std::nullopt,
              network.value ? std::optional(network.value->bytes) : std::nullopt);
  }
  const std::string title = std::string("VNI ").append(nameOf(direction)).append(" counters");
  Answer answer(socket);
  table.print(answer, {.title = title, .one = "VNI", .many = "VNIs", .total = sum.text()});
}

const Qel::TypeData& FlexCounterModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::FlexCounterModel"};
  return kType;
}

}  // namespace KorvoAgent
