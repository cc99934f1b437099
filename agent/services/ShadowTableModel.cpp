#include "agent/services/ShadowTableModel.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "agent/services/AnswerTable.h"
#include "platform/base/Exceptions.h"

namespace KorvoAgent {

namespace {

using KorvoL2::ShadowShow;
using Tessar::FapId;

constexpr std::uint32_t kWordBits = 32;

// The chips that an entry is asked of; nothing for a chip that the switch does not have.
std::optional<ChipSet> asked(const ShadowShow& parameters, const ChipSet& present) {
  if (parameters.chip == FapId::null) return present;
  if (parameters.chip > FapId::max || !present.has(FapId(parameters.chip))) return std::nullopt;
  return ChipSet(FapId(parameters.chip));
}

}  // namespace

void ShadowTableModel::entryIs(std::uint32_t index, ShadowEntry entry) {
  const auto refuse = [&](const std::string& what) {
    throw Qel::RangeException(fmt::format("{} entry {}: {}", layout_.name, index, what));
  };
  if (index >= layout_.size) {
    refuse(fmt::format("the table's last index is {}", layout_.size - 1));
  }
  entry.fields.resize(layout_.fields.size());
  for (std::size_t i = 0; i < layout_.fields.size(); ++i) {
    const ShadowLayout::Field& field = layout_.fields[i];
    if (entry.fields[i] > field.max()) {
      refuse(fmt::format("{} is at most {}, not {}", field.name, field.max(), entry.fields[i]));
    }
  }
  for (auto it = entries_.lowerBound({index, 0}); it != entries_.end() && it->key.index == index;
       ++it) {
    const ChipSet& others = it->value.chips;
    const bool everywhere = others.empty() || entry.chips.empty();
    if (everywhere || !(others & entry.chips).empty()) {
      refuse("a chip holds another entry of this index");
    }
  }
  std::uint8_t first = 0;
  while (!entry.chips.empty() && !entry.chips.has(FapId(first))) ++first;
  entries_.put({index, first}, std::move(entry));
  changed("entry");
}

void ShadowTableModel::entryDel(std::uint32_t index) {
  for (auto it = entries_.lowerBound({index, 0}); it != entries_.end() && it->key.index == index;
       it = entries_.lowerBound({index, 0})) {
    entries_.erase(Key(it->key));
  }
  changed("entry");
}

std::vector<std::uint32_t> ShadowTableModel::words(const ShadowEntry& entry) const {
  std::vector<std::uint32_t> words{entry.valid ? 1U : 0U};
  std::uint32_t used = 1;  // of the last word
  for (std::size_t i = 0; i < layout_.fields.size(); ++i) {
    const std::uint64_t placed = std::uint64_t{entry.fields[i]} << used;
    words.back() |= static_cast<std::uint32_t>(placed);
    used += layout_.fields[i].bits;
    if (used < kWordBits) continue;
    words.push_back(static_cast<std::uint32_t>(placed >> kWordBits));
    used -= kWordBits;
  }
  if (used == 0) words.pop_back();
  return words;
}

std::string ShadowTableModel::rawText(const ShadowEntry& entry) const {
  const std::vector<std::uint32_t> all = words(entry);
  std::string text;
  for (auto word = all.rbegin(); word != all.rend(); ++word) {
    text += fmt::format("{}{:08x}", text.empty() ? "" : " ", *word);
  }
  return text;
}

void ShadowTableModel::show(std::uint32_t socket, const Qel::Ptr<ShadowShow>& parameters) {
  using enum AnswerTable::Alignment;
  Answer answer(socket);
  const ChipSet present = idsOf(chips_());
  const std::optional<ChipSet> wanted = asked(*parameters, present);
  if (!wanted) {
    return answer.line(
        fmt::format("There is no chip {}; there are chips {}.", parameters->chip, present.text()));
  }
  std::vector<AnswerTable::Column> columns{{"Index", kRight}, {"Chips"}, {"Valid"}};
  if (parameters->raw) {
    columns.push_back({"Words, highest first"});
  } else {
    for (const ShadowLayout::Field& field : layout_.fields) columns.push_back({field.head, kRight});
  }
  AnswerTable table(std::move(columns));

  std::size_t invalid = 0;
  const std::string everyChip = wanted->text();
  const auto add = [&](std::uint32_t index, const ShadowEntry& entry) {
    const ChipSet chips = entry.chips.empty() ? *wanted : entry.chips & *wanted;
    if (chips.empty()) return;
    if (!entry.valid && !parameters->allEntries && !parameters->entryIdSet) {
      ++invalid;
      return;
    }
    if (table.full()) return table.omit(1);
    const std::string names = entry.chips.empty() ? everyChip : chips.text();
    const char* const valid = entry.valid ? "yes" : "no";
    if (parameters->raw) {
      table.row(index, names, valid, rawText(entry));
    } else {
      table.row(index, names, valid, std::span(entry.fields));
    }
  };
  auto it = entries_.begin();
  if (parameters->entryIdSet) it = entries_.lowerBound({parameters->entryId, 0});
  for (; it != entries_.end(); ++it) {
    if (parameters->entryIdSet && it->key.index != parameters->entryId) break;
    add(it->key.index, it->value);
  }

  const std::string none =
      parameters->entryIdSet
          ? fmt::format("{} has no entry {}.", layout_.name, parameters->entryId)
          : fmt::format("{} has no {}entries.", layout_.name, invalid == 0 ? "" : "valid ");
  const std::string title = fmt::format("{}: {}", layout_.name, layout_.title);
  table.print(answer, {.title = title,
                       .one = "entry",
                       .many = "entries",
                       .none = none,
                       .hint = "select one with VAL+INDEX, a chip with CHIP+NUMBER"});
  if (invalid != 0) {
    answer.line(counted(invalid, "invalid entry", "invalid entries") +
                " not shown; ALLENTRIES shows them");
  }
}

const Qel::TypeData& ShadowTableModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::ShadowTableModel"};
  return kType;
}

}  // namespace KorvoAgent
