#include "agent/services/VlanXlateManagers.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/services/AnswerTable.h"

namespace KorvoAgent {

using Bridging::PortVlanKey;

namespace {

constexpr std::string_view kIngressHint = "the async command VLAN_XLATE_STATUS lists all";
constexpr std::string_view kEgressHint = "the async command EGR_VLAN_XLATE_STATUS lists all";

// The two directories of egress translations hold the same for frames from VLANs and from tunnels.
struct EgressEntry {
  const PortVlanKey* key = nullptr;
  std::string_view from{};
  NoneIfZero innerVlan{};
  NoneIfZero dvp{};
  std::uint16_t tag = 0;
};

EgressEntry entryOf(const PortVlanKey& key, const KorvoL2::EgrPortVlanXlateStatus& status) {
  return {&key, "vlan", {status.innerVlan}, {}, status.dot1qTag};
}
EgressEntry entryOf(const PortVlanKey& key, const KorvoL2::EgrVxlanVlanXlateStatus& status) {
  return {&key, "vxlan", {}, {status.dvp}, status.dot1qTag};
}

/** Finds buckets. Keys come by interface, so that a name is hashed once for many of them. */
class Buckets {
 public:
  std::uint32_t of(const PortVlanKey& key) noexcept {
    if (!started_ || key.intf() != intf_) {
      started_ = true;
      intf_ = key.intf();
      intfHash_ = 2166136261U;  // FNV-1a
      for (const char c : intf_.stringValue()) add(intfHash_, static_cast<std::uint8_t>(c));
    }
    std::uint32_t hash = intfHash_;
    add(hash, static_cast<std::uint8_t>(key.vlan().value() >> 8));
    add(hash, static_cast<std::uint8_t>(key.vlan().value() & 0xff));
    return (hash ^ hash >> 16) % EgrVlanXlateManagerModel::kBuckets;
  }

 private:
  static void add(std::uint32_t& hash, std::uint8_t byte) noexcept {
    hash = (hash ^ byte) * 16777619U;
  }
  Bridging::IntfId intf_;
  std::uint32_t intfHash_ = 0;
  bool started_ = false;
};

/** An entry that is shown, and where chips look it up. */
struct Place {
  std::uint32_t bucket = 0;
  std::uint32_t order = 0;  // within all, so that a bucket fills in the order of keys
  EgressEntry entry{};
};

}  // namespace

void VlanXlate2ManagerModel::showVlanXlate2(std::uint32_t socket) {
  using enum AnswerTable::Alignment;
  Answer answer(socket);
  AnswerTable dips({{"Tunnel end"}, {"State"}});
  for (const auto& [address, programmed] : directories_->dips->entries) {
    dips.row(address.stringValue(), std::string_view(programmed ? "programmed" : "pending"));
  }
  dips.print(answer, {.title = "Tunnel ends whose frames are decapsulated",
                      .one = "tunnel end",
                      .many = "tunnel ends"});

  AnswerTable table({{"Interface"}, {"Tag", kRight}, {"VLAN", kRight}, {"SVP", kRight}});
  const auto& translations = directories_->portVlans->entries;
  for (const auto& [key, status] : translations) {
    if (table.full()) break;
    table.row(key.intf().stringValue(), key.vlan().value(), NoneIfZero{status.vlan},
              NoneIfZero{status.svp});
  }
  table.omit(translations.size() - table.size());
  answer.line("");
  table.print(answer, {.title = "Ingress VLAN translations",
                       .one = "translation",
                       .many = "translations",
                       .none = "No ingress VLAN translations.",
                       .hint = kIngressHint});
}

std::uint32_t EgrVlanXlateManagerModel::bucketOf(const PortVlanKey& key) noexcept {
  return Buckets().of(key);
}

void EgrVlanXlateManagerModel::showEgrVlanXlate(std::uint32_t socket, bool hashView) {
  if (hashView) {
    showByBucket(socket);
  } else {
    showByKey(socket);
  }
}

void EgrVlanXlateManagerModel::showByKey(std::uint32_t socket) const {
  using enum AnswerTable::Alignment;
  AnswerTable table({{"Interface"},
                     {"VLAN", kRight},
                     {"From"},
                     {"Inner VLAN", kRight},
                     {"DVP", kRight},
                     {"Tag", kRight}});
  const auto add = [&table](const auto& entries) {
    std::size_t added = 0;
    for (const auto& [key, status] : entries) {
      if (table.full()) break;
      const EgressEntry entry = entryOf(key, status);
      table.row(key.intf().stringValue(), key.vlan().value(), entry.from, entry.innerVlan,
                entry.dvp, entry.tag);
      ++added;
    }
    table.omit(entries.size() - added);
  };
  add(directories_->egrPortVlans->entries);
  add(directories_->egrVxlanVlans->entries);
  Answer answer(socket);
  table.print(answer, {.title = "Egress VLAN translations",
                       .one = "translation",
                       .many = "translations",
                       .none = "No egress VLAN translations.",
                       .hint = kEgressHint});
}

void EgrVlanXlateManagerModel::showByBucket(std::uint32_t socket) const {
  using enum AnswerTable::Alignment;
  const auto forEach = [this](auto&& act) {
    for (const auto& entry : directories_->egrPortVlans->entries) act(entry.key, entry.value);
    for (const auto& entry : directories_->egrVxlanVlans->entries) act(entry.key, entry.value);
  };
  // Two passes: which buckets there is room to show, then the entries of those. Sorting all of a
  // large table would hold up the event loop.
  std::vector<std::uint32_t> fill(kBuckets);
  Buckets buckets;
  std::size_t all = 0;
  forEach([&](const PortVlanKey& key, const auto&) {
    ++fill[buckets.of(key)];
    ++all;
  });
  std::uint32_t shownBuckets = 0;
  for (std::size_t rows = 0; shownBuckets < kBuckets && rows < AnswerTable::kMaxRows;) {
    rows += fill[shownBuckets++];
  }
  std::vector<Place> places;
  forEach([&](const PortVlanKey& key, const auto& status) {
    const std::uint32_t bucket = buckets.of(key);
    if (bucket >= shownBuckets) return;
    places.push_back({bucket, static_cast<std::uint32_t>(places.size()), entryOf(key, status)});
  });
  std::ranges::sort(places, {}, [](const Place& p) { return std::pair(p.bucket, p.order); });

  AnswerTable table({{"Bucket", kRight},
                     {"Slot", kRight},
                     {"Interface"},
                     {"VLAN", kRight},
                     {"From"},
                     {"Inner VLAN", kRight},
                     {"DVP", kRight},
                     {"Tag", kRight}});
  std::uint32_t slot = 0;
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto& [bucket, order, entry] = places[i];
    slot = i == 0 || places[i - 1].bucket != bucket ? 0 : slot + 1;
    table.row(bucket, slot < kBucketSlots ? std::optional(slot) : std::nullopt,
              entry.key->intf().stringValue(), entry.key->vlan().value(), entry.from,
              entry.innerVlan, entry.dvp, entry.tag);
  }
  table.omit(all - places.size());
  std::size_t used = 0;
  std::size_t withoutRoom = 0;
  for (const std::uint32_t entries : fill) {
    used += entries == 0 ? 0 : 1;
    withoutRoom += entries > kBucketSlots ? entries - kBucketSlots : 0;
  }
  const std::string total = std::to_string(used) + " of " + std::to_string(kBuckets) +
                            " buckets, " + std::to_string(withoutRoom) + " without a slot";
  Answer answer(socket);
  table.print(answer, {.title = "Egress VLAN translations by hash bucket",
                       .one = "translation",
                       .many = "translations",
                       .none = "No egress VLAN translations.",
                       .total = total,
                       .hint = kEgressHint});
}

const Qel::TypeData& VlanXlate2ManagerModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::VlanXlate2ManagerModel"};
  return kType;
}

const Qel::TypeData& EgrVlanXlateManagerModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::EgrVlanXlateManagerModel"};
  return kType;
}

}  // namespace KorvoAgent
