// What of the agent's interfaces is more than an interface: records, result tables, and what an
// object says for itself when an agent does not have what is asked for.

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/l2/L2Agent.h"
#include "platform/l2/L2TableReadSm.h"
#include "platform/l2/MacEntry.h"

namespace KorvoL2 {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using Bridging::VlanId;

// Millions of them: they lie side by side, and a dump runs along them.
static_assert(std::is_trivially_copyable_v<MacEntry> && sizeof(MacEntry) <= 32);

TEST(MacEntryTest, EqualMeansEveryField) {
  const std::vector<void (*)(MacEntry&)> changes{
      [](MacEntry& e) { e.intf = IntfId("Ethernet1"); },
      [](MacEntry& e) { e.modBitmap = 1; },
      [](MacEntry& e) { e.modPort.port = 1; },
      [](MacEntry& e) { e.mcastId = 1; },
      [](MacEntry& e) { e.flags = MacEntryFlag::kPending; },
      [](MacEntry& e) { e.type = MacEntryType::router; },
      [](MacEntry& e) { e.source = MacEntrySource::system; },
      [](MacEntry& e) { e.keyType = MacKeyType::vfi; },
      [](MacEntry& e) { e.printable = false; },
  };
  EXPECT_EQ(MacEntry(), MacEntry());
  for (std::size_t i = 0; i < changes.size(); ++i) {
    MacEntry changed;
    changes[i](changed);
    EXPECT_NE(changed, MacEntry()) << "change " << i;
  }
}

TEST(MacEntryTest, CollectionIsOrderedByVlanThenAddress) {
  MacEntryCollection macs;
  macs.put(MacVlanPair(VlanId(2), EthAddr("0000.0000.0001")), {});
  macs.put(MacVlanPair(VlanId(1), EthAddr("ffff.ffff.fffe")), {});
  macs.put(MacVlanPair(VlanId(10), EthAddr("0000.0000.0000")), {});
  std::vector<std::string> keys;
  for (const auto& [key, entry] : macs) keys.push_back(key.stringValue());
  EXPECT_EQ(keys, (std::vector<std::string>{"1 ffff.ffff.fffe", "2 0000.0000.0001",
                                            "10 0000.0000.0000"}));
}

TEST(MacEntryTest, KeyTypesAreTheHardwares) {
  EXPECT_EQ(static_cast<int>(MacKeyType::bridge), 0);
  EXPECT_EQ(static_cast<int>(MacKeyType::vfi), 3);
}

TEST(EntryPropertyDirTest, HoldsOneValuePerName) {
  const auto properties = Qel::makePtr<EntryPropertyDir>();
  EXPECT_EQ(properties->property(EntryProperty::kMod), nullptr);
  properties->propertyIs(EntryProperty::kMod, "1");
  properties->propertyIs(EntryProperty::kPort, "17");
  properties->propertyIs(EntryProperty::kMod, "2");
  EXPECT_EQ(properties->size(), 2U);
  ASSERT_NE(properties->property("mod"), nullptr);
  EXPECT_EQ(*properties->property("mod"), "2");
  EXPECT_EQ(*properties->property("port"), "17");
  EXPECT_EQ(properties->property("Port"), nullptr);
}

TEST(MacResultTableTest, CompletionIsPublishedOnce) {
  std::vector<std::string> heard;  // outlives the table, whose end is heard too
  const auto table = Qel::makePtr<DiffMacEntryTable>();
  table->hasNotificationActiveIs(true);
  table->publisher().subscribe(
      [&heard](const Qel::Entity&, std::string_view attribute) { heard.emplace_back(attribute); });
  EXPECT_FALSE(table->readComplete());
  table->readCompleteIs(true);
  table->readCompleteIs(true);
  EXPECT_TRUE(table->readComplete());
  EXPECT_EQ(heard, std::vector<std::string>{"readComplete"});
}

TEST(MacResultTableTest, TablesAndEntriesAreCountedAndReleased) {
  const auto tables = Qel::liveInstances("MissingMacEntryTable");
  const auto entries = Qel::liveInstances("MissingMacEntry");
  auto table = Qel::makePtr<MissingMacEntryTable>();
  for (std::uint32_t vlan = 1; vlan <= 100; ++vlan) {
    table->entries().put(L2HwEntryKey(vlan, EthAddr("0011.2233.4455"), 0),
                         Qel::makePtr<MissingMacEntry>());
  }
  EXPECT_EQ(Qel::liveInstances("MissingMacEntryTable"), tables + 1);
  EXPECT_EQ(Qel::liveInstances("MissingMacEntry"), entries + 100);
  table.reset();
  EXPECT_EQ(Qel::liveInstances("MissingMacEntryTable"), tables);
  EXPECT_EQ(Qel::liveInstances("MissingMacEntry"), entries);
}

TEST(L2TableReadReqTest, RequestTypesAreTheReadersAndTheDefaultCloses) {
  EXPECT_EQ(static_cast<int>(L2TableReadType::difference), 2);
  EXPECT_EQ(static_cast<int>(L2TableReadType::missing), 3);
  EXPECT_TRUE(L2TableReadReq().fapId.isNull());
}

TEST(FapChipTest, ChipWithoutDataHasTheNullId) {
  FapChipCollection chips;
  chips.put(Tessar::FapId(3), {"Quorra1/3", std::nullopt});
  EXPECT_TRUE(chips.find(Tessar::FapId(3))->fapId().isNull());
  chips.put(Tessar::FapId(3), {"Quorra1/3", Tessar::FapId(3)});
  EXPECT_EQ(chips.find(Tessar::FapId(3))->fapId(), Tessar::FapId(3));
}

TEST(LagMembershipTest, MembersAreInTheOrderThatAPersonExpects) {
  LagMembershipCollection members;
  for (const char* name : {"Ethernet10", "Ethernet9", "Ethernet1/10", "Ethernet1/9"}) {
    members.put(IntfId(name), IntfId("Port-Channel1"));
  }
  std::vector<std::string> names;
  for (const auto& [member, lag] : members) names.push_back(member.stringValue());
  EXPECT_EQ(names,
            (std::vector<std::string>{"Ethernet1/9", "Ethernet1/10", "Ethernet9", "Ethernet10"}));
}

TEST(ShadowShowTest, SelectsNothingAtFirst) {
  const auto show = Qel::makePtr<ShadowShow>();
  EXPECT_FALSE(show->raw || show->allEntries || show->entryIdSet);
  EXPECT_EQ(show->entryId, 0U);
  EXPECT_EQ(show->entryValue, 0U);
  EXPECT_EQ(show->chip, Tessar::FapId::null);
}

}  // namespace
}  // namespace KorvoL2
