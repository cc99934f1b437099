#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <deque>
#include <set>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/base/Tracked.h"
#include "tests/KorvoL2/VxlanHarness.h"
#include "tests/support/KeyedCollectionTestAccess.h"

namespace KorvoL2::Testing {
namespace {

using Bridging::IntfId;
using Bridging::VlanId;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

class VxlanVlanRequest : public VxlanHarness {
 protected:
  std::string dump(std::uint32_t format, bool detail, std::uint32_t budget = 0) {
    auto sm = makeVlanDump(format, detail);
    entryBudgetIs(*sm, budget);
    runToCompletion(*sm);
    return reader->received;
  }
  /** Every kind of VLAN that there is. */
  void fill() {
    mapVlan(10, 10010, 4097);
    l3Status->statusEntry.put(10, {.mcastIndex = 3});
    putVlanSvp(10, 12);
    putEdge("Ethernet10", 10, 22);
    putEdge("Ethernet2", 10, 21);
    putEdge("Ethernet1", 10, 20);
    // On a port-channel only.
    mapVlan(20, 10020, 4098);
    fcsd->lagIs(IntfId("Port-Channel1"));
    putEdge("Port-Channel1", 20, 40);
    putEdge("Port-Channel1", 10, 41);
    // With nothing at all but its place in the set.
    mapVlan(30, 0);
    // With interfaces, and not in the set.
    putEdge("Ethernet1", 40, 50);
    mapVlan(4094, 16777215, 65535);
    putVlanSvp(4094, 65535);
    putEdge("Ethernet1", 4094, 65535);
  }
};

constexpr const char* kDetailText =
    "Vlan 10:\n"
    "   VNI 10010, VFI 4097:\n"
    "   Mcast index: 3\n"
    "   Vlan SVP: 12\n"
    "   Interfaces:\n"
    "      Ethernet1: SVP 20\n"
    "      Ethernet2: SVP 21\n"
    "      Ethernet10: SVP 22\n"
    "Vlan 20:\n"
    "   VNI 10020, VFI 4098:\n"
    "   Mcast index: 0\n"
    "   Interfaces:\n"
    "Vlan 30:\n"
    "   VNI 0, VFI 0:\n"
    "   Mcast index: 0\n"
    "Vlan 4094:\n"
    "   VNI 16777215, VFI 65535:\n"
    "   Mcast index: 0\n"
    "   Vlan SVP: 65535\n"
    "   Interfaces:\n"
    "      Ethernet1: SVP 65535\n";

constexpr const char* kDetailJson =
    R"({"vlans":{"10":{"vni":10010,"vfi":4097,"mcastIndex":3,"vlanSvp":12,)"
    R"("virtualPorts":{"Ethernet1":20,"Ethernet2":21,"Ethernet10":22}},)"
    R"("20":{"vni":10020,"vfi":4098,"mcastIndex":0,"virtualPorts":{}},)"
    R"("1":{"vni":0,"vfi":0,"mcastIndex":0,"virtualPorts":{}},)"
    R"("4094":{"vni":16777215,"vfi":65535,"mcastIndex":0,"vlanSvp":65535,)"
    R"("virtualPorts":{"Ethernet1":65535}}}})"
    "\n";

TEST_F(VxlanVlanRequest, NoVlansIsNoTextAndAnEmptyObject) {
  for (const bool detail : {false, true}) {
    EXPECT_EQ(dump(kText, detail), "");
    EXPECT_EQ(dump(kJson, detail), "{\"vlans\":{}}\n");
  }
}

TEST_F(VxlanVlanRequest, PrintsOneVlanInDetail) {
  mapVlan(10, 10010, 4097);
  l3Status->statusEntry.put(10, {.mcastIndex = 3});
  putVlanSvp(10, 12);
  putEdge("IF1", 10, 20);
  EXPECT_EQ(dump(kText, true),
            "Vlan 10:\n   VNI 10010, VFI 4097:\n   Mcast index: 3\n   Vlan SVP: 12\n"
            "   Interfaces:\n      IF1: SVP 20\n");
  EXPECT_EQ(dump(kJson, true),
            R"({"vlans":{"10":{"vni":10010,"vfi":4097,"mcastIndex":3,"vlanSvp":12,)"
            R"("virtualPorts":{"IF1":20}}}})"
            "\n");
}

TEST_F(VxlanVlanRequest, PrintsEveryKindOfVlanInDetail) {
  fill();
  EXPECT_EQ(dump(kText, true), kDetailText);
  EXPECT_EQ(dump(kJson, true), kDetailJson);
}

TEST_F(VxlanVlanRequest, WithoutDetailOnlyNetworkAndForwardingInstance) {
  fill();
  EXPECT_EQ(dump(kText, false),
            "Vlan 10:\n   VNI 10010, VFI 4097:\nVlan 20:\n   VNI 10020, VFI 4098:\n"
            "Vlan 30:\n   VNI 0, VFI 0:\nVlan 4094:\n   VNI 16777215, VFI 65535:\n");
  EXPECT_EQ(dump(kJson, false), R"({"vlans":{"10":{"vni":10010,"vfi":4097,"virtualPorts":{}},)"
                                R"("20":{"vni":10020,"vfi":4098,"virtualPorts":{}},)"
                                R"("1":{"vni":0,"vfi":0,"virtualPorts":{}},)"
                                R"("4094":{"vni":16777215,"vfi":65535,"virtualPorts":{}}}})"
                                "\n");
}

TEST_F(VxlanVlanRequest, AVlanOnAPortChannelOnlyHasAHeadWithNoInterfaceUnderIt) {
  mapVlan(20, 10020);
  fcsd->lagIs(IntfId("Port-Channel1"));
  putEdge("Port-Channel1", 20, 40);
  EXPECT_THAT(dump(kText, true), EndsWith("   Mcast index: 0\n   Interfaces:\n"));
}

TEST_F(VxlanVlanRequest, APortChannelThatTheAgentDoesNotKnowIsAnInterface) {
  mapVlan(20, 10020);
  putEdge("Port-Channel1", 20, 40);
  EXPECT_THAT(dump(kText, true), EndsWith("   Interfaces:\n      Port-Channel1: SVP 40\n"));
}

TEST_F(VxlanVlanRequest, AMembersOwnEntryIsPrinted) {
  mapVlan(20, 10020);
  fcsd->lagMembershipIs(IntfId("Ethernet1"), IntfId("Port-Channel1"));
  putEdge("Ethernet1", 20, 40);
  EXPECT_THAT(dump(kText, true), EndsWith("   Interfaces:\n      Ethernet1: SVP 40\n"));
}

TEST_F(VxlanVlanRequest, StatusAndPortAreThoseOfTheMappingsVlanInterfacesThoseOfTheSets) {
  mapVlan(10, 0);
  l3Config->vlanMapping.put(VlanId(10), {.vlanId = 77, .vfi = 5, .vni = 6});
  l3Status->statusEntry.put(10, {.mcastIndex = 1});
  l3Status->statusEntry.put(77, {.mcastIndex = 2});
  putVlanSvp(10, 3);
  putVlanSvp(77, 4);
  putEdge("Ethernet1", 10, 5);
  putEdge("Ethernet1", 77, 6);
  EXPECT_EQ(dump(kJson, true), R"({"vlans":{"77":{"vni":6,"vfi":5,"mcastIndex":2,"vlanSvp":4,)"
                               R"("virtualPorts":{"Ethernet1":5}}}})"
                               "\n");
}

TEST_F(VxlanVlanRequest, AMappingWithANumberThatIsNoVlanHasNoPort) {
  for (const std::uint16_t number : {std::uint16_t{0}, std::uint16_t{4095}}) {
    mapVlan(10, 0);
    l3Config->vlanMapping.put(VlanId(10), {.vlanId = number, .vfi = 5, .vni = 6});
    EXPECT_EQ(dump(kJson, true), "{\"vlans\":{\"" + std::to_string(number) +
                                     R"(":{"vni":6,"vfi":5,"mcastIndex":0,"virtualPorts":{}}}})"
                                     "\n");
  }
}

TEST_F(VxlanVlanRequest, RecordsThatAreNotThereAreEmpty) {
  for (const bool detail : {false, true}) {
    auto sm = l2VxlanVlanRequestSmBaseFactory("r", request(kJson), kBudget, clock, nullptr, nullptr,
                                              nullptr, nullptr, detail);
    runToCompletion(*sm);
    EXPECT_EQ(reader->received, "{\"vlans\":{}}\n");
  }
  mapVlan(10, 10010);
  putEdge("Ethernet1", 10, 20);
  auto sm = l2VxlanVlanRequestSmBaseFactory("r", request(kText), kBudget, clock, nullptr, l2State,
                                            nullptr, nullptr, true);
  runToCompletion(*sm);
  EXPECT_EQ(reader->received,
            "Vlan 10:\n   VNI 0, VFI 0:\n   Mcast index: 0\n   Interfaces:\n"
            "      Ethernet1: SVP 20\n");
}

TEST_F(VxlanVlanRequest, BytesAreTheSameAtEverySliceBudget) {
  fill();
  for (unsigned port = 1; port <= 60; ++port) {
    putEdge(port, 10, static_cast<std::uint16_t>(port));
    putEdge(port, 50 + port % 3, static_cast<std::uint16_t>(port));
  }
  for (unsigned vlan = 50; vlan < 60; ++vlan) mapVlan(vlan, 10000 + vlan);
  for (const std::uint32_t format : {kText, kJson}) {
    for (const bool detail : {false, true}) {
      const std::string whole = dump(format, detail);
      for (std::uint32_t budget = 1; budget <= 200; ++budget) {
        EXPECT_EQ(dump(format, detail, budget), whole) << "entries per slice: " << budget;
      }
    }
  }
}

TEST_F(VxlanVlanRequest, BytesAreTheSameHoweverTheReaderReads) {
  fill();
  for (unsigned port = 1; port <= 500; ++port) putEdge(port, 10, 7);
  const std::string whole = dump(kJson, true);
  for (const std::size_t window : {std::size_t{1}, std::size_t{100}, std::size_t{3000}}) {
    auto sm = makeVlanDump(kJson, true);
    sm->slicePolicyIs({.outputWindow = window});
    runToCompletion(*sm);
    EXPECT_EQ(reader->received, whole) << window;
  }
  auto sm = makeVlanDump(kJson, true);
  while (!sm->executionCompleteFlag()) {
    reader->appetite = 100;
    if (sm->renderer().buffer().flush()) sm->runCommand();
    EXPECT_LE(sm->renderer().buffer().pending(), 1024U + 300U);
  }
  reader->appetite = std::size_t{1} << 30;
  sm->renderer().buffer().flush();
  EXPECT_EQ(reader->received, whole);
}

// Slices.

TEST_F(VxlanVlanRequest, TheWorkListIsBuiltInSlicesBehindTheHeadOfTheFirstVlan) {
  mapVlan(10, 10010);
  for (unsigned port = 1; port <= 10; ++port) putEdge(port, 10, 7);
  auto sm = makeVlanDump(kJson, true);
  sm->slicePolicyIs({.silentBudget = 4});
  for (const std::size_t built : {4U, 8U}) {
    sm->runCommand();
    EXPECT_FALSE(sm->vpListBuilt());
    ASSERT_NE(sm->vpList(), nullptr);
    EXPECT_EQ(sm->vpList()->vlanVpList(VlanId(10))->size(), built);
    EXPECT_EQ(reader->received,
              R"({"vlans":{"10":{"vni":10010,"vfi":0,"mcastIndex":0,"virtualPorts":{)");
    EXPECT_EQ(sm->rows(), 0U);
  }
  EXPECT_EQ(sm->entriesDone(), 8U);
  sm->runCommand();
  EXPECT_TRUE(sm->vpListBuilt());
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_EQ(sm->rows(), 11U) << "ten interfaces and their VLAN";
}

TEST_F(VxlanVlanRequest, ASliceThatEndsWithTheLastEntryOfTheWorkListPrintsNoInterface) {
  mapVlan(10, 10010);
  for (unsigned port = 1; port <= 8; ++port) putEdge(port, 10, 7);
  auto sm = makeVlanDump(kText, true);
  sm->slicePolicyIs({.silentBudget = 4});
  sm->runCommand();
  sm->runCommand();
  EXPECT_TRUE(sm->vpListBuilt());
  EXPECT_EQ(reader->received, "Vlan 10:\n   VNI 10010, VFI 0:\n   Mcast index: 0\n");
  sm->runCommand();
  EXPECT_TRUE(sm->executionCompleteFlag());
}

TEST_F(VxlanVlanRequest, VlansThatComeBeforeTheFirstOneWhileTheListIsBuiltDoNotRepeatIt) {
  mapVlan(10, 10010);
  mapVlan(20, 10020);
  for (unsigned port = 1; port <= 4; ++port) putEdge(port, 20, 7);
  auto sm = makeVlanDump(kJson, true);
  sm->slicePolicyIs({.silentBudget = 2});
  sm->runCommand();
  ASSERT_FALSE(sm->vpListBuilt());
  sm->vlanMappingIs(VlanId(5));
  runToCompletion(*sm);
  EXPECT_EQ(reader->received,
            R"({"vlans":{"10":{"vni":10010,"vfi":0,"mcastIndex":0,"virtualPorts":{}},)"
            R"("20":{"vni":10020,"vfi":0,"mcastIndex":0,"virtualPorts":)"
            R"({"Ethernet1":7,"Ethernet2":7,"Ethernet3":7,"Ethernet4":7}}}})"
            "\n");
}

TEST_F(VxlanVlanRequest, TheFirstVlanRemovedFromTheSetWhileTheListIsBuiltIsClosed) {
  mapVlan(10, 10010);
  for (unsigned port = 1; port <= 4; ++port) putEdge(port, 10, 7);
  auto sm = makeVlanDump(kJson, true);
  sm->slicePolicyIs({.silentBudget = 2});
  sm->runCommand();
  sm->vlanMappingDel(VlanId(10));
  runToCompletion(*sm);
  EXPECT_EQ(reader->received,
            R"({"vlans":{"10":{"vni":10010,"vfi":0,"mcastIndex":0,"virtualPorts":{}}}})"
            "\n");
}

TEST_F(VxlanVlanRequest, BuildingEndsASliceWhenItsTimeIsSpent) {
  mapVlan(10, 10010);
  for (unsigned port = 1; port <= 10; ++port) putEdge(port, 10, 7);
  auto sm = makeVlanDump(kText, true);
  clock->perReadingIs(20ms);
  sm->runCommand();
  EXPECT_FALSE(sm->vpListBuilt());
  const std::size_t built = sm->vpList()->vlanVpList(VlanId(10))->size();
  EXPECT_GE(built, 1U);
  EXPECT_LT(built, 10U);
}

TEST_F(VxlanVlanRequest, WithoutDetailNothingIsBuilt) {
  fill();
  auto sm = makeVlanDump(kText, false);
  entryBudgetIs(*sm, 1);
  sm->runCommand();
  EXPECT_TRUE(sm->vpListBuilt());
  EXPECT_EQ(sm->vpList(), nullptr);
  EXPECT_EQ(sm->bookmark(), VlanId(20));
}

TEST_F(VxlanVlanRequest, AVlanMayBeLeftInTheMiddleAndTakenUpAgain) {
  mapVlan(10, 10010);
  mapVlan(20, 10020);
  for (unsigned port = 1; port <= 3; ++port) putEdge(port, 10, 7);
  auto sm = makeVlanDump(kText, true);
  sm->slicePolicyIs({.rowBudget = 2});
  sm->runCommand();
  EXPECT_EQ(sm->bookmark(), VlanId(10));
  EXPECT_THAT(reader->received, EndsWith("      Ethernet2: SVP 7\n"));
  sm->runCommand();
  // The third interface, and the VLAN as a whole.
  EXPECT_EQ(sm->bookmark(), VlanId(20));
  EXPECT_THAT(reader->received, EndsWith("      Ethernet2: SVP 7\n      Ethernet3: SVP 7\n"));
}

TEST_F(VxlanVlanRequest, OneVlanWithVeryManyInterfacesStaysWithinTheWindow) {
  mapVlan(10, 10010);
  for (unsigned port = 1; port <= 20'000; ++port) putEdge(port, 10, 7);
  auto sm = makeVlanDump(kText, true);
  sm->slicePolicyIs({.outputWindow = 10'000, .silentBudget = 1000});
  std::size_t before = 0;
  runToCompletion(*sm, [&] {
    EXPECT_LE(reader->received.size() - before, 10'000U + 100U);
    before = reader->received.size();
  });
  EXPECT_THAT(reader->received, EndsWith("      Ethernet20000: SVP 7\n"));
  EXPECT_EQ(std::ranges::count(reader->received, '\n'), 20'000 + 4);
}

TEST_F(VxlanVlanRequest, EverySliceMakesProgressWhateverTheClockDoes) {
  fill();
  const std::string whole = dump(kText, true);
  for (const auto step : {0ms, 1000000ms, -1000000ms}) {
    clock->perReadingIs(step);
    auto sm = makeVlanDump(kText, true);
    EXPECT_LE(runToCompletion(*sm), 20U) << step.count();
    EXPECT_EQ(reader->received, whole);
  }
}

TEST_F(VxlanVlanRequest, AYieldAfterTheLastVlanCompletesInTheSameSlice) {
  mapVlan(10, 10010);
  mapVlan(20, 10020);
  auto sm = makeVlanDump(kJson, false);
  entryBudgetIs(*sm, 2);
  EXPECT_EQ(runToCompletion(*sm), 1U);
  EXPECT_TRUE(traces->contains("Yielding Cpu"));
  EXPECT_TRUE(traces->contains("Execution Completed"));
}

TEST_F(VxlanVlanRequest, AYieldAfterTheLastInterfaceOfTheLastVlanCompletesInTheSameSlice) {
  mapVlan(10, 10010);
  putEdge("Ethernet1", 10, 7);
  auto sm = makeVlanDump(kJson, true);
  sm->slicePolicyIs({.rowBudget = 1});
  EXPECT_EQ(runToCompletion(*sm), 1U);
  EXPECT_THAT(reader->received, EndsWith("{\"Ethernet1\":7}}}}\n"));
}

/** A clock with a script of readings; the last one stays. */
class ScriptedClock final : public Qel::Clock {
 public:
  explicit ScriptedClock(std::deque<Qel::Duration> readings) : readings_(std::move(readings)) {}
  Qel::Duration now() const override {
    const Qel::Duration reading = readings_.front();
    if (readings_.size() > 1) readings_.pop_front();
    return reading;
  }

 private:
  mutable std::deque<Qel::Duration> readings_;
};

TEST_F(VxlanVlanRequest, AYesAfterTheLastInterfaceOfAVlanEndsTheSliceWithThatVlan) {
  mapVlan(10, 10010);
  mapVlan(20, 20010);
  putEdge("Ethernet1", 10, 7);
  putEdge("Ethernet2", 10, 7);
  // The slice begins; two entries of the work list, two interfaces, and whoever asks again is told
  // that no time has passed.
  const auto readings =
      Qel::makePtr<ScriptedClock>(std::deque<Qel::Duration>{0ms, 10ms, 20ms, 30ms, 51ms, 0ms});
  auto sm = l2VxlanVlanRequestSmBaseFactory("request-1", request(kText), kBudget, readings, fcsd,
                                            l2State, l3Config, l3Status, true);
  sm->runCommand();
  EXPECT_EQ(sm->bookmark(), VlanId(20));
  EXPECT_THAT(reader->received, EndsWith("      Ethernet2: SVP 7\n"));
  EXPECT_THAT(traces->messages(), ElementsAre("socket:7, format:1", "Yielding Cpu"));
}

// Counts lines, whatever time the slices take: the shorter the budget, the more often it ends with
// the last interface of a VLAN.
TEST_F(VxlanVlanRequest, EverySliceThatIsToldToEndOnARealClockEndsAndTracesItOnce) {
  for (unsigned vlan = 1; vlan <= 2000; ++vlan) {
    mapVlan(vlan, vlan);
    for (unsigned port = 1; port <= 3; ++port) putEdge(port, vlan, 7);
  }
  for (const bool detail : {false, true}) {
    traces->clear();
    auto sm = l2VxlanVlanRequestSmBaseFactory("request-1", request(kText), 5us,
                                              Qel::makePtr<Qel::SteadyClock>(), fcsd, l2State,
                                              l3Config, l3Status, detail);
    runToCompletion(*sm);
    ASSERT_GT(sm->slices(), 1U);
    bool toldToEnd = true;
    for (const std::string& message : traces->messages()) {
      if (message == "Yielding Cpu") {
        ASSERT_FALSE(toldToEnd) << "twice in one slice";
        toldToEnd = true;
      } else if (message.starts_with("socket:")) {
        ASSERT_TRUE(toldToEnd) << "a slice ended without a word";
        toldToEnd = false;
      }
    }
    // The last slice ends with the table; it may have been told to end right there.
    EXPECT_EQ(traces->count("Yielding Cpu") - (toldToEnd ? 1 : 0), sm->slices() - 1);
  }
}

// Changes between two slices.

TEST_F(VxlanVlanRequest, AVlanRemovedFromTheSetIsPassedOver) {
  for (unsigned vlan = 10; vlan <= 50; vlan += 10) mapVlan(vlan, vlan);
  auto sm = makeVlanDump(kText, false);
  entryBudgetIs(*sm, 2);
  sm->runCommand();
  ASSERT_EQ(sm->bookmark(), VlanId(30));
  sm->vlanMappingDel(VlanId(30));
  sm->vlanMappingDel(VlanId(10));
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, HasSubstr("Vlan 20:\n   VNI 20, VFI 0:\nVlan 40:\n"));
  EXPECT_THAT(reader->received, HasSubstr("Vlan 50:\n"));
}

TEST_F(VxlanVlanRequest, AllVlansAheadRemovedFromTheSetCompletes) {
  for (unsigned vlan = 10; vlan <= 50; vlan += 10) mapVlan(vlan, vlan);
  auto sm = makeVlanDump(kJson, false);
  entryBudgetIs(*sm, 1);
  sm->runCommand();
  sm->vlanMappingDelAll();
  sm->runCommand();
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_EQ(reader->received, R"({"vlans":{"10":{"vni":10,"vfi":0,"virtualPorts":{}}}})"
                              "\n");
}

TEST_F(VxlanVlanRequest, AVlanRemovedFromTheSetInItsMiddleIsClosed) {
  mapVlan(10, 10);
  mapVlan(20, 20);
  putEdge("Ethernet1", 10, 7);
  putEdge("Ethernet2", 10, 8);
  for (const bool others : {true, false}) {
    auto sm = makeVlanDump(kJson, true);
    sm->slicePolicyIs({.rowBudget = 1});
    sm->runCommand();
    sm->vlanMappingDel(VlanId(10));
    if (!others) sm->vlanMappingDel(VlanId(20));
    runToCompletion(*sm);
    const std::string first =
        R"({"vlans":{"10":{"vni":10,"vfi":0,"mcastIndex":0,"virtualPorts":{"Ethernet1":7}})";
    const std::string second = R"(,"20":{"vni":20,"vfi":0,"mcastIndex":0,"virtualPorts":{}})";
    EXPECT_EQ(reader->received, first + (others ? second : "") + "}}\n");
  }
}

TEST_F(VxlanVlanRequest, VlansThatTheAgentMapsOrUnmapsMeanwhileDoNotMatter) {
  mapVlan(10, 10);
  mapVlan(20, 20);
  auto sm = makeVlanDump(kText, false);
  entryBudgetIs(*sm, 1);
  sm->runCommand();
  mapVlan(15, 15);
  l2State->vlanMapping.erase(VlanId(20));
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, "Vlan 10:\n   VNI 10, VFI 0:\nVlan 20:\n   VNI 20, VFI 0:\n");
}

TEST_F(VxlanVlanRequest, WhatIsKnownOfAVlanIsLookedUpWhenItIsPrinted) {
  mapVlan(10, 10);
  mapVlan(20, 20);
  auto sm = makeVlanDump(kText, true);
  entryBudgetIs(*sm, 1);
  sm->runCommand();
  l3Config->vlanMapping.put(VlanId(20), {.vlanId = 20, .vfi = 2, .vni = 200});
  l3Status->statusEntry.put(20, {.mcastIndex = 9});
  putVlanSvp(20, 8);
  putEdge("Ethernet1", 20, 7);  // not seen: the list is complete
  runToCompletion(*sm);
  EXPECT_THAT(reader->received,
              EndsWith("Vlan 20:\n   VNI 200, VFI 2:\n   Mcast index: 9\n   Vlan SVP: 8\n"));
}

TEST_F(VxlanVlanRequest, WhileTheListIsBuiltChangesAheadOfItAreSeenAndThoseBehindAreNot) {
  mapVlan(10, 10);
  for (unsigned port = 10; port <= 60; port += 10) putEdge(port, 10, 1);
  auto sm = makeVlanDump(kText, true);
  sm->slicePolicyIs({.silentBudget = 3});
  sm->runCommand();  // 10, 20, 30
  putEdge(5, 10, 2);
  l2State->portToEdgeSvp.erase({IntfId("Ethernet10"), VlanId(10)});
  l2State->portToEdgeSvp.erase({IntfId("Ethernet40"), VlanId(10)});  // the bookmark
  putEdge(50, 10, 3);
  putEdge(45, 10, 4);
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, EndsWith("   Interfaces:\n"
                                         "      Ethernet10: SVP 1\n"
                                         "      Ethernet20: SVP 1\n"
                                         "      Ethernet30: SVP 1\n"
                                         "      Ethernet45: SVP 4\n"
                                         "      Ethernet50: SVP 3\n"
                                         "      Ethernet60: SVP 1\n"));
}

TEST_F(VxlanVlanRequest, APortThatBecomesAPortChannelMeanwhileIsTakenAsItIsInTheNextSlice) {
  mapVlan(10, 10);
  mapVlan(20, 20);
  putEdge("Po", 10, 1);
  putEdge("Po", 20, 2);
  auto sm = makeVlanDump(kText, true);
  sm->slicePolicyIs({.silentBudget = 1});
  sm->runCommand();
  fcsd->lagIs(IntfId("Po"));
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, HasSubstr("      Po: SVP 1\nVlan 20:\n"));
  EXPECT_THAT(reader->received, EndsWith("   Interfaces:\n"));
}

TEST_F(VxlanVlanRequest, BuildingEndsThoughEntriesAreAddedAheadOfItFasterThanItReads) {
  mapVlan(10, 10);
  for (unsigned port = 1; port <= 10; ++port) putEdge(port, 10, 1);
  auto sm = makeVlanDump(kText, true);
  sm->slicePolicyIs({.silentBudget = 1});
  constexpr unsigned kMost = 20'000;
  unsigned added = 0;
  runToCompletion(*sm, [&] {
    for (int i = 0; i < 2 && added < kMost; ++i, ++added) {
      putEdge(1000 + added / 4000, 11 + added % 4000, 2);
    }
  });
  EXPECT_LT(added, kMost) << "it was fed to its end";
  EXPECT_THAT(reader->received, HasSubstr("      Ethernet10: SVP 1\n"));
}

// Failures.

TEST_F(VxlanVlanRequest, ACorruptedTableOfPortsIsToldSoAndTheDumpEndsWithWhatWasRead) {
  mapVlan(10, 10);
  for (unsigned port = 1; port <= 1000; ++port) putEdge(port, 10, 1);
  std::vector<std::string> reports;
  l2State->portToEdgeSvp.corruptionHandlerIs(
      [&](std::string_view message) { reports.emplace_back(message); });
  Qel::KeyedCollectionTestAccess::loseMark(l2State->portToEdgeSvp, 2);
  const std::string json = dump(kJson, true);
  EXPECT_THAT(reports, ElementsAre("keyed collection is damaged: a chunk has lost its mark"));
  rapidjson::Document document;
  document.Parse(json.c_str());
  ASSERT_FALSE(document.HasParseError());
  const auto ports = document["vlans"]["10"]["virtualPorts"].MemberCount();
  EXPECT_GT(ports, 0U);
  EXPECT_LT(ports, 1000U);
}

TEST_F(VxlanVlanRequest, ACorruptedSetOfVlansIsToldSoAndTheDumpEndsWithWhatWasRead) {
  for (unsigned vlan = 1; vlan <= 1000; ++vlan) mapVlan(vlan, vlan);
  std::vector<std::string> reports;
  l2State->vlanMapping.corruptionHandlerIs(
      [&](std::string_view message) { reports.emplace_back(message); });
  Qel::KeyedCollectionTestAccess::loseMark(l2State->vlanMapping, 2);
  const std::string text = dump(kText, false);
  EXPECT_EQ(reports.size(), 1U);
  EXPECT_THAT(text, HasSubstr("Vlan 1:\n"));
  EXPECT_THAT(text, Not(HasSubstr("Vlan 1000:\n")));
}

TEST_F(VxlanVlanRequest, ACorruptedTableThatIsLookedUpInEndsTheRequest) {
  for (unsigned vlan = 1; vlan <= 1000; ++vlan) mapVlan(vlan, vlan);
  Qel::KeyedCollectionTestAccess::loseMark(l3Config->vlanMapping, 2);
  auto sm = makeVlanDump(kText, false);
  EXPECT_THROW(runToCompletion(*sm), Qel::CorruptionException);
  EXPECT_FALSE(sm->executionCompleteFlag());
}

TEST_F(VxlanVlanRequest, AFailureWhileTheListIsBuiltEndsTheRequestAndBlamesNobodyElse) {
  mapVlan(10, 10);
  for (unsigned port = 1; port <= 10; ++port) putEdge(port, 10, 1);
  fcsd->lagIs(IntfId("Port-Channel1"));
  using Lags = FeatureAgentCommonSmData::LagToPortCollection;
  Qel::KeyedCollectionTestAccess::loseMark(const_cast<Lags&>(fcsd->lagToPort()), 0);
  bool blamed = false;
  l2State->portToEdgeSvp.corruptionHandlerIs([&](std::string_view) { blamed = true; });
  auto sm = makeVlanDump(kJson, true);
  EXPECT_THROW(sm->runCommand(), Qel::CorruptionException);
  EXPECT_FALSE(blamed);
  EXPECT_FALSE(sm->vpListBuilt());
  EXPECT_FALSE(sm->executionCompleteFlag());
  sm->renderer().buffer().flush();
  EXPECT_THAT(reader->received, EndsWith("\"virtualPorts\":{"));
  sm = nullptr;
  EXPECT_EQ(l2State->users(), 1U);
}

TEST_F(VxlanVlanRequest, ARequestCancelledInTheMiddleOfAVlanLeavesNothing) {
  const auto before = Qel::liveInstances("L2VxlanVlanRequestSmBase");
  mapVlan(10, 10);
  for (unsigned port = 1; port <= 100; ++port) putEdge(port, 10, 1);
  auto sm = makeVlanDump(kText, true);
  sm->slicePolicyIs({.rowBudget = 10});
  sm->runCommand();
  ASSERT_FALSE(sm->executionCompleteFlag());
  const Qel::Ptr<VpList> list = sm->vpList();
  sm = nullptr;
  EXPECT_EQ(list->users(), 1U);
  EXPECT_EQ(Qel::liveInstances("L2VxlanVlanRequestSmBase"), before);
}

TEST_F(VxlanVlanRequest, ARequestCancelledWhileItsListIsBuiltLeavesNothing) {
  const auto before = Qel::liveInstances("L2VxlanVlanRequestSmBase");
  mapVlan(10, 10);
  for (unsigned port = 1; port <= 100; ++port) putEdge(port, 10, 1);
  const auto users = l2State->users();
  auto sm = makeVlanDump(kText, true);
  sm->slicePolicyIs({.silentBudget = 10});
  sm->runCommand();
  ASSERT_FALSE(sm->vpListBuilt());
  EXPECT_EQ(l2State->users(), users + 1);
  sm = nullptr;
  EXPECT_EQ(l2State->users(), users);
  EXPECT_EQ(fcsd->users(), 1U);
  EXPECT_EQ(Qel::liveInstances("L2VxlanVlanRequestSmBase"), before);
}

TEST_F(VxlanVlanRequest, TheRecordsStayWhileTheRequestNeedsThemThoughTheAgentReplacesThem) {
  fill();
  auto sm = makeVlanDump(kText, true);
  entryBudgetIs(*sm, 1);
  sm->runCommand();
  fcsd = nullptr;
  l2State = nullptr;
  l3Config = nullptr;
  l3Status = nullptr;
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, kDetailText);
}

// The machine itself.

TEST_F(VxlanVlanRequest, StateGoesFromNewThroughBuildingAndWalkingToComplete) {
  fill();
  auto sm = l2VxlanVlanRequestSmBaseFactory("the-name", request(kJson), kBudget, clock, fcsd,
                                            l2State, l3Config, l3Status, true);
  EXPECT_EQ(sm->name(), "the-name");
  EXPECT_EQ(sm->maxRunTime(), kBudget);
  EXPECT_EQ(sm->clock(), clock);
  EXPECT_EQ(sm->fcsd(), fcsd);
  EXPECT_EQ(sm->vxlanL2State(), l2State);
  EXPECT_EQ(sm->vxlanL3Config(), l3Config);
  EXPECT_EQ(sm->vxlanL3Status(), l3Status);
  EXPECT_TRUE(sm->detail());
  EXPECT_TRUE(sm->hasNotificationActive());
  EXPECT_EQ(sm->typeData().name, "KorvoL2::L2VxlanVlanRequestSmBase");
  sm->handleInitialized();
  EXPECT_FALSE(sm->initialized());
  EXPECT_FALSE(sm->inProgress());
  EXPECT_FALSE(sm->vpListBuilt());
  EXPECT_EQ(sm->vpList(), nullptr);
  EXPECT_TRUE(sm->vlanMapping().empty());
  EXPECT_EQ(sm->bookmark(), VlanId());
  entryBudgetIs(*sm, 7);
  sm->runCommand();
  EXPECT_TRUE(sm->inProgress());
  EXPECT_TRUE(sm->vpListBuilt());
  EXPECT_EQ(sm->vlanMapping().size(), 4U);
  sm->runCommand();
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_FALSE(sm->inProgress());
  EXPECT_TRUE(sm->vlanMapping().empty());
  EXPECT_NE(sm->vpList(), nullptr) << "it stays until the machine goes";
}

TEST_F(VxlanVlanRequest, CreationFunctionGivesTheSameMachineAsTheFactory) {
  fill();
  auto sm = L2VxlanVlanRequestSmBaseIs("r", request(kText), kBudget, clock, fcsd, l2State, l3Config,
                                       l3Status, true);
  EXPECT_TRUE(sm->hasNotificationActive());
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, kDetailText);
}

TEST_F(VxlanVlanRequest, SliceTracesSocketAndFormatThenYieldThenCompletion) {
  mapVlan(10, 10);
  mapVlan(20, 20);
  auto sm = makeVlanDump(kJson, false);
  entryBudgetIs(*sm, 1);
  runToCompletion(*sm);
  EXPECT_THAT(traces->messages(),
              ElementsAre("socket:7, format:2", "Yielding Cpu", "socket:7, format:2",
                          "Yielding Cpu", "Execution Completed", ""));
  for (const auto& line : traces->lines()) EXPECT_EQ(line.level, 8);
}

}  // namespace
}  // namespace KorvoL2::Testing
