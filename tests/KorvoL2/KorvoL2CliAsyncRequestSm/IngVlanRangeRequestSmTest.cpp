#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <chrono>
#include <stdexcept>

#include "platform/base/Exceptions.h"
#include "platform/base/Tracked.h"
#include "tests/KorvoL2/VlanRangeHarness.h"
#include "tests/support/KeyedCollectionTestAccess.h"

namespace KorvoL2::Testing {
namespace {

using Bridging::IntfId;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;
using namespace std::chrono_literals;

class IngVlanRangeRequest : public VlanRangeHarness {
 protected:
  void fillThree() {
    putRanges("Ethernet1", 11, {range(10, 20), range(30, 30), range(100, 199)});
    putRanges("Ethernet10", 20, {range(4094, 4094)});
    putRanges("Ethernet2", 12, {range(1, 4094)});
  }
};

TEST_F(IngVlanRangeRequest, PrintsALineForEachInterfaceInOrderAsText) {
  fillThree();
  EXPECT_EQ(dump(kText),
            "Ethernet1: logical port 11, 3 VLAN ranges: 10-20, 30, 100-199\n"
            "Ethernet2: logical port 12, 1 VLAN range: 1-4094\n"
            "Ethernet10: logical port 20, 1 VLAN range: 4094\n");
}

TEST_F(IngVlanRangeRequest, PrintsAnObjectKeyedByInterfaceAsJson) {
  fillThree();
  EXPECT_EQ(dump(kJson),
            R"({"intfVlanRanges":{"Ethernet1":{"logicalPort":11,"portChannel":"","oversize":false,)"
            R"("ranges":[{"first":10,"last":20},{"first":30,"last":30},{"first":100,"last":199}]},)"
            R"("Ethernet2":{"logicalPort":12,"portChannel":"","oversize":false,)"
            R"("ranges":[{"first":1,"last":4094}]},)"
            R"("Ethernet10":{"logicalPort":20,"portChannel":"","oversize":false,)"
            R"("ranges":[{"first":4094,"last":4094}]}}})"
            "\n");
}

TEST_F(IngVlanRangeRequest, WithoutInterfacesJsonIsAnEmptyObjectAndTextIsEmpty) {
  EXPECT_EQ(dump(kJson), "{\"intfVlanRanges\":{}}\n");
  traces->clear();
  EXPECT_EQ(dump(kText), "");
  EXPECT_THAT(traces->messages(), ElementsAre("socket:7, format:1", "Execution Completed", ""));
}

TEST_F(IngVlanRangeRequest, InterfacesWithoutScaleEntryOrRangesPrintNothing) {
  putRanges("Ethernet1", 1, {range(10, 20)});
  putIntf("Ethernet2", 2);
  ring->programmed[{std::uint16_t{5}, 2U}] = {range(5, 6)};
  putRanges("Ethernet3", 3, {});
  EXPECT_EQ(dump(kText), "Ethernet1: logical port 1, 1 VLAN range: 10-20\n");
  EXPECT_THAT(ring->asked, ElementsAre(Pair(5, 1), Pair(5, 3)))
      << "without a scale entry the hardware is not read";
}

TEST_F(IngVlanRangeRequest, OverSizeIsARangeSizeBelowTheScaleEntrysAndNotEqualToIt) {
  const IntfId intf = putRanges("Ethernet1", 1, {range(10, 20)});
  scale->entries.put(intf, {.size = kRangeSize});
  EXPECT_THAT(dump(kJson), HasSubstr("\"oversize\":false"));
  EXPECT_EQ(dump(kText), "Ethernet1: logical port 1, 1 VLAN range: 10-20\n");
  scale->entries.put(intf, {.size = kRangeSize + 1});
  EXPECT_THAT(dump(kJson), HasSubstr("\"oversize\":true"));
  EXPECT_EQ(dump(kText),
            "Ethernet1: logical port 1, wants more than its table holds, 1 VLAN range: 10-20\n");
  scale->entries.put(intf, {.size = 0xFFFF'FFFF});
  EXPECT_THAT(dump(kJson), HasSubstr("\"oversize\":true")) << "all 32 bits count";
  scale->entries.put(intf, {.size = 0x100});
  EXPECT_THAT(dump(kJson), HasSubstr("\"oversize\":true"));
}

// How an interface becomes a logical port.

TEST_F(IngVlanRangeRequest, AnInterfaceWithoutPortIdHasTheHardwaresNoPort) {
  const IntfId intf("Ethernet1");
  fcsd->intf.add(intf);
  scale->entries.put(intf, {});
  ring->programmed[{std::uint16_t{0x200}, 1023U}] = {range(10, 20)};
  EXPECT_EQ(dump(kText), "Ethernet1: logical port 1023, 1 VLAN range: 10-20\n");
  EXPECT_THAT(ring->asked, ElementsAre(Pair(0x200, 1023)));
}

TEST_F(IngVlanRangeRequest, TheDefaultPortMayHaveALogicalFapOfItsOwn) {
  const IntfId intf("Ethernet1");
  fcsd->intf.add(intf);
  scale->entries.put(intf, {});
  fcsd->modPortLogicalFap.put({.module = 0x40, .port = 0x3FF}, 7);
  dump(kText);
  EXPECT_THAT(ring->asked, ElementsAre(Pair(7, 1023)));
}

TEST_F(IngVlanRangeRequest, APortWithoutLogicalFapIsReadAtTheOneThatNoChipHas) {
  const IntfId intf = putIntf("Ethernet1", 3);
  scale->entries.put(intf, {});
  fcsd->modPortLogicalFap.erase({.module = 1, .port = 3});
  dump(kText);
  EXPECT_THAT(ring->asked, ElementsAre(Pair(0x200, 3)));
}

TEST_F(IngVlanRangeRequest, DynamicLogicalPortIsTheHardwareIndexOfTheInterface) {
  const IntfId intf = putIntf("Ethernet1", 3);
  scale->entries.put(intf, {});
  hwIndexes->entries.put(intf, 0xFFFF);
  ring->programmed[{std::uint16_t{5}, 0xFFFFU}] = {range(10, 20)};
  EXPECT_EQ(dumpDynamic(kText), "Ethernet1: logical port 65535, 1 VLAN range: 10-20\n");
}

TEST_F(IngVlanRangeRequest, AMemberWithoutItsOwnIndexUsesThatOfItsPortChannel) {
  const IntfId intf = putIntf("Ethernet1", 3);
  const IntfId lag("Port-Channel7");
  scale->entries.put(intf, {});
  fcsd->lagMembershipIs(intf, lag);
  hwIndexes->entries.put(lag, 97);
  ring->programmed[{std::uint16_t{5}, 97U}] = {range(10, 20)};
  EXPECT_EQ(dumpDynamic(kText),
            "Ethernet1: logical port 97, member of Port-Channel7, 1 VLAN range: 10-20\n");
  EXPECT_THAT(dumpDynamic(kJson),
              HasSubstr(R"("Ethernet1":{"logicalPort":97,"portChannel":"Port-Channel7",)"));
  hwIndexes->entries.put(intf, 4);
  EXPECT_EQ(startDynamic(kText)->getLogicalPort(intf), 4U) << "its own goes first";
}

TEST_F(IngVlanRangeRequest, DynamicLogicalPortIsZeroWhereNothingIsKnown) {
  const IntfId intf = putIntf("Ethernet1", 3);
  auto sm = startDynamic(kText);
  EXPECT_EQ(sm->getLogicalPort(intf), 0U);
  fcsd->lagMembershipIs(intf, IntfId("Port-Channel7"));
  EXPECT_EQ(sm->getLogicalPort(intf), 0U) << "a port-channel without an index";
}

// Slices.

TEST_F(IngVlanRangeRequest, OutputIsTheSameAtEverySliceBudget) {
  for (std::uint16_t i = 0; i < 60; ++i) {
    const std::string name = "Ethernet" + std::to_string(1 + i);
    if (i % 3 == 0) {
      putIntf(name, i);
    } else {
      putRanges(name, i, {range(1U + i, 100U + i), range(200U + i, 300)});
    }
  }
  for (const auto format : {kText, kJson}) {
    const std::string whole = dump(format);
    for (const std::uint32_t budget : {1U, 2U, 3U, 39U, 40U, 41U}) {
      EXPECT_EQ(dump(format, budget), whole) << budget;
    }
  }
}

TEST_F(IngVlanRangeRequest, YieldsAfterPrintedInterfacesAndKeepsTheNextAsItsBookmark) {
  fillThree();
  auto sm = start(kText, 1);
  sm->runCommand();
  EXPECT_EQ(sm->intfId(), IntfId("Ethernet2"));
  EXPECT_TRUE(sm->inProgress());
  sm->runCommand();
  EXPECT_EQ(sm->intfId(), IntfId("Ethernet10"));
  EXPECT_FALSE(sm->executionCompleteFlag());
  sm->runCommand();
  EXPECT_TRUE(sm->executionCompleteFlag()) << "a yield on the last interface completes at once";
  EXPECT_EQ(traces->count("Yielding Cpu"), 3U);
  EXPECT_EQ(traces->count("Execution Completed"), 1U);
  EXPECT_EQ(sm->rows(), 3U);
}

TEST_F(IngVlanRangeRequest, InterfacesThatPrintNothingAreNoRows) {
  for (std::uint16_t i = 0; i < 50; ++i) putIntf("Ethernet" + std::to_string(i), i);
  auto sm = start(kText, 1);
  EXPECT_EQ(runToCompletion(*sm), 1U);
  EXPECT_EQ(sm->rows(), 0U);
  EXPECT_FALSE(traces->contains("Yielding Cpu"));
}

TEST_F(IngVlanRangeRequest, InterfacesThatPrintNothingFillASliceWhateverTheReason) {
  const auto silentSlicesOf10 = [&] {
    auto sm = start(kText);
    sm->slicePolicyIs({.silentBudget = 10});
    const std::uint64_t slices = runToCompletion(*sm);
    EXPECT_EQ(reader->received, "");
    EXPECT_EQ(sm->rows(), 0U);
    EXPECT_EQ(sm->entriesDone(), 30U);
    return slices;
  };
  for (std::uint16_t i = 0; i < 30; ++i) putIntf("Ethernet" + std::to_string(i), i);
  EXPECT_EQ(silentSlicesOf10(), 3U) << "no scale entry";
  for (std::uint16_t i = 0; i < 30; ++i) putRanges("Ethernet" + std::to_string(i), i, {});
  EXPECT_EQ(silentSlicesOf10(), 3U) << "no ranges";
  ring = nullptr;
  EXPECT_EQ(silentSlicesOf10(), 3U) << "nobody to read them";
}

TEST_F(IngVlanRangeRequest, InterfacesThatPrintNothingNeverBreakTheTimeBudget) {
  // Each takes the clock on by a millisecond when its scale entry is found and its ranges are read.
  for (std::uint16_t i = 0; i < 1000; ++i) {
    const auto name = "Ethernet" + std::to_string(i);
    if (i == 500) {
      putRanges(name, i, {range(10, 20)});
    } else {
      putRanges(name, i, {});
    }
  }
  for (const auto format : {kText, kJson}) {
    ring->onRead = nullptr;
    const std::string undisturbed = dump(format);
    ring->onRead = [&] { clock->advance(1ms); };
    auto sm = start(format);
    const std::uint64_t slices = runToCompletion(*sm);
    EXPECT_GE(slices, 1000U / 51U);
    EXPECT_LE(slices, 1000U / 50U + 1U);
    EXPECT_LE(sm->worstSlice(), 51ms);
    EXPECT_EQ(sm->rows(), 1U);
    EXPECT_EQ(reader->received, undisturbed) << "where a slice ends must change no byte";
  }
}

TEST_F(IngVlanRangeRequest, EverySliceMakesProgressWhateverTheClockDoes) {
  for (std::uint16_t i = 0; i < 20; ++i) {
    const auto name = "Ethernet" + std::to_string(i);
    i % 2 == 0 ? putIntf(name, i) : putRanges(name, i, {range(10, 20)});
  }
  const std::string whole = dump(kText);
  for (const auto step : {0ms, 1000000ms, -1000000ms}) {
    clock->perReadingIs(step);
    auto sm = start(kText);
    EXPECT_LE(runToCompletion(*sm), 20U) << step.count();
    EXPECT_EQ(reader->received, whole);
  }
}

TEST_F(IngVlanRangeRequest, EndsThoughSilentInterfacesAreAddedAheadFasterThanItWalks) {
  for (std::uint16_t i = 0; i < 10; ++i) putIntf("Ethernet" + std::to_string(i), i);
  clock->perReadingIs(60ms);  // every interface ends its slice
  auto sm = start(kText);
  constexpr std::uint16_t kMost = 20'000;
  std::uint16_t next = 10;
  runToCompletion(*sm, [&] {
    for (int i = 0; i < 2 && next < kMost; ++i, ++next) {
      putIntf("Ethernet" + std::to_string(next), next);
    }
  });
  EXPECT_LT(next, kMost) << "it was fed to its end";
}

TEST_F(IngVlanRangeRequest, InterfaceUnderTheBookmarkDeletedBetweenSlicesResumesAtTheNext) {
  fillThree();
  auto sm = start(kText, 1);
  sm->runCommand();
  ASSERT_EQ(sm->intfId(), IntfId("Ethernet2"));
  fcsd->intf.erase(IntfId("Ethernet2"));
  runToCompletion(*sm);
  EXPECT_EQ(reader->received,
            "Ethernet1: logical port 11, 3 VLAN ranges: 10-20, 30, 100-199\n"
            "Ethernet10: logical port 20, 1 VLAN range: 4094\n");
}

TEST_F(IngVlanRangeRequest, AllInterfacesAheadDeletedBetweenSlicesCompletes) {
  fillThree();
  for (const auto format : {kText, kJson}) {
    fillThree();
    auto sm = start(format, 1);
    sm->runCommand();
    fcsd->intf.clear();
    sm->runCommand();
    EXPECT_TRUE(sm->executionCompleteFlag());
    if (format == kJson) {
      rapidjson::Document document;
      ASSERT_FALSE(document.Parse(reader->received.c_str()).HasParseError());
      EXPECT_EQ(document["intfVlanRanges"].MemberCount(), 1U);
    }
  }
}

TEST_F(IngVlanRangeRequest, RangesAndInterfacesChangedAheadOfTheWalkComeOutChanged) {
  fillThree();
  auto sm = start(kText, 1);
  sm->runCommand();
  putRanges("Ethernet2", 13, {range(7, 8)});
  putRanges("Ethernet5", 15, {range(9, 9)});
  putRanges("Ethernet0", 10, {range(9, 9)});  // behind
  scale->entries.erase(IntfId("Ethernet10"));
  runToCompletion(*sm);
  EXPECT_EQ(reader->received,
            "Ethernet1: logical port 11, 3 VLAN ranges: 10-20, 30, 100-199\n"
            "Ethernet2: logical port 13, 1 VLAN range: 7-8\n"
            "Ethernet5: logical port 15, 1 VLAN range: 9\n");
}

TEST_F(IngVlanRangeRequest, ABookmarkSetBeforehandIsWhereTheWalkStarts) {
  fillThree();
  auto sm = start(kText);
  sm->intfIdIs(IntfId("Ethernet2"));
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, Not(HasSubstr("Ethernet1:")));
  EXPECT_THAT(reader->received, HasSubstr("Ethernet2:"));
  EXPECT_THAT(reader->received, HasSubstr("Ethernet10:"));
  sm = start(kText);
  sm->intfIdIs(IntfId("Ethernet2"));
  sm->intfIdIs(IntfId());
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, HasSubstr("Ethernet1:")) << "no interface stands for the start";
}

TEST_F(IngVlanRangeRequest, WhatTheReaderThrowsPassesOn) {
  fillThree();
  auto sm = start(kText);
  ring->onRead = [] { throw std::runtime_error("ring is stuck"); };
  EXPECT_THROW(sm->runCommand(), std::runtime_error);
  EXPECT_FALSE(sm->executionCompleteFlag());
}

TEST_F(IngVlanRangeRequest, ADamagedSetOfInterfacesIsToldSoAndTheDocumentEnds) {
  for (std::uint16_t i = 0; i < 1000; ++i) {
    putRanges("Ethernet" + std::to_string(i), i, {range(10, 20)});
  }
  std::vector<std::string> reports;
  fcsd->intf.corruptionHandlerIs([&](std::string_view message) { reports.emplace_back(message); });
  Qel::KeyedCollectionTestAccess::loseMark(fcsd->intf, 2);
  auto sm = start(kJson, 50);
  runToCompletion(*sm);
  EXPECT_THAT(reports, ElementsAre("keyed collection is damaged: a chunk has lost its mark"));
  rapidjson::Document document;
  ASSERT_FALSE(document.Parse(reader->received.c_str()).HasParseError());
  EXPECT_EQ(document["intfVlanRanges"].MemberCount(), sm->rows());
  EXPECT_GT(sm->rows(), 0U);
  EXPECT_LT(sm->rows(), 1000U);
}

// The machine as an object.

TEST_F(IngVlanRangeRequest, NullRecordsStandForEmptyOnes) {
  for (const auto format : {kText, kJson}) {
    const std::string expected = format == kText ? "" : "{\"intfVlanRanges\":{}}\n";
    auto bare = ingVlanRangeRequestSmFactory("r", request(format), 50ms, clock, nullptr, nullptr,
                                             nullptr, 0);
    runToCompletion(*bare);
    EXPECT_EQ(reader->received, expected);
    auto dynamic = ingDynamicVlanRangeRequestSmFactory("r", request(format), 50ms, clock, nullptr,
                                                       nullptr, nullptr, 0, nullptr);
    EXPECT_EQ(dynamic->getLogicalPort(IntfId("Ethernet1")), 0U);
    runToCompletion(*dynamic);
    EXPECT_EQ(reader->received, expected);
  }
  fillThree();
  auto unread =
      ingVlanRangeRequestSmFactory("r", request(kText), 50ms, clock, fcsd, scale, nullptr, 8);
  runToCompletion(*unread);
  EXPECT_EQ(reader->received, "");
}

TEST_F(IngVlanRangeRequest, ANewMachineHoldsWhatItWasGiven) {
  auto sm = ingDynamicVlanRangeRequestSmFactory("the-name", request(kText), 50ms, clock, fcsd,
                                                scale, ring, 200, hwIndexes);
  EXPECT_EQ(sm->name(), "the-name");
  EXPECT_EQ(sm->maxRunTime(), 50ms);
  EXPECT_EQ(sm->clock(), clock);
  EXPECT_EQ(sm->fcsd(), fcsd);
  EXPECT_EQ(sm->vlanXlateScaleEntryDir(), scale);
  EXPECT_EQ(sm->cmdRingManager(), ring);
  EXPECT_EQ(sm->ingVlanRangeSize(), 200U);
  EXPECT_EQ(sm->portHwIndexMappingDir(), hwIndexes);
  EXPECT_EQ(sm->intfId(), IntfId());
  EXPECT_FALSE(sm->inProgress());
  EXPECT_FALSE(sm->initialized());
  EXPECT_TRUE(sm->hasNotificationActive());
  EXPECT_EQ(sm->typeData().name, "KorvoL2::IngDynamicVlanRangeRequestSm");
  sm->handleInitialized();
  EXPECT_TRUE(sm->initialized());
  EXPECT_EQ(start(kText)->typeData().name, "KorvoL2::IngVlanRangeRequestSm");
}

TEST_F(IngVlanRangeRequest, CreationFunctionsGiveMachinesOfTheirOwn) {
  const auto base =
      IngVlanRangeRequestSmBaseIs("a", request(kText), 50ms, clock, fcsd, scale, ring, 1);
  const auto fixed =
      IngVlanRangeRequestSmIs("b", request(kText), 50ms, clock, fcsd, scale, ring, 2);
  const auto dynamic = IngDynamicVlanRangeRequestSmIs("c", request(kText), 50ms, clock, fcsd, scale,
                                                      ring, 3, hwIndexes);
  EXPECT_EQ(base->ingVlanRangeSize(), 1U);
  EXPECT_EQ(fixed->ingVlanRangeSize(), 2U);
  EXPECT_EQ(dynamic->ingVlanRangeSize(), 3U);
  EXPECT_TRUE(base->hasNotificationActive());
  EXPECT_TRUE(fixed->hasNotificationActive());
}

TEST_F(IngVlanRangeRequest, SettersPublishOnChangeOnlyAndSoDoesAYield) {
  fillThree();
  auto sm = start(kText, 1);
  std::vector<std::string> changes;
  const auto subscription = sm->publisher().subscribe(
      [&](const Qel::Entity&, std::string_view attribute) { changes.emplace_back(attribute); });
  sm->intfIdIs(IntfId("Ethernet1"));
  sm->intfIdIs(IntfId("Ethernet1"));
  sm->runCommand();
  EXPECT_THAT(changes, ElementsAre("intfId", "inProgress", "intfId"));
  sm->publisher().cancel(subscription);
}

TEST_F(IngVlanRangeRequest, ThePreambleIsWrittenOnceHoweverTheMachineIsStarted) {
  auto sm = start(kJson);
  sm->getAsyncState();
  EXPECT_TRUE(sm->inProgress());
  runToCompletion(*sm);
  EXPECT_EQ(reader->received, "{\"intfVlanRanges\":{}}\n");
  EXPECT_FALSE(sm->inProgress());
}

TEST_F(IngVlanRangeRequest, TheBaseKnowsNoLogicalPort) {
  auto base = ingVlanRangeRequestSmBaseFactory("base", request(kJson), 50ms, clock, fcsd, scale,
                                               ring, kRangeSize);
  EXPECT_EQ(base->typeData().name, "KorvoL2::IngVlanRangeRequestSmBase");
  try {
    base->getLogicalPort(IntfId("Ethernet1"));
    FAIL() << "the base has no ports";
  } catch (const Qel::NoImplementationException& e) {
    EXPECT_STREQ(e.what(), "not implemented in base-class");
  }
  putIntf("Ethernet1", 1);
  EXPECT_THROW(base->runCommand(), Qel::NoImplementationException);
}

TEST_F(IngVlanRangeRequest, ReleasedMachinesLeaveNoLiveInstanceAndLetTheirRecordsGo) {
  for (const char* name :
       {"IngVlanRangeRequestSm", "IngDynamicVlanRangeRequestSm", "IngVlanRangeRequestSmBase"}) {
    EXPECT_EQ(Qel::liveInstances(name), 0) << name;
  }
  fillThree();
  {
    auto fixed = start(kText, 1);
    fixed->runCommand();
    const auto dynamic = startDynamic(kText);
    const auto base =
        IngVlanRangeRequestSmBaseIs("a", request(kText), 50ms, clock, fcsd, scale, ring, 1);
    EXPECT_EQ(Qel::liveInstances("IngVlanRangeRequestSm"), 1);
    EXPECT_EQ(Qel::liveInstances("IngDynamicVlanRangeRequestSm"), 1);
    EXPECT_EQ(Qel::liveInstances("IngVlanRangeRequestSmBase"), 1);
    EXPECT_GT(fcsd->users(), 1U);
  }
  EXPECT_EQ(Qel::liveInstances("IngVlanRangeRequestSm"), 0);
  EXPECT_EQ(Qel::liveInstances("IngDynamicVlanRangeRequestSm"), 0);
  EXPECT_EQ(Qel::liveInstances("IngVlanRangeRequestSmBase"), 0);
  EXPECT_EQ(fcsd->users(), 1U);
  EXPECT_EQ(ring->users(), 1U);
  EXPECT_EQ(scale->users(), 1U);
}

}  // namespace
}  // namespace KorvoL2::Testing
