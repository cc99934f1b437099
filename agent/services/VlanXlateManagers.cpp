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
  std::uint32_t hash = 2166136261U;  // FNV-1a
  const auto add = [&hash](std::uint8_t byte) { hash = (hash ^ byte) * 16777619U; };
  for (const char c : key.intf().stringValue()) add(static_cast<std::uint8_t>(c));
  add(static_cast<std::uint8_t>(key.vlan().value() >> 8));
  add(static_cast<std::uint8_t>(key.vlan().value() & 0xff));
  return (hash ^ hash >> 16) % kBuckets;
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
  const auto& vlans = directories_->egrPortVlans->entries;
  const auto& vxlans = directories_->egrVxlanVlans->entries;
  struct Place {
    std::uint32_t bucket = 0;
    std::uint32_t order = 0;  // within all, so that a bucket fills in the order of keys
    const PortVlanKey* key = nullptr;
  };
  std::vector<Place> places;
  places.reserve(vlans.size() + vxlans.size());
  const auto place = [&places](const auto& entries) {
    for (const auto& entry : entries) {
      places.push_back(
          {bucketOf(entry.key), static_cast<std::uint32_t>(places.size()), &entry.key});
    }
  };
  place(vlans);
  place(vxlans);
  std::ranges::sort(places, {}, [](const Place& p) { return std::pair(p.bucket, p.order); });
  const auto entryAt = [&](const Place& p) {
    return p.order < vlans.size() ? entryOf(*p.key, *vlans.find(*p.key))
                                  : entryOf(*p.key, *vxlans.find(*p.key));
  };

  AnswerTable table({{"Bucket", kRight},
                     {"Slot", kRight},
                     {"Interface"},
                     {"VLAN", kRight},
                     {"From"},
                     {"Inner VLAN", kRight},
                     {"DVP", kRight},
                     {"Tag", kRight}});
  std::size_t withoutRoom = 0;
  std::size_t buckets = 0;
  std::uint32_t slot = 0;
  for (std::size_t i = 0; i < places.size(); ++i) {
    const Place& at = places[i];
    const bool first = i == 0 || places[i - 1].bucket != at.bucket;
    slot = first ? 0 : slot + 1;
    buckets += first ? 1 : 0;
    const bool fits = slot < kBucketSlots;
    withoutRoom += fits ? 0 : 1;
    if (table.full()) {
      table.omit(1);
      continue;
    }
    const EgressEntry entry = entryAt(at);
    table.row(at.bucket, fits ? std::optional(slot) : std::nullopt, entry.key->intf().stringValue(),
              entry.key->vlan().value(), entry.from, entry.innerVlan, entry.dvp, entry.tag);
  }
  const std::string total = std::to_string(buckets) + " of " + std::to_string(kBuckets) +
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
