#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <set>
#include <string>

#include "platform/l2/VxlanPrinters.h"
#include "tests/platform/rendering/TextCapture.h"

namespace KorvoL2 {
namespace {

using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::VlanId;
using Rendering::RendererV2;
using ::testing::HasSubstr;
using ::testing::Not;

/** What `print` writes in `format`. */
template <class Print>
std::string printed(std::uint32_t format, Print&& print) {
  Rendering::TextCapture capture(format);
  print(capture.renderer());
  return capture.take();
}

constexpr RoutingInfoFlags kHealthy{.svpConfigured = true,
                                    .routerMacOnAllModules = true,
                                    .routerMacMissing = false,
                                    .routerMacRouted = true,
                                    .virtualRouterMacConfigured = true,
                                    .virtualRouterMacOnAllModules = true,
                                    .virtualRouterMacMissing = false,
                                    .virtualRouterMacRouted = true};

std::string line(std::uint32_t vlan, std::uint16_t svp, const RoutingInfoFlags& flags) {
  return printed(Rendering::kText,
                 [&](RendererV2& out) { printRoutingInfoUtil(out, vlan, svp, flags); });
}

TEST(RoutingInfoPrinterTest, AHealthyVlanHasNoCapitalsAmongItsWords) {
  EXPECT_EQ(line(10, 12, kHealthy),
            "Vlan 10   SVP 12    config yes | "
            "Router MAC: all yes missing no  routed yes | "
            "Virtual: all yes missing no  routed yes\n");
}

TEST(RoutingInfoPrinterTest, WhatIsNotAsItShouldBeIsInCapitals) {
  EXPECT_EQ(line(4094, 65535,
                 {.svpConfigured = false,
                  .routerMacOnAllModules = false,
                  .routerMacMissing = true,
                  .routerMacRouted = false,
                  .virtualRouterMacConfigured = true,
                  .virtualRouterMacOnAllModules = false,
                  .virtualRouterMacMissing = true,
                  .virtualRouterMacRouted = false}),
            "Vlan 4094 SVP 65535 config NO  | "
            "Router MAC: all NO  missing YES routed NO  | "
            "Virtual: all NO  missing YES routed NO\n");
}

TEST(RoutingInfoPrinterTest, ALineFitsATerminal) {
  constexpr std::size_t kColumns = 119;
  EXPECT_LE(line(4094, 65535, kHealthy).size(), kColumns + 1);
}

TEST(RoutingInfoPrinterTest, AVirtualRouterMacThatIsNotConfiguredHasNothingToJudge) {
  RoutingInfoFlags flags = kHealthy;
  flags.virtualRouterMacConfigured = false;
  flags.virtualRouterMacOnAllModules = false;
  flags.virtualRouterMacRouted = false;
  EXPECT_THAT(line(10, 12, flags), HasSubstr("Virtual: not configured\n"));
}

TEST(RoutingInfoPrinterTest, EachFlagChangesItsOwnWordOnly) {
  const std::string healthy = line(10, 12, kHealthy);
  std::set<std::size_t> places;
  for (bool RoutingInfoFlags::*const flag :
       {&RoutingInfoFlags::svpConfigured, &RoutingInfoFlags::routerMacOnAllModules,
        &RoutingInfoFlags::routerMacMissing, &RoutingInfoFlags::routerMacRouted,
        &RoutingInfoFlags::virtualRouterMacOnAllModules, &RoutingInfoFlags::virtualRouterMacMissing,
        &RoutingInfoFlags::virtualRouterMacRouted}) {
    RoutingInfoFlags flags = kHealthy;
    flags.*flag = !(flags.*flag);
    const std::string changed = line(10, 12, flags);
    std::size_t at = 0;
    while (changed[at] == healthy[at]) ++at;
    EXPECT_TRUE(places.insert(at).second) << changed;
    EXPECT_TRUE(changed.substr(at).starts_with("NO") || changed.substr(at).starts_with("YES"));
    EXPECT_LE(changed.size(), healthy.size());
    // The last word of the line has no column behind it to keep in place.
    if (changed.size() == healthy.size()) {
      EXPECT_EQ(changed.substr(at + 3), healthy.substr(at + 3));
    }
  }
}

TEST(RoutingInfoPrinterTest, AsJsonEveryFlagHasAName) {
  EXPECT_EQ(printed(Rendering::kJson,
                    [](RendererV2& out) {
                      out.openObject();
                      printRoutingInfoUtil(out, 10, 12, kHealthy);
                      printRoutingInfoUtil(out, 20, 65535, {});
                      out.closeObject();
                    }),
            R"({"10":{"svp":12,"svpConfigured":true,"routerMacOnAllModules":true,)"
            R"("routerMacMissing":false,"routerMacRouted":true,"virtualRouterMacConfigured":true,)"
            R"("virtualRouterMacOnAllModules":true,"virtualRouterMacMissing":false,)"
            R"("virtualRouterMacRouted":true},)"
            R"("20":{"svp":65535,"svpConfigured":false,"routerMacOnAllModules":false,)"
            R"("routerMacMissing":false,"routerMacRouted":false,)"
            R"("virtualRouterMacConfigured":false,"virtualRouterMacOnAllModules":false,)"
            R"("virtualRouterMacMissing":false,"virtualRouterMacRouted":false}})");
}

TEST(VirtualPortPrinterTest, IsAnIndentedLineInText) {
  EXPECT_EQ(printed(Rendering::kText,
                    [](RendererV2& out) {
                      printVirtualPortUtil(out, IntfId("Ethernet1"), {.svp = 20});
                      printVirtualPortUtil(out, IntfId(), {.svp = 0});
                      printVirtualPortUtil(out, IntfId(std::string(63, 'x')), {.svp = 65535});
                      printVirtualPortUtil(out, IntfId("a\nb"), {.svp = 1});
                    }),
            "      Ethernet1: SVP 20\n      : SVP 0\n      " + std::string(63, 'x') +
                ": SVP 65535\n      a\\x0ab: SVP 1\n");
}

TEST(VirtualPortPrinterTest, IsAMemberInJson) {
  EXPECT_EQ(printed(Rendering::kJson,
                    [](RendererV2& out) {
                      out.openObject();
                      printVirtualPortUtil(out, IntfId("Ethernet1"), {.svp = 20});
                      printVirtualPortUtil(out, IntfId("odd\"name\n"), {.svp = 65535});
                      out.closeObject();
                      out.member("next", 1);
                    }),
            R"({"Ethernet1":20,"odd\"name\n":65535},"next":1)");
}

class VxlanVlanSummary : public ::testing::Test {
 protected:
  /** A VLAN that lacks nothing but what is 0. */
  void vlan(unsigned number, std::uint32_t vni, std::uint16_t svp) {
    const VlanId id(number);
    l2State->vlanMapping.add(id);
    if (vni != 0) {
      l3Config->vlanMapping.put(
          id, {.vlanId = static_cast<std::uint16_t>(number), .vfi = 1, .vni = vni});
    }
    if (svp != 0) l2State->vlanToSvp.put(id, {.number = svp});
  }
  std::string dump(std::uint32_t format) const {
    return printed(format,
                   [&](RendererV2& out) { printVxlanVlanSummaryUtil(out, *l2State, *l3Config); });
  }

  Qel::Ptr<VxlanL2State> l2State = Qel::makePtr<VxlanL2State>();
  Qel::Ptr<VxlanL3Config> l3Config = Qel::makePtr<VxlanL3Config>();
};

TEST_F(VxlanVlanSummary, OfNothing) {
  EXPECT_EQ(dump(Rendering::kText),
            "VXLAN VLANs        : 0\n"
            "  without VNI      : 0\n"
            "  without SVP      : 0\n"
            "Edge virtual ports : 0\n"
            "ORVA VTEP IP       : not configured\n"
            "ORVA VTEP IPv6     : not configured\n");
  EXPECT_EQ(dump(Rendering::kJson),
            R"({"vxlanVlans":0,"numWithoutVni":0,"withoutVni":[],"numWithoutSvp":0,)"
            R"("withoutSvp":[],"edgePorts":0,"orvaVtepIp":"","orvaVtepIp6":""})"
            "\n");
}

TEST_F(VxlanVlanSummary, CountsAndNamesWhatIsIncomplete) {
  vlan(10, 10010, 12);
  vlan(20, 0, 13);
  vlan(30, 0, 0);
  vlan(31, 0, 14);
  vlan(40, 10040, 0);
  l2State->portToEdgeSvp.put({IntfId("Ethernet1"), VlanId(10)}, {.svp = 20});
  l2State->portToEdgeSvp.put({IntfId("Ethernet2"), VlanId(10)}, {.svp = 21});
  l2State->orvaVtepIp = IpAddr("10.0.0.1");
  l2State->orvaVtepIp6 = IpAddr("2001:db8::1");
  EXPECT_EQ(dump(Rendering::kText),
            "VXLAN VLANs        : 5\n"
            "  without VNI      : 3 (20, 30-31)\n"
            "  without SVP      : 2 (30, 40)\n"
            "Edge virtual ports : 2\n"
            "ORVA VTEP IP       : 10.0.0.1\n"
            "ORVA VTEP IPv6     : 2001:db8::1\n");
  EXPECT_EQ(dump(Rendering::kJson),
            R"({"vxlanVlans":5,"numWithoutVni":3,"withoutVni":["20","30-31"],"numWithoutSvp":2,)"
            R"("withoutSvp":["30","40"],"edgePorts":2,"orvaVtepIp":"10.0.0.1",)"
            R"("orvaVtepIp6":"2001:db8::1"})"
            "\n");
}

TEST_F(VxlanVlanSummary, AMappingOrAPortWithoutANumberIsNone) {
  vlan(10, 10010, 12);
  l3Config->vlanMapping.put(VlanId(10), {.vlanId = 10, .vfi = 5, .vni = 0});
  l2State->vlanToSvp.put(VlanId(10), {});
  EXPECT_THAT(dump(Rendering::kText), HasSubstr("without VNI      : 1 (10)\n"));
  EXPECT_THAT(dump(Rendering::kText), HasSubstr("without SVP      : 1 (10)\n"));
}

TEST_F(VxlanVlanSummary, TextNamesTheFirstEightStretchesAndJsonAll) {
  for (unsigned number = 2; number <= 18; number += 2) vlan(number, 0, 1);
  EXPECT_THAT(dump(Rendering::kText), HasSubstr(": 9 (2, 4, 6, 8, 10, 12, 14, 16, ...)\n"));
  rapidjson::Document document;
  document.Parse(dump(Rendering::kJson).c_str());
  ASSERT_FALSE(document.HasParseError());
  EXPECT_EQ(document["withoutVni"].Size(), 9U);
  l2State->vlanMapping.erase(VlanId(18));
  EXPECT_THAT(dump(Rendering::kText), Not(HasSubstr("...")));
}

TEST_F(VxlanVlanSummary, EveryVlanAtOnceIsOneStretch) {
  for (unsigned number = VlanId::kMin; number <= VlanId::kMax; ++number) vlan(number, 0, 0);
  EXPECT_THAT(dump(Rendering::kText), HasSubstr("without SVP      : 4094 (1-4094)\n"));
}

}  // namespace
}  // namespace KorvoL2
