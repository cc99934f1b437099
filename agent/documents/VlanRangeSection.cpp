// The section "vlanRanges": how many ingress VLAN ranges interfaces ask for, and which are
// programmed.

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/documents/KeyedRows.h"
#include "agent/documents/Sections.h"
#include "agent/documents/ValueReaders.h"
#include "agent/model/LogicalPorts.h"
#include "text/Printable.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::VlanId;
using Bridging::VlanIdRange;

namespace {

// Ranges are written as they are printed.
VlanIdRange readRange(const JsonNode& node) {
  if (!node.isString()) return VlanIdRange(readVlan(node));
  const std::string_view text = node.string();
  const char* const end = text.data() + text.size();
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  auto [stopped, error] = std::from_chars(text.data(), end, first);
  bool whole = error == std::errc();
  if (whole && stopped == end) {
    last = first;
  } else if (whole && *stopped == '-') {
    const auto second = std::from_chars(stopped + 1, end, last);
    whole = second.ec == std::errc() && second.ptr == end;
  } else {
    whole = false;
  }
  if (!whole) node.refuse(Text::inQuotes(text) + " is no range of VLANs; write it as \"10-20\"");
  return node.checked([first, last] { return VlanIdRange(VlanId(first), VlanId(last)); },
                      "write a range of VLANs as \"10-20\"");
}

/** The programmed ranges of one port while their members are read. */
struct Programmed {
  IntfReader& interfaces;
  std::optional<IntfId> intf{};
  std::optional<std::uint16_t> logicalFap{};
  std::optional<std::uint32_t> logicalPort{};
  KorvoL2::IngVlanRangeParam param{};
};

void readRanges(const JsonNode& list, Programmed& port) {
  std::vector<VlanIdRange>& ranges = port.param.ranges;
  readList(list, [&ranges](const JsonNode& node) { ranges.push_back(readRange(node)); });
  std::ranges::sort(ranges);
  const auto overlap = std::ranges::adjacent_find(
      ranges, [](const VlanIdRange& a, const VlanIdRange& b) { return b.first() <= a.last(); });
  if (overlap != ranges.end()) {
    list.refuse("the ranges " + overlap->stringValue() + " and " +
                std::next(overlap)->stringValue() + " overlap; a VLAN is in one of them");
  }
}

constexpr JsonMember<Programmed> kProgrammedMembers[]{
    {"interface", [](const JsonNode& n, Programmed& p) { p.intf = p.interfaces.readSome(n); }},
    {"logicalFap", [](const JsonNode& n, Programmed& p) { p.logicalFap = readUnsigned16(n); }},
    {"logicalPort", [](const JsonNode& n, Programmed& p) { p.logicalPort = readUnsigned32(n); }},
    {"ranges", readRanges, true},
};

LogicalPort portOf(const JsonNode& node, const Programmed& programmed, SwitchModel& model) {
  if (programmed.intf && !programmed.logicalFap && !programmed.logicalPort) {
    return logicalPortOf(model, *programmed.intf);
  }
  if (programmed.intf || !programmed.logicalFap || !programmed.logicalPort) {
    node.refuse("a port is either an \"interface\" or a \"logicalFap\" with a \"logicalPort\"");
  }
  return {.fap = *programmed.logicalFap, .port = *programmed.logicalPort};
}

void readProgrammed(const JsonNode& list, SwitchModel& model) {
  IntfReader interfaces(model);
  KeyedRows<LogicalPort, KorvoL2::IngVlanRangeParam> rows;
  readList(list, [&](const JsonNode& node) {
    Programmed programmed{.interfaces = interfaces};
    readMembers(node, kProgrammedMembers, programmed);
    const LogicalPort port = portOf(node, programmed, model);
    rows.add(port, std::move(programmed.param));
  });
  rows.fill(
      list,
      [](const LogicalPort& port) {
        return "logical FAP " + std::to_string(port.fap) + " port " + std::to_string(port.port) +
               " is";
      },
      [&model](const LogicalPort& port, KorvoL2::IngVlanRangeParam param) {
        model.cmdRingManager().ingVlanRanges.put(port, std::move(param));
      });
}

constexpr JsonMember<SwitchModel> kRangeMembers[]{
    {"size",
     [](const JsonNode& node, SwitchModel& m) {
       m.unicast().ingVlanRange().ingVlanRangeSizeIs(
           static_cast<std::uint8_t>(node.integer(0, 0xff)));
     }},
    {"scale",
     [](const JsonNode& scale, SwitchModel& m) {
       IntfReader interfaces(m);
       readMap(scale, [&](const JsonNode& node, std::string_view name) {
         m.unicast().ingVlanRange().scaleEntries->entries.put(interfaces.someNamed(node, name),
                                                              {.size = readUnsigned32(node)});
       });
     }},
    {"programmed", readProgrammed},
};

}  // namespace

void readVlanRanges(const JsonNode& section, SwitchModel& model) {
  readMembers(section, kRangeMembers, model);
}

}  // namespace KorvoAgent
