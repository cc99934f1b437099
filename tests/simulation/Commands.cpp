#include "tests/simulation/Commands.h"

namespace KorvoSimulation {

using KorvoAgent::Entry;
using KorvoAgent::SeededRandom;

namespace {

constexpr std::array<std::string_view, 22> kPlainKeywords{
    "EcmpOutputIntfTunnelId",
    "EGR_MASK_STATUS",
    "EGR_VLAN_XLATE_STATUS_2",
    "FCVDS",
    "FCVDV",
    "HW_FIFOREG",
    "HW_MCAST_ALL",
    "HW_MCAST_CLEAR",
    "HW_MCAST_DIFF",
    "HW_MCAST_MCIDX",
    "MCAST_ALL",
    "PER_VLAN_ENTRY",
    "ShadowShow",
    "VLAN_XLATE_STATUS_2",
    "VXLAN_DEBUG_STATE",
    "VXLAN_SVP_USAGE",
    "VniEgressFlexCountersSummary",
    "VniEgressFlexCountersValues",
    "VniIngressFlexCountersSummary",
    "VniIngressFlexCountersValues",
    "VlanVfiMap",
    "NOTHING_LIKE_THAT",
};

constexpr std::array<std::string_view, 14> kArguments{
    "",    "1",   "0,1", "detail", "VLAN_XLATE_2", "-1",   "4294967296",
    "128", "129", "all", "raw",    "\"\\\x01\xff", "0,,1", "00000000000000000000001"};

bool hasDetail(std::string_view keyword) { return namesChips(keyword) || keyword == "VXLAN_VLAN"; }

std::string chipList(const std::map<unsigned, std::string>& chips) {
  std::string list;
  for (const auto& [id, name] : chips) list += (list.empty() ? "" : ",") + std::to_string(id);
  return list;
}

std::string anyArguments(SeededRandom& random) {
  std::string text;
  for (std::uint64_t i = random.below(4); i != 0; --i) {
    text += '+';
    text += kArguments[random.below(kArguments.size())];
  }
  return text;
}

}  // namespace

bool namesChips(std::string_view keyword) {
  return keyword == "MACT_HW_ALL" || keyword == "MACT_DIFF" || keyword == "MACT_MISSING";
}

Command dumpCommand(std::string_view keyword, Rendering::OutputFormat format, bool detail,
                    const std::map<unsigned, std::string>& chips) {
  Command command;
  command.keyword = keyword;
  command.detail = detail && hasDetail(keyword);
  command.line = {Entry::async, format, command.keyword};
  if (command.detail) command.line.command += "+detail";
  if (namesChips(keyword)) {
    command.line.command += '+' + chipList(chips);
    command.wellFormed = !chips.empty();
  }
  return command;
}

Command anyCommand(SeededRandom& random, const std::map<unsigned, std::string>& chips) {
  const auto format = random.onceIn(2) ? Rendering::kText : Rendering::kJson;
  if (!random.onceIn(3)) {
    Command command = dumpCommand(kAsyncKeywords[random.below(kAsyncKeywords.size())], format,
                                  random.onceIn(3), chips);
    if (random.onceIn(8)) {
      command.line.command = command.keyword + anyArguments(random);
      command.wellFormed = false;
    }
    return command;
  }
  Command command;
  command.wellFormed = false;
  switch (random.below(4)) {
    case 0:
      command.keyword = "VXLAN_VLAN_SUMMARY";
      command.line = {Entry::sync, format, {}};
      break;
    case 1:
      command.keyword = "NOTHING_LIKE_THAT";
      command.line = {random.onceIn(2) ? Entry::sync : Entry::async, format, {}};
      break;
    default:
      command.keyword = kPlainKeywords[random.below(kPlainKeywords.size())];
      command.line = {Entry::plain, Rendering::kText, {}};
  }
  command.line.command = command.keyword + anyArguments(random);
  return command;
}

}  // namespace KorvoSimulation
