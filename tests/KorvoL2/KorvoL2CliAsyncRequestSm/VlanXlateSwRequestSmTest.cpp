#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <vector>

#include "platform/base/Tracked.h"
#include "tests/KorvoL2/VlanXlateHarness.h"
#include "tests/support/KeyedCollectionTestAccess.h"

namespace KorvoL2::Testing {
namespace {

using Bridging::IpAddr;
using Bridging::VlanId;
using Bridging::VlanIpVerKey;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

class VlanXlateRequest : public VlanXlateHarness {
 protected:
  static std::string dashes(std::size_t length) { return std::string(length, '-') + "\n"; }
  /** A cell of `width` columns with its text at the left; what every cell but one table's is. */
  static std::string cell(std::string text, std::size_t width) {
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
  }
  /** A value for every cell, and one for every cell that may be empty. */
  void fill() {
    putDip("10.0.0.2");
    putDip("10.0.0.10");
    putDip("2001:db8::1");
    putVlanSvp(10, 40001);
    putVlanSvp(4094, 4294967295U);
    putPortVlan("Ethernet3/1", 100, 10, 40001);
    putPortVlan("Ethernet3/1", 101, 0, 0);
    putPortVlan("Port-Channel12", 4094, 4094, 0);
    putVlanVni(10, false, 10010);
    putVlanVni(10, true, 10010);
    putVlanVni(4094, false, 16777215);
    putEgrPortVlan("Ethernet3/1", 10, 20, 100);
    putEgrPortVlan("Ethernet3/1", 11, 0, 0);
    putEgrVxlanVlan("Ethernet3/1", 10, 50001, 100);
    putEgrVxlanVlan("Port-Channel12", 4094, 4294967295U, 4094);
  }

  // The sections as they come out for fill(), put together column by column.

  static std::string dipSection() {
    return "Vxlan DIP Entries:\n" + dashes(21) + cell("Vxlan DIP", 10) + "\n" + dashes(21) +
           cell("10.0.0.2", 27) + "\n" + cell("10.0.0.10", 27) + "\n" + cell("2001:db8::1", 27) +
           "\n" + dashes(21) + "Number of Vxlan DIP entries : 3\n\n";
  }
  static std::string vlanSvpSection() {
    const auto row = [](const char* tag, const char* vlan, const char* svp) {
      return cell(tag, 14) + cell(vlan, 10) + cell(svp, 11) + "\n";
    };
    return "Vlan SVP Entries:\n" + dashes(30) + row("Dot1q-tag", "Vlan", "SVP") + dashes(30) +
           row("10", "10", "40001") + row("4094", "4094", "4294967295") + dashes(30) +
           "Number of Vlan SVP entries : 2\n";
  }
  static std::string portVlanSection() {
    const auto row = [](const char* intf, const char* tag, const char* vlan, const char* svp) {
      return cell(intf, 8) + cell(tag, 15) + cell(vlan, 15) + cell(svp, 15) + "\n";
    };
    return "\nPort-Vlan Translation / SVP assignment Entries:\n" + dashes(49) +
           row(" Intf", "Dot1q-tag", "Vlan", "SVP") + dashes(49) +
           row("Et3/1", "100", "10", "40001") + row("Et3/1", "101", "-", "-") +
           row("Po12", "4094", "4094", "-") + dashes(49) + "Number of port-vlan/svp entries : 3\n";
  }
  static std::string vlanVniSection() {
    return "\nVlan to VNI Mapping Entries:\n" + dashes(16) + "Vlan       VNIv6\n" + dashes(16) +
           "  10     10010   0\n"
           "  10     10010   1\n"
           "4094  16777215   0\n" +
           dashes(16) + "Number of Vlan to VNI mapping entries : 3\n\n";
  }
  static std::string egrPortVlanSection() {
    const auto row = [](const char* intf, const char* outer, const char* inner, const char* tag) {
      return cell(intf, 8) + cell(outer, 15) + cell(inner, 15) + cell(tag, 15) + "\n";
    };
    return "Egress Port-Vlan Translation Entries:\n" + dashes(50) +
           row("Intf", "Outer Vlan", "Inner Vlan", "Dot1q-tag") + dashes(50) +
           row("Et3/1", "10", "20", "100") + row("Et3/1", "11", "-", "0") + dashes(50) +
           "Number of egress port vlan translation entries : 2\n";
  }
  static std::string egrVxlanVlanSection() {
    const auto row = [](const char* dvp, const char* vlan, const char* intf, const char* tag) {
      return cell(dvp, 8) + cell(vlan, 15) + cell(intf, 15) + cell(tag, 15) + "\n";
    };
    return "\nEgress DVP-Vlan Translation Entries:\n" + dashes(49) +
           row("DVP", "Vlan", "Intf", "Dot1q-tag") + dashes(49) +
           row("50001", "10", "Et3/1", "100") + row("4294967295", "4094", "Po12", "4094") +
           dashes(49) + "Number of egress DVP-Vlan translation entries : 2\n";
  }
  static std::string egrEnd() { return "\nNumber of INT Opaque entries : 0\n\n"; }
  static std::string ingWhole() { return dipSection() + vlanSvpSection() + portVlanSection(); }
  static std::string egrWhole() {
    return vlanVniSection() + egrPortVlanSection() + egrVxlanVlanSection() + egrEnd();
  }
};

// What is printed.

TEST_F(VlanXlateRequest, IngressPrintsItsThreeTablesAsText) {
  fill();
  EXPECT_EQ(dumpIng(kText), ingWhole());
}

TEST_F(VlanXlateRequest, EgressPrintsItsThreeTablesAndTheClosingLineAsText) {
  fill();
  EXPECT_EQ(dumpEgr(kText), egrWhole());
}

TEST_F(VlanXlateRequest, JsonIsTheEnclosingBracesOnlyFullOrEmpty) {
  for (int round = 0; round < 2; ++round) {
    for (const std::uint32_t budget : {0U, 1U}) {
      EXPECT_EQ(dumpIng(kJson, budget), "{}\n");
      EXPECT_EQ(dumpEgr(kJson, budget), "{}\n");
    }
    fill();
  }
}

TEST_F(VlanXlateRequest, EmptyDirectoriesPrintTheirCountLinesOnly) {
  auto ing = startIng(kText);
  EXPECT_EQ(runToCompletion(*ing), 1U);
  EXPECT_EQ(reader->received,
            "Number of Vxlan DIP entries : 0\n\n"
            "Number of Vlan SVP entries : 0\n"
            "Number of port-vlan/svp entries : 0\n");
  EXPECT_THAT(traces->messages(), ElementsAre("socket:7, format:1", "Execution Completed", ""))
      << "nothing is iterated through";
  auto egr = startEgr(kText);
  EXPECT_EQ(runToCompletion(*egr), 1U);
  EXPECT_EQ(reader->received,
            "Number of Vlan to VNI mapping entries : 0\n\n"
            "Number of egress port vlan translation entries : 0\n"
            "Number of egress DVP-Vlan translation entries : 0\n"
            "\nNumber of INT Opaque entries : 0\n\n");
  EXPECT_FALSE(egr->egrVlanXlateVfiStarted());
  EXPECT_TRUE(egr->egrVlanXlateVfiComplete());
}

TEST_F(VlanXlateRequest, OneEmptyDirectoryAmongOthersCostsTheOthersNothing) {
  fill();
  vlanSvps->entries.clear();
  egrPortVlans->entries.clear();
  EXPECT_EQ(dumpIng(kText), dipSection() + "Number of Vlan SVP entries : 0\n" + portVlanSection());
  EXPECT_EQ(dumpEgr(kText), vlanVniSection() +
                                "Number of egress port vlan translation entries : 0\n" +
                                egrVxlanVlanSection() + egrEnd());
}

TEST_F(VlanXlateRequest, PortVlanStatusWithoutVlanAndSvpShowsADashInBothCells) {
  putPortVlan("Ethernet1", 7, 0, 0);
  putPortVlan("Ethernet1", 8, 9, 0);
  putPortVlan("Ethernet1", 9, 0, 9);
  const std::string text = dumpIng(kText);
  EXPECT_THAT(text, HasSubstr("Et1     7              -              -              \n"));
  EXPECT_THAT(text, HasSubstr("Et1     8              9              -              \n"));
  EXPECT_THAT(text, HasSubstr("Et1     9              -              9              \n"));
}

TEST_F(VlanXlateRequest, TheVlanSvpRowRepeatsTheEntrysVlanNotTheKeys) {
  vlanSvps->entries.put(VlanId(10), {.vlan = 11, .svp = 5});
  EXPECT_THAT(dumpIng(kText), HasSubstr("\n11            11        5          \n"));
}

TEST_F(VlanXlateRequest, WiderCellsKeepTheirTextAndPushTheRest) {
  putPortVlan("uplink-to-the-core", 7, 8, 9);
  putDip("2001:db8:1111:2222:3333:4444:5555:6666");
  const std::string text = dumpIng(kText);
  EXPECT_THAT(text, HasSubstr("\nuplink-to-the-core7              8              9"));
  EXPECT_THAT(text, HasSubstr("\n2001:db8:1111:2222:3333:4444:5555:6666\n"));
}

// Slices.

TEST_F(VlanXlateRequest, OutputIsTheSameAtEverySliceBudget) {
  fill();
  for (unsigned i = 0; i < 40; ++i) {
    putPortVlan("Ethernet" + std::to_string(i % 5), 1 + i, static_cast<std::uint16_t>(i), i);
    putEgrPortVlan("Ethernet" + std::to_string(i % 5), 1 + i, static_cast<std::uint16_t>(i), 7);
    putVlanSvp(100 + i, i);
    putVlanVni(100 + i, i % 2 == 0, i);
  }
  const std::string ing = dumpIng(kText);
  const std::string egr = dumpEgr(kText);
  for (std::uint32_t budget = 1; budget < 95; ++budget) {
    EXPECT_EQ(dumpIng(kText, budget), ing) << budget;
    EXPECT_EQ(dumpEgr(kText, budget), egr) << budget;
  }
}

TEST_F(VlanXlateRequest, IngressStateMovesThroughTheSections) {
  fill();
  auto sm = startIng(kText, 2);
  EXPECT_FALSE(sm->inProgress());
  EXPECT_EQ(sm->vlanXlateDipBookmark(), IpAddr());
  sm->runCommand();
  EXPECT_TRUE(sm->inProgress());
  EXPECT_TRUE(sm->yielding());
  EXPECT_TRUE(sm->vlanXlateDipStarted());
  EXPECT_FALSE(sm->vlanXlateDipComplete());
  EXPECT_EQ(sm->vlanXlateDipBookmark(), IpAddr("2001:db8::1"));
  EXPECT_FALSE(sm->vlanSvpStatusStarted());
  sm->runCommand();  // the last address, one VLAN
  EXPECT_TRUE(sm->vlanXlateDipComplete());
  EXPECT_TRUE(sm->vlanSvpStatusStarted());
  EXPECT_FALSE(sm->vlanSvpStatusComplete());
  EXPECT_EQ(sm->vlanSvpStatusBookmark(), VlanId(4094));
  EXPECT_FALSE(sm->portVlanXlateStatusStarted());
  sm->runCommand();
  EXPECT_TRUE(sm->vlanSvpStatusComplete());
  EXPECT_TRUE(sm->portVlanXlateStatusStarted());
  EXPECT_EQ(sm->portVlanXlateStatusBookmark(), portVlan("Ethernet3/1", 101));
  EXPECT_TRUE(sm->yielding());
  sm->runCommand();
  EXPECT_TRUE(sm->portVlanXlateStatusComplete());
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_FALSE(sm->yielding());
  EXPECT_FALSE(sm->inProgress());
  EXPECT_EQ(reader->received, ingWhole());
}

TEST_F(VlanXlateRequest, EgressStateMovesThroughTheSections) {
  fill();
  auto sm = startEgr(kText, 1);
  sm->runCommand();
  EXPECT_TRUE(sm->egrVlanXlateVfiStarted());
  EXPECT_EQ(sm->egrVlanXlateVfiBookmark(), VlanIpVerKey(VlanId(10), true));
  sm->runCommand();
  EXPECT_EQ(sm->egrVlanXlateVfiBookmark(), VlanIpVerKey(VlanId(4094), false));
  EXPECT_FALSE(sm->egrVlanXlateVfiComplete());
  sm->runCommand();  // the last one, and the first of the next section
  EXPECT_TRUE(sm->egrVlanXlateVfiComplete());
  EXPECT_TRUE(sm->egrPortVlanXlateStarted());
  EXPECT_EQ(sm->egrPortVlanXlateBookmark(), portVlan("Ethernet3/1", 11));
  EXPECT_FALSE(sm->egrPortVlanXlateComplete());
  sm->runCommand();
  EXPECT_TRUE(sm->egrPortVlanXlateComplete());
  EXPECT_TRUE(sm->egrVxlanVlanXlateStarted());
  EXPECT_EQ(sm->egrVxlanVlanXlateBookmark(), portVlan("Port-Channel12", 4094));
  EXPECT_FALSE(sm->egrVxlanVlanXlateComplete());
  sm->runCommand();
  EXPECT_TRUE(sm->egrVxlanVlanXlateComplete());
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_EQ(reader->received, egrWhole());
}

TEST_F(VlanXlateRequest, AYieldOnTheLastEntryOfASectionCompletesItAndTheWalkGoesOn) {
  fill();
  auto sm = startIng(kText, 3);
  sm->runCommand();
  // Three addresses filled the slice; the section is closed all the same, and the next one begun.
  EXPECT_TRUE(sm->vlanXlateDipComplete());
  EXPECT_TRUE(sm->vlanSvpStatusStarted());
  EXPECT_EQ(sm->vlanSvpStatusBookmark(), VlanId(4094));
  EXPECT_TRUE(sm->yielding()) << "set by the second section";
  EXPECT_EQ(traces->count("Yielding Cpu"), 2U);
  EXPECT_THAT(reader->received, HasSubstr(dipSection()));

  // With nothing behind it, the yield leaves no mark.
  vlanSvps->entries.clear();
  portVlans->entries.clear();
  auto last = startIng(kText, 3);
  EXPECT_EQ(runToCompletion(*last), 1U);
  EXPECT_FALSE(last->yielding());
}

TEST_F(VlanXlateRequest, AYieldOnTheLastEntryOfAllCompletesInTheSameSlice) {
  fill();
  auto ing = startIng(kText, 8);
  EXPECT_EQ(runToCompletion(*ing), 1U) << "eight rows in all";
  EXPECT_EQ(reader->received, ingWhole());
  auto egr = startEgr(kText, 7);
  EXPECT_EQ(runToCompletion(*egr), 1U);
  EXPECT_EQ(reader->received, egrWhole());
}

TEST_F(VlanXlateRequest, OneRowInEverySectionIsDoneInOneSliceWhateverTheBudget) {
  putDip("10.0.0.1");
  putVlanSvp(1, 1);
  putPortVlan("Ethernet1", 1, 1, 1);
  auto sm = startIng(kText, 1);
  EXPECT_EQ(runToCompletion(*sm), 1U);
  EXPECT_EQ(sm->rows(), 3U);
}

TEST_F(VlanXlateRequest, ASliceThatRanOutGoesOnWhereItStoppedInTime) {
  fill();
  clock->perReadingIs(30ms);
  auto sm = startIng(kText);
  EXPECT_GT(runToCompletion(*sm), 2U);
  EXPECT_EQ(reader->received, ingWhole());
  for (const auto step : {0ms, 1000000ms, -1000000ms}) {
    clock->perReadingIs(step);
    auto any = startEgr(kText);
    EXPECT_LE(runToCompletion(*any), 7U) << step.count();
    EXPECT_EQ(reader->received, egrWhole());
  }
}

TEST_F(VlanXlateRequest, TracesSlicesAndTheEndOfEachDirectory) {
  fill();
  dumpIng(kText, 5);
  EXPECT_THAT(traces->messages(),
              ElementsAre("socket:7, format:1", "Done iterating through vlanXlateDipConfigDir",
                          "Yielding Cpu", "Done iterating through vlanSvpStatusDir", "Yielding Cpu",
                          "socket:7, format:1", "Done iterating through portVlanXlateStatusDir",
                          "Execution Completed", ""));
  traces->clear();
  dumpEgr(kText);
  EXPECT_THAT(
      traces->messages(),
      ElementsAre("socket:7, format:1", "Done iterating through vlanXlateDipConfigDir",
                  "Done iterating through egrPortVlanXlateStatusDir",
                  "Done iterating through egrVxlanVlanXlateStatusDir", "Execution Completed", ""));
  for (const auto& line : traces->lines()) EXPECT_EQ(line.level, 8);
}

// Directories that change between slices.

TEST_F(VlanXlateRequest, EntriesRemovedAddedAndChangedBetweenSlicesInEachIngressSection) {
  fill();
  auto sm = startIng(kText, 2);
  sm->runCommand();
  dips->entries.erase(IpAddr("2001:db8::1"));  // the one under the bookmark
  putDip("10.0.0.1");                          // behind
  putDip("2001:db8::2");                       // ahead
  sm->runCommand();
  ASSERT_EQ(sm->vlanSvpStatusBookmark(), VlanId(4094));
  putVlanSvp(4094, 7);
  putVlanSvp(9, 7);
  putVlanSvp(11, 7);  // before the bookmark, so behind
  sm->runCommand();
  ASSERT_EQ(sm->portVlanXlateStatusBookmark(), portVlan("Ethernet3/1", 101));
  portVlans->entries.erase(portVlan("Ethernet3/1", 101));
  portVlans->entries.erase(portVlan("Port-Channel12", 4094));
  putPortVlan("Vxlan1", 5, 6, 0);
  runToCompletion(*sm);
  EXPECT_EQ(reader->received,
            "Vxlan DIP Entries:\n" + dashes(21) + cell("Vxlan DIP", 10) + "\n" + dashes(21) +
                cell("10.0.0.2", 27) + "\n" + cell("10.0.0.10", 27) + "\n" +
                cell("2001:db8::2", 27) + "\n" + dashes(21) +
                "Number of Vxlan DIP entries : 4\n\n"
                "Vlan SVP Entries:\n" +
                dashes(30) + "Dot1q-tag     Vlan      SVP        \n" + dashes(30) +
                "10            10        40001      \n"
                "4094          4094      7          \n" +
                dashes(30) + "Number of Vlan SVP entries : 4\n" +
                "\nPort-Vlan Translation / SVP assignment Entries:\n" + dashes(49) +
                " Intf   Dot1q-tag      Vlan           SVP            \n" + dashes(49) +
                "Et3/1   100            10             40001          \n"
                "Vx1     5              6              -              \n" +
                dashes(49) + "Number of port-vlan/svp entries : 2\n");
}

TEST_F(VlanXlateRequest, EntriesRemovedAddedAndChangedBetweenSlicesInEachEgressSection) {
  fill();
  putEgrPortVlan("Ethernet3/1", 12, 0, 0);
  auto sm = startEgr(kText, 1);
  sm->runCommand();
  vlanVnis->entries.erase({VlanId(10), true});
  vlanVnis->entries.put({VlanId(4094), false}, {.vni = 1});
  sm->runCommand();  // the last VLAN, and the first port
  ASSERT_EQ(sm->egrPortVlanXlateBookmark(), portVlan("Ethernet3/1", 11));
  putEgrPortVlan("Ethernet2", 1, 1, 1);  // behind
  putEgrPortVlan("Ethernet3/1", 11, 12, 13);
  egrPortVlans->entries.erase(portVlan("Ethernet3/1", 12));
  putEgrPortVlan("Ethernet4/1", 1, 0, 2);
  sm->runCommand();
  sm->runCommand();  // and the first out of a tunnel
  ASSERT_EQ(sm->egrVxlanVlanXlateBookmark(), portVlan("Port-Channel12", 4094));
  egrVxlanVlans->entries.clear();
  putEgrVxlanVlan("Vxlan1", 3, 4, 5);
  runToCompletion(*sm);
  EXPECT_EQ(
      reader->received,
      "\nVlan to VNI Mapping Entries:\n" + dashes(16) + "Vlan       VNIv6\n" + dashes(16) +
          "  10     10010   0\n"
          "4094         1   0\n" +
          dashes(16) +
          "Number of Vlan to VNI mapping entries : 2\n\n"
          "Egress Port-Vlan Translation Entries:\n" +
          dashes(50) + "Intf    Outer Vlan     Inner Vlan     Dot1q-tag      \n" + dashes(50) +
          "Et3/1   10             20             100            \n"
          "Et3/1   11             12             13             \n"
          "Et4/1   1              -              2              \n" +
          dashes(50) +
          "Number of egress port vlan translation entries : 4\n"
          "\nEgress DVP-Vlan Translation Entries:\n" +
          dashes(49) + "DVP     Vlan           Intf           Dot1q-tag      \n" + dashes(49) +
          "50001   10             Et3/1          100            \n"
          "4       3              Vx1            5              \n" +
          dashes(49) + "Number of egress DVP-Vlan translation entries : 1\n" + egrEnd());
}

TEST_F(VlanXlateRequest, EntriesAheadDeletedBetweenSlicesCloseTheSection) {
  fill();
  auto sm = startIng(kText, 2);
  sm->runCommand();
  dips->entries.erase(IpAddr("2001:db8::1"));
  sm->runCommand();
  EXPECT_TRUE(sm->vlanXlateDipComplete());
  EXPECT_THAT(reader->received, HasSubstr(cell("10.0.0.10", 27) + "\n" + dashes(21) +
                                          "Number of Vxlan DIP entries : 2\n\n"));
}

TEST_F(VlanXlateRequest, ADirectoryEmptiedBetweenSlicesPrintsItsCountLineOnly) {
  fill();
  auto sm = startIng(kText, 1);
  sm->runCommand();
  dips->entries.clear();
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, "Vxlan DIP Entries:\n" + dashes(21) + cell("Vxlan DIP", 10) + "\n" +
                                  dashes(21) + cell("10.0.0.2", 27) + "\n" +
                                  "Number of Vxlan DIP entries : 0\n\n" + vlanSvpSection() +
                                  portVlanSection());
}

TEST_F(VlanXlateRequest, ACompletedSectionIsNotOpenedAgainWhateverIsAddedToIt) {
  fill();
  auto sm = startIng(kText, 3);
  sm->runCommand();
  putDip("2001:db8::2");
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, ingWhole());
}

TEST_F(VlanXlateRequest, ASectionEndsThoughEntriesAreAddedAheadFasterThanItPrints) {
  for (const unsigned vlan : {1U, 2U}) putPortVlan("Ethernet1", vlan, 1, 1);
  putPortVlan("Ethernet9", 4094, 1, 1);
  auto sm = startIng(kText, 1);
  constexpr unsigned kMost = 20'000;
  unsigned next = 0;
  runToCompletion(*sm, [&] {
    for (int i = 0; i < 2 && next < kMost; ++i, ++next) {
      putPortVlan("Ethernet" + std::to_string(2 + next / 4000), 1 + next % 4000, 1, 1);
    }
  });
  EXPECT_LT(next, kMost) << "it was fed to its end";
  EXPECT_THAT(reader->received, HasSubstr("Et9     4094 "));
}

TEST_F(VlanXlateRequest, ADamagedDirectoryIsToldSoAndTheDumpGoesOnWithTheNextSection) {
  fill();
  for (unsigned vlan = 1; vlan <= 1000; ++vlan) putVlanSvp(vlan, vlan);
  std::vector<std::string> reports;
  vlanSvps->entries.corruptionHandlerIs(
      [&](std::string_view message) { reports.emplace_back(message); });
  Qel::KeyedCollectionTestAccess::loseMark(vlanSvps->entries, 2);
  auto sm = startIng(kText, 50);
  runToCompletion(*sm);
  EXPECT_THAT(reports, ElementsAre("keyed collection is damaged: a chunk has lost its mark"));
  EXPECT_GT(sm->rows(), 50U);
  EXPECT_LT(sm->rows(), 1000U);
  EXPECT_THAT(reader->received, HasSubstr(dashes(30) + "Number of Vlan SVP entries : 1001\n"));
  EXPECT_THAT(reader->received, EndsWith(portVlanSection()));
}

// The machines as objects.

TEST_F(VlanXlateRequest, NullDirectoriesStandForEmptyOnes) {
  const std::string ingEmpty = dumpIng(kText);
  const std::string egrEmpty = dumpEgr(kText);
  auto ing =
      IngVlanXlateSwRequestSmBaseIs("r", request(kText), 50ms, clock, nullptr, nullptr, nullptr);
  runToCompletion(*ing);
  EXPECT_EQ(reader->received, ingEmpty);
  auto egr =
      EgrVlanXlateSwRequestSmBaseIs("r", request(kText), 50ms, clock, nullptr, nullptr, nullptr);
  runToCompletion(*egr);
  EXPECT_EQ(reader->received, egrEmpty);
  EXPECT_NE(ing->vlanSvpStatusDir(), nullptr);
}

TEST_F(VlanXlateRequest, ANewMachineHoldsWhatItWasGiven) {
  auto ing = startIng(kText);
  EXPECT_EQ(ing->name(), "request-1");
  EXPECT_EQ(ing->maxRunTime(), 50ms);
  EXPECT_EQ(ing->clock(), clock);
  EXPECT_EQ(ing->vlanXlateDipConfigDir(), dips);
  EXPECT_EQ(ing->vlanSvpStatusDir(), vlanSvps);
  EXPECT_EQ(ing->portVlanXlateStatusDir(), portVlans);
  EXPECT_EQ(ing->typeData().name, "KorvoL2::IngVlanXlateSwRequestSmBase");
  EXPECT_TRUE(ing->hasNotificationActive());
  EXPECT_FALSE(ing->inProgress());
  EXPECT_FALSE(ing->yielding());
  ing->handleInitialized();
  EXPECT_FALSE(ing->initialized()) << "there is nothing to take into service";
  auto egr = startEgr(kText);
  EXPECT_EQ(egr->egrVlanXlateVfiConfigDir(), vlanVnis);
  EXPECT_EQ(egr->egrPortVlanXlateStatusDir(), egrPortVlans);
  EXPECT_EQ(egr->egrVxlanVlanXlateStatusDir(), egrVxlanVlans);
  EXPECT_EQ(egr->typeData().name, "KorvoL2::EgrVlanXlateSwRequestSmBase");
  EXPECT_TRUE(egr->hasNotificationActive());
}

TEST_F(VlanXlateRequest, TheWalkPublishesWhatItChanges) {
  putDip("10.0.0.1");
  putDip("10.0.0.2");
  std::vector<std::string> changes;  // outlives the machine: it publishes its end
  auto sm = startIng(kText, 1);
  sm->publisher().subscribe(
      [&](const Qel::Entity&, std::string_view attribute) { changes.emplace_back(attribute); });
  sm->runCommand();
  EXPECT_THAT(changes,
              ElementsAre("inProgress", "vlanXlateDipStarted", "vlanXlateDipBookmark", "yielding"));
  changes.clear();
  sm->runCommand();
  EXPECT_THAT(changes,
              ElementsAre("yielding", "vlanXlateDipComplete", "vlanSvpStatusComplete",
                          "portVlanXlateStatusComplete", "executionCompleteFlag", "inProgress"));
}

TEST_F(VlanXlateRequest, StateSetFromOutsideIsWhereTheWalkGoesOn) {
  fill();
  auto sm = startIng(kText);
  sm->vlanXlateDipCompleteIs(true);
  sm->vlanSvpStatusStartedIs(true);
  sm->vlanSvpStatusBookmarkIs(VlanId(11));
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, "4094          4094      4294967295 \n" + dashes(30) +
                                  "Number of Vlan SVP entries : 2\n" + portVlanSection());
}

TEST_F(VlanXlateRequest, ThePreambleIsWrittenOnceHoweverTheMachineIsStarted) {
  auto sm = startIng(kJson);
  sm->getAsyncState();
  EXPECT_TRUE(sm->inProgress());
  sm->yieldingIs(true);
  sm->getAsyncState();
  EXPECT_FALSE(sm->yielding());
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, "{}\n");
}

TEST_F(VlanXlateRequest, ReleasedMachinesLeaveNoLiveInstanceAndLetTheirDirectoriesGo) {
  fill();
  {
    auto ing = startIng(kText, 1);
    ing->runCommand();
    const auto egr = startEgr(kText, 1);
    EXPECT_EQ(Qel::liveInstances("IngVlanXlateSwRequestSmBase"), 1);
    EXPECT_EQ(Qel::liveInstances("EgrVlanXlateSwRequestSmBase"), 1);
    EXPECT_EQ(dips->users(), 2U);
  }
  EXPECT_EQ(Qel::liveInstances("IngVlanXlateSwRequestSmBase"), 0);
  EXPECT_EQ(Qel::liveInstances("EgrVlanXlateSwRequestSmBase"), 0);
  EXPECT_EQ(dips->users(), 1U);
  EXPECT_EQ(egrVxlanVlans->users(), 1U);
}

}  // namespace
}  // namespace KorvoL2::Testing
