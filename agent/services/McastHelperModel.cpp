#include "agent/services/McastHelperModel.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "agent/services/AnswerTable.h"

namespace KorvoAgent {

namespace {

constexpr std::string_view kOne = "group";
constexpr std::string_view kMany = "groups";
constexpr std::string_view kHint = "select one with HW_MCAST_MCIDX+INDEX";
constexpr std::size_t kMaxGroupsLookedAt = 8'192;

void makeSet(McastPorts& ports) {
  std::ranges::sort(ports);
  // Not std::ranges::unique, which clang 14 cannot compile with g++ 12's library.
  ports.erase(std::unique(ports.begin(), ports.end()), ports.end());
}

std::string portsText(const McastPorts& ports) {
  std::string text;
  for (const Bridging::IntfId port : ports) {
    if (!text.empty()) text += ", ";
    text += port.shortName();
  }
  return text;
}

// As one side of a difference: a group without ports is not the same as no group.
std::string sideText(const McastPorts* ports) {
  if (ports == nullptr) return {};
  return ports->empty() ? "no ports" : portsText(*ports);
}

bool same(const McastPorts* a, const McastPorts* b) {
  return a == nullptr || b == nullptr ? a == b : *a == *b;
}

}  // namespace

void McastHelperModel::groupIs(std::uint32_t index, McastGroup group) {
  makeSet(group.ports);
  groups_.put(index, std::move(group));
  shadow_.add(index);
  changed("group");
}

void McastHelperModel::hwGroupIs(Tessar::FapId chip, std::uint32_t index,
                                 std::optional<McastPorts> ports) {
  if (ports) makeSet(*ports);
  deviations_.put({.index = index, .chip = chip.value()}, std::move(ports));
  changed("hwGroup");
}

void McastHelperModel::clearShadowMcastGroupTable() {
  shadow_.clear();
  changed("shadow");
}

const McastPorts* McastHelperModel::hwGroup(Tessar::FapId chip, std::uint32_t index) const {
  if (const auto* const held = deviations_.find({.index = index, .chip = chip.value()})) {
    return held->has_value() ? &**held : nullptr;
  }
  const McastGroup* const wanted = groups_.find(index);
  return wanted == nullptr ? nullptr : &wanted->ports;
}

std::vector<McastHelperModel::Holding> McastHelperModel::holdings(std::uint32_t index,
                                                                  const ChipSet& present) const {
  const McastGroup* const wanted = groups_.find(index);
  Holding regular{wanted == nullptr ? nullptr : &wanted->ports, present};
  std::vector<Holding> all(1);  // the place of the regular one
  auto it = deviations_.lowerBound({.index = index, .chip = 0});
  for (; it != deviations_.end() && it->key.index == index; ++it) {
    const Tessar::FapId chip(it->key.chip);
    if (!present.has(chip)) continue;
    regular.chips.remove(chip);
    const McastPorts* const held = it->value.has_value() ? &*it->value : nullptr;
    const auto alike = std::find_if(all.begin() + 1, all.end(),
                                    [&](const Holding& h) { return same(h.ports, held); });
    if (alike == all.end()) {
      all.push_back({held, ChipSet(chip)});
    } else {
      alike->chips.add(chip);
    }
  }
  all.front() = regular;
  if (all.front().chips.empty()) all.erase(all.begin());
  return all;
}

std::optional<std::uint32_t> McastHelperModel::firstIndexFrom(std::uint32_t index) const {
  const auto wanted = groups_.lowerBound(index);
  const auto held = deviations_.lowerBound({.index = index, .chip = 0});
  if (wanted == groups_.end() && held == deviations_.end()) return std::nullopt;
  if (wanted == groups_.end()) return held->key.index;
  if (held == deviations_.end()) return wanted->key;
  return std::min(wanted->key, held->key.index);
}

void McastHelperModel::addHwRows(AnswerTable& table, std::uint32_t index,
                                 const ChipSet& present) const {
  for (const Holding& holding : holdings(index, present)) {
    if (holding.ports == nullptr) continue;
    table.row(index, holding.chips.text(), holding.ports->size(), portsText(*holding.ports));
  }
}

void McastHelperModel::addDifferences(AnswerTable& table, std::uint32_t index,
                                      const ChipSet& present) const {
  const McastGroup* const shadow = shadow_.has(index) ? groups_.find(index) : nullptr;
  const McastPorts* const shadowPorts = shadow == nullptr ? nullptr : &shadow->ports;
  for (const Holding& holding : holdings(index, present)) {
    if (same(holding.ports, shadowPorts)) continue;
    table.row(index, holding.chips.text(), sideText(shadowPorts), sideText(holding.ports));
  }
}

void McastHelperModel::showHwMcastGroupTable(std::uint32_t socket, bool differenceOnly,
                                             bool allGroups, std::uint32_t groupIndex) {
  using enum AnswerTable::Alignment;
  const ChipSet present = idsOf(chips_());
  AnswerTable table =
      differenceOnly
          ? AnswerTable({{"Index", kRight}, {"Chips"}, {"Shadow"}, {"Hardware"}})
          : AnswerTable({{"Index", kRight}, {"Chips"}, {"Ports", kRight}, {"Interfaces"}});
  const auto add =
      differenceOnly ? &McastHelperModel::addDifferences : &McastHelperModel::addHwRows;
  Answer answer(socket);
  if (!allGroups) {
    (this->*add)(table, groupIndex, present);
    if (table.size() == 0) {
      const std::string group = "Multicast group " + std::to_string(groupIndex);
      return answer.line(
          group + (differenceOnly ? " is the same in shadow and hardware." : " is on no chip."));
    }
  } else {
    std::size_t looks = 0;
    for (auto index = firstIndexFrom(0); index;
         index = *index == std::numeric_limits<std::uint32_t>::max() ? std::nullopt
                                                                     : firstIndexFrom(*index + 1)) {
      // To count the rows of the others would take as long as to show them.
      if (table.full() || ++looks > kMaxGroupsLookedAt) {
        table.cutOff();
        break;
      }
      (this->*add)(table, *index, present);
    }
  }
  if (differenceOnly) {
    table.print(answer, {.title = "Multicast groups that differ between shadow and hardware",
                         .one = "difference",
                         .many = "differences",
                         .none = "No multicast group differs between shadow and hardware.",
                         .hint = kHint});
  } else {
    table.print(answer, {.title = "Hardware multicast groups",
                         .one = "entry",
                         .many = "entries",
                         .none = "No chip holds a multicast group.",
                         .hint = kHint});
  }
}

void McastHelperModel::showMcastGroupTable(std::uint32_t socket) {
  using enum AnswerTable::Alignment;
  AnswerTable table(
      {{"Index", kRight}, {"VLAN", kRight}, {"Shadow"}, {"Ports", kRight}, {"Interfaces"}});
  for (const auto& [index, group] : groups_) {
    if (table.full()) break;
    table.row(index, NoneIfZero{group.vlan}, std::string_view(shadow_.has(index) ? "yes" : "no"),
              group.ports.size(), portsText(group.ports));
  }
  table.omit(groups_.size() - table.size());
  Answer answer(socket);
  table.print(answer, {.title = "Multicast groups",
                       .one = kOne,
                       .many = kMany,
                       .none = "No multicast groups.",
                       .hint = kHint});
}

const Qel::TypeData& McastHelperModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::McastHelperModel"};
  return kType;
}

}  // namespace KorvoAgent
