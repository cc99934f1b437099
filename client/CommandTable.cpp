#include "client/CommandTable.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>

#include "client/Text.h"

namespace KorvoCtl {

namespace {

constexpr std::array<std::string_view, 1> kDiffTotals = {
    "Total entries different between software and hardware:"};

constexpr std::array<std::string_view, 2> kMissingTotals = {"Total entries missing in software:",
                                                            "Total entries missing in hardware:"};

constexpr std::array<Positional, 1> kRequestNumber = {
    {{.name = "N", .help = "Number of the request, as 'agent requests' lists it"}}};

constexpr std::array<Positional, 3> kRawWords = {{
    {.name = "ENTRY", .help = "plain, sync, async or agent"},
    {.name = "FORMAT", .help = "text or json"},
    {.name = "COMMAND", .help = "The command, sent unchanged", .repeats = true},
}};

constexpr CommandRow kCommands[] = {
    {.path = "show mac address-table",
     .entry = Entry::kAsync,
     .keyword = "MACT_ALL",
     .summary = "MAC address table that the software holds",
     .example = "korvoctl show mac address-table --json"},

    {.path = "show mac hardware",
     .entry = Entry::kAsync,
     .keyword = "MACT_HW_ALL",
     .detail = true,
     .chips = true,
     .summary = "MAC address table of each chip",
     .details = "--detail adds the index of each entry in the hardware table.",
     .example = "korvoctl show mac hardware --chip 0,1 --detail"},

    {.path = "show vlan range ingress",
     .entry = Entry::kAsync,
     .keyword = "ING_VLAN_RANGE",
     .summary = "Ingress VLAN ranges of each interface",
     .example = "korvoctl show vlan range ingress"},

    {.path = "show vlan translation ingress",
     .entry = Entry::kAsync,
     .keyword = "VLAN_XLATE_STATUS",
     // The JSON form of the two translation dumps is an empty object: their tables are text.
     .json = false,
     .summary = "Ingress VLAN translation tables",
     .example = "korvoctl show vlan translation ingress"},

    {.path = "show vlan translation egress",
     .entry = Entry::kAsync,
     .keyword = "EGR_VLAN_XLATE_STATUS",
     .json = false,
     .summary = "Egress VLAN translation tables",
     .example = "korvoctl show vlan translation egress"},

    {.path = "show vxlan vlan",
     .entry = Entry::kAsync,
     .keyword = "VXLAN_VLAN",
     .detail = true,
     .summary = "VNI and VFI of each VLAN that VXLAN carries",
     .details = "--detail adds each VLAN's multicast index, SVP and interfaces.",
     .example = "korvoctl show vxlan vlan --detail"},

    {.path = "show vxlan vlan summary",
     .entry = Entry::kSync,
     .keyword = "VXLAN_VLAN_SUMMARY",
     .summary = "VLANs that VXLAN carries, in short",
     .example = "korvoctl show vxlan vlan summary"},

    {.path = "show vxlan routing",
     .entry = Entry::kAsync,
     .keyword = "VXLAN_ROUTING_INFO",
     .summary = "Routing information of VXLAN",
     .example = "korvoctl show vxlan routing"},

    {.path = "check mac diff",
     .entry = Entry::kAsync,
     .keyword = "MACT_DIFF",
     .detail = true,
     .chips = true,
     .totals = kDiffTotals,
     .summary = "MAC entries that differ between the two sides",
     .details = "Has the hardware table of each chip read and compared, which takes a while.\n"
                "The two sides are the software's table and the hardware's. Exit status 1 when an\n"
                "entry differs. --detail adds the hardware index.",
     .example = "korvoctl check mac diff && echo same"},

    {.path = "check mac missing",
     .entry = Entry::kAsync,
     .keyword = "MACT_MISSING",
     .detail = true,
     .chips = true,
     .totals = kMissingTotals,
     .summary = "MAC entries that one side lacks",
     .details = "Has the hardware table of each chip read and compared, which takes a while.\n"
                "The two sides are the software's table and the hardware's. Exit status 1 when an\n"
                "entry is missing. --detail adds the key type and the hardware index.",
     .example = "korvoctl check mac missing --json"},

    {.path = "agent status",
     .entry = Entry::kAgent,
     .keyword = "status",
     .summary = "State of the agent",
     .example = "korvoctl agent status"},

    {.path = "agent chips",
     .entry = Entry::kAgent,
     .keyword = "chips",
     .summary = "Forwarding chips, with number and name",
     .example = "korvoctl agent chips"},

    {.path = "agent requests",
     .entry = Entry::kAgent,
     .keyword = "requests",
     .summary = "Requests in progress",
     .example = "korvoctl agent requests"},

    {.path = "agent cancel",
     .entry = Entry::kAgent,
     .keyword = "cancel",
     .build = &keywordNumberRequest,
     .positionals = kRequestNumber,
     .summary = "End a request in progress",
     .example = "korvoctl agent cancel 7"},

    {.path = "agent schema",
     .entry = Entry::kAgent,
     .keyword = "schema",
     .summary = "Schema of the switch state document",
     .example = "korvoctl agent schema --json"},

    {.path = "raw",
     .build = &rawRequest,
     .json = false,
     .positionals = kRawWords,
     .summary = "Send one command unchanged",
     .details =
         "Several words of COMMAND are joined with single blanks; quote it where that is not\n"
         "what is meant, and put -- before a COMMAND that begins with a dash.",
     .example = "korvoctl raw async json MACT_ALL"},
};

constexpr CommandGroup kGroups[] = {
    {.path = "show", .summary = "Show tables"},
    {.path = "show mac", .summary = "MAC address tables"},
    {.path = "show vlan", .summary = "VLAN tables"},
    {.path = "show vlan range", .summary = "VLAN ranges"},
    {.path = "show vlan translation", .summary = "VLAN translation tables"},
    {.path = "show vxlan", .summary = "VXLAN tables"},
    {.path = "check", .summary = "Compare software and hardware"},
    {.path = "check mac", .summary = "Compare MAC address tables"},
    {.path = "agent", .summary = "Questions about the agent itself"},
};

Format formatOf(const Arguments& arguments) {
  return arguments.json ? Format::kJson : Format::kText;
}

}  // namespace

Result<Request> keywordRequest(const CommandRow& row, const Arguments& arguments) {
  return Request{.entry = row.entry.value(),
                 .format = formatOf(arguments),
                 .command = fmt::format("{}{}{}", row.keyword, arguments.detail ? " detail" : "",
                                        arguments.chips.value_or(""))};
}

Result<Request> keywordNumberRequest(const CommandRow& row, const Arguments& arguments) {
  const std::string& word = arguments.words.at(0);
  const std::optional<std::uint64_t> number = numberFrom<std::uint64_t>(word);
  if (!number) {
    return Problem{ExitStatus::kUsage, fmt::format("'{}' is not a number", shown(word))};
  }
  return Request{.entry = row.entry.value(),
                 .format = formatOf(arguments),
                 .command = fmt::format("{} {}", row.keyword, *number)};
}

Result<Request> rawRequest(const CommandRow& /*row*/, const Arguments& arguments) {
  const std::string& entryText = arguments.words.at(0);
  const std::string& formatText = arguments.words.at(1);
  const std::optional<Entry> entry = entryFromText(entryText);
  if (!entry) {
    return Problem{ExitStatus::kUsage,
                   fmt::format("'{}' is no entry of the agent: give plain, sync, async or agent",
                               shown(entryText))};
  }
  const std::optional<Format> format = formatFromText(formatText);
  if (!format) {
    return Problem{ExitStatus::kUsage,
                   fmt::format("'{}' is no format: give text or json", shown(formatText))};
  }
  return Request{.entry = *entry,
                 .format = *format,
                 .command = fmt::format(
                     "{}", fmt::join(arguments.words.begin() + 2, arguments.words.end(), " "))};
}

std::span<const CommandRow> commandTable() { return kCommands; }
std::span<const CommandGroup> commandGroups() { return kGroups; }

std::string synopsis(const CommandRow& row) {
  std::string text(row.path);
  for (const Positional& positional : row.positionals) {
    text += fmt::format(" {}{}", positional.name, positional.repeats ? "..." : "");
  }
  return text;
}

std::vector<std::string_view> wordsOf(std::string_view path) { return split(path, ' '); }

bool liesBelow(std::string_view path, std::string_view ancestor) {
  return ancestor.empty() || path == ancestor ||
         (path.starts_with(ancestor) && path[ancestor.size()] == ' ');
}

}  // namespace KorvoCtl
