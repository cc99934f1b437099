// Where the trace lines of machines come from: the class is the machine's own and the function the
// one that a reader of its commands looks for, however much of it is shared code.

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "tests/KorvoL2/MachineFamilies.h"

namespace KorvoL2::Testing {
namespace {

struct Line {
  std::string message;
  std::string unit;
  std::string function;
  friend auto operator<=>(const Line&, const Line&) = default;
};
void PrintTo(const Line& line, std::ostream* out) {
  *out << '"' << line.message << "\" " << line.unit << ' ' << line.function;
}
using Lines = std::set<Line>;

class MachineTraces : public MachineFamilies {
 protected:
  /** What a machine traces from its making to its end, with slices of one row. */
  Lines linesOf(const Family& family) {
    traces->clear();
    const Machine sm = family.make(Rendering::kText);
    rowBudgetIs(*sm, 1);
    runToCompletion(*sm);
    return lines(family.name);
  }
  Lines lines(const std::string& machine) const {
    Lines all;
    for (const auto& line : traces->lines()) {
      EXPECT_EQ(line.className, "KorvoL2::" + machine) << line.message;
      EXPECT_GT(line.line, 0);
      all.insert({line.message, line.unit, line.function});
    }
    return all;
  }
  const Family& family(const std::string& name) {
    static std::vector<Family> all;
    all = families();
    return *std::ranges::find(all, name, &Family::name);
  }
};

TEST_F(MachineTraces, SoftwareTable) {
  const char* const unit = "L2SwTableRequestSm.cpp";
  EXPECT_EQ(linesOf(family("L2SwTableRequestSm")),
            (Lines{{"socket:7, format:1", unit, "handleAsyncCommand"},
                   {"Yielding Cpu", unit, "showMacTableAll"},
                   {"Execution Completed", unit, "showMacTableAll"},
                   {"", "L2SwTableRequestSmBase.cpp", "executionComplete"}}));
}

TEST_F(MachineTraces, HardwareTable) {
  const char* const unit = "L2HwTableRequestSm.cpp";
  const char* const base = "L2HwTableRequestSmBase.cpp";
  Lines expected{{"socket:7, format:1", unit, "handleAsyncCommand"},
                 {"", base, "initializeTableRenderer"},
                 {"", unit, "showMacTableHw"},
                 {"fapId 0", base, "beginChipRender"},
                 {"fapId 1", base, "beginChipRender"},
                 {"Yielding Cpu", unit, "showMacTableHw"},
                 {"Execution Completed", unit, "showMacTableHw"},
                 {"", base, "executionComplete"}};
  EXPECT_EQ(linesOf(family("L2HwTableRequestSm")), expected);
  traces->clear();
  const auto sm = hwTable(Rendering::kText);
  sm->fapIs(9);
  runToCompletion(*sm);
  expected.erase({"Yielding Cpu", unit, "showMacTableHw"});
  expected.insert({"skipping fapId 9", unit, "showMacTableHw"});
  EXPECT_EQ(lines("L2HwTableRequestSm"), expected);
}

TEST_F(MachineTraces, Checks) {
  const char* const base = "L2MacCheckRequestSmBase.cpp";
  const Lines shared{{"requesting L2 table read fapIds", base, "handleInitialized"},
                     {"socket:7, format:1", base, "handleAsyncCommand"},
                     {"", base, "initializeTableRenderer"}};
  Lines diff{{"", "L2MacDiffRequestSm.cpp", "printDiffEntries"},
             {"Yielding Cpu", "L2MacDiffRequestSm.cpp", "printDiffEntries"},
             {"Execution Completed", "L2MacDiffRequestSm.cpp", "printDiffEntries"},
             {"total diff count 3", "L2MacDiffRequestSm.cpp", "executionComplete"}};
  diff.insert(shared.begin(), shared.end());
  EXPECT_EQ(linesOf(family("L2MacDiffRequestSm")), diff);
  Lines missing{{"", "L2MacMissingRequestSm.cpp", "printMissingEntries"},
                {"Yielding Cpu", "L2MacMissingRequestSm.cpp", "printMissingEntries"},
                {"Execution Completed", "L2MacMissingRequestSm.cpp", "printMissingEntries"},
                {"", "L2MacMissingRequestSm.cpp", "executionComplete"}};
  missing.insert(shared.begin(), shared.end());
  EXPECT_EQ(linesOf(family("L2MacMissingRequestSm")), missing);
}

TEST_F(MachineTraces, ACheckThatWaitsForItsReads) {
  const auto sm = diffCheck(Rendering::kText);
  sm->diffEntryTable()->readCompleteIs(false);
  traces->clear();
  sm->runCommand();
  EXPECT_EQ(lines("L2MacDiffRequestSm"),
            (Lines{{"socket:7, format:1", "L2MacCheckRequestSmBase.cpp", "handleAsyncCommand"},
                   {"l2 table read still in progress", "L2MacCheckRequestSmBase.cpp",
                    "handleAsyncCommand"}}));
}

TEST_F(MachineTraces, VxlanVlans) {
  const char* const unit = "L2VxlanVlanRequestSmBase.cpp";
  EXPECT_EQ(linesOf(family("L2VxlanVlanRequestSmBase")),
            (Lines{{"socket:7, format:1", unit, "handleAsyncCommand"},
                   {"Yielding Cpu", unit, "showVxlanVlans"},
                   {"Execution Completed", unit, "showVxlanVlans"},
                   {"", unit, "executionComplete"}}));
}

TEST_F(MachineTraces, RoutingInfo) {
  const char* const unit = "L2RoutingInfoRequestSm.cpp";
  const char* const base = "L2RoutingInfoRequestSmBase.cpp";
  EXPECT_EQ(linesOf(family("L2RoutingInfoRequestSm")),
            (Lines{{"socket:7, format:1", base, "handleAsyncCommand"},
                   {"Yielding Cpu", unit, "showVxlanRoutingInfo"},
                   {"Execution Completed", unit, "showVxlanRoutingInfo"},
                   {"", base, "executionComplete"}}));
}

TEST_F(MachineTraces, VlanRanges) {
  const char* const base = "IngVlanRangeRequestSmBase.cpp";
  const Lines expected{{"socket:7, format:1", base, "handleAsyncCommand"},
                       {"Yielding Cpu", base, "showIngVlanRanges"},
                       {"Execution Completed", base, "showIngVlanRanges"},
                       {"", base, "executionComplete"}};
  EXPECT_EQ(linesOf(family("IngVlanRangeRequestSm")), expected);
  EXPECT_EQ(linesOf(family("IngDynamicVlanRangeRequestSm")), expected);
}

TEST_F(MachineTraces, VlanTranslation) {
  const auto expected = [](const std::string& unit, const char* walk,
                           std::initializer_list<const char*> directories) {
    Lines all{{"socket:7, format:1", unit, "handleAsyncCommand"},
              {"Yielding Cpu", unit, walk},
              {"Execution Completed", unit, walk},
              {"", "VlanXlateSwRequestSmBase.cpp", "executionComplete"}};
    for (const char* const directory : directories) {
      all.insert({std::string("Done iterating through ") + directory, unit, walk});
    }
    return all;
  };
  EXPECT_EQ(linesOf(family("IngVlanXlateSwRequestSmBase")),
            expected("IngVlanXlateSwRequestSmBase.cpp", "showIngVlanXlateSw",
                     {"vlanXlateDipConfigDir", "vlanSvpStatusDir", "portVlanXlateStatusDir"}));
  EXPECT_EQ(linesOf(family("EgrVlanXlateSwRequestSmBase")),
            expected("EgrVlanXlateSwRequestSmBase.cpp", "showEgrVlanXlateSw",
                     {"vlanXlateDipConfigDir", "egrPortVlanXlateStatusDir",
                      "egrVxlanVlanXlateStatusDir"}));
}

}  // namespace
}  // namespace KorvoL2::Testing
