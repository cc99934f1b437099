// The table reader: what it reports, when it says that it is done, and what happens when tables
// and chips change while it reads.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Exceptions.h"
#include "platform/base/Tracked.h"
#include "tests/agent/chips/ChipsTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;
using KorvoL2::DiffMacEntry;
using KorvoL2::DiffMacEntryTable;
using KorvoL2::EntryPropertyDir;
using KorvoL2::L2HwEntryKey;
using KorvoL2::L2TableReadReq;
using KorvoL2::L2TableReadType;
using KorvoL2::MacEntry;
using KorvoL2::MissingMacEntry;
using KorvoL2::MissingMacEntryTable;
using Tessar::FapId;
using ::testing::ElementsAre;
using ::testing::Key;
using Testing::macKey;
using namespace std::chrono_literals;
namespace Flag = KorvoL2::MacEntryFlag;

class HwTableReaderTest : public Testing::HardwareTest {
 protected:
  HwTableReader& reader() { return hardware_->reader(); }

  // What a check does.
  Qel::Ptr<DiffMacEntryTable> askForDiff(const std::vector<unsigned>& chips) {
    auto result = Qel::makePtr<DiffMacEntryTable>();
    for (const unsigned id : chips) post(result, id);
    post(result, FapId::null);
    return result;
  }
  Qel::Ptr<MissingMacEntryTable> askForMissing(const std::vector<unsigned>& chips) {
    auto result = Qel::makePtr<MissingMacEntryTable>();
    for (const unsigned id : chips) post(result, id);
    post(result, FapId::null);
    return result;
  }
  void post(const Qel::Ptr<DiffMacEntryTable>& result, unsigned id) {
    L2TableReadReq request;
    request.transactionId = reader().createTransactionId();
    request.diffEntryTable = result;
    request.fapId = FapId(id);
    reader().newReqIs(request);
  }
  void post(const Qel::Ptr<MissingMacEntryTable>& result, unsigned id) {
    L2TableReadReq request;
    request.transactionId = reader().createTransactionId();
    request.missingEntryTable = result;
    request.type = L2TableReadType::missing;
    request.fapId = FapId(id);
    reader().newReqIs(request);
  }
  void readAll() {
    for (int i = 0; reader().runnable(); ++i) {
      ASSERT_LT(i, 100'000) << "the reader does not get done";
      reader().runPiece();
    }
  }
  const DiffMacEntry* diff(const Qel::Ptr<DiffMacEntryTable>& result, unsigned vlan,
                           std::uint64_t mac) {
    const auto* const found = result->entries().find(macKey(vlan, mac));
    return found == nullptr ? nullptr : found->get();
  }
  const MissingMacEntry* missing(const Qel::Ptr<MissingMacEntryTable>& result, unsigned vlan,
                                 std::uint64_t mac, std::uint8_t keyType = 0) {
    const auto* const found =
        result->entries().find(L2HwEntryKey(vlan, Bridging::EthAddr(mac), keyType));
    return found == nullptr ? nullptr : found->get();
  }
  void tamper(unsigned id, unsigned vlan, std::uint64_t mac, std::uint16_t port) {
    HwMacEntry entry = hw(id, vlan, mac);
    entry.destinationPort = port;
    chip(id).put(entry);
  }
  void lose(unsigned id, unsigned vlan, std::uint64_t mac) {
    chip(id).erase({macKey(vlan, mac), 0});
  }
  void addExtra(unsigned id, unsigned vlan, std::uint64_t mac, std::uint8_t keyType = 0) {
    chip(id).put({{macKey(vlan, mac), keyType}, HwMacType::dynamic});
  }
  void fill(std::uint64_t entries) {
    for (std::uint64_t mac = 1; mac <= entries; ++mac) put(10, mac);
  }
  /** Lets time pass until the reader looks which tables are nobody's any more. */
  void letReaderLook() {
    clock_->advance(1s);
    ASSERT_TRUE(reader().nextDeadline() && *reader().nextDeadline() <= clock_->now());
    reader().deadlinesPassed(clock_->now());
  }
  /** Makes every piece a single block. */
  void oneBlockAPiece() { clock_->perReadingIs(2ms); }
};

std::string propertyOf(const Qel::Ptr<const EntryPropertyDir>& dir, std::string_view name) {
  const std::string* const value = dir == nullptr ? nullptr : dir->property(name);
  return value == nullptr ? "(none)" : *value;
}

TEST_F(HwTableReaderTest, ChipsThatHoldWhatTheyShouldGiveEmptyReports) {
  fill(1000);
  startHardware();
  const auto differing = askForDiff({0, 1, 2});
  const auto lacking = askForMissing({0, 1, 2});
  EXPECT_FALSE(differing->readComplete());
  readAll();
  EXPECT_TRUE(differing->readComplete());
  EXPECT_TRUE(lacking->readComplete());
  EXPECT_TRUE(differing->entries().empty());
  EXPECT_TRUE(lacking->entries().empty());
  EXPECT_EQ(reader().numCompared(), 6000U);
}

TEST_F(HwTableReaderTest, ADifferenceShowsBothSidesAndTheChipsThatDisagree) {
  fill(100);
  startHardware();
  tamper(0, 10, 7, 33);
  tamper(2, 10, 7, 34);
  tamper(1, 10, 8, 33);
  const auto result = askForDiff({0, 1, 2});
  readAll();
  ASSERT_EQ(result->entries().size(), 2U);
  const DiffMacEntry* const two = diff(result, 10, 7);
  ASSERT_NE(two, nullptr);
  EXPECT_EQ(two->diffCount, 2U);
  EXPECT_THAT(two->hwEntries, ElementsAre(Key("Linecard3/0"), Key("Linecard3/2")));
  EXPECT_EQ(propertyOf(two->swEntry, "port"), "1");
  EXPECT_EQ(propertyOf(two->swEntry, "mod"), "0");
  EXPECT_EQ(propertyOf(two->swEntry, "macAddressType"), "dynamic");
  EXPECT_EQ(propertyOf(two->swEntry, "classId"), "(none)");
  EXPECT_EQ(propertyOf(two->hwEntries.at("Linecard3/0"), "port"), "33");
  EXPECT_EQ(propertyOf(two->hwEntries.at("Linecard3/2"), "port"), "34");
  EXPECT_EQ(two->hwTblIndex, static_cast<std::int32_t>(chip(0).find({macKey(10, 7), 0})));
  EXPECT_EQ(diff(result, 10, 8)->diffCount, 1U);
}

TEST_F(HwTableReaderTest, TheIndexIsThatOfTheChipThatWasReadFirst) {
  policy_.tableSize = 8;
  fill(1);
  startHardware();
  addExtra(0, 20, 9);
  addExtra(2, 20, 9);
  const std::vector<HwMacKey> keys{{macKey(10, 1), 0}, {macKey(20, 9), 0}};
  // Has the entry of `key` stand elsewhere on chip 2: another one takes its slot.
  const auto displace = [this](const HwMacKey& key) {
    const auto slot = chip(2).find(key);
    const HwMacEntry entry = chip(2).at(slot);
    chip(2).erase(key);
    for (std::uint64_t mac = 1000; chip(2).at(slot).isEmpty(); ++mac) addExtra(2, 30, mac);
    chip(2).put(entry);
  };
  for (const HwMacKey& key : keys) {
    displace(key);
    ASSERT_NE(chip(2).find(key), HwMacTable::kNowhere);
    ASSERT_NE(chip(2).find(key), chip(0).find(key));
  }
  tamper(0, 10, 1, 33);
  tamper(2, 10, 1, 34);
  for (const auto& [first, second] : {std::pair(0U, 2U), std::pair(2U, 0U)}) {
    const auto differing = askForDiff({first, second});
    const auto lacking = askForMissing({first, second});
    readAll();
    ASSERT_NE(diff(differing, 10, 1), nullptr);
    ASSERT_NE(missing(lacking, 20, 9), nullptr);
    EXPECT_EQ(diff(differing, 10, 1)->diffCount, 2U);
    EXPECT_EQ(missing(lacking, 20, 9)->modules.size(), 2U);
    EXPECT_EQ(diff(differing, 10, 1)->hwTblIndex,
              static_cast<std::int32_t>(chip(first).find(keys[0])));
    EXPECT_EQ(missing(lacking, 20, 9)->hwTblIndex,
              static_cast<std::int32_t>(chip(first).find(keys[1])));
  }
}

TEST_F(HwTableReaderTest, EveryPropertyMakesADifference) {
  fill(6);
  startHardware();
  const auto change = [this](std::uint64_t mac, auto&& apply) {
    HwMacEntry entry = hw(0, 10, mac);
    apply(entry);
    chip(0).put(entry);
  };
  change(1, [](HwMacEntry& e) { e.dstDiscard = true; });
  change(2, [](HwMacEntry& e) { e.destinationIs(HwDestination::mcastGroup(77)); });
  change(3, [](HwMacEntry& e) { e.destinationIs(HwDestination::trunk(5)); });
  change(4, [](HwMacEntry& e) { e.classId = 3; });
  change(5, [](HwMacEntry& e) { e.type = HwMacType::permanent; });
  change(6, [](HwMacEntry& e) { e.invalid = true; });
  const auto result = askForDiff({0});
  readAll();
  const auto property = [&](std::uint64_t mac, std::string_view name) {
    return propertyOf(diff(result, 10, mac)->hwEntries.at("Linecard3/0"), name);
  };
  ASSERT_EQ(result->entries().size(), 6U);
  EXPECT_NE(property(1, "dstDiscard"), "(none)");
  EXPECT_EQ(property(2, "mcastId"), "77");
  EXPECT_EQ(property(2, "port"), "(none)");
  EXPECT_EQ(property(3, "trunkId"), "5");
  EXPECT_EQ(property(4, "classId"), "3");
  EXPECT_EQ(property(5, "macAddressType"), "static");
  EXPECT_NE(property(6, "Invalid Entry"), "(none)");
}

TEST_F(HwTableReaderTest, MissingEntriesAreReportedOfEitherSide) {
  fill(100);
  startHardware();
  lose(2, 10, 5);
  lose(0, 10, 5);
  addExtra(1, 20, 9);
  addExtra(1, 20, 9, 7);
  const auto result = askForMissing({0, 1, 2});
  readAll();
  ASSERT_EQ(result->entries().size(), 3U);
  const MissingMacEntry* const inSoftware = missing(result, 10, 5);
  ASSERT_NE(inSoftware, nullptr);
  EXPECT_TRUE(inSoftware->inSw);
  EXPECT_THAT(inSoftware->modules, ElementsAre("Linecard3/0", "Linecard3/2"));
  EXPECT_EQ(inSoftware->hwTblIndex, -1);
  const MissingMacEntry* const inHardware = missing(result, 20, 9);
  ASSERT_NE(inHardware, nullptr);
  EXPECT_FALSE(inHardware->inSw);
  EXPECT_THAT(inHardware->modules, ElementsAre("Linecard3/1"));
  EXPECT_EQ(inHardware->hwTblIndex, static_cast<std::int32_t>(chip(1).find({macKey(20, 9), 0})));
  EXPECT_NE(missing(result, 20, 9, 7), nullptr);
}

TEST_F(HwTableReaderTest, AnEntryUnderAnotherKeyTypeIsMissingOnBothSides) {
  fill(1);
  startHardware();
  lose(0, 10, 1);
  addExtra(0, 10, 1, 3);
  const auto result = askForMissing({0});
  readAll();
  ASSERT_NE(missing(result, 10, 1, 0), nullptr);
  EXPECT_TRUE(missing(result, 10, 1, 0)->inSw);
  ASSERT_NE(missing(result, 10, 1, 3), nullptr);
  EXPECT_FALSE(missing(result, 10, 1, 3)->inSw);
}

TEST_F(HwTableReaderTest, OnlyTheChipsAskedForAreRead) {
  fill(10);
  startHardware();
  for (unsigned id = 0; id < 3; ++id) lose(id, 10, 5);
  const auto result = askForMissing({1});
  readAll();
  EXPECT_THAT(missing(result, 10, 5)->modules, ElementsAre("Linecard3/1"));
}

TEST_F(HwTableReaderTest, WhatTheAgentKeepsForItselfIsMissedWhereItsBitmapSays) {
  MacEntry own = held();
  own.printable = false;
  own.modBitmap = 0b001;
  table().put(macKey(4094, 1), own);
  startHardware();
  auto result = askForMissing({0, 1, 2});
  readAll();
  EXPECT_TRUE(result->entries().empty());
  lose(0, 4094, 1);
  result = askForMissing({0, 1, 2});
  readAll();
  EXPECT_THAT(missing(result, 4094, 1)->modules, ElementsAre("Linecard3/0"));
}

TEST_F(HwTableReaderTest, WhatIsStillToBeProgrammedIsNoFault) {
  fill(100);
  startHardware();
  table().learn(macKey(10, 1), IntfId("Ethernet3/2"), 7);
  put(10, 1000);
  table().erase(macKey(10, 2));
  auto differing = askForDiff({0, 1, 2});
  auto lacking = askForMissing({0, 1, 2});
  readAll();
  EXPECT_TRUE(differing->entries().empty());
  EXPECT_TRUE(lacking->entries().empty());
  settle();
  differing = askForDiff({0, 1, 2});
  lacking = askForMissing({0, 1, 2});
  readAll();
  EXPECT_TRUE(differing->entries().empty());
  EXPECT_TRUE(lacking->entries().empty());
}

TEST_F(HwTableReaderTest, AnEntryThatFoundNoRoomIsReportedAsMissing) {
  policy_.tableSize = 8;
  fill(9);
  startHardware();
  const auto result = askForMissing({0, 1, 2});
  readAll();
  ASSERT_EQ(result->entries().size(), 1U);
  EXPECT_EQ(result->entries().begin()->value->modules.size(), 3U);
}

TEST_F(HwTableReaderTest, WithoutACollectionThereIsNothingToCompareWith) {
  fill(10);
  startHardware();
  addExtra(0, 20, 1);
  table().collectionPresentIs(false);
  const auto differing = askForDiff({0});
  const auto lacking = askForMissing({0});
  readAll();
  EXPECT_TRUE(differing->readComplete() && lacking->readComplete());
  EXPECT_TRUE(lacking->entries().empty());
}

// Sequences of requests.

TEST_F(HwTableReaderTest, ATableIsCompleteOnlyAfterItsClosingRequest) {
  fill(10);
  startHardware();
  tamper(0, 10, 1, 9);
  tamper(1, 10, 1, 9);
  const auto result = Qel::makePtr<DiffMacEntryTable>();
  post(result, 0);
  readAll();
  EXPECT_FALSE(result->readComplete());
  EXPECT_EQ(reader().numTables(), 0U) << "nothing is held for a table that is not asked for";
  post(result, 1);
  post(result, FapId::null);
  EXPECT_FALSE(result->readComplete());
  readAll();
  EXPECT_TRUE(result->readComplete());
  EXPECT_EQ(diff(result, 10, 1)->diffCount, 2U);
}

TEST_F(HwTableReaderTest, ACompleteTableThatIsNamedAgainIsOpenUntilItIsClosedAgain) {
  fill(10);
  startHardware();
  for (unsigned id = 0; id < 2; ++id) {
    tamper(id, 10, 1, 9);
    lose(id, 10, 2);
  }
  auto differing = askForDiff({0});
  auto lacking = askForMissing({0});
  readAll();
  ASSERT_TRUE(differing->readComplete() && lacking->readComplete());
  post(differing, 1);
  post(lacking, 1);
  EXPECT_FALSE(differing->readComplete() || lacking->readComplete()) << "at once";
  readAll();
  EXPECT_FALSE(differing->readComplete() || lacking->readComplete()) << "not closed";
  post(differing, FapId::null);
  post(lacking, FapId::null);
  readAll();
  EXPECT_TRUE(differing->readComplete() && lacking->readComplete());
  EXPECT_EQ(diff(differing, 10, 1)->diffCount, 2U);
  EXPECT_THAT(missing(lacking, 10, 2)->modules, ElementsAre("Linecard3/0", "Linecard3/1"));
  // However often it was named, it is freed when its client lets go of it.
  differing.reset();
  lacking.reset();
  letReaderLook();
  readAll();
  EXPECT_EQ(Qel::liveInstances("DiffMacEntryTable"), 0);
  EXPECT_EQ(Qel::liveInstances("MissingMacEntryTable"), 0);
}

TEST_F(HwTableReaderTest, ATableWhoseFindingsTakeTooMuchMemoryIsGivenUpAndSaysHowToNarrowIt) {
  policy_.checkMemory = std::size_t{1024} * 1024;
  fill(20'000);
  startHardware();
  for (std::uint64_t mac = 1; mac <= 20'000; ++mac) {
    tamper(0, 10, mac, 9);
    lose(1, 10, mac);
  }
  auto differing = askForDiff({0, 1});
  auto lacking = askForMissing({1, 2});
  const auto narrower = askForMissing({2});
  readAll();
  for (const auto& complete : {std::function<bool()>([&] { return differing->readComplete(); }),
                               std::function<bool()>([&] { return lacking->readComplete(); })}) {
    try {
      complete();
      ADD_FAILURE() << "it is not told";
    } catch (const Qel::Exception& e) {
      EXPECT_STREQ(e.what(),
                   "the findings take more than 1 MiB; name fewer chips, or start the agent with a "
                   "larger --check-memory");
    }
  }
  EXPECT_TRUE(narrower->readComplete()) << "one that finds little has its answer beside them";
  // At least a third of the memory was used, at 300 bytes for the larger kind of finding, and a
  // finding takes no less than what is kept of it.
  EXPECT_GT(differing->entries().size(), policy_.checkMemory / 3 / 300);
  EXPECT_LT(differing->entries().size(), policy_.checkMemory / sizeof(DiffMacEntry));
  EXPECT_LT(lacking->entries().size(), policy_.checkMemory / sizeof(MissingMacEntry));
  // Another request for such a table changes nothing.
  const std::size_t found = differing->entries().size();
  post(differing, 0);
  readAll();
  EXPECT_THROW(static_cast<void>(differing->readComplete()), Qel::Exception);
  EXPECT_EQ(differing->entries().size(), found);
  // What was found is freed with its client.
  differing.reset();
  lacking.reset();
  letReaderLook();
  readAll();
  EXPECT_EQ(Qel::liveInstances("DiffMacEntry"), 0);
  EXPECT_EQ(Qel::liveInstances("DiffMacEntryTable"), 0);
}

TEST_F(HwTableReaderTest, EveryChipThatAFindingNamesCountsAsMemory) {
  // 4,000 findings on one chip fit in, on three they do not.
  policy_.checkMemory = std::size_t{1024} * 1024;
  fill(4'000);
  startHardware();
  for (unsigned id = 0; id < 3; ++id) {
    for (std::uint64_t mac = 1; mac <= 4'000; ++mac) tamper(id, 10, mac, 9);
  }
  const auto one = askForDiff({0});
  const auto three = askForDiff({0, 1, 2});
  readAll();
  EXPECT_TRUE(one->readComplete());
  EXPECT_EQ(one->entries().size(), 4'000U);
  EXPECT_THROW(static_cast<void>(three->readComplete()), Qel::Exception);
}

TEST_F(HwTableReaderTest, FreeingGoesOnWhileOtherTablesAreRead) {
  fill(640);
  startHardware();
  for (std::uint64_t mac = 1; mac <= 640; ++mac) tamper(0, 10, mac, 9);
  auto abandoned = askForDiff({0});
  readAll();
  ASSERT_EQ(abandoned->entries().size(), 640U);
  abandoned.reset();
  letReaderLook();
  oneBlockAPiece();
  const auto lacking = askForMissing({0, 1, 2});
  // Ten pieces of 64 entries each, and as many that read.
  for (int piece = 0; piece < 20; ++piece) reader().runPiece();
  EXPECT_EQ(Qel::liveInstances("DiffMacEntry"), 0);
  EXPECT_EQ(reader().numTables(), 1U) << "the other table is still being read";
  readAll();
  EXPECT_TRUE(lacking->readComplete());
}

TEST_F(HwTableReaderTest, AClosingRequestAloneCompletesATable) {
  startHardware();
  const auto result = askForMissing({});
  readAll();
  EXPECT_TRUE(result->readComplete());
}

TEST_F(HwTableReaderTest, ANullChipAmongOthersDoesNotCutTheTableShort) {
  fill(10);
  startHardware();
  tamper(0, 10, 1, 9);
  tamper(2, 10, 1, 9);
  const auto result = askForDiff({0, FapId::null, 2});
  readAll();
  EXPECT_TRUE(result->readComplete());
  EXPECT_EQ(diff(result, 10, 1)->diffCount, 2U);
}

TEST_F(HwTableReaderTest, AnUnknownChipHoldsNothingUp) {
  fill(10);
  startHardware();
  tamper(1, 10, 1, 9);
  const auto result = askForDiff({77, 1, 99});
  readAll();
  EXPECT_TRUE(result->readComplete());
  EXPECT_EQ(diff(result, 10, 1)->diffCount, 1U);
}

TEST_F(HwTableReaderTest, AChipNamedTwiceIsReadAndCountedOnce) {
  fill(10);
  startHardware();
  tamper(0, 10, 1, 9);
  lose(0, 10, 2);
  const auto differing = askForDiff(std::vector<unsigned>(1000, 0));
  EXPECT_EQ(reader().numRequests(), 1U) << "a list of a thousand costs no more than of one";
  const auto lacking = askForMissing({0, 0});
  readAll();
  EXPECT_EQ(diff(differing, 10, 1)->diffCount, 1U);
  EXPECT_EQ(missing(lacking, 10, 2)->modules.size(), 1U);
  EXPECT_EQ(reader().numCompared(), 20U);
}

TEST_F(HwTableReaderTest, ARequestThatDoesNotNameTheTableOfItsTypeIsRefused) {
  startHardware();
  L2TableReadReq request;
  EXPECT_THROW(reader().newReqIs(request), Qel::AssertionException);
  request.diffEntryTable = Qel::makePtr<DiffMacEntryTable>();
  request.type = L2TableReadType::missing;
  EXPECT_THROW(reader().newReqIs(request), Qel::AssertionException);
  EXPECT_FALSE(reader().runnable());
}

TEST_F(HwTableReaderTest, TransactionNumbersAreAllDifferent) {
  startHardware();
  const auto first = reader().createTransactionId();
  EXPECT_NE(reader().createTransactionId(), first);
}

// Many at once.

TEST_F(HwTableReaderTest, TablesTakeTurnsAndDoNotMix) {
  fill(1000);
  startHardware();
  tamper(0, 10, 1, 9);
  tamper(1, 10, 2, 9);
  lose(2, 10, 3);
  oneBlockAPiece();
  const auto one = askForDiff({0});
  const auto two = askForDiff({1});
  const auto three = askForMissing({2});
  const auto small = askForDiff({});
  reader().runPiece();
  reader().runPiece();
  reader().runPiece();
  reader().runPiece();
  EXPECT_TRUE(small->readComplete()) << "it does not wait for those that were there first";
  EXPECT_FALSE(one->readComplete());
  readAll();
  EXPECT_EQ(one->entries().size(), 1U);
  EXPECT_NE(diff(one, 10, 1), nullptr);
  EXPECT_EQ(two->entries().size(), 1U);
  EXPECT_NE(diff(two, 10, 2), nullptr);
  EXPECT_EQ(three->entries().size(), 1U);
  EXPECT_NE(missing(three, 10, 3), nullptr);
}

TEST_F(HwTableReaderTest, EveryPieceEndsWithinItsTime) {
  fill(20'000);
  startHardware();
  clock_->perReadingIs(50us);
  const auto result = askForMissing({0, 1, 2});
  int pieces = 0;
  while (reader().runnable()) {
    const Qel::Duration before = clock_->now();
    reader().runPiece();
    ASSERT_LE(clock_->now() - before, 1200us);
    ++pieces;
  }
  EXPECT_GT(pieces, 50);
  EXPECT_TRUE(result->readComplete());
}

TEST_F(HwTableReaderTest, EveryPieceMakesProgressWhateverTheClockDoes) {
  fill(1000);
  startHardware();
  const auto result = askForDiff({0});
  Qel::Duration time = 100s;
  int pieces = 0;
  while (reader().runnable()) {
    clock_->nowIs(time);
    clock_->perReadingIs(-1s);
    reader().runPiece();
    time -= 1h;
    ASSERT_LT(++pieces, 100);
  }
  EXPECT_TRUE(result->readComplete());
}

TEST_F(HwTableReaderTest, ATableThatOnlyTheReaderHoldsIsDropped) {
  fill(1000);
  startHardware();
  for (std::uint64_t mac = 1; mac <= 1000; ++mac) tamper(0, 10, mac, 9);
  oneBlockAPiece();
  const auto entriesBefore = Qel::liveInstances("DiffMacEntry");
  const auto tablesBefore = Qel::liveInstances("DiffMacEntryTable");
  const auto dirsBefore = Qel::liveInstances("EntryPropertyDir");
  auto leaves = askForDiff({0, 1, 2});
  const auto stays = askForMissing({0});
  reader().runPiece();
  reader().runPiece();
  EXPECT_GT(leaves->entries().size(), 0U);
  EXPECT_EQ(reader().numTables(), 2U);
  leaves.reset();
  reader().runPiece();
  EXPECT_EQ(reader().numTables(), 1U) << "at once";
  clock_->perReadingIs(0ms);
  readAll();
  EXPECT_EQ(Qel::liveInstances("DiffMacEntry"), entriesBefore);
  EXPECT_EQ(Qel::liveInstances("DiffMacEntryTable"), tablesBefore);
  EXPECT_EQ(Qel::liveInstances("EntryPropertyDir"), dirsBefore);
  EXPECT_TRUE(stays->readComplete());
  EXPECT_EQ(reader().numTables(), 0U);
}

TEST_F(HwTableReaderTest, AFinishedTableThatIsNobodysIsFreedInPieces) {
  fill(3000);
  startHardware();
  for (std::uint64_t mac = 1; mac <= 3000; ++mac) {
    tamper(0, 10, mac, 9);
    lose(1, 10, mac);
  }
  auto differing = askForDiff({0});
  auto lacking = askForMissing({1});
  readAll();
  ASSERT_EQ(differing->entries().size() + lacking->entries().size(), 6000U);
  letReaderLook();
  EXPECT_FALSE(reader().runnable()) << "they are still being printed";
  EXPECT_EQ(differing->entries().size(), 3000U);
  differing.reset();
  lacking.reset();
  letReaderLook();
  clock_->perReadingIs(100us);
  int pieces = 0;
  while (reader().runnable()) {
    const Qel::Duration before = clock_->now();
    reader().runPiece();
    ASSERT_LE(clock_->now() - before, 1300us);
    ++pieces;
  }
  EXPECT_GT(pieces, 5);
  EXPECT_EQ(Qel::liveInstances("DiffMacEntry"), 0);
  EXPECT_EQ(Qel::liveInstances("MissingMacEntry"), 0);
  EXPECT_EQ(Qel::liveInstances("DiffMacEntryTable"), 0);
  EXPECT_EQ(Qel::liveInstances("MissingMacEntryTable"), 0);
  EXPECT_EQ(Qel::liveInstances("EntryPropertyDir"), 0);
  EXPECT_EQ(reader().nextDeadline(), std::nullopt);
}

TEST_F(HwTableReaderTest, AFinishedReportOutlivesTheReader) {
  fill(10);
  startHardware();
  tamper(0, 10, 1, 9);
  const auto result = askForDiff({0});
  readAll();
  hardware_.reset();
  EXPECT_EQ(propertyOf(diff(result, 10, 1)->swEntry, "port"), "1");
}

TEST_F(HwTableReaderTest, EqualPropertiesAreKeptOnce) {
  fill(1000);
  startHardware();
  for (std::uint64_t mac = 1; mac <= 1000; ++mac) tamper(0, 10, mac, 9);
  const auto before = Qel::liveInstances("EntryPropertyDir");
  const auto result = askForDiff({0});
  readAll();
  ASSERT_EQ(result->entries().size(), 1000U);
  EXPECT_EQ(Qel::liveInstances("EntryPropertyDir") - before, 2);
}

// Tables and chips that change meanwhile.

class ChangingTablesTest : public HwTableReaderTest {
 protected:
  /** Starts with `entries` entries, every piece a block; blocks are far smaller than that. */
  void start(std::uint64_t entries = 1000) {
    fill(entries);
    startHardware();
    oneBlockAPiece();
  }
};

TEST_F(ChangingTablesTest, WhatDiffersAfterItWasComparedIsNotSeen) {
  start();
  const auto result = askForDiff({0});
  reader().runPiece();
  tamper(0, 10, 1, 9);
  tamper(0, 10, 1000, 9);
  readAll();
  EXPECT_EQ(diff(result, 10, 1), nullptr);
  EXPECT_NE(diff(result, 10, 1000), nullptr);
}

TEST_F(ChangingTablesTest, AnEntryIsComparedWithSoftwareAsItIsAtThatMoment) {
  start();
  const auto result = askForDiff({0});
  reader().runPiece();
  table().learn(macKey(10, 999), IntfId("Ethernet3/2"), 7);
  settle();
  table().learn(macKey(10, 1000), IntfId("Ethernet3/2"), 7);  // still to be programmed
  readAll();
  EXPECT_TRUE(result->entries().empty());
}

TEST_F(ChangingTablesTest, AnEntryThatIsRemovedBeforeItsTurnIsNotReported) {
  start();
  lose(0, 10, 1000);
  const auto result = askForMissing({0});
  reader().runPiece();
  table().erase(macKey(10, 1000));
  readAll();
  EXPECT_TRUE(result->entries().empty());
}

TEST_F(ChangingTablesTest, EntriesThatJoinDuringAChipsTurnAreLeftToTheNext) {
  start();
  const auto result = askForMissing({0, 1});
  reader().runPiece();
  put(10, 5000);
  settle();
  lose(0, 10, 5000);
  lose(1, 10, 5000);
  readAll();
  EXPECT_THAT(missing(result, 10, 5000)->modules, ElementsAre("Linecard3/1"));
}

TEST_F(ChangingTablesTest, ATurnEndsThoughMoreEntriesJoinThanItCompares) {
  start();
  const auto result = askForMissing({0});
  std::uint64_t next = 100'000;
  int pieces = 0;
  while (reader().runnable()) {
    ASSERT_LT(++pieces, 1000) << "the turn does not end";
    reader().runPiece();
    for (int i = 0; i < 500; ++i) put(10, next++);  // always ahead
  }
  EXPECT_TRUE(result->readComplete());
}

TEST_F(ChangingTablesTest, WhatWasFoundOfAnOlderSoftwareEntryIsDropped) {
  start(10);
  tamper(0, 10, 1, 9);
  auto result = Qel::makePtr<DiffMacEntryTable>();
  post(result, 0);
  readAll();
  EXPECT_EQ(diff(result, 10, 1)->diffCount, 1U);
  table().learn(macKey(10, 1), IntfId("Ethernet3/2"), 7);
  settle();
  tamper(1, 10, 1, 9);
  post(result, 1);
  readAll();
  EXPECT_EQ(diff(result, 10, 1)->diffCount, 1U);
  EXPECT_THAT(diff(result, 10, 1)->hwEntries, ElementsAre(Key("Linecard3/1")));
  EXPECT_EQ(propertyOf(diff(result, 10, 1)->swEntry, "port"), "2");
}

TEST_F(ChangingTablesTest, ASideThatChangedIsReportedAsItWasLast) {
  start(10);
  lose(0, 10, 1);
  auto result = Qel::makePtr<MissingMacEntryTable>();
  post(result, 0);
  readAll();
  EXPECT_TRUE(missing(result, 10, 1)->inSw);
  table().erase(macKey(10, 1));
  settle();
  addExtra(1, 10, 1);
  post(result, 1);
  readAll();
  EXPECT_FALSE(missing(result, 10, 1)->inSw);
  EXPECT_THAT(missing(result, 10, 1)->modules, ElementsAre("Linecard3/1"));
}

TEST_F(ChangingTablesTest, AChipThatGoesWhileItIsReadEndsItsTurn) {
  start();
  tamper(0, 10, 1, 9);
  tamper(0, 10, 1000, 9);
  tamper(1, 10, 500, 9);
  const auto result = askForDiff({0, 1});
  reader().runPiece();
  hardware_->chipDel(FapId(0));
  readAll();
  EXPECT_TRUE(result->readComplete());
  EXPECT_NE(diff(result, 10, 1), nullptr) << "what was found stays";
  EXPECT_EQ(diff(result, 10, 1000), nullptr);
  EXPECT_NE(diff(result, 10, 500), nullptr);
}

TEST_F(ChangingTablesTest, AChipThatIsExchangedForAnotherSizeEndsItsTurn) {
  start();
  const auto result = askForMissing({0, 1});
  reader().runPiece();
  hardware_->chips().chipIs(FapId(0), "Linecard3/0", 100);
  readAll();
  EXPECT_TRUE(result->readComplete());
  EXPECT_TRUE(result->entries().empty());
}

TEST_F(ChangingTablesTest, SoftwareThatGoesWhileItIsComparedEndsTheTurn) {
  start();
  const auto result = askForMissing({0});
  reader().runPiece();
  table().collectionPresentIs(false);
  readAll();
  EXPECT_TRUE(result->readComplete());
  EXPECT_TRUE(result->entries().empty());
}

}  // namespace
}  // namespace KorvoAgent
