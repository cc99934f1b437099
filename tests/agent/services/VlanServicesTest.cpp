// What is shown of VXLAN and VLAN translation: VFIs, virtual ports, state, and translations.

#include <gtest/gtest.h>

#include <set>

#include "agent/services/AnswerTable.h"
#include "agent/services/SvpManagerModel.h"
#include "agent/services/VfiAllocatorModel.h"
#include "agent/services/VlanXlateManagers.h"
#include "agent/services/VxlanL2SmModel.h"
#include "tests/agent/services/ServiceTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::PortVlanKey;
using Bridging::VlanId;
using Testing::transcript;

PortVlanKey key(const char* intf, std::uint16_t vlan) { return {IntfId(intf), VlanId(vlan)}; }

class VlanServicesTest : public ::testing::Test {
 protected:
  std::string vfiMap() {
    const auto allocator = Qel::makePtr<VfiAllocatorModel>(vxlan_->vxlanL3Config());
    return transcript([&](auto s) { allocator->showVlanVfiMap(s); });
  }
  std::string svps() {
    const auto manager = Qel::makePtr<SvpManagerModel>(vxlan_->vxlanL2State());
    return transcript([&](auto s) { manager->showVirtualPorts(s); });
  }
  std::string state() {
    return transcript([this](auto s) { vxlan_->showSoftwareVxlanDebugInfo(s); });
  }
  std::string ingress() {
    const auto manager = Qel::makePtr<VlanXlate2ManagerModel>(directories_);
    return transcript([&](auto s) { manager->showVlanXlate2(s); });
  }
  std::string egress(bool hashView) {
    const auto manager = Qel::makePtr<EgrVlanXlateManagerModel>(directories_);
    return transcript([&](auto s) { manager->showEgrVlanXlate(s, hashView); });
  }

  Qel::Ptr<VxlanL2SmModel> vxlan_ = Qel::makePtr<VxlanL2SmModel>();
  Qel::Ptr<VlanXlateSmModel> directories_ = Qel::makePtr<VlanXlateSmModel>();
};

TEST_F(VlanServicesTest, ASwitchWithoutVxlanSaysSo) {
  EXPECT_EQ(vfiMap(), "No VLAN has a VFI.\n");
  EXPECT_EQ(svps(),
            "Virtual ports\n"
            "  In use                         : 0 of 32768\n"
            "  Of VLANs                       : 0\n"
            "  Of edge interfaces             : 0\n"
            "  Used more than once            : 0\n"
            "No virtual port is in use.\n");
  EXPECT_EQ(state(),
            "VXLAN state of the software\n"
            "  Tunnel end (IPv4)              : -\n"
            "  Tunnel end (IPv6)              : -\n"
            "  Routing in a single pass       : no\n"
            "  VXLAN VLANs                    : 0\n"
            "  Virtual ports of VLANs         : 0\n"
            "  Virtual ports of edge ports    : 0\n"
            "No VLAN is known to VXLAN.\n");
}

TEST_F(VlanServicesTest, TheVfiMapCountsASharedVfiOnce) {
  vxlan_->l3Config().vlanMapping.put(VlanId(10), {.vlanId = 10, .vfi = 3, .vni = 10'010});
  vxlan_->l3Config().vlanMapping.put(VlanId(20), {.vlanId = 20, .vfi = 3, .vni = 0});
  vxlan_->l3Config().vlanMapping.put(VlanId(30), {.vlanId = 30, .vfi = 0, .vni = 10'030});
  EXPECT_EQ(vfiMap(),
            "VLAN to VFI map\n"
            "VLAN  VFI    VNI\n"
            "----  ---  -----\n"
            "  10    3  10010\n"
            "  20    3      -\n"
            "2 VLANs; 1 of 16384 VFIs in use\n");
}

TEST_F(VlanServicesTest, VirtualPortsAreShownByUser) {
  vxlan_->l2State().vlanToSvp.put(VlanId(10), {.number = 100});
  vxlan_->l2State().vlanToSvp.put(VlanId(20), {});
  vxlan_->l2State().portToEdgeSvp.put(key("Ethernet3/1", 10), {.svp = 201});
  vxlan_->l2State().portToEdgeSvp.put(key("Ethernet3/2", 10), {.svp = 201});
  vxlan_->l2State().portToEdgeSvp.put(key("Ethernet3/2", 20), {.svp = 201});
  EXPECT_EQ(svps(),
            "Virtual ports\n"
            "  In use                         : 2 of 32768\n"
            "  Of VLANs                       : 1\n"
            "  Of edge interfaces             : 3\n"
            "  Used more than once            : 1\n"
            "SVP  Kind  VLAN  Interface\n"
            "---  ----  ----  -----------\n"
            "100  vlan    10  -\n"
            "201  edge    10  Ethernet3/1\n"
            "201  edge    10  Ethernet3/2\n"
            "201  edge    20  Ethernet3/2\n"
            "4 uses\n");
}

TEST_F(VlanServicesTest, TheStateShowsEveryVlanThatAnyRecordNames) {
  vxlan_->l2State().orvaVtepIp = IpAddr("192.0.2.1");
  vxlan_->l2State().orvaVtepIp6 = IpAddr("2001:db8::1");
  vxlan_->capabilities().singlePassRouting = true;
  vxlan_->l2State().vlanMapping.add(VlanId(10));
  vxlan_->l2State().vlanToSvp.put(VlanId(10), {.number = 0});
  vxlan_->l2State().portToEdgeSvp.put(key("Ethernet3/1", 10), {.svp = 201});
  vxlan_->l3Config().vlanMapping.put(VlanId(10), {.vlanId = 10, .vfi = 3, .vni = 10'010});
  vxlan_->l3Config().vlanMapping.put(VlanId(20), {.vlanId = 20, .vfi = 4, .vni = 10'020});
  vxlan_->l3Status().statusEntry.put(10, {.mcastIndex = 101});
  vxlan_->l3Status().statusEntry.put(4094, {.mcastIndex = 102});
  vxlan_->l3Status().statusEntry.put(5000, {.mcastIndex = 103});
  EXPECT_EQ(state(),
            "VXLAN state of the software\n"
            "  Tunnel end (IPv4)              : 192.0.2.1\n"
            "  Tunnel end (IPv6)              : 2001:db8::1\n"
            "  Routing in a single pass       : yes\n"
            "  VXLAN VLANs                    : 1\n"
            "  Virtual ports of VLANs         : 1\n"
            "  Virtual ports of edge ports    : 1\n"
            "VLAN  In set    VNI  VFI  Mcast group  SVP  Edge ports\n"
            "----  ------  -----  ---  -----------  ---  ----------\n"
            "  10  yes     10010    3          101    0           1\n"
            "  20  no      10020    4            -    -           0\n"
            "4094  no          -    -          102    -           0\n"
            "3 VLANs\n");
}

TEST_F(VlanServicesTest, ASwitchWithoutTranslationsSaysSo) {
  EXPECT_EQ(ingress(), "No tunnel ends.\n\nNo ingress VLAN translations.\n");
  EXPECT_EQ(egress(false), "No egress VLAN translations.\n");
  EXPECT_EQ(egress(true), "No egress VLAN translations.\n");
}

TEST_F(VlanServicesTest, IngressTranslationsAreShownWithTheTunnelEnds) {
  directories_->dips->entries.put(IpAddr("192.0.2.1"), true);
  directories_->dips->entries.put(IpAddr("2001:db8::1"), false);
  directories_->portVlans->entries.put(key("Ethernet3/10", 5), {.svp = 201, .vlan = 10});
  directories_->portVlans->entries.put(key("Ethernet3/2", 7), {});
  EXPECT_EQ(ingress(),
            "Tunnel ends whose frames are decapsulated\n"
            "Tunnel end   State\n"
            "-----------  ----------\n"
            "192.0.2.1    programmed\n"
            "2001:db8::1  pending\n"
            "2 tunnel ends\n"
            "\n"
            "Ingress VLAN translations\n"
            "Interface     Tag  VLAN  SVP\n"
            "------------  ---  ----  ---\n"
            "Ethernet3/2     7     -    -\n"
            "Ethernet3/10    5    10  201\n"
            "2 translations\n");
}

TEST_F(VlanServicesTest, EgressTranslationsAreShownByKeyOrByBucket) {
  directories_->egrPortVlans->entries.put(key("Ethernet3/1", 10),
                                          {.innerVlan = 7, .dot1qTag = 100});
  directories_->egrPortVlans->entries.put(key("Ethernet3/2", 10), {.dot1qTag = 101});
  directories_->egrVxlanVlans->entries.put(key("Ethernet3/1", 10), {.dvp = 300, .dot1qTag = 102});
  EXPECT_EQ(egress(false),
            "Egress VLAN translations\n"
            "Interface    VLAN  From   Inner VLAN  DVP  Tag\n"
            "-----------  ----  -----  ----------  ---  ---\n"
            "Ethernet3/1    10  vlan            7    -  100\n"
            "Ethernet3/2    10  vlan            -    -  101\n"
            "Ethernet3/1    10  vxlan           -  300  102\n"
            "3 translations\n");
  EXPECT_EQ(egress(true),
            "Egress VLAN translations by hash bucket\n"
            "Bucket  Slot  Interface    VLAN  From   Inner VLAN  DVP  Tag\n"
            "------  ----  -----------  ----  -----  ----------  ---  ---\n"
            "   208     0  Ethernet3/1    10  vlan            7    -  100\n"
            "   208     1  Ethernet3/1    10  vxlan           -  300  102\n"
            "   295     0  Ethernet3/2    10  vlan            -    -  101\n"
            "3 translations; 2 of 1024 buckets, 0 without a slot\n");
}

TEST_F(VlanServicesTest, ABucketHasOnlySoManySlots) {
  // A hundred thousand keys in a thousand buckets of eight slots.
  for (std::uint16_t port = 1; port <= 50; ++port) {
    const std::string name = "Ethernet" + std::to_string(port);
    for (std::uint16_t vlan = 1; vlan <= 2000; ++vlan) {
      directories_->egrPortVlans->entries.put(key(name.c_str(), vlan), {.dot1qTag = vlan});
    }
  }
  std::set<std::uint32_t> buckets;
  for (const auto& [where, status] : directories_->egrPortVlans->entries) {
    buckets.insert(EgrVlanXlateManagerModel::bucketOf(where));
  }
  EXPECT_EQ(buckets.size(), EgrVlanXlateManagerModel::kBuckets) << "keys spread";
  EXPECT_TRUE(
      egress(true).ends_with("\n... 95904 more; the async command EGR_VLAN_XLATE_STATUS lists all\n"
                             "100000 translations; 1024 of 1024 buckets, 91808 without a slot\n"));
  EXPECT_TRUE(egress(false).ends_with(
      "\n... 95904 more; the async command EGR_VLAN_XLATE_STATUS lists all\n"
      "100000 translations\n"));
}

TEST_F(VlanServicesTest, LargeIngressTablesAreCutAndSayHowToGoOn) {
  for (std::uint16_t vlan = 1; vlan <= 4000; ++vlan) {
    for (const char* const intf : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
      directories_->portVlans->entries.put(key(intf, vlan), {.vlan = vlan});
      vxlan_->l2State().portToEdgeSvp.put(key(intf, vlan), {.svp = vlan});
    }
  }
  EXPECT_TRUE(ingress().ends_with(
      "\n... 7904 more; the async command VLAN_XLATE_STATUS lists all\n12000 translations\n"));
  EXPECT_TRUE(
      svps().ends_with("\n... 7904 more; ShadowShow+SOURCE_VP+VAL+SVP shows one as the "
                       "chips have it\n12000 uses\n"));
}

}  // namespace
}  // namespace KorvoAgent
