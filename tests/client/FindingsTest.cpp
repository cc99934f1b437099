#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "client/Findings.h"

namespace KorvoCtl {
namespace {

using Verdict = Findings::Verdict;

constexpr std::array<std::string_view, 2> kTotals = {"Total entries missing in software:",
                                                     "Total entries missing in hardware:"};

Verdict verdictOf(Format format, std::string_view answer) {
  Findings findings(format, kTotals);
  findings.add(answer);
  return findings.verdict();
}

Verdict textVerdict(std::string_view answer) { return verdictOf(Format::kText, answer); }
Verdict jsonVerdict(std::string_view answer) { return verdictOf(Format::kJson, answer); }

constexpr std::string_view kClean =
    "Vlan Mac Address\n---- ----\n\nTotal entries missing in software:  0\n\n"
    "Total entries missing in hardware:  0\n";
constexpr std::string_view kSoftware =
    "\nTotal entries missing in software:  10\n\nTotal entries missing in hardware:  0\n";
constexpr std::string_view kHardware =
    "\nTotal entries missing in software:  0\n\nTotal entries missing in hardware:  3\n"
    "            Korvo0:  3\n";

TEST(FindingsTest, TextTotalsOfZeroAreClean) { EXPECT_EQ(textVerdict(kClean), Verdict::kClean); }

TEST(FindingsTest, AnyTextTotalAboveZeroIsAFinding) {
  EXPECT_EQ(textVerdict(kSoftware), Verdict::kFound);
  EXPECT_EQ(textVerdict(kHardware), Verdict::kFound);
}

TEST(FindingsTest, TextWithoutATotalTellsNothing) {
  EXPECT_EQ(textVerdict(""), Verdict::kUnknown);
  EXPECT_EQ(textVerdict("Invalid Command\n"), Verdict::kUnknown);
  EXPECT_EQ(textVerdict("Total entries missing in software:  \n"
                        "Total entries missing in hardware:  0\n"),
            Verdict::kUnknown);
}

// At each place where an answer can be cut: a beginning tells nothing, neither good nor bad.
void expectOnlyTheWholeTells(Format format, std::string_view answer, Verdict whole) {
  for (std::size_t size = 0; size < answer.size(); ++size) {
    EXPECT_EQ(verdictOf(format, answer.substr(0, size)), Verdict::kUnknown)
        << answer.substr(0, size);
  }
  EXPECT_EQ(verdictOf(format, answer), whole);
}

TEST(FindingsTest, TextThatIsCutOffTellsNothing) {
  expectOnlyTheWholeTells(Format::kText, kClean, Verdict::kClean);
  expectOnlyTheWholeTells(Format::kText, kSoftware, Verdict::kFound);
  EXPECT_EQ(textVerdict(kHardware.substr(0, kHardware.size() - 1)), Verdict::kUnknown);
}

TEST(FindingsTest, JsonThatIsCutOffTellsNothing) {
  expectOnlyTheWholeTells(Format::kJson, R"({"macTableDiffEntries":[]})", Verdict::kClean);
  expectOnlyTheWholeTells(Format::kJson,
                          R"({"macTableDiffEntries": [{"mac":"x\"]","l":[[1, true]]},{}],"n":-1})",
                          Verdict::kFound);
}

TEST(FindingsTest, JsonThatIsNoDocumentTellsNothing) {
  for (const char* answer :
       {R"({"a":[}])", R"({"a":[]]})", R"({"a":[]}})", R"({"a":[]} {"a":[]})", R"({"a":[]},)",
        R"({"a":[],})", R"({"a":[1 2]})", R"({"a":[1,]})", R"({"a":[,1]})", R"({"a" []})",
        R"({a:[]})", R"({[]})", R"({"a":[]:1})", R"([[]])", R"({"a":[])"}) {
    EXPECT_EQ(jsonVerdict(answer), Verdict::kUnknown) << answer;
  }
  EXPECT_EQ(jsonVerdict(R"({"a":)" + std::string(1000, '[') + std::string(1000, ']') + "}"),
            Verdict::kUnknown);
}

TEST(FindingsTest, TotalIsOneOnlyAtTheBeginningOfALine) {
  EXPECT_EQ(textVerdict("x Total entries missing in software:  5\n"), Verdict::kUnknown);
}

TEST(FindingsTest, VeryLongLineBeforeATotalDoesNotHideIt) {
  Findings findings(Format::kText, kTotals);
  for (int i = 0; i < 1000; ++i) {
    findings.add(std::string(1000, 'x'));
  }
  findings.add(kHardware);
  EXPECT_EQ(findings.verdict(), Verdict::kFound);
}

TEST(FindingsTest, JsonListWithoutMembersIsClean) {
  EXPECT_EQ(jsonVerdict(R"({"macTableMissingEntries": []})"
                        "\n"),
            Verdict::kClean);
  EXPECT_EQ(jsonVerdict("{\"a\" : [ \n\t ] }"), Verdict::kClean);
}

TEST(FindingsTest, JsonListWithAnyMemberIsAFinding) {
  for (const char* member : {"{}", "[]", "0", "null", "\"\"", R"({"vlan":1,"modules":[]})"}) {
    EXPECT_EQ(jsonVerdict(std::string(R"({"macTableMissingEntries": [)") + member + "]}"),
              Verdict::kFound)
        << member;
  }
}

TEST(FindingsTest, JsonBracketsInStringsAreText) {
  EXPECT_EQ(jsonVerdict(R"({"note":"[1]","a \" [": []})"), Verdict::kClean);
  EXPECT_EQ(jsonVerdict(R"({"a\\":[]})"), Verdict::kClean);
  EXPECT_EQ(jsonVerdict(R"({"a\\":[1]})"), Verdict::kFound);
}

TEST(FindingsTest, JsonListsElsewhereInTheDocumentDoNotCount) {
  EXPECT_EQ(jsonVerdict(R"({"info":{"chips":[1,2]},"entries":[]})"), Verdict::kClean);
  EXPECT_EQ(jsonVerdict(R"({"info":{"chips":[1,2]}})"), Verdict::kUnknown);
  EXPECT_EQ(jsonVerdict(R"({"entries":[],"info":{"chips":[1,2]}})"), Verdict::kClean);
}

TEST(FindingsTest, JsonWithoutAListTellsNothing) {
  EXPECT_EQ(jsonVerdict(""), Verdict::kUnknown);
  EXPECT_EQ(jsonVerdict("{}"), Verdict::kUnknown);
  EXPECT_EQ(jsonVerdict("]]}}"), Verdict::kUnknown);
}

RC_GTEST_PROP(FindingsProperty, VerdictDoesNotDependOnWhereTheAnswerIsCut, ()) {
  struct Case {
    Format format;
    std::string_view answer;
  };
  const auto sample = *rc::gen::element(
      Case{Format::kText, kClean}, Case{Format::kText, kSoftware}, Case{Format::kText, kHardware},
      Case{Format::kJson, R"({"macTableDiffEntries": [{"mac":"x\"]","l":[[]]},{}]})"},
      Case{Format::kJson, R"({"macTableDiffEntries": [ ], "n":"\\"})"});
  Findings findings(sample.format, kTotals);
  std::string_view rest = sample.answer;
  while (!rest.empty()) {
    const auto size = *rc::gen::inRange<std::size_t>(1, rest.size() + 1);
    findings.add(rest.substr(0, size));
    rest.remove_prefix(size);
  }
  RC_ASSERT(findings.verdict() == verdictOf(sample.format, sample.answer));
}

}  // namespace
}  // namespace KorvoCtl
