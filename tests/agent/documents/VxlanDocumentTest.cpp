// What state documents say of interfaces, VXLAN, VLAN translation and VLAN ranges.

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

#include "agent/documents/StateDocument.h"
#include "tests/agent/documents/DocumentTestSupport.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::ModPort;
using Bridging::PortVlanKey;
using Bridging::VlanId;
using Bridging::VlanIdRange;
using Bridging::VlanIpVerKey;
using ::testing::ElementsAre;
using ::testing::Pointee;

class VxlanDocumentTest : public ::testing::Test {
 protected:
  /** Loads a document that has these sections. */
  void load(std::string_view sections) {
    const Testing::TemporaryFile file(R"({"version": 1, )" + std::string(sections) + "}");
    loadStateDocument(file.path(), *model_);
  }
  UnicastAgentModel& unicast() { return model_->unicast(); }
  KorvoL2::VxlanL2State& l2State() { return unicast().vxlan().l2State(); }
  static PortVlanKey on(const char* intf, std::uint32_t vlan) {
    return {IntfId(intf), VlanId(vlan)};
  }
  template <class Collection>
  static auto keysOf(const Collection& collection) {
    std::vector<typename Collection::Key> keys;
    for (const auto& entry : collection) keys.push_back(entry.key);
    return keys;
  }

  Qel::Ptr<SwitchModel> model_ = Testing::makeModel();
};

TEST_F(VxlanDocumentTest, WhatIsLeftOutIsNotThere) {
  load(R"("interfaces": {})");
  EXPECT_TRUE(unicast().common().intf.empty());
  EXPECT_TRUE(l2State().vlanMapping.empty());
  EXPECT_TRUE(l2State().orvaVtepIp.isUnspecified());
  EXPECT_TRUE(unicast().recircIntf().isDefault());
  EXPECT_FALSE(model_->chipL2TableFeature()->ingVlanRange);
}

TEST_F(VxlanDocumentTest, EachObjectCanBeTakenAway) {
  load(R"("readiness": {"vxlanL2Sm": false})");
  EXPECT_EQ(unicast().vxlanL2Sm(), nullptr);
  EXPECT_NE(unicast().vlanXlateSm(), nullptr);
  load(R"("readiness": {"vlanXlateSm": false})");
  EXPECT_EQ(unicast().vlanXlateSm(), nullptr);
  EXPECT_NE(unicast().ingVlanRangeSm(), nullptr);
  load(R"("readiness": {"ingVlanRangeSm": false})");
  EXPECT_EQ(unicast().ingVlanRangeSm(), nullptr);
  load(R"("readiness": {"vxlanL2Sm": true})");
  EXPECT_NE(unicast().vxlanL2Sm(), nullptr);
}

TEST_F(VxlanDocumentTest, WhatTheChipsCanDoAboutRangesIsTaken) {
  load(R"("l2TableFeature": {"ingVlanRange": true})");
  EXPECT_TRUE(model_->chipL2TableFeature()->ingVlanRange);
  EXPECT_FALSE(model_->chipL2TableFeature()->ingVlanDynamicRange);
  load(R"("l2TableFeature": {"ingVlanDynamicRange": true, "ingVlanRangeDisabled": true})");
  EXPECT_TRUE(model_->chipL2TableFeature()->ingVlanDynamicRange);
  EXPECT_TRUE(model_->chipL2TableFeature()->ingVlanRangeDisabled);
}

TEST_F(VxlanDocumentTest, InterfacesHavePortsAndIndexesOrNeither) {
  load(R"("interfaces": {"Ethernet10": {"port": {"module": 3, "port": 7, "logicalFap": 5,
          "systemPort": 99, "core": 1, "lane": 8}, "hwIndex": 42}, "Ethernet9": {},
          "Ethernet8": {"port": {"module": 3, "port": 8}}})");
  const auto& common = unicast().common();
  EXPECT_THAT(keysOf(common.intf),
              ElementsAre(IntfId("Ethernet8"), IntfId("Ethernet9"), IntfId("Ethernet10")));
  EXPECT_THAT(common.intfPortId.find(IntfId("Ethernet10")),
              Pointee(KorvoL2::KorvoPortIdBase{
                  .modPort = {.module = 3, .port = 7}, .systemPort = 99, .core = 1, .lane = 8}));
  EXPECT_FALSE(common.intfPortId.has(IntfId("Ethernet9")));
  EXPECT_THAT(common.modPortLogicalFap.find(ModPort{.module = 3, .port = 7}), Pointee(5));
  EXPECT_FALSE(common.modPortLogicalFap.has(ModPort{.module = 3, .port = 8}));
  const auto& indexes = unicast().ingVlanRange().hwIndexes->entries;
  EXPECT_THAT(indexes.find(IntfId("Ethernet10")), Pointee(42));
  EXPECT_EQ(indexes.size(), 1U);
}

TEST_F(VxlanDocumentTest, PortChannelsAreThereWithAndWithoutMembers) {
  load(R"("portChannels": ["Port-Channel3", "Port-Channel2"],
          "lagMembership": {"Ethernet2": "Port-Channel1", "Ethernet1": "Port-Channel1",
                            "Ethernet3": "Port-Channel2"})");
  const auto& lags = unicast().common().lagToPort();
  EXPECT_THAT(lags.find(IntfId("Port-Channel1")),
              Pointee(ElementsAre(IntfId("Ethernet1"), IntfId("Ethernet2"))));
  EXPECT_THAT(lags.find(IntfId("Port-Channel2")), Pointee(ElementsAre(IntfId("Ethernet3"))));
  EXPECT_THAT(lags.find(IntfId("Port-Channel3")), Pointee(ElementsAre()));
}

TEST_F(VxlanDocumentTest, TheAddressesOfTheRouterAreTaken) {
  load(R"("routing": {"routerMac": "02:00:00:00:00:01", "virtualRouterMac": "0200.0000.0002"})");
  EXPECT_EQ(unicast().routingStatus()->routerMac, EthAddr(0x020000000001));
  EXPECT_EQ(unicast().routingStatus()->virtualRouterMac, EthAddr(0x020000000002));
}

TEST_F(VxlanDocumentTest, WhatTheTunnelEndIsIsTaken) {
  load(R"("vxlan": {"orvaVtepIp": "192.0.2.1", "orvaVtepIp6": "2001:db8::1",
          "recircIntf": "Recirc-Channel1", "capabilities": {"singlePassRouting": true}})");
  EXPECT_EQ(l2State().orvaVtepIp, IpAddr("192.0.2.1"));
  EXPECT_EQ(l2State().orvaVtepIp6, IpAddr("2001:db8::1"));
  EXPECT_EQ(unicast().recircIntf(), IntfId("Recirc-Channel1"));
  EXPECT_TRUE(unicast().vxlan().vxlanCapabilities()->singlePassRouting);
}

TEST_F(VxlanDocumentTest, AVlanFillsEveryTableThatItIsIn) {
  load(R"("vxlan": {"vlans": [{"vlan": 10, "vni": 10010, "vfi": 4106, "mcastIndex": 3,
          "vlanSvp": 12, "edgePorts": {"Ethernet2": 20, "Ethernet1": 21}}]})");
  EXPECT_TRUE(l2State().vlanMapping.has(VlanId(10)));
  EXPECT_THAT(unicast().vxlan().l3Config().vlanMapping.find(VlanId(10)),
              Pointee(KorvoL2::VlanMapping{.vlanId = 10, .vfi = 4106, .vni = 10010}));
  EXPECT_EQ(unicast().vxlan().l3Status().statusEntry.find(10)->mcastIndex, 3);
  EXPECT_EQ(l2State().vlanToSvp.find(VlanId(10))->number, 12);
  EXPECT_TRUE(unicast().vlanSvpConfig().entries.has(VlanId(10)));
  EXPECT_THAT(keysOf(l2State().portToEdgeSvp),
              ElementsAre(on("Ethernet1", 10), on("Ethernet2", 10)));
  EXPECT_EQ(l2State().portToEdgeSvp.find(on("Ethernet1", 10))->svp, 21);
}

TEST_F(VxlanDocumentTest, AVlanWithNothingIsListedAndInNoOtherTable) {
  load(R"("vxlan": {"vlans": [{"vlan": 40}]})");
  EXPECT_TRUE(l2State().vlanMapping.has(VlanId(40)));
  EXPECT_TRUE(unicast().vxlan().l3Config().vlanMapping.empty());
  EXPECT_TRUE(unicast().vxlan().l3Status().statusEntry.empty());
  EXPECT_TRUE(l2State().vlanToSvp.empty());
  EXPECT_TRUE(unicast().vlanSvpConfig().entries.empty());
}

TEST_F(VxlanDocumentTest, ASwitchMayContradictItselfOnPurpose) {
  load(R"("vxlan": {"vlans": [
          {"vlan": 10, "vni": 1, "mappingVlan": 20}, {"vlan": 20, "vfi": 2, "listed": false},
          {"vlan": 30, "vlanSvp": 5, "svpConfigured": false},
          {"vlan": 40, "svpConfigured": true}]})");
  const auto& mappings = unicast().vxlan().l3Config().vlanMapping;
  EXPECT_THAT(mappings.find(VlanId(10)),
              Pointee(KorvoL2::VlanMapping{.vlanId = 20, .vfi = 0, .vni = 1}));
  EXPECT_THAT(mappings.find(VlanId(20)),
              Pointee(KorvoL2::VlanMapping{.vlanId = 20, .vfi = 2, .vni = 0}));
  EXPECT_THAT(keysOf(l2State().vlanMapping), ElementsAre(VlanId(10), VlanId(30), VlanId(40)));
  EXPECT_THAT(keysOf(l2State().vlanToSvp), ElementsAre(VlanId(30)));
  EXPECT_THAT(keysOf(unicast().vlanSvpConfig().entries), ElementsAre(VlanId(40)));
}

TEST_F(VxlanDocumentTest, WhatIsSaidOfAVlanReplacesAllThatThereWas) {
  load(R"("vxlan": {"vlans": [{"vlan": 10, "vni": 1, "mcastIndex": 3, "vlanSvp": 12,
                               "edgePorts": {"Ethernet1": 1}}, {"vlan": 20}]})");
  load(R"("vxlan": {"vlans": [{"vlan": 10, "listed": false, "edgePorts": {"Ethernet2": 2}}]})");
  EXPECT_THAT(keysOf(l2State().vlanMapping), ElementsAre(VlanId(20)));
  EXPECT_TRUE(unicast().vxlan().l3Config().vlanMapping.empty());
  EXPECT_TRUE(unicast().vxlan().l3Status().statusEntry.empty());
  EXPECT_TRUE(l2State().vlanToSvp.empty());
  EXPECT_TRUE(unicast().vlanSvpConfig().entries.empty());
  EXPECT_THAT(keysOf(l2State().portToEdgeSvp),
              ElementsAre(on("Ethernet1", 10), on("Ethernet2", 10)))
      << "edge ports are added";
}

TEST_F(VxlanDocumentTest, EveryTableOfIngressTranslationIsFilled) {
  load(R"("vlanTranslation": {"ingress": {
          "dips": [{"ip": "2001:db8::1"}, {"ip": "192.0.2.1", "programmed": false}],
          "vlanSvps": [{"vlan": 20, "svp": 7}, {"vlan": 10, "svp": 70000, "statusVlan": 11}],
          "portVlans": [{"interface": "Ethernet10", "dot1qTag": 5, "vlan": 10, "svp": 8},
                        {"interface": "Ethernet9", "dot1qTag": 6}]}})");
  VlanXlateSmModel& xlate = unicast().vlanXlate();
  EXPECT_THAT(keysOf(xlate.dips->entries), ElementsAre(IpAddr("192.0.2.1"), IpAddr("2001:db8::1")));
  EXPECT_THAT(xlate.dips->entries.find(IpAddr("192.0.2.1")), Pointee(false));
  EXPECT_THAT(xlate.dips->entries.find(IpAddr("2001:db8::1")), Pointee(true));
  EXPECT_THAT(xlate.vlanSvps->entries.find(VlanId(10)),
              Pointee(KorvoL2::VlanSvpStatus{.vlan = 11, .svp = 70000}));
  EXPECT_THAT(xlate.vlanSvps->entries.find(VlanId(20)),
              Pointee(KorvoL2::VlanSvpStatus{.vlan = 20, .svp = 7}));
  EXPECT_THAT(xlate.portVlans->entries.find(on("Ethernet10", 5)),
              Pointee(KorvoL2::PortVlanXlateStatus{.svp = 8, .vlan = 10}));
  EXPECT_THAT(xlate.portVlans->entries.find(on("Ethernet9", 6)),
              Pointee(KorvoL2::PortVlanXlateStatus{}));
}

TEST_F(VxlanDocumentTest, EveryTableOfEgressTranslationIsFilled) {
  load(R"("vlanTranslation": {"egress": {
          "vlanVnis": [{"vlan": 10, "vni": 5, "v6": true}, {"vlan": 10, "vni": 6}],
          "portVlans": [{"interface": "Ethernet1", "outerVlan": 10, "innerVlan": 20,
                         "dot1qTag": 30}, {"interface": "Ethernet1", "outerVlan": 9,
                         "dot1qTag": 0}],
          "dvpVlans": [{"interface": "Ethernet1", "vlan": 10, "dvp": 70000, "dot1qTag": 40}]}})");
  VlanXlateSmModel& xlate = unicast().vlanXlate();
  EXPECT_EQ(xlate.vlanVnis->entries.find(VlanIpVerKey(VlanId(10), false))->vni, 6U);
  EXPECT_EQ(xlate.vlanVnis->entries.find(VlanIpVerKey(VlanId(10), true))->vni, 5U);
  EXPECT_THAT(xlate.egrPortVlans->entries.find(on("Ethernet1", 10)),
              Pointee(KorvoL2::EgrPortVlanXlateStatus{.innerVlan = 20, .dot1qTag = 30}));
  EXPECT_THAT(xlate.egrPortVlans->entries.find(on("Ethernet1", 9)),
              Pointee(KorvoL2::EgrPortVlanXlateStatus{}));
  EXPECT_THAT(xlate.egrVxlanVlans->entries.find(on("Ethernet1", 10)),
              Pointee(KorvoL2::EgrVxlanVlanXlateStatus{.dvp = 70000, .dot1qTag = 40}));
}

// What the ranges are programmed for, whichever way the port is told.
class VlanRangeDocumentTest : public VxlanDocumentTest {
 protected:
  /** A switch with a plain interface, a port-channel with a member, and a tunnel. */
  void loadWith(std::string_view features, std::string_view programmed) {
    load(R"("vlanRanges": {"programmed": [)" + std::string(programmed) +
         R"(]}, "l2TableFeature": {)" + std::string(features) + R"(},
         "interfaces": {"Ethernet1": {"port": {"module": 1, "port": 11, "logicalFap": 21},
                                      "hwIndex": 31},
                        "Ethernet2": {"port": {"module": 1, "port": 12}},
                        "Port-Channel1": {"hwIndex": 33}, "Vxlan1": {}},
         "lagMembership": {"Ethernet2": "Port-Channel1"})");
  }
  std::vector<VlanIdRange> rangesOf(std::uint16_t fap, std::uint32_t port) {
    return model_->l2CmdRingManager()->getIngVlanRangeEntry(fap, port).ranges;
  }
};

constexpr const char* kOfEach =
    R"({"interface": "Ethernet1", "ranges": [1]}, {"interface": "Ethernet2", "ranges": [2]},
       {"interface": "Port-Channel1", "ranges": [3]})";
VlanIdRange single(std::uint32_t vlan) { return VlanIdRange(VlanId(vlan)); }

TEST_F(VlanRangeDocumentTest, ChipsWithDynamicRangesKnowPortsByTheirIndex) {
  loadWith(R"("ingVlanRange": true, "ingVlanDynamicRange": true)",
           R"({"interface": "Ethernet1", "ranges": [1]}, {"interface": "Ethernet2",
              "ranges": [2]}, {"interface": "Vxlan1", "ranges": [3]})");
  EXPECT_THAT(rangesOf(21, 31), ElementsAre(single(1)));
  EXPECT_THAT(rangesOf(0x200, 33), ElementsAre(single(2))) << "its port-channel's index";
  EXPECT_THAT(rangesOf(0x200, 0), ElementsAre(single(3)));
}

TEST_F(VlanRangeDocumentTest, OtherChipsKnowPortsByTheirNumber) {
  loadWith(R"("ingVlanRange": true)", kOfEach);
  EXPECT_THAT(rangesOf(21, 11), ElementsAre(single(1)));
  EXPECT_THAT(rangesOf(0x200, 12), ElementsAre(single(2)));
  EXPECT_THAT(rangesOf(0x200, 1023), ElementsAre(single(3)));
}

TEST_F(VlanRangeDocumentTest, DisabledRangesAreNotDynamic) {
  loadWith(R"("ingVlanRange": true, "ingVlanDynamicRange": true, "ingVlanRangeDisabled": true)",
           kOfEach);
  EXPECT_THAT(rangesOf(21, 11), ElementsAre(single(1)));
}

TEST_F(VlanRangeDocumentTest, APortMayBeToldByItsNumbers) {
  loadWith("", R"({"logicalFap": 3, "logicalPort": 70000, "ranges": ["30-40", 20, "10-12", "7"]})");
  EXPECT_THAT(rangesOf(3, 70000), ElementsAre(single(7), VlanIdRange(VlanId(10), VlanId(12)),
                                              single(20), VlanIdRange(VlanId(30), VlanId(40))));
}

TEST_F(VlanRangeDocumentTest, SizeAndScaleAreTaken) {
  load(R"("vlanRanges": {"size": 12, "scale": {"Ethernet1": 13, "Ethernet2": 0}})");
  EXPECT_EQ(unicast().ingVlanRange().ingVlanRangeSize(), 12);
  const auto& scale = unicast().ingVlanRange().scaleEntries->entries;
  EXPECT_EQ(scale.find(IntfId("Ethernet1"))->size, 13U);
  EXPECT_EQ(scale.find(IntfId("Ethernet2"))->size, 0U);
}

TEST_F(VxlanDocumentTest, EdgePortsOfManyVlansFillTheirTableAscending) {
  constexpr int kVlans = 300;
  constexpr int kPorts = 40;
  std::string vlans;
  for (int i = 0; i < kVlans; ++i) {
    const std::string vlan = std::to_string(1 + i * 37 % kVlans);
    vlans += (i == 0 ? R"({"vlan": )" : R"(, {"vlan": )") + vlan + R"(, "edgePorts": {)";
    for (int port = kPorts; port > 0; --port) {
      vlans += "\"Ethernet" + std::to_string(port) + "\": " + vlan + (port == 1 ? "}}" : ", ");
    }
  }
  load(R"("vxlan": {"vlans": [)" + vlans + "]}");
  const auto& edgePorts = l2State().portToEdgeSvp;
  ASSERT_EQ(edgePorts.size(), static_cast<std::size_t>(kVlans) * kPorts);
  int row = 0;
  for (const auto& [key, info] : edgePorts) {
    EXPECT_EQ(key, on(("Ethernet" + std::to_string(1 + row / kVlans)).c_str(),
                      static_cast<std::uint32_t>(1 + row % kVlans)));
    EXPECT_EQ(info.svp, key.vlan().value());
    ++row;
  }
}

TEST_F(VxlanDocumentTest, TheDocumentedExampleIsWhatItSays) {
  const std::string text = Testing::contentsOf(KORVO_DOCS_DIR "/state-document.md");
  const auto section = text.find("### vlanRanges");
  const std::string opening = "```json\n";
  const auto start = text.find(opening, section);
  ASSERT_NE(start, std::string::npos);
  const auto end = text.find("```", start + opening.size());
  const Testing::TemporaryFile file(
      text.substr(start + opening.size(), end - start - opening.size()));
  loadStateDocument(file.path(), *model_);
  EXPECT_EQ(l2State().vlanMapping.size(), 2U);
  EXPECT_EQ(model_->cmdRingManager().ingVlanRanges.size(), 2U);
  const auto ranges = model_->l2CmdRingManager()->getIngVlanRangeEntry(0, 1025).ranges;
  EXPECT_THAT(ranges, ElementsAre(VlanIdRange(VlanId(1000), VlanId(1999))));
}

}  // namespace
}  // namespace KorvoAgent
