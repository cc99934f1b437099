// What iproute2 prints of a Linux bridge.

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "agent/documents/BridgeJson.h"
#include "tests/agent/documents/DocumentTestSupport.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntrySource;
using KorvoL2::MacEntryType;
using ::testing::HasSubstr;
using Row = std::tuple<unsigned, std::string, std::string>;  // VLAN, MAC address, interface

class BridgeJsonTest : public ::testing::TestWithParam<const char*> {
 protected:
  void load(std::string_view document) {
    const Testing::TemporaryFile file(document);
    loadBridgeJson(file.path(), *model_);
  }
  static std::string refusal(std::string_view document) {
    return Testing::refusal(
        document, [](const std::string& path) { loadBridgeJson(path, *Testing::makeModel()); });
  }
  std::multiset<Row> loaded() const {
    std::multiset<Row> rows;
    for (const auto& [key, entry] : model_->swMacTable().entries()) {
      rows.emplace(key.vlan(), key.mac().stringValue(), entry.intf.stringValue());
    }
    return rows;
  }
  const MacEntry& entry(std::uint16_t vlan, std::uint64_t mac) const {
    const MacEntry* const found =
        model_->swMacTable().entries().find(MacVlanPair(vlan, EthAddr(mac)));
    EXPECT_NE(found, nullptr) << vlan << " " << EthAddr(mac).stringValue();
    static const MacEntry kNone;
    return found == nullptr ? kNone : *found;
  }

  Qel::Ptr<SwitchModel> model_ = Testing::makeModel();
};

class RecordedBridgeTest : public BridgeJsonTest {};

TEST_P(RecordedBridgeTest, ExactlyTheBridgesEntriesAreTaken) {
  const std::string path = Testing::dataFile(GetParam());
  rapidjson::Document recorded;
  recorded.Parse(Testing::contentsOf(path).c_str());
  ASSERT_TRUE(recorded.IsArray());
  std::multiset<Row> expected;
  std::size_t others = 0;
  for (const auto& row : recorded.GetArray()) {
    if (!row.HasMember("master")) {
      ++others;
      continue;
    }
    expected.emplace(row.HasMember("vlan") ? row["vlan"].GetUint() : 0,
                     EthAddr(std::string_view(row["mac"].GetString())).stringValue(),
                     row["ifname"].GetString());
  }
  ASSERT_GT(expected.size(), 500U);
  ASSERT_GT(others, 20U);  // there is something to leave out

  loadBridgeJson(path, *model_);
  EXPECT_EQ(loaded(), expected);
}

TEST_P(RecordedBridgeTest, TypesFollowTheStates) {
  loadBridgeJson(Testing::dataFile(GetParam()), *model_);
  EXPECT_EQ(entry(10, 0x0200000a0100).type, MacEntryType::learnedDynamic);
  EXPECT_EQ(entry(10, 0x0200000a0100).source, MacEntrySource::hardware);
  EXPECT_EQ(entry(100, 0x0200bb000001).type, MacEntryType::configuredStatic);
  EXPECT_EQ(entry(100, 0x0200bb000001).source, MacEntrySource::config);
  EXPECT_EQ(entry(20, 0x0200bb000003).type, MacEntryType::configuredStatic);
  EXPECT_EQ(entry(20, 0x0200bb000004).type, MacEntryType::router);
  EXPECT_EQ(entry(30, 0x0200bb000005).type, MacEntryType::learnedDynamic);
  EXPECT_EQ(entry(30, 0x0200bb000005).source, MacEntrySource::software);
  EXPECT_EQ(entry(30, 0x01005e010101).type, MacEntryType::multicast);
  EXPECT_EQ(entry(30, 0x333300010001).type, MacEntryType::multicast);
  EXPECT_EQ(entry(10, 0x0200cc000001).type, MacEntryType::remoteDynamic);
  EXPECT_EQ(entry(10, 0x0200cc000001).source, MacEntrySource::vxlan);
  EXPECT_EQ(entry(0, 0x0200bb000006).intf, IntfId("swp1"));
}

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedBridgeTest,
                         ::testing::Values("bridge-fdb.json", "bridge-fdb-br.json"),
                         [](const auto& parameter) {
                           return std::string(parameter.param) == "bridge-fdb.json" ? "AllDevices"
                                                                                    : "OneBridge";
                         });

TEST_F(BridgeJsonTest, NoEntriesAreNoError) {
  load("[]\n");
  EXPECT_EQ(model_->swMacTable().size(), 0U);
}

TEST_F(BridgeJsonTest, EveryChipHoldsTheEntries) {
  model_->chipsIs(3);
  load(R"([{"mac":"02:00:00:00:00:01","ifname":"swp1","flags":[],"master":"br0","state":""}])");
  EXPECT_EQ(entry(0, 0x020000000001).modBitmap, 7U);
}

TEST_F(BridgeJsonTest, MembersThatNobodyKnowsYetAreNoError) {
  load(R"([{"mac":"02:00:00:00:00:01","ifname":"swp1","vlan":5,"master":"br0","new":{"a":[1]}}])");
  EXPECT_EQ(loaded(), (std::multiset<Row>{{5, "0200.0000.0001", "swp1"}}));
}

TEST_F(BridgeJsonTest, AnEntryToldTwiceIsOneEntry) {
  load(R"([{"mac":"02:00:00:00:00:01","ifname":"swp1","master":"br0","state":""},
           {"mac":"02:00:00:00:00:01","ifname":"swp1","master":"br0","state":"static"}])");
  EXPECT_EQ(loaded().size(), 1U);
  EXPECT_EQ(entry(0, 0x020000000001).type, MacEntryType::configuredStatic);
}

TEST_F(BridgeJsonTest, AnEntryBehindANextHopIsATunnelsToo) {
  load(R"([{"mac":"02:00:00:00:00:01","ifname":"vx1","flags":["extern_learn"],"master":"br0"},
           {"mac":"02:00:00:00:00:01","ifname":"vx1","nhid":12,"flags":["self"],"state":""},
           {"mac":"02:00:00:00:00:02","ifname":"vx2","vlan":5,"master":"br0","state":""},
           {"mac":"02:00:00:00:00:02","ifname":"vx2","dst":"192.0.2.1","state":""},
           {"mac":"02:00:00:00:00:03","ifname":"swp1","master":"br0","state":""}])");
  EXPECT_EQ(entry(0, 0x020000000001).type, MacEntryType::remoteDynamic);
  EXPECT_EQ(entry(0, 0x020000000001).source, MacEntrySource::vxlan);
  EXPECT_EQ(entry(5, 0x020000000002).type, MacEntryType::remoteDynamic);
  EXPECT_EQ(entry(0, 0x020000000003).type, MacEntryType::learnedDynamic);
}

TEST_F(BridgeJsonTest, AMemberGivenTwiceInOneEntryIsRefused) {
  // Known or not, of the bridge or of a device.
  for (const auto& [twice, name] : {std::pair{R"("mac":"02:00:00:00:00:02")", "mac"},
                                    {R"("vlan":7)", "vlan"},
                                    {R"("ifname":"swp1")", "ifname"},
                                    {R"("flags":[])", "flags"},
                                    {R"("new":1)", "new"}}) {
    for (const char* const whose : {R"("master":"br0")", R"("dst":"192.0.2.1")"}) {
      EXPECT_EQ(
          refusal(R"([{"mac":"02:00:00:00:00:03","ifname":"swp1","master":"br0"},)"
                  R"({"mac":"02:00:00:00:00:01","ifname":"swp1","vlan":5,"flags":[],"new":2,)" +
                  std::string(whose) + "," + twice + "}]"),
          "FILE: /1: member \"" + std::string(name) + "\" is given twice; keep one of them");
    }
  }
}

TEST_F(BridgeJsonTest, TwoBridgesWithTheSameAddressAreRefusedByName) {
  EXPECT_EQ(
      refusal(R"([{"mac":"02:00:00:00:00:01","ifname":"swp1","master":"br0","state":""},
                  {"mac":"02:00:00:00:00:01","ifname":"swp9","master":"br1","state":""}])"),
      "FILE: at the top: VLAN 0 and MAC address 0200.0000.0001 are on swp1 of bridge br0 (/0) and "
      "on swp9 of bridge br1 (/1); print one bridge alone with `bridge -j fdb show br br0`");
}

TEST_F(BridgeJsonTest, ATableThatChangedWhileItWasPrintedIsToBePrintedAgain) {
  EXPECT_THAT(refusal(R"([{"mac":"02:00:00:00:00:01","ifname":"swp1","vlan":3,"master":"br0"},
                          {"mac":"02:00:00:00:00:01","ifname":"swp2","vlan":3,"master":"br0"}])"),
              ::testing::EndsWith("the table changed while it was printed: print it again"));
}

TEST_F(BridgeJsonTest, ADumpOfOneDeviceHasNoInterfacesAndIsRefused) {
  EXPECT_EQ(refusal(R"([{"mac":"02:00:00:00:00:01","vlan":3,"master":"br0"}])"),
            "FILE: /0: member \"ifname\" is missing; print the bridge as `bridge -j fdb show br "
            "NAME` does");
}

TEST_F(BridgeJsonTest, WhatIproute2DoesNotPrintIsRefused) {
  EXPECT_EQ(refusal(R"({"version": 1})"), "FILE: at the top: expected a list, not an object");
  EXPECT_EQ(refusal("[1]"), "FILE: /0: expected an object, not a number");
  EXPECT_THAT(refusal(R"([{"mac":"2","ifname":"a","master":"b"}])"),
              HasSubstr("FILE: /0/mac: \"2\" is no MAC address"));
  EXPECT_THAT(refusal(R"([{"mac":"02:00:00:00:00:01","ifname":"a","vlan":4095,"master":"b"}])"),
              HasSubstr("FILE: /0/vlan: Bridging::VlanId::value < 1 or > 4094 not allowed"));
  EXPECT_THAT(refusal("02:00:00:00:00:01 dev swp1 master br0\n"),
              HasSubstr("FILE:1:2: is no JSON"));
  EXPECT_THAT(refusal(""), HasSubstr("is empty"));
}

}  // namespace
}  // namespace KorvoAgent
