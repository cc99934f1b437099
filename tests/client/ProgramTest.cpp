// Whole runs of the client inside the test's own process.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "client/Program.h"
#include "tests/client/FakeAgent.h"

namespace KorvoCtl {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kTwoChips =
    R"({"chips":[{"id":0,"name":"Korvo0"},{"id":1,"name":"Korvo1"}]})";
constexpr const char* kDiffText = "\nTotal entries different between software and hardware:  %\n\n";

class ProgramTest : public testing::Test {
 protected:
  ProgramTest() { ::signal(SIGPIPE, SIG_IGN); }

  // The words between blanks, against an agent with these scripts.
  ExitStatus run(const std::string& line, std::vector<FakeAgent::Script> scripts) {
    FakeAgent agent(std::move(scripts));
    surroundings_.defaultSocket = agent.path();
    const ExitStatus status = runAlone(line);
    requests_ = agent.requests();
    return status;
  }

  // Without an agent.
  ExitStatus runAlone(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
      words.push_back(word);
    }
    const Descriptor out = create("out");
    const Descriptor err = create("err");
    surroundings_.output = out.get();
    surroundings_.errors = err.get();
    const RunResult result = KorvoCtl::run(words, surroundings_);
    EXPECT_FALSE(result.outputClosed);
    out_ = contents("out");
    err_ = contents("err");
    return result.status;
  }

  Surroundings surroundings_;
  std::string out_;
  std::string err_;
  std::vector<std::string> requests_;

 private:
  [[nodiscard]] Descriptor create(const char* name) const {
    return Descriptor(
        ::open(dir_.file(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  }
  [[nodiscard]] std::string contents(const char* name) const {
    std::ifstream file(dir_.file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TempDir dir_;
};

std::string diffText(const std::string& count) {
  std::string text = kDiffText;
  return text.replace(text.find('%'), 1, count);
}

TEST_F(ProgramTest, DataGoesToOutputAndNothingElseDoes) {
  EXPECT_EQ(run("show mac address-table", {FakeAgent::answers("rows\n")}), ExitStatus::kOk);
  EXPECT_EQ(out_, "rows\n");
  EXPECT_EQ(err_, "");
  EXPECT_THAT(requests_, ElementsAre("async text MACT_ALL"));
}

TEST_F(ProgramTest, FailureIsToldOnStandardError) {
  EXPECT_EQ(run("show vxlan routing", {FakeAgent::answers("part", "error", "std::bad_alloc")}),
            ExitStatus::kFailed);
  EXPECT_EQ(out_, "part");
  EXPECT_EQ(err_,
            "korvoctl: the command failed after 4 bytes, the answer is cut off: "
            "std::bad_alloc\n");
}

TEST_F(ProgramTest, WithoutChipsTheAgentIsAskedForAllOfThem) {
  EXPECT_EQ(
      run("show mac hardware --json", {FakeAgent::answers(kTwoChips), FakeAgent::answers("{}\n")}),
      ExitStatus::kOk);
  EXPECT_THAT(requests_, ElementsAre("agent json chips", "async json MACT_HW_ALL0,1"));
  EXPECT_EQ(out_, "{}\n");
}

TEST_F(ProgramTest, ChipsAreTurnedIntoNumbers) {
  EXPECT_EQ(run("show mac hardware --chip Korvo1,0 --detail",
                {FakeAgent::answers(kTwoChips), FakeAgent::answers("rows\n")}),
            ExitStatus::kOk);
  EXPECT_THAT(requests_, ElementsAre("agent json chips", "async text MACT_HW_ALL detail1,0"));
}

TEST_F(ProgramTest, CheckOfAChipThatDoesNotExistIsNotRun) {
  EXPECT_EQ(run("check mac diff --chip 7", {FakeAgent::answers(kTwoChips)}), ExitStatus::kUsage);
  EXPECT_THAT(err_, AllOf(HasSubstr("'7'"), HasSubstr("Korvo0")));
  EXPECT_EQ(out_, "");
}

TEST_F(ProgramTest, AgentThatCannotNameItsChipsEndsTheCommand) {
  EXPECT_EQ(run("check mac diff", {FakeAgent::answers("", "not-ready")}), ExitStatus::kUnavailable);
  EXPECT_EQ(run("check mac diff", {FakeAgent::answers("", "no-handler")}), ExitStatus::kRefused);
  EXPECT_THAT(err_, HasSubstr("'chips'"));
  EXPECT_EQ(run("check mac diff", {FakeAgent::answers("chips")}), ExitStatus::kFailed);
  EXPECT_THAT(err_, HasSubstr("chips is not understood"));
}

TEST_F(ProgramTest, CheckThatFindsNothingIsOk) {
  EXPECT_EQ(
      run("check mac diff", {FakeAgent::answers(kTwoChips), FakeAgent::answers(diffText("0"))}),
      ExitStatus::kOk);
  EXPECT_THAT(requests_, ElementsAre("agent json chips", "async text MACT_DIFF0,1"));
  EXPECT_EQ(out_, diffText("0"));
  EXPECT_EQ(
      run("check mac missing --json", {FakeAgent::answers(kTwoChips),
                                       FakeAgent::answers("{\"macTableMissingEntries\": []}\n")}),
      ExitStatus::kOk);
  EXPECT_THAT(requests_, ElementsAre("agent json chips", "async json MACT_MISSING0,1"));
}

TEST_F(ProgramTest, CheckThatFindsSomethingSaysSoInItsStatus) {
  EXPECT_EQ(
      run("check mac diff", {FakeAgent::answers(kTwoChips), FakeAgent::answers(diffText("12"))}),
      ExitStatus::kNo);
  EXPECT_EQ(out_, diffText("12"));
  EXPECT_EQ(err_, "");
  const std::string json = R"({"macTableMissingEntries": [{"vlan":1,"modules":[]}]})";
  EXPECT_EQ(
      run("check mac missing --json", {FakeAgent::answers(kTwoChips), FakeAgent::answers(json)}),
      ExitStatus::kNo);
  EXPECT_EQ(out_, json);
  EXPECT_EQ(
      run("check mac missing", {FakeAgent::answers(kTwoChips),
                                FakeAgent::answers("\nTotal entries missing in software:  0\n\n"
                                                   "Total entries missing in hardware:  2\n")}),
      ExitStatus::kNo);
}

TEST_F(ProgramTest, CheckWhoseAnswerTellsNothingIsNotOk) {
  EXPECT_EQ(run("check mac diff", {FakeAgent::answers(kTwoChips), FakeAgent::answers("")}),
            ExitStatus::kFailed);
  EXPECT_THAT(err_, HasSubstr("does not say"));
}

TEST_F(ProgramTest, CheckWhoseDocumentIsNotWholeIsNotOk) {
  for (const char* answer : {R"({"macTableDiffEntries":[)", R"({"macTableDiffEntries":[{}])"}) {
    EXPECT_EQ(
        run("check mac diff --json", {FakeAgent::answers(kTwoChips), FakeAgent::answers(answer)}),
        ExitStatus::kFailed);
    EXPECT_EQ(out_, answer);
    EXPECT_THAT(err_, HasSubstr("not whole"));
  }
}

TEST_F(ProgramTest, CheckThatWasCutOffFailsWhateverItHadFound) {
  EXPECT_EQ(run("check mac diff",
                {FakeAgent::answers(kTwoChips), FakeAgent::answers(diffText("1"), "cancelled")}),
            ExitStatus::kFailed);
}

TEST_F(ProgramTest, DumpIsNoCheck) {
  EXPECT_EQ(
      run("show mac hardware", {FakeAgent::answers(kTwoChips), FakeAgent::answers(diffText("1"))}),
      ExitStatus::kOk);
  EXPECT_EQ(run("raw async text MACT_DIFF0", {FakeAgent::answers(diffText("1"))}), ExitStatus::kOk);
}

TEST_F(ProgramTest, RawCheckThatNamesNoChipIsWarnedAbout) {
  EXPECT_EQ(run("raw async text MACT_DIFF", {FakeAgent::answers(diffText("0"))}), ExitStatus::kOk);
  EXPECT_EQ(out_, diffText("0"));
  EXPECT_THAT(err_, AllOf(StartsWith("korvoctl: 'MACT_DIFF' names no chip"),
                          HasSubstr("'korvoctl check mac diff'")));
  EXPECT_EQ(run("raw async text MACT_DIFF0", {FakeAgent::answers(diffText("0"))}), ExitStatus::kOk);
  EXPECT_EQ(err_, "");
  // Of a switch without chips there is nothing to look at.
  EXPECT_EQ(run("check mac diff",
                {FakeAgent::answers(R"({"chips":[]})"), FakeAgent::answers(diffText("0"))}),
            ExitStatus::kOk);
  EXPECT_EQ(err_, "");
}

constexpr const char* kFound = R"({"interfaces":[{"name":"Ethernet3/3","shortName":"Et3/3"}]})";

TEST_F(ProgramTest, InterfaceIsSentByItsFullName) {
  for (const char* name : {"Et3/3", "Ethernet3/3"}) {
    EXPECT_EQ(run(std::string("show vxlan destination 0001.0002.0003 --interface ") + name,
                  {FakeAgent::answers(kFound), FakeAgent::answers("7")}),
              ExitStatus::kOk);
    EXPECT_THAT(requests_,
                ElementsAre(std::string("agent json interface ") + name,
                            "plain text EcmpOutputIntfTunnelId+dst-mac=0001.0002.0003,vlan-id=0,"
                            "ingress-intf-id=Ethernet3/3"));
    EXPECT_EQ(out_, "7");
  }
}

TEST_F(ProgramTest, InterfaceThatDoesNotExistIsAnError) {
  const std::string line = "show vxlan destination 0001.0002.0003 --interface Et9/9";
  EXPECT_EQ(run(line, {FakeAgent::answers(R"({"interfaces":[]})")}), ExitStatus::kUsage);
  EXPECT_EQ(err_, "korvoctl: the agent knows no interface 'Et9/9'\n");
  EXPECT_THAT(requests_, ElementsAre("agent json interface Et9/9"));
  EXPECT_EQ(run(line, {FakeAgent::answers("", "refused", "unknown question")}),
            ExitStatus::kRefused);
  for (const char* answer : {"", "[]", "{}", R"({"interfaces":7})", R"({"interfaces":[7]})",
                             R"({"interfaces":[{"name":7}]})"}) {
    EXPECT_EQ(run(line, {FakeAgent::answers(answer)}), ExitStatus::kFailed) << answer;
    EXPECT_THAT(err_, HasSubstr("not understood"));
  }
}

TEST_F(ProgramTest, RawIsSentAsItIs) {
  EXPECT_EQ(run("raw plain text ShadowShow+VFI+ detail", {FakeAgent::answers("table\n")}),
            ExitStatus::kOk);
  EXPECT_THAT(requests_, ElementsAre("plain text ShadowShow+VFI+ detail"));
  EXPECT_EQ(out_, "table\n");
}

TEST_F(ProgramTest, WrongUsageDoesNotReachTheAgent) {
  surroundings_.defaultSocket = "/nowhere/agent.sock";
  for (const char* line : {"", "show", "weather", "raw plain", "agent cancel x", "--timeout x",
                           "show router-mac --vlan 0", "check mac diff --vlan 1",
                           "show shadow egress-vlan-xlate", "--completion fish"}) {
    EXPECT_EQ(runAlone(line), ExitStatus::kUsage) << line;
    EXPECT_EQ(out_, "");
    EXPECT_THAT(err_, StartsWith("korvoctl: ")) << line;
    EXPECT_TRUE(err_.ends_with('\n')) << line;
  }
}

TEST_F(ProgramTest, MissingAgentIsToldWithThePath) {
  surroundings_.defaultSocket = "/nowhere/agent.sock";
  EXPECT_EQ(runAlone("agent status"), ExitStatus::kUnavailable);
  EXPECT_THAT(err_, StartsWith("korvoctl: no agent answers at /nowhere/agent.sock: "));
}

TEST_F(ProgramTest, OneChipIsTurnedIntoItsNumber) {
  EXPECT_EQ(run("show shadow vfi --chip Korvo1 --raw",
                {FakeAgent::answers(kTwoChips), FakeAgent::answers("table\n")}),
            ExitStatus::kOk);
  EXPECT_THAT(requests_, ElementsAre("agent json chips", "plain text ShadowShow+VFI+CHIP+1+RAW"));
  EXPECT_EQ(run("show shadow vfi --chip 0,1", {FakeAgent::answers(kTwoChips)}), ExitStatus::kUsage);
  EXPECT_THAT(err_, HasSubstr("'0,1'"));
}

TEST_F(ProgramTest, AgentIsNotAskedForChipsThatNobodyNamed) {
  EXPECT_EQ(run("show shadow vfi", {FakeAgent::answers("table\n")}), ExitStatus::kOk);
  EXPECT_THAT(requests_, ElementsAre("plain text ShadowShow+VFI"));
}

TEST_F(ProgramTest, EmptyAnswerIsExplainedWhereItMeansSomething) {
  const std::string line = "show vxlan destination 0001.0002.0003 --vlan 10";
  EXPECT_EQ(run(line, {FakeAgent::answers("")}), ExitStatus::kNo);
  EXPECT_EQ(out_, "");
  EXPECT_THAT(err_, StartsWith("korvoctl: no tunnel"));
  EXPECT_EQ(run(line, {FakeAgent::answers("7")}), ExitStatus::kOk);
  EXPECT_EQ(out_, "7");
  EXPECT_EQ(err_, "");
  // An empty table is an answer like any other.
  EXPECT_EQ(run("show vlan range ingress", {FakeAgent::answers("")}), ExitStatus::kOk);
  EXPECT_THAT(err_, StartsWith("korvoctl: no interface has VLAN ranges"));
  EXPECT_EQ(run("clear multicast shadow", {FakeAgent::answers("")}), ExitStatus::kOk);
  EXPECT_EQ(err_, "");
}

TEST_F(ProgramTest, OnATerminalTheLastLineIsEnded) {
  const std::string line = "show vxlan destination 0001.0002.0003 --vlan 10";
  surroundings_.outputIsTerminal = true;
  EXPECT_EQ(run(line, {FakeAgent::answers("7")}), ExitStatus::kOk);
  EXPECT_EQ(out_, "7\n");
  EXPECT_EQ(run(line, {FakeAgent::answers("")}), ExitStatus::kNo);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(run("show vlan vfi", {FakeAgent::answers("table\n")}), ExitStatus::kOk);
  EXPECT_EQ(out_, "table\n");
}

TEST_F(ProgramTest, CommandsAreListedWithoutAnAgent) {
  surroundings_.defaultSocket = "/nowhere/agent.sock";
  EXPECT_EQ(runAlone("commands"), ExitStatus::kOk);
  EXPECT_THAT(out_, StartsWith("COMMAND "));
  EXPECT_EQ(runAlone("commands --json"), ExitStatus::kOk);
  EXPECT_THAT(out_, StartsWith("{\"commands\":["));
  EXPECT_EQ(err_, "");
}

TEST_F(ProgramTest, HelpVersionAndCompletionGoToOutput) {
  EXPECT_EQ(runAlone("--help"), ExitStatus::kOk);
  EXPECT_THAT(out_, HasSubstr("Usage: korvoctl"));
  EXPECT_EQ(err_, "");
  EXPECT_EQ(runAlone("--version"), ExitStatus::kOk);
  EXPECT_THAT(out_, StartsWith("korvoctl "));
  EXPECT_EQ(runAlone("--completion bash"), ExitStatus::kOk);
  EXPECT_THAT(out_, StartsWith("# bash completion for korvoctl"));
}

TEST_F(ProgramTest, AnswerThatCannotBeWrittenIsAFailure) {
  const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  TempDir dir;
  const Descriptor err(::open(dir.file("err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  Surroundings surroundings{.output = full.get(), .errors = err.get()};
  const std::vector<std::string> words = {"--help"};
  EXPECT_EQ(KorvoCtl::run(words, surroundings).status, ExitStatus::kFailed);
}

}  // namespace
}  // namespace KorvoCtl
