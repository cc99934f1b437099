// The section "shadowTables", and the readers of chips.

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "agent/documents/ChipReaders.h"
#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"

namespace KorvoAgent {

using Tessar::FapId;

FapId readChip(const JsonNode& node, const SwitchModel& model) {
  const FapId chip(static_cast<std::uint32_t>(node.integer(FapId::min, FapId::max)));
  if (!model.isModulePresent(chip)) {
    ChipSet present;
    for (const Chip& known : model.chips()) present.add(known.id);
    node.refuse("the switch has no chip " + chip.stringValue() + "; it has " + present.text());
  }
  return chip;
}

ChipSet readChipSet(const JsonNode& list, const SwitchModel& model) {
  ChipSet chips;
  readList(list, [&](const JsonNode& node) {
    const FapId chip = readChip(node, model);
    if (chips.has(chip)) node.refuse("chip " + chip.stringValue() + " is given twice");
    chips.add(chip);
  });
  return chips;
}

namespace {

/** An entry while its members are read. */
struct Row {
  SwitchModel& model;
  const ShadowLayout& layout;
  std::uint32_t index = 0;
  ShadowEntry entry{};
};

void readFields(const JsonNode& object, Row& row) {
  const auto fields = row.layout.fields;
  readMap(object, [&](const JsonNode& node, std::string_view name) {
    std::size_t i = 0;
    while (i < fields.size() && fields[i].name != name) ++i;
    if (i == fields.size()) {
      std::vector<std::string_view> known;
      for (const ShadowLayout::Field& field : fields) known.push_back(field.name);
      object.refuseWord("field of " + std::string(row.layout.name), name, known);
    }
    row.entry.fields[i] = static_cast<std::uint32_t>(node.integer(0, fields[i].max()));
  });
}

constexpr JsonMember<Row> kMembers[]{
    {"index",
     [](const JsonNode& n, Row& r) {
       r.index = static_cast<std::uint32_t>(n.integer(0, r.layout.size - 1));
     },
     true},
    {"chips",
     [](const JsonNode& n, Row& r) {
       r.entry.chips = readChipSet(n, r.model);
       if (r.entry.chips.empty()) n.refuse("name a chip, or leave \"chips\" out for all of them");
     }},
    {"valid", [](const JsonNode& n, Row& r) { r.entry.valid = n.boolean(); }},
    {"fields", readFields},
};

void readTable(const JsonNode& list, SwitchModel& model, ShadowTableModel& table) {
  std::set<std::uint32_t> replaced;
  readList(list, [&](const JsonNode& node) {
    Row row{.model = model, .layout = table.layout()};
    row.entry.fields.resize(table.layout().fields.size());
    readMembers(node, kMembers, row);
    if (replaced.insert(row.index).second) table.entryDel(row.index);
    node.checked([&] { table.entryIs(row.index, std::move(row.entry)); },
                 "give each chip one entry of an index");
  });
}

}  // namespace

void readShadowTables(const JsonNode& section, SwitchModel& model) {
  const auto layouts = shadowLayouts();
  readMap(section, [&](const JsonNode& list, std::string_view name) {
    std::size_t i = 0;
    while (i < layouts.size() && layouts[i].name != name) ++i;
    if (i == layouts.size()) {
      std::vector<std::string_view> known;
      for (const ShadowLayout& layout : layouts) known.push_back(layout.name);
      section.refuseWord("shadow table", name, known);
    }
    readTable(list, model, model.cmdRingManager().shadowTable(static_cast<ShadowTableId>(i)));
  });
}

}  // namespace KorvoAgent
