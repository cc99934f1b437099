// The keys of the agent's tables: each is a tuple, and is compared and hashed as one.

#include <absl/hash/hash.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>

#include "platform/types/L2HwEntryKey.h"
#include "platform/types/MacVlanPair.h"
#include "platform/types/ModPort.h"
#include "platform/types/PortVlanKey.h"
#include "platform/types/VlanIpVerKey.h"

namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using Bridging::ModPort;
using Bridging::PortVlanKey;
using Bridging::VlanId;
using Bridging::VlanIpVerKey;
using KorvoL2::L2HwEntryKey;

static_assert(std::is_trivially_copyable_v<MacVlanPair> && sizeof(MacVlanPair) == 8);
static_assert(std::is_trivially_copyable_v<L2HwEntryKey> && sizeof(L2HwEntryKey) == 16);
static_assert(std::is_trivially_copyable_v<PortVlanKey> && sizeof(PortVlanKey) == 16);
static_assert(std::is_trivially_copyable_v<VlanIpVerKey> && sizeof(VlanIpVerKey) == 4);

// Few different values, so that equal ones are common.
rc::Gen<EthAddr> anyMac() {
  return rc::gen::map(
      rc::gen::element<std::uint64_t>(0, 1, 0x0011'2233'4455, 0x8000'0000'0000, EthAddr::kMask),
      [](std::uint64_t value) { return EthAddr(value); });
}
rc::Gen<VlanId> anyVlan() {
  return rc::gen::map(rc::gen::element<std::uint32_t>(1, 2, 10, 4094),
                      [](std::uint32_t value) { return VlanId(value); });
}
rc::Gen<IntfId> anyIntf() {
  return rc::gen::map(rc::gen::element<std::string>("", "Ethernet2", "Ethernet10", "Vxlan1"),
                      [](const std::string& name) { return IntfId(name); });
}

template <class Key, class Parts>
void compareAsTuples(const Key& a, const Key& b, Parts parts) {
  RC_ASSERT((a == b) == (parts(a) == parts(b)));
  RC_ASSERT((a != b) == (parts(a) != parts(b)));
  RC_ASSERT((a < b) == (parts(a) < parts(b)));
  RC_ASSERT((b < a) == (parts(b) < parts(a)));
  if (a == b) RC_ASSERT(absl::HashOf(a) == absl::HashOf(b));
}

TEST(MacVlanPairTest, HoldsItsPartsAndPrintsThem) {
  const MacVlanPair key(VlanId(4094), EthAddr("ffff.ffff.fffe"));
  EXPECT_EQ(key.vlan(), 4094U);
  EXPECT_EQ(key.mac(), EthAddr("ffff.ffff.fffe"));
  EXPECT_EQ(key.stringValue(), "4094 ffff.ffff.fffe");
}

TEST(MacVlanPairTest, DefaultIsTheLowestKeyAndOutsideAnyVlan) {
  EXPECT_EQ(MacVlanPair().vlan(), 0U);
  EXPECT_EQ(MacVlanPair(), MacVlanPair(std::uint16_t{0}, EthAddr()));
  EXPECT_LT(MacVlanPair(), MacVlanPair(VlanId(1), EthAddr()));
}

RC_GTEST_PROP(MacVlanPairProperty, ComparesByVlanThenMac, ()) {
  const MacVlanPair a(*anyVlan(), *anyMac());
  const MacVlanPair b(*anyVlan(), *anyMac());
  compareAsTuples(a, b, [](const MacVlanPair& k) { return std::tuple(k.vlan(), k.mac()); });
}

TEST(PortVlanKeyTest, HoldsItsPartsAndPrintsThem) {
  const PortVlanKey key(IntfId("Port-Channel12"), VlanId(10));
  EXPECT_EQ(key.intf(), IntfId("Port-Channel12"));
  EXPECT_EQ(key.vlan(), VlanId(10));
  EXPECT_EQ(key.stringValue(), "Port-Channel12 10");
}

TEST(PortVlanKeyTest, DefaultIsTheLowestKey) {
  EXPECT_EQ(PortVlanKey(), PortVlanKey(IntfId(), VlanId(1)));
  EXPECT_LT(PortVlanKey(), PortVlanKey(IntfId(), VlanId(2)));
  EXPECT_LT(PortVlanKey(), PortVlanKey(IntfId("A"), VlanId(1)));
}

RC_GTEST_PROP(PortVlanKeyProperty, ComparesByInterfaceThenVlan, ()) {
  const PortVlanKey a(*anyIntf(), *anyVlan());
  const PortVlanKey b(*anyIntf(), *anyVlan());
  compareAsTuples(a, b, [](const PortVlanKey& k) { return std::tuple(k.intf(), k.vlan()); });
}

TEST(VlanIpVerKeyTest, HoldsItsPartsAndPrintsThem) {
  const VlanIpVerKey key(VlanId(4094), true);
  EXPECT_EQ(key.vlan(), VlanId(4094));
  EXPECT_TRUE(key.isV6());
  EXPECT_EQ(key.stringValue(), "4094 v6");
  EXPECT_EQ(VlanIpVerKey(VlanId(10), false).stringValue(), "10 v4");
}

TEST(VlanIpVerKeyTest, DefaultIsTheLowestKey) {
  EXPECT_EQ(VlanIpVerKey(), VlanIpVerKey(VlanId(1), false));
  EXPECT_LT(VlanIpVerKey(), VlanIpVerKey(VlanId(1), true));
  EXPECT_LT(VlanIpVerKey(VlanId(1), true), VlanIpVerKey(VlanId(2), false));
}

RC_GTEST_PROP(VlanIpVerKeyProperty, ComparesByVlanThenIpVersionFourFirst, ()) {
  const VlanIpVerKey a(*anyVlan(), *rc::gen::arbitrary<bool>());
  const VlanIpVerKey b(*anyVlan(), *rc::gen::arbitrary<bool>());
  compareAsTuples(a, b, [](const VlanIpVerKey& k) { return std::tuple(k.vlan(), k.isV6()); });
}

TEST(L2HwEntryKeyTest, HoldsItsPartsAndPrintsThem) {
  const L2HwEntryKey key(0xffff'ffff, EthAddr("0011.2233.4455"), 255);
  EXPECT_EQ(key.vlan(), 0xffff'ffffU);
  EXPECT_EQ(key.mac(), EthAddr("0011.2233.4455"));
  EXPECT_EQ(key.keyType(), 255);
  EXPECT_EQ(key.stringValue(), "4294967295 0011.2233.4455 255");
}

TEST(L2HwEntryKeyTest, DefaultIsTheLowestKey) {
  EXPECT_EQ(L2HwEntryKey(), L2HwEntryKey(0, EthAddr(), 0));
  EXPECT_LT(L2HwEntryKey(), L2HwEntryKey(0, EthAddr(), 1));
}

RC_GTEST_PROP(L2HwEntryKeyProperty, ComparesByNumberThenMacThenKeyType, ()) {
  const auto anyKey = [] {
    const auto number = *rc::gen::element<std::uint32_t>(0, 1, 256, 70000);
    const EthAddr mac = *anyMac();
    return L2HwEntryKey(number, mac, *rc::gen::element<std::uint8_t>(0, 3, 200));
  };
  const L2HwEntryKey a = anyKey();
  const L2HwEntryKey b = anyKey();
  compareAsTuples(a, b,
                  [](const L2HwEntryKey& k) { return std::tuple(k.vlan(), k.mac(), k.keyType()); });
}

TEST(ModPortTest, DefaultIsTheHardwaresNoPort) {
  EXPECT_EQ(ModPort(), (ModPort{0x40, 0x3FF}));
  EXPECT_NE(ModPort(), (ModPort{0x40, 0x3FE}));
  EXPECT_LT((ModPort{1, 9}), (ModPort{2, 0}));
}

}  // namespace
