#include <gmock/gmock.h>
#include <malloc.h>
#include <rapidcheck/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "platform/base/Exceptions.h"
#include "platform/l2/VpList.h"

namespace KorvoL2 {
namespace {

using Bridging::IntfId;
using Bridging::PortVlanKey;
using Bridging::VlanId;
using ::testing::IsEmpty;

IntfId ethernet(unsigned number) { return IntfId("Ethernet" + std::to_string(number)); }

using Rows = std::vector<std::pair<std::string, unsigned>>;

Rows rowsOf(const VlanVpList& list) {
  Rows rows;
  for (const VlanVpList::Entry& entry : list) {
    EXPECT_EQ(entry.key.vlan(), list.vlan());
    rows.emplace_back(entry.key.intf().stringValue(), entry.value.svp);
  }
  return rows;
}

TEST(VlanVpListTest, IsInTheOrderOfItsInterfacesWhateverTheOrderOfInsertion) {
  const auto list = Qel::makePtr<VlanVpList>(VlanId(10));
  for (const unsigned number : {3U, 10U, 1U, 2U}) {
    list->virtualPortListIs({ethernet(number), VlanId(10)},
                            {.svp = static_cast<std::uint16_t>(100 + number)});
  }
  EXPECT_EQ(
      rowsOf(*list),
      (Rows{{"Ethernet1", 101}, {"Ethernet2", 102}, {"Ethernet3", 103}, {"Ethernet10", 110}}));
  EXPECT_EQ(list->size(), 4U);
}

TEST(VlanVpListTest, AnInterfaceIsThereOnceWithItsLastPort) {
  const auto list = Qel::makePtr<VlanVpList>(VlanId(10));
  for (std::uint16_t svp = 7; svp <= 9; ++svp) {
    list->virtualPortListIs({ethernet(1), VlanId(10)}, {.svp = svp});
    list->virtualPortListIs({ethernet(2), VlanId(10)}, {.svp = svp});
  }
  EXPECT_EQ(rowsOf(*list), (Rows{{"Ethernet1", 9}, {"Ethernet2", 9}}));
}

TEST(VlanVpListTest, AnEmptyListHasNoRows) {
  const auto list = Qel::makePtr<VlanVpList>(VlanId(10));
  EXPECT_TRUE(list->empty());
  EXPECT_THAT(rowsOf(*list), IsEmpty());
  EXPECT_EQ(list->lowerBound({ethernet(1), VlanId(10)}), list->end());
}

TEST(VlanVpListTest, ARowOfAnotherVlanBreaksAnAssumption) {
  const auto list = Qel::makePtr<VlanVpList>(VlanId(10));
  EXPECT_THROW(list->virtualPortListIs({ethernet(1), VlanId(11)}, {}), Qel::AssertionException);
  EXPECT_TRUE(list->empty());
}

TEST(VlanVpListTest, GoingPastTheEndBreaksAnAssumption) {
  const auto list = Qel::makePtr<VlanVpList>(VlanId(10));
  list->virtualPortListIs({ethernet(1), VlanId(10)}, {});
  auto it = list->begin();
  ++it;
  EXPECT_EQ(it, list->end());
  EXPECT_THROW(++it, Qel::AssertionException);
  EXPECT_THROW(*it, Qel::AssertionException);
  VlanVpList::const_iterator none;
  EXPECT_THROW(++none, Qel::AssertionException);
}

TEST(VlanVpListTest, LowerBoundIsTheFirstRowThatIsNotBefore) {
  const auto list = Qel::makePtr<VlanVpList>(VlanId(10));
  for (unsigned number = 2; number <= 200; number += 2) {
    list->virtualPortListIs({ethernet(number), VlanId(10)}, {});
  }
  for (unsigned number = 1; number <= 200; ++number) {
    const auto it = list->lowerBound({ethernet(number), VlanId(10)});
    ASSERT_NE(it, list->end()) << number;
    EXPECT_EQ(it->key.intf(), ethernet(number + number % 2)) << number;
  }
  EXPECT_EQ(list->lowerBound({ethernet(201), VlanId(10)}), list->end());
  EXPECT_EQ(list->lowerBound({}), list->begin());
  EXPECT_EQ(list->lowerBound({ethernet(4), VlanId(9)})->key.intf(), ethernet(4));
  EXPECT_EQ(list->lowerBound({ethernet(4), VlanId(11)})->key.intf(), ethernet(6));
}

TEST(VlanVpListTest, RowsThatComeInOrderTakeAboutTenBytesEach) {
  constexpr unsigned kRows = 24'000;
  std::vector<IntfId> names;  // which are the process's, not the list's
  for (unsigned number = 0; number < kRows; ++number) names.push_back(ethernet(number));
  const auto inUse = [] {
    const auto info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
  };
  const auto list = Qel::makePtr<VlanVpList>(VlanId(10));
  const std::size_t before = inUse();
  for (const IntfId& intf : names) list->virtualPortListIs({intf, VlanId(10)}, {});
  const std::size_t bytes = inUse() - before;
  if (bytes == 0) GTEST_SKIP() << "this allocator does not tell what is in use";
  EXPECT_LE(bytes, kRows * 12U);
}

RC_GTEST_PROP(VlanVpListProperty, HoldsWhatAMapHolds, ()) {
  const auto keySpace = *rc::gen::inRange(1, 500);
  const auto keys = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, keySpace));
  const auto list = Qel::makePtr<VlanVpList>(VlanId(10));
  std::map<IntfId, std::uint16_t> model;
  std::uint16_t svp = 0;
  for (const int key : keys) {
    const IntfId intf = ethernet(static_cast<unsigned>(key));
    list->virtualPortListIs({intf, VlanId(10)}, {.svp = ++svp});
    model[intf] = svp;
  }
  RC_ASSERT(list->size() == model.size());
  auto expected = model.begin();
  for (const VlanVpList::Entry& entry : *list) {
    RC_ASSERT(expected != model.end());
    RC_ASSERT(entry.key.intf() == expected->first);
    RC_ASSERT(entry.value.svp == expected->second);
    ++expected;
  }
  RC_ASSERT(expected == model.end());
  const IntfId probe = ethernet(static_cast<unsigned>(*rc::gen::inRange(0, keySpace)));
  const auto found = list->lowerBound({probe, VlanId(10)});
  const auto wanted = model.lower_bound(probe);
  RC_ASSERT((found == list->end()) == (wanted == model.end()));
  if (wanted != model.end()) RC_ASSERT(found->key.intf() == wanted->first);
}

TEST(VpListTest, AListOutlivesTheListsThatItIsOneOf) {
  Qel::Ptr<VpList> lists = vpListFactory();
  const Qel::Ptr<VlanVpList> kept(&lists->vlanVpListIs(VlanId(10)));
  for (unsigned number = 1; number <= 100; ++number) {
    lists->vlanVpListIs(VlanId(number)).virtualPortListIs({ethernet(number), VlanId(number)}, {});
  }
  lists = nullptr;
  kept->virtualPortListIs({ethernet(1), VlanId(10)}, {.svp = 20});
  EXPECT_EQ(rowsOf(*kept), (Rows{{"Ethernet1", 20}, {"Ethernet10", 0}}));
}

TEST(VpListTest, HoldsAListForEachVlanThatWasNamed) {
  const Qel::Ptr<VpList> lists = vpListFactory();
  EXPECT_EQ(lists->size(), 0U);
  EXPECT_EQ(lists->vlanVpList(VlanId(10)), nullptr);
  EXPECT_EQ(lists->vlanVpList(VlanId(4094)), nullptr);
  VlanVpList& list = lists->vlanVpListIs(VlanId(10));
  EXPECT_EQ(list.vlan(), VlanId(10));
  EXPECT_TRUE(lists->vlanVpListHas(VlanId(10)));
  EXPECT_FALSE(lists->vlanVpListHas(VlanId(9)));
  EXPECT_FALSE(lists->vlanVpListHas(VlanId(11)));
  list.virtualPortListIs({ethernet(1), VlanId(10)}, {.svp = 20});
  EXPECT_EQ(&lists->vlanVpListIs(VlanId(10)), &list) << "a second list was made";
  lists->vlanVpListIs(VlanId(4094));
  EXPECT_EQ(lists->size(), 2U);
  EXPECT_EQ(rowsOf(*lists->vlanVpList(VlanId(10))), (Rows{{"Ethernet1", 20}}));
}

}  // namespace
}  // namespace KorvoL2
