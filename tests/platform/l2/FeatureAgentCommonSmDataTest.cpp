#include <gmock/gmock.h>

#include <vector>

#include "platform/l2/FeatureAgentCommonSmData.h"
#include "platform/l2/MacTblShadow.h"

namespace KorvoL2 {
namespace {

using Bridging::IntfId;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LagToPortTest : public ::testing::Test {
 protected:
  std::vector<IntfId> members(const IntfId& of) const {
    const std::vector<IntfId>* const found = data->lagToPort().find(of);
    return found == nullptr ? std::vector<IntfId>{IntfId("not a port-channel")} : *found;
  }
  IntfId lagOf(const IntfId& port) const {
    const IntfId* const found = data->portToLag().find(port);
    return found == nullptr ? IntfId() : *found;
  }

  const IntfId port1{"Ethernet1"};
  const IntfId port2{"Ethernet2"};
  const IntfId port10{"Ethernet10"};
  const IntfId lag1{"Port-Channel1"};
  const IntfId lag2{"Port-Channel2"};
  Qel::Ptr<FeatureAgentCommonSmData> data = Qel::makePtr<FeatureAgentCommonSmData>();
};

TEST_F(LagToPortTest, MembersAreAscendingAndKnownFromBothEnds) {
  data->lagMembershipIs(port10, lag1);
  data->lagMembershipIs(port1, lag1);
  data->lagMembershipIs(port2, lag1);
  EXPECT_THAT(members(lag1), ElementsAre(port1, port2, port10));
  EXPECT_EQ(lagOf(port10), lag1);
  EXPECT_EQ(lagOf(lag1), IntfId());
}

TEST_F(LagToPortTest, APortIsAMemberOfOnePortChannelOnly) {
  data->lagMembershipIs(port1, lag1);
  data->lagMembershipIs(port2, lag1);
  data->lagMembershipIs(port1, lag2);
  EXPECT_THAT(members(lag1), ElementsAre(port2));
  EXPECT_THAT(members(lag2), ElementsAre(port1));
  EXPECT_EQ(lagOf(port1), lag2);
  EXPECT_EQ(data->portToLag().size(), 2U);
}

TEST_F(LagToPortTest, MembershipTwiceIsMembershipOnce) {
  data->lagMembershipIs(port1, lag1);
  data->lagMembershipIs(port1, lag1);
  EXPECT_THAT(members(lag1), ElementsAre(port1));
}

TEST_F(LagToPortTest, APortChannelStaysWithoutMembers) {
  data->lagMembershipIs(port1, lag1);
  data->lagMembershipDel(port1);
  EXPECT_THAT(members(lag1), IsEmpty());
  EXPECT_TRUE(data->lagToPort().has(lag1));
  EXPECT_EQ(lagOf(port1), IntfId());
  data->lagMembershipDel(port1);  // which is nobody's member any more
  data->lagMembershipDel(port2);  // nor ever was
  EXPECT_TRUE(data->portToLag().empty());
}

TEST_F(LagToPortTest, APortChannelMayBeginWithoutMembersAndKeepsThoseThatItHas) {
  data->lagIs(lag1);
  EXPECT_THAT(members(lag1), IsEmpty());
  data->lagMembershipIs(port1, lag1);
  data->lagIs(lag1);
  EXPECT_THAT(members(lag1), ElementsAre(port1));
  EXPECT_FALSE(data->lagToPort().has(lag2));
}

/** A shadow that says nothing of its own. */
class PlainShadow final : public MacTblShadow {
 public:
  const MacEntryCollection* macEntry() const override { return there ? &entries : nullptr; }
  void printMacEntry(Rendering::RendererV2& /*renderer*/, const Bridging::MacVlanPair& /*key*/,
                     const MacEntry& /*entry*/) const override {}
  void printMacEntryHw(Rendering::RendererV2& /*renderer*/, Rendering::TableRenderer* /*table*/,
                       Tessar::FapId /*fapId*/, bool /*detail*/,
                       const Bridging::MacVlanPair& /*key*/, const MacEntry& /*entry*/,
                       KorvoL2McastHelper* /*mcastHelper*/) const override {}

  MacEntryCollection entries;
  bool there = true;
};

TEST(MacTblShadowTest, TheModuleBitmapIsThatOfTheEntryOfExactlyThatKey) {
  const auto shadow = Qel::makePtr<PlainShadow>();
  const Bridging::MacVlanPair key(10, Bridging::EthAddr(0x1));
  MacEntry entry;
  entry.modBitmap = 0x8000'0000'0000'0005;
  shadow->entries.put(key, entry);
  EXPECT_EQ(shadow->getModBitmap(key), 0x8000'0000'0000'0005U);
  EXPECT_EQ(shadow->getModBitmap({11, Bridging::EthAddr(0x1)}), 0U);
  EXPECT_EQ(shadow->getModBitmap({10, Bridging::EthAddr(0x2)}), 0U);
  shadow->entries.erase(key);
  EXPECT_EQ(shadow->getModBitmap(key), 0U);
}

TEST(MacTblShadowTest, WithoutACollectionNoModuleHoldsAnything) {
  const auto shadow = Qel::makePtr<PlainShadow>();
  const Bridging::MacVlanPair key(10, Bridging::EthAddr(0x1));
  shadow->entries.put(key, {.modBitmap = 1});
  shadow->there = false;
  EXPECT_EQ(shadow->getModBitmap(key), 0U);
}

TEST(MacTblShadowTest, NoModuleIsKnownUnlessAShadowSaysSo) {
  EXPECT_EQ(Qel::makePtr<PlainShadow>()->refModBitmap(), 0U);
}

}  // namespace
}  // namespace KorvoL2
