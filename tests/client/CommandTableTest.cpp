// The table's own rules, and what each kind of row sends.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <variant>

#include "client/CommandTable.h"

namespace KorvoCtl {
namespace {

const CommandRow& rowOf(std::string_view path) {
  const CommandRow* row = findCommand(path);
  if (row == nullptr) {
    throw std::invalid_argument("no such row: " + std::string(path));
  }
  return *row;
}

// What goes over the wire for a row, without the newline.
std::string wireOf(std::string_view path, const Arguments& arguments = {}) {
  const CommandRow& row = rowOf(path);
  const auto request = row.build(row, arguments);
  if (const Problem* problem = problemOf(request)) {
    return "problem: " + problem->message;
  }
  std::string line = std::get<std::string>(requestLine(std::get<Request>(request)));
  line.pop_back();
  return line;
}

TEST(CommandTableTest, NoTwoRowsHaveTheSamePath) {
  std::set<std::string_view> paths;
  for (const CommandRow& row : commandTable()) {
    EXPECT_TRUE(paths.insert(row.path).second) << row.path;
  }
}

TEST(CommandTableTest, NoTwoRowsAskTheSameOfTheAgent) {
  std::set<std::pair<int, std::string_view>> asked;
  for (const CommandRow& row : commandTable()) {
    if (row.entry) {
      EXPECT_TRUE(asked.emplace(static_cast<int>(*row.entry), row.keyword).second) << row.path;
    }
  }
}

TEST(CommandTableTest, PathsAreWordsInLowerCaseBetweenSingleBlanks) {
  for (const CommandRow& row : commandTable()) {
    for (const std::string_view word : wordsOf(row.path)) {
      EXPECT_FALSE(word.empty()) << row.path;
      EXPECT_TRUE(std::all_of(word.begin(), word.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
      })) << row.path;
    }
  }
}

TEST(CommandTableTest, EveryFirstWordsHaveOneSummaryAndNoOthersDo) {
  std::set<std::string> needed;
  for (const CommandRow& row : commandTable()) {
    for (std::size_t blank = row.path.find(' '); blank != std::string_view::npos;
         blank = row.path.find(' ', blank + 1)) {
      const std::string group(row.path.substr(0, blank));
      const auto rows = commandTable();
      if (std::none_of(rows.begin(), rows.end(),
                       [&](auto& other) { return other.path == group; })) {
        needed.insert(group);
      }
    }
  }
  std::multiset<std::string> given;
  for (const CommandGroup& group : commandGroups()) {
    EXPECT_FALSE(group.summary.empty()) << group.path;
    given.emplace(group.path);
  }
  EXPECT_EQ(given, std::multiset<std::string>(needed.begin(), needed.end()));
}

TEST(CommandTableTest, EveryRowCanBeExplained) {
  for (const CommandRow& row : commandTable()) {
    EXPECT_FALSE(row.summary.empty()) << row.path;
    EXPECT_NE(row.summary.back(), '.') << row.path;
    EXPECT_LE(row.summary.size(), 38U) << row.path;
    EXPECT_FALSE(row.details.ends_with('\n')) << row.path;
    EXPECT_TRUE(row.example.starts_with("korvoctl " + std::string(row.path))) << row.path;
    for (const Positional& positional : row.positionals) {
      EXPECT_FALSE(positional.name.empty() || positional.help.empty()) << row.path;
    }
    for (const CommandOption& option : row.options) {
      EXPECT_FALSE(option.help.empty()) << row.path << option.name;
    }
  }
}

TEST(CommandTableTest, OnlyTheLastPositionalRepeats) {
  for (const CommandRow& row : commandTable()) {
    for (std::size_t i = 0; i + 1 < row.positionals.size(); ++i) {
      EXPECT_FALSE(row.positionals[i].repeats) << row.path;
    }
  }
}

TEST(CommandTableTest, OptionsOfAChoiceStandTogetherAndAreAllNeededOrNone) {
  for (const CommandRow& row : commandTable()) {
    std::set<std::string_view> names;
    unsigned last = 0;
    std::set<unsigned> over;
    for (const CommandOption& option : row.options) {
      EXPECT_TRUE(option.name.starts_with("--")) << row.path;
      EXPECT_TRUE(names.insert(option.name).second) << row.path;
      if (option.choice != last) {
        EXPECT_TRUE(last == 0 || over.insert(last).second) << row.path;
        EXPECT_FALSE(over.contains(option.choice)) << row.path;
        last = option.choice;
      }
      for (const CommandOption& other : row.options) {
        if (option.choice != 0 && other.choice == option.choice) {
          EXPECT_EQ(other.needed, option.needed) << row.path;
        }
        // Two keywords in one command cannot be.
        if (&other != &option && other.replacesKeyword && option.replacesKeyword) {
          EXPECT_TRUE(option.choice != 0 && other.choice == option.choice) << row.path;
        }
      }
    }
  }
}

TEST(CommandTableTest, RowsThatAskAnAgentNameEntryAndKeyword) {
  for (const CommandRow& row : commandTable()) {
    if (row.build == &rawRequest || row.local != nullptr) {
      EXPECT_TRUE(row.path == "raw" || row.path == "commands") << row.path;
      EXPECT_FALSE(row.entry.has_value()) << row.path;
      continue;
    }
    EXPECT_TRUE(row.entry.has_value()) << row.path;
    EXPECT_FALSE(row.keyword.empty()) << row.path;
    // The word is how the agent finds out that detail is wanted.
    EXPECT_EQ(row.keyword.find("detail"), std::string_view::npos) << row.path;
  }
}

TEST(CommandTableTest, EachDumpAsksForItsKeyword) {
  EXPECT_EQ(wireOf("show mac address-table"), "async text MACT_ALL");
  EXPECT_EQ(wireOf("show mac address-table", {.json = true}), "async json MACT_ALL");
  EXPECT_EQ(wireOf("show vlan range ingress"), "async text ING_VLAN_RANGE");
  EXPECT_EQ(wireOf("show vlan translation ingress"), "async text VLAN_XLATE_STATUS");
  EXPECT_EQ(wireOf("show vlan translation egress"), "async text EGR_VLAN_XLATE_STATUS");
  EXPECT_EQ(wireOf("show vxlan vlan"), "async text VXLAN_VLAN");
  EXPECT_EQ(wireOf("show vxlan vlan", {.options = {{"--detail", ""}}}),
            "async text VXLAN_VLAN detail");
  EXPECT_EQ(wireOf("show vxlan vlan summary", {.json = true}), "sync json VXLAN_VLAN_SUMMARY");
  EXPECT_EQ(wireOf("show vxlan routing"), "async text VXLAN_ROUTING_INFO");
}

TEST(CommandTableTest, AgentQuestionsGoToTheAgentEntry) {
  EXPECT_EQ(wireOf("agent status"), "agent text status");
  EXPECT_EQ(wireOf("agent chips", {.json = true}), "agent json chips");
  EXPECT_EQ(wireOf("agent requests"), "agent text requests");
  EXPECT_EQ(wireOf("agent schema", {.json = true}), "agent json schema");
  EXPECT_EQ(wireOf("agent cancel", {.words = {"7"}}), "agent text cancel 7");
}

TEST(CommandTableTest, PlainCommandsGoToThePlainEntryInText) {
  EXPECT_EQ(wireOf("show vlan vfi"), "plain text VlanVfiMap");
  EXPECT_EQ(wireOf("show mlag egress-mask"), "plain text EGR_MASK_STATUS");
  EXPECT_EQ(wireOf("show vxlan counters vni ingress"), "plain text VniIngressFlexCountersValues");
  EXPECT_EQ(wireOf("show vxlan counters vtep decap summary"), "plain text FCVDS");
  EXPECT_EQ(wireOf("clear multicast shadow"), "plain text HW_MCAST_CLEAR");
  for (const CommandRow& row : commandTable()) {
    EXPECT_FALSE(row.entry == Entry::kPlain && row.takesJson()) << row.path;
  }
}

TEST(CommandTableTest, OptionsReplaceTheKeywordOrFollowIt) {
  const std::string_view groups = "show multicast groups hardware";
  EXPECT_EQ(wireOf(groups), "plain text HW_MCAST_ALL");
  EXPECT_EQ(wireOf(groups, {.options = {{"--differences", ""}}}), "plain text HW_MCAST_DIFF");
  EXPECT_EQ(wireOf(groups, {.options = {{"--index", "7"}}}), "plain text HW_MCAST_MCIDX+7");
  EXPECT_EQ(wireOf("show router-mac"), "plain text PER_VLAN_ENTRY");
  EXPECT_EQ(wireOf("show router-mac", {.options = {{"--vlan", "10"}}}),
            "plain text PER_VLAN_ENTRY_VLAN-10");
  EXPECT_EQ(wireOf("show router-mac", {.options = {{"--mac", "0001.0002.0003"}}}),
            "plain text PER_VLAN_ENTRY_MAC-0001.0002.0003");
  const std::string_view shadow = "show shadow egress-vlan-xlate-2";
  EXPECT_EQ(wireOf(shadow), "plain text ShadowShow+EGR_XLATE_2");
  EXPECT_EQ(wireOf(shadow, {.options = {{"--raw", ""}, {"--entry", "5"}, {"--chip", "3"}}}),
            "plain text ShadowShow+EGR_XLATE_2+CHIP+3+VAL+5+RAW");
  EXPECT_EQ(wireOf(shadow, {.options = {{"--all", ""}}}),
            "plain text ShadowShow+EGR_XLATE_2+ALLENTRIES");
}

TEST(CommandTableTest, DestinationIsAskedForWithAllThreeValues) {
  const std::vector<std::string> mac = {"0001.0002.0003"};
  EXPECT_EQ(wireOf("show vxlan destination", {.options = {{"--vlan", "10"}}, .words = mac}),
            "plain text EcmpOutputIntfTunnelId+dst-mac=0001.0002.0003,vlan-id=10,ingress-intf-id=");
  EXPECT_EQ(wireOf("show vxlan destination", {.options = {{"--interface", "Po1"}}, .words = mac}),
            "plain text EcmpOutputIntfTunnelId+dst-mac=0001.0002.0003,vlan-id=0,"
            "ingress-intf-id=Po1");
}

TEST(CommandTableTest, UsageShowsWhichOptionsExcludeEachOtherAndWhichAreNeeded) {
  EXPECT_EQ(usage(rowOf("show mac hardware")),
            "show mac hardware [--detail] [--chip LIST] [--json]");
  EXPECT_EQ(usage(rowOf("show router-mac")), "show router-mac [--vlan N | --mac MAC]");
  EXPECT_EQ(usage(rowOf("show vxlan destination")),
            "show vxlan destination MAC (--vlan N | --interface INTERFACE)");
  EXPECT_EQ(usage(rowOf("show shadow egress-vlan-xlate")),
            "show shadow egress-vlan-xlate --chip CHIP [--entry N | --all] [--raw]");
  EXPECT_EQ(usage(rowOf("agent cancel")), "agent cancel N [--json]");
}

TEST(CommandTableTest, SyntaxShowsWhatFollowsTheKeyword) {
  EXPECT_EQ(syntax(rowOf("show mac address-table")), "MACT_ALL");
  EXPECT_EQ(syntax(rowOf("check mac diff")), "MACT_DIFF[ detail]LIST");
  EXPECT_EQ(syntax(rowOf("show router-mac")), "PER_VLAN_ENTRY");
  EXPECT_EQ(syntax(rowOf("show vxlan vlan")), "VXLAN_VLAN[ detail]");
  EXPECT_EQ(syntax(rowOf("show vxlan destination")),
            "EcmpOutputIntfTunnelId+dst-mac=MAC,vlan-id=N,ingress-intf-id=INTERFACE");
  EXPECT_EQ(syntax(rowOf("show shadow vfi")),
            "ShadowShow+VFI[+CHIP+CHIP][+VAL+N|+ALLENTRIES][+RAW]");
  EXPECT_EQ(syntax(rowOf("show shadow egress-vlan-xlate")),
            "ShadowShow+EGR_XLATE+CHIP+CHIP[+VAL+N|+ALLENTRIES][+RAW]");
  EXPECT_EQ(syntax(rowOf("raw")), "");
}

// What a row sends with any of its options has the parts of its syntax, in their order.
TEST(CommandTableTest, SyntaxHoldsTheTextOfEveryOption) {
  for (const CommandRow& row : commandTable()) {
    std::size_t at = 0;
    const std::string whole = syntax(row);
    for (const CommandOption& option : row.options) {
      if (!option.replacesKeyword) {
        const std::string text = fmt::format("{}{}", option.text, placeholder(option.kind));
        at = whole.find(text, at);
        ASSERT_NE(at, std::string::npos) << whole << " lacks " << text;
        at += text.size();
      }
    }
  }
}

TEST(CommandTableTest, RequestIsThatOfTheRowWithTheLongestKeyword) {
  const auto pathOf = [](Entry entry, const char* command) {
    const CommandRow* row = rowOfRequest({entry, Format::kText, command});
    return row == nullptr ? std::string_view() : row->path;
  };
  EXPECT_EQ(pathOf(Entry::kAsync, "MACT_DIFF0,1"), "check mac diff");
  EXPECT_EQ(pathOf(Entry::kPlain, "VLAN_XLATE_STATUS_2"), "show vlan translation ingress stage-2");
  EXPECT_EQ(pathOf(Entry::kAsync, "VLAN_XLATE_STATUS_2"), "show vlan translation ingress");
  EXPECT_EQ(pathOf(Entry::kPlain, "MACT_DIFF0"), "");
  EXPECT_EQ(pathOf(Entry::kAsync, "NOPE"), "");
}

TEST(CommandTableTest, ListOfChipsThatIsEmptyIsWarnedAbout) {
  const auto warning = [](Entry entry, const char* command) {
    return warningAbout({entry, Format::kText, command});
  };
  for (const char* command : {"MACT_DIFF", "MACT_MISSING", "MACT_HW_ALL", "MACT_DIFF detail",
                              "MACT_DIFFdetail", "MACT_DIFF+detail"}) {
    EXPECT_THAT(warning(Entry::kAsync, command),
                testing::AllOf(testing::StartsWith(fmt::format("'{}' names no chip", command)),
                               testing::HasSubstr(fmt::format("({}0,1)", command))));
  }
  for (const char* command :
       {"MACT_DIFF0", "MACT_DIFF detail0", "MACT_DIFF 0", "MACT_ALL", "VXLAN_VLAN", "NOPE", ""}) {
    EXPECT_EQ(warning(Entry::kAsync, command), "") << command;
  }
  EXPECT_EQ(warning(Entry::kPlain, "MACT_DIFF"), "");
}

// The agent takes as argument what follows the keyword, or with "detail" in the command what
// follows the seventh character after the keyword.
std::string argumentAsTheAgentSeesIt(std::string_view wire, std::string_view keyword) {
  std::string_view command = wire.substr(wire.find(keyword));
  const std::size_t skipped = command.find("detail") == std::string_view::npos ? 0 : 7;
  return std::string(command.substr(keyword.size() + skipped));
}

TEST(CommandTableTest, ChipListReachesTheAgentWithNothingAroundIt) {
  for (const auto& [path, keyword] :
       {std::pair{"show mac hardware", "MACT_HW_ALL"}, std::pair{"check mac diff", "MACT_DIFF"},
        std::pair{"check mac missing", "MACT_MISSING"}}) {
    for (const bool detail : {false, true}) {
      for (const char* chips : {"0,1", "127", ""}) {
        Arguments arguments{.options = {{"--chip", chips}}};
        if (detail) {
          arguments.options.emplace("--detail", "");
        }
        const std::string wire = wireOf(path, arguments);
        EXPECT_EQ(argumentAsTheAgentSeesIt(wire, keyword), chips) << wire;
      }
    }
  }
  EXPECT_EQ(wireOf("show mac hardware", {.options = {{"--chip", "0,1"}}}),
            "async text MACT_HW_ALL0,1");
  EXPECT_EQ(
      wireOf("show mac hardware", {.json = true, .options = {{"--detail", ""}, {"--chip", "0,1"}}}),
      "async json MACT_HW_ALL detail0,1");
}

TEST(CommandTableTest, RawWordsAreSentJoinedWithBlanks) {
  EXPECT_EQ(wireOf("raw", {.words = {"plain", "text", "HW_MCAST_ALL"}}), "plain text HW_MCAST_ALL");
  EXPECT_EQ(wireOf("raw", {.words = {"async", "json", "MACT_HW_ALL", "detail0"}}),
            "async json MACT_HW_ALL detail0");
  EXPECT_EQ(wireOf("raw", {.words = {"sync", "text", " two  blanks "}}), "sync text  two  blanks ");
}

TEST(CommandTableTest, RawTakesKnownEntriesAndFormatsOnly) {
  EXPECT_THAT(wireOf("raw", {.words = {"fast", "text", "X"}}), testing::HasSubstr("'fast'"));
  EXPECT_THAT(wireOf("raw", {.words = {"sync", "xml", "X"}}), testing::HasSubstr("'xml'"));
}

TEST(CommandTableTest, PathLiesBelowItsFirstWholeWords) {
  EXPECT_TRUE(liesBelow("show vxlan vlan", "show vxlan"));
  EXPECT_TRUE(liesBelow("show vxlan vlan", "show vxlan vlan"));
  EXPECT_TRUE(liesBelow("raw", ""));
  EXPECT_FALSE(liesBelow("show vxlan", "show vx"));
  EXPECT_FALSE(liesBelow("show", "show vxlan"));
}

}  // namespace
}  // namespace KorvoCtl
