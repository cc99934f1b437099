#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "client/CommandLine.h"

namespace KorvoCtl {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

CommandLine parse(const std::vector<std::string>& words) {
  return parseCommandLine(words, "/default.sock");
}

// Words between blanks.
CommandLine parse(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return parse(words);
}

Invocation invocationOf(const CommandLine& line) {
  if (const auto* problem = std::get_if<Problem>(&line)) {
    ADD_FAILURE() << problem->message;
  }
  return std::holds_alternative<Invocation>(line) ? std::get<Invocation>(line) : Invocation{};
}

std::string problemIn(const std::string& line) {
  const CommandLine result = parse(line);
  const auto* problem = std::get_if<Problem>(&result);
  if (problem == nullptr) {
    return "no problem";
  }
  EXPECT_EQ(problem->status, ExitStatus::kUsage);
  return problem->message + "\n" + problem->help;
}

std::string answerTo(const std::string& line) {
  const CommandLine result = parse(line);
  const auto* answer = std::get_if<Answer>(&result);
  return answer == nullptr ? "no answer" : answer->text;
}

TEST(CommandLineTest, EveryRowsExampleIsACommandLineThatRunsIt) {
  for (const CommandRow& row : commandTable()) {
    std::string words(row.example.substr(std::string_view("korvoctl ").size()));
    words = words.substr(0, words.find(" &&"));
    EXPECT_EQ(invocationOf(parse(words)).row, &row) << row.example;
  }
}

// A value that is right for an option or an argument.
std::string goodValue(ValueKind kind) {
  switch (kind) {
    case ValueKind::kMac:
      return "0001.0002.0003";
    case ValueKind::kInterface:
      return "Ethernet3/1";
    default:
      return "7";
  }
}

// The row's words with an argument for each positional and with every needed option.
std::string leastLine(const CommandRow& row) {
  std::string words(row.path);
  for (const Positional& positional : row.positionals) {
    words += " " + goodValue(positional.kind);
  }
  unsigned satisfied = 0;
  for (const CommandOption& option : row.options) {
    if (option.needed && (option.choice == 0 || option.choice != satisfied)) {
      words += fmt::format(" {} {}", option.name, goodValue(option.kind));
      satisfied = option.choice;
    }
  }
  return words;
}

std::set<std::string_view> allOptionNames() {
  std::set<std::string_view> names;
  for (const CommandRow& row : commandTable()) {
    for (const CommandOption& option : row.options) {
      names.insert(option.name);
    }
  }
  return names;
}

TEST(CommandLineTest, EveryRowTakesWhatItSaysAndNothingElse) {
  for (const CommandRow& row : commandTable()) {
    if (row.build == &rawRequest) {
      continue;
    }
    const std::string words = leastLine(row);
    EXPECT_EQ(invocationOf(parse(words)).row, &row);
    EXPECT_EQ(problemIn(words + " --json") == "no problem", row.takesJson()) << row.path;
    EXPECT_THAT(problemIn(words + " --weather"), HasSubstr("--weather")) << row.path;
    EXPECT_THAT(problemIn(words + " surplus"), HasSubstr("'surplus'")) << row.path;
    for (const std::string_view name : allOptionNames()) {
      const bool isOfRow = std::any_of(row.options.begin(), row.options.end(),
                                       [&](const auto& option) { return option.name == name; });
      if (!isOfRow) {
        EXPECT_THAT(problemIn(fmt::format("{} {}=7", words, name)), HasSubstr(name)) << row.path;
      }
    }
  }
}

TEST(CommandLineTest, EveryOptionOfEveryRowReachesTheArguments) {
  for (const CommandRow& row : commandTable()) {
    for (const CommandOption& option : row.options) {
      std::string words(row.path);
      for (const Positional& positional : row.positionals) {
        words += " " + goodValue(positional.kind);
      }
      for (const CommandOption& other : row.options) {
        if (&other != &option && other.needed &&
            (other.choice == 0 || other.choice != option.choice)) {
          words += fmt::format(" {} {}", other.name, goodValue(other.kind));
        }
      }
      const bool isFlag = option.kind == ValueKind::kNone;
      const std::string value = isFlag ? "" : goodValue(option.kind);
      words += fmt::format(" {} {}", option.name, value);
      const Arguments arguments = invocationOf(parse(words)).arguments;
      ASSERT_TRUE(arguments.options.contains(option.name)) << words;
      EXPECT_EQ(arguments.options.at(option.name), value) << words;
    }
  }
}

TEST(CommandLineTest, OptionsThatAreNotGivenAreAbsent) {
  EXPECT_THAT(invocationOf(parse("show mac hardware")).arguments.options, IsEmpty());
  EXPECT_FALSE(invocationOf(parse("show mac hardware")).arguments.json);
}

TEST(CommandLineTest, OptionsThatExcludeEachOtherAreNotTakenTogether) {
  for (const char* line : {"show router-mac --vlan 1 --mac 0001.0002.0003",
                           "show multicast groups hardware --differences --index 1",
                           "show vxlan destination 0001.0002.0003 --vlan 1 --interface Et1",
                           "show shadow vfi --all --entry 1"}) {
    EXPECT_THAT(problemIn(line), HasSubstr("exclude each other")) << line;
  }
}

TEST(CommandLineTest, NeededOptionsAreAskedFor) {
  EXPECT_THAT(problemIn("show vxlan destination 0001.0002.0003"),
              HasSubstr("needs --vlan N or --interface INTERFACE"));
  EXPECT_THAT(problemIn("show shadow egress-vlan-xlate"), HasSubstr("needs --chip CHIP"));
  EXPECT_THAT(problemIn("show vxlan destination --vlan 1"), HasSubstr("MAC is required"));
}

TEST(CommandLineTest, ValuesAreCheckedBeforeAnythingIsSent) {
  for (const char* line :
       {"show router-mac --vlan 0", "show router-mac --vlan 4095", "show router-mac --vlan ten",
        "show router-mac --vlan", "show router-mac --vlan 1 --vlan 2"}) {
    EXPECT_THAT(problemIn(line), AllOf(HasSubstr("--vlan"), EndsWith("router-mac --help'.\n")))
        << line;
  }
  EXPECT_THAT(problemIn("show router-mac --mac 1.2.3"), HasSubstr("hhhh.hhhh.hhhh"));
  EXPECT_THAT(problemIn("show vxlan destination nonsense --vlan 1"), HasSubstr("'nonsense'"));
  EXPECT_THAT(problemIn("show vxlan destination 0001.0002.0003 --interface a,vlan-id=1"),
              HasSubstr("--interface"));
  EXPECT_THAT(problemIn("show multicast groups hardware --index 4294967296"),
              HasSubstr("from 0 to 4294967295"));
  for (const char* word : {"x", "7x", "99999999999999999999"}) {
    EXPECT_THAT(problemIn(std::string("agent cancel ") + word), HasSubstr(word));
  }
}

TEST(CommandLineTest, TextOnlyCommandsSayThatTheyAre) {
  EXPECT_THAT(problemIn("show vlan vfi --json"), HasSubstr("answers in text only"));
  EXPECT_THAT(problemIn("show vlan translation egress --json"), HasSubstr("answers in text only"));
}

TEST(CommandLineTest, ChipsMayBeGivenOneByOne) {
  EXPECT_EQ(
      invocationOf(parse("check mac diff --chip 0 --chip=Korvo1,2")).arguments.options.at("--chip"),
      "0,Korvo1,2");
}

TEST(CommandLineTest, ChipOptionTakesOneWordOnly) {
  EXPECT_THAT(problemIn("check mac diff --chip 0 1"), HasSubstr("'1'"));
  EXPECT_THAT(problemIn("check mac diff --chip"), HasSubstr("--chip"));
}

TEST(CommandLineTest, FlagGivenTwiceIsGiven) {
  EXPECT_TRUE(invocationOf(parse("agent status --json --json")).arguments.json);
}

TEST(CommandLineTest, SocketMayBeNamedBeforeAmongAndAfterTheWords) {
  EXPECT_EQ(invocationOf(parse("agent status")).options.socketPath, "/default.sock");
  for (const char* line : {"-s /x agent status", "agent -s /x status", "agent status -s /x",
                           "agent status --socket=/x", "agent status -s /y -s /x"}) {
    EXPECT_EQ(invocationOf(parse(line)).options.socketPath, "/x") << line;
  }
}

TEST(CommandLineTest, WaitsAreInSeconds) {
  EXPECT_EQ(invocationOf(parse("agent status")).options.patience, 10s);
  EXPECT_EQ(invocationOf(parse("agent status --timeout 0.25")).options.patience, 250ms);
  EXPECT_EQ(invocationOf(parse("--timeout 0 agent status")).options.patience, 0ms);
  EXPECT_EQ(invocationOf(parse("agent status")).options.silence, 30s);
  EXPECT_EQ(invocationOf(parse("agent status --silence 0.25")).options.silence, 250ms);
  EXPECT_EQ(invocationOf(parse("--silence 0 agent status")).options.silence, 0ms);
  for (const char* option : {"--timeout", "--silence"}) {
    for (const char* value : {"-1", "x", "1e9", "nan"}) {
      EXPECT_THAT(problemIn(fmt::format("agent status {} {}", option, value)), HasSubstr(option))
          << value;
    }
  }
}

// 0 is for ever.
TEST(CommandLineTest, ShortestWaitIsNotRoundedToNone) {
  EXPECT_EQ(invocationOf(parse("agent status --timeout 0.0001")).options.patience, 1ms);
  EXPECT_EQ(invocationOf(parse("agent status --silence 0.0001")).options.silence, 1ms);
}

TEST(CommandLineTest, ProgressCanBeTurnedOff) {
  EXPECT_TRUE(invocationOf(parse("agent status")).options.progress);
  EXPECT_FALSE(invocationOf(parse("agent status --no-progress")).options.progress);
}

TEST(CommandLineTest, RawTakesTheRestAsWords) {
  EXPECT_THAT(invocationOf(parse("raw plain text A B  C")).arguments.words,
              ElementsAre("plain", "text", "A", "B", "C"));
  EXPECT_THAT(invocationOf(parse({"raw", "sync", "json", "A  B"})).arguments.words,
              ElementsAre("sync", "json", "A  B"));
}

TEST(CommandLineTest, RawWordsMayLookLikeCommands) {
  EXPECT_THAT(invocationOf(parse("raw plain text show agent raw")).arguments.words,
              ElementsAre("plain", "text", "show", "agent", "raw"));
}

TEST(CommandLineTest, RawWordsMayLookLikeOptionsBehindTheMark) {
  const auto raw = invocationOf(parse("raw -s /x plain text -- --json -s"));
  EXPECT_THAT(raw.arguments.words, ElementsAre("plain", "text", "--json", "-s"));
  EXPECT_EQ(raw.options.socketPath, "/x");
}

TEST(CommandLineTest, RawNeedsAllItsWords) {
  EXPECT_THAT(problemIn("raw"), HasSubstr("ENTRY"));
  EXPECT_THAT(problemIn("raw plain"), HasSubstr("FORMAT"));
  EXPECT_THAT(problemIn("raw plain text"), HasSubstr("COMMAND"));
}

TEST(CommandLineTest, CommandThatBeginsAnotherOneIsACommandItself) {
  EXPECT_EQ(invocationOf(parse("show vxlan vlan")).row->path, "show vxlan vlan");
  EXPECT_EQ(invocationOf(parse("show vxlan vlan summary")).row->path, "show vxlan vlan summary");
  EXPECT_TRUE(invocationOf(parse("show vxlan vlan --json summary")).arguments.json);
  // The summary has no detail; it must not get lost in silence.
  EXPECT_THAT(problemIn("show vxlan vlan --detail summary"),
              StartsWith("'show vxlan vlan summary' has no option --detail"));
}

TEST(CommandLineTest, NoCommandListsThemAll) {
  EXPECT_THAT(problemIn(""), AllOf(HasSubstr("show mac address-table"), HasSubstr("raw ENTRY")));
}

TEST(CommandLineTest, BeginningOfACommandListsWhatFollows) {
  EXPECT_THAT(problemIn("show mac"),
              AllOf(StartsWith("'show mac' is not a whole command"),
                    HasSubstr("show mac address-table"), Not(HasSubstr("vxlan"))));
}

TEST(CommandLineTest, UnknownCommandIsFollowedByWhatWasMeant) {
  EXPECT_THAT(problemIn("shwo mac address-table"),
              AllOf(HasSubstr("unknown command 'shwo'"),
                    HasSubstr("did you mean:\n  korvoctl show mac address-table\n")));
  EXPECT_THAT(problemIn("show mac diff --json"),
              AllOf(HasSubstr("unknown command 'diff' after 'show mac'"),
                    HasSubstr("korvoctl check mac diff\n")));
  EXPECT_THAT(problemIn("weather"), Not(HasSubstr("did you mean")));
}

TEST(CommandLineTest, UnknownOptionIsFollowedByWhatWasMeant) {
  EXPECT_THAT(problemIn("show mac hardware --chp=0"), HasSubstr("did you mean --chip?"));
  EXPECT_THAT(problemIn("show mac hardware --detial"), HasSubstr("did you mean --detail?"));
  EXPECT_THAT(problemIn("agent status --xyzzy"), Not(HasSubstr("did you mean")));
}

TEST(CommandLineTest, OptionInFrontOfItsCommandIsToldWhereItStands) {
  EXPECT_THAT(problemIn("show --json mac address-table"),
              HasSubstr("korvoctl show mac address-table --json"));
}

TEST(CommandLineTest, WrongUsageShowsTheRightOneAndPointsToTheHelp) {
  EXPECT_THAT(problemIn("show router-mac 10"),
              EndsWith("\nUsage: korvoctl show router-mac [--vlan N | --mac MAC]\n"
                       "Try 'korvoctl show router-mac --help'.\n"));
  EXPECT_THAT(problemIn("agent cancel"), EndsWith("\nTry 'korvoctl agent cancel --help'.\n"));
  EXPECT_THAT(problemIn("--weather"), EndsWith("\nTry 'korvoctl --help'.\n"));
}

TEST(CommandLineTest, HelpListsEveryCommandOnALineThatFits) {
  const std::string help = answerTo("--help");
  for (const CommandRow& row : commandTable()) {
    EXPECT_THAT(help, AllOf(HasSubstr("  " + synopsis(row)), HasSubstr(row.summary)));
  }
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 81U) << line;
  }
}

TEST(CommandLineTest, HelpNamesEveryExitStatusAndTheEnvironment) {
  EXPECT_THAT(answerTo("--help"),
              AllOf(HasSubstr("KORVO_L2_SOCKET"), HasSubstr("  0  ok\n"), HasSubstr("\n  1  "),
                    HasSubstr("\n  2  "), HasSubstr("\n  3  "), HasSubstr("\n  4  "),
                    HasSubstr("\n  5  ")));
}

TEST(CommandLineTest, HelpOfFirstWordsListsOnlyWhatIsBelow) {
  for (const char* line : {"show --help", "show -h", "help show"}) {
    EXPECT_THAT(answerTo(line), AllOf(StartsWith("Show tables."), HasSubstr("show vxlan routing"),
                                      Not(HasSubstr("check mac diff"))))
        << line;
  }
}

TEST(CommandLineTest, HelpOfEveryCommandShowsItsOptionsAndExample) {
  for (const CommandRow& row : commandTable()) {
    const std::string help = answerTo(std::string(row.path) + " --help");
    EXPECT_THAT(help, AllOf(StartsWith(std::string(row.summary) + ".\n"), HasSubstr(row.details),
                            HasSubstr(row.example), HasSubstr("--socket")));
    EXPECT_THAT(help, HasSubstr("\nUsage: korvoctl " + usage(row) + "\n"));
    for (const CommandOption& option : row.options) {
      EXPECT_THAT(help, AllOf(HasSubstr("  " + withValue(option)), HasSubstr(option.help)));
    }
    EXPECT_EQ(help.find("  --json ") != std::string::npos, row.takesJson()) << help;
    EXPECT_EQ(help.find("\n\n\n"), std::string::npos) << help;
  }
}

TEST(CommandLineTest, VersionIsOneLine) {
  EXPECT_THAT(answerTo("--version"), testing::MatchesRegex("korvoctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(CommandLineTest, ClearingSaysWhatItDoes) {
  EXPECT_THAT(answerTo("clear multicast shadow --help"),
              AllOf(HasSubstr("without asking"), HasSubstr("stay as they are")));
}

}  // namespace
}  // namespace KorvoCtl
