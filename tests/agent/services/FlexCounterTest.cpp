// Counters of VXLAN frames.

#include <gtest/gtest.h>

#include <chrono>

#include "agent/services/FlexCounterModel.h"
#include "tests/agent/services/ServiceTestSupport.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent {
namespace {

using Bridging::IpAddr;
using Bridging::VlanId;
using KorvoL2::CounterDirection;
using std::chrono::seconds;
using Testing::transcript;

class FlexCounterTest : public ::testing::Test {
 protected:
  void map(std::uint16_t vlan, std::uint32_t vni) {
    networks_->vlanMapping.put(VlanId(vlan), {.vlanId = vlan, .vni = vni});
  }
  std::string vtepSummary() {
    return transcript([this](auto s) { counters_->showVtepDecapFlexCountersSummary(s); });
  }
  std::string vtepValues() {
    return transcript([this](auto s) { counters_->showVtepDecapFlexCountersValues(s); });
  }
  std::string values(CounterDirection direction) {
    return transcript([=, this](auto s) { counters_->showVniFlexCountersValues(s, direction); });
  }

  Qel::Ptr<Qel::ManualClock> clock_ = Qel::makePtr<Qel::ManualClock>();
  Qel::Ptr<KorvoL2::VxlanL3Config> networks_ = Qel::makePtr<KorvoL2::VxlanL3Config>();
  Qel::Ptr<FlexCounterModel> counters_ = Qel::makePtr<FlexCounterModel>(clock_, networks_);
};

TEST_F(FlexCounterTest, WithoutCountersEveryAnswerSaysSo) {
  EXPECT_EQ(vtepSummary(),
            "VTEP decapsulation counters\n"
            "  Counters in use                : 0 of 4096\n"
            "  Packets                        : 0\n"
            "  Bytes                          : 0\n"
            "  Busiest                        : -\n");
  EXPECT_EQ(vtepValues(), "No VTEP has a decapsulation counter.\n");
  EXPECT_EQ(values(CounterDirection::ingress), "No VNIs.\n");
}

TEST_F(FlexCounterTest, VtepsAreShownInOrderWithTheirTotal) {
  counters_->sizeIs(512);
  counters_->vtepIs(IpAddr("2001:db8::9"), {.packets = 5, .bytes = 500});
  counters_->vtepIs(IpAddr("192.0.2.20"), {.packets = 12, .bytes = 18'000});
  counters_->vtepIs(IpAddr("192.0.2.3"), {.packets = 0, .bytes = 0});
  EXPECT_EQ(vtepValues(),
            "VTEP decapsulation counters\n"
            "VTEP         Packets  Bytes\n"
            "-----------  -------  -----\n"
            "192.0.2.3          0      0\n"
            "192.0.2.20        12  18000\n"
            "2001:db8::9        5    500\n"
            "3 VTEPs; 17 packets, 18500 bytes\n");
  EXPECT_EQ(vtepSummary(),
            "VTEP decapsulation counters\n"
            "  Counters in use                : 3 of 512\n"
            "  Packets                        : 17\n"
            "  Bytes                          : 18500\n"
            "  Busiest                        : 192.0.2.20\n");
}

TEST_F(FlexCounterTest, NetworksAreShownWithTheirVlansAndWithoutACounterToo) {
  map(10, 10'010);
  map(20, 10'020);
  map(30, 10'010);  // two VLANs share a network
  map(40, 0);
  counters_->vniIs(10'010, {.ingress = {1, 100}, .egress = {2, 300}});
  counters_->vniIs(77, {.ingress = {4, 400}, .egress = {0, 0}});  // its VLAN has gone
  EXPECT_EQ(values(CounterDirection::ingress),
            "VNI ingress counters\n"
            "  VNI  VLANs   Packets  Bytes\n"
            "-----  ------  -------  -----\n"
            "   77  -             4    400\n"
            "10010  10, 30        1    100\n"
            "10020  20            -      -\n"
            "3 VNIs; 5 packets, 500 bytes\n");
  EXPECT_EQ(values(CounterDirection::egress),
            "VNI egress counters\n"
            "  VNI  VLANs   Packets  Bytes\n"
            "-----  ------  -------  -----\n"
            "   77  -             0      0\n"
            "10010  10, 30        2    300\n"
            "10020  20            -      -\n"
            "3 VNIs; 2 packets, 300 bytes\n");
}

TEST_F(FlexCounterTest, SummariesOfNetworksCountASharedOneOnce) {
  map(10, 10'010);
  map(20, 10'020);
  map(30, 10'010);
  counters_->vniIs(10'010, {.ingress = {1, 100}, .egress = {2, 300}});
  EXPECT_EQ(transcript([this](auto s) { counters_->showVniIngressFlexCountersSummary(s); }),
            "VNI ingress counters\n"
            "  Counters in use                : 1 of 4096\n"
            "  Packets                        : 1\n"
            "  Bytes                          : 100\n"
            "  Busiest                        : VNI 10010\n"
            "  VNIs without a counter         : 1\n");
  EXPECT_EQ(transcript([this](auto s) { counters_->showVniEgressFlexCountersSummary(s); }),
            "VNI egress counters\n"
            "  Counters in use                : 1 of 4096\n"
            "  Packets                        : 2\n"
            "  Bytes                          : 300\n"
            "  Busiest                        : VNI 10010\n"
            "  VNIs without a counter         : 1\n");
}

TEST_F(FlexCounterTest, CountersStandStillWithoutTraffic) {
  counters_->vtepIs(IpAddr("192.0.2.1"), {.packets = 3, .bytes = 300});
  clock_->advance(seconds(100));
  EXPECT_EQ(counters_->vtep(IpAddr("192.0.2.1")), (CounterValue{3, 300}));
  EXPECT_EQ(counters_->vtep(IpAddr("192.0.2.2")), std::nullopt);
}

TEST_F(FlexCounterTest, TrafficLetsEveryCounterGrowSteadilyFromItsValue) {
  const IpAddr vtep("192.0.2.1");
  counters_->vtepIs(vtep, {.packets = 1'000'000, .bytes = 5});
  counters_->vniIs(5, {});
  clock_->advance(seconds(50));
  counters_->trafficIs(7);
  EXPECT_EQ(counters_->vtep(vtep)->packets, 1'000'000U) << "traffic has only begun";
  clock_->advance(seconds(1));
  const CounterValue first = *counters_->vtep(vtep);
  const std::uint64_t perSecond = first.packets - 1'000'000;
  EXPECT_GE(perSecond, 10U);
  EXPECT_LE(perSecond, 10'000U);
  const std::uint64_t packetSize = (first.bytes - 5) / perSecond;
  EXPECT_EQ(first.bytes, 5 + perSecond * packetSize);
  EXPECT_GE(packetSize, 64U);
  EXPECT_LE(packetSize, 1'500U);
  clock_->advance(seconds(9));
  EXPECT_EQ(counters_->vtep(vtep)->packets, 1'000'000 + 10 * perSecond);
  EXPECT_NE(counters_->vni(5, CounterDirection::ingress),
            counters_->vni(5, CounterDirection::egress));
}

TEST_F(FlexCounterTest, TrafficIsTheSameForTheSameSeedOnly) {
  const auto after = [](std::uint64_t seed) {
    const auto clock = Qel::makePtr<Qel::ManualClock>();
    const auto counters =
        Qel::makePtr<FlexCounterModel>(clock, Qel::makePtr<KorvoL2::VxlanL3Config>());
    counters->vniIs(10'010, {});
    counters->trafficIs(seed);
    clock->advance(seconds(1000));
    return *counters->vni(10'010, CounterDirection::egress);
  };
  EXPECT_EQ(after(1), after(1));
  EXPECT_NE(after(1), after(2));
}

TEST_F(FlexCounterTest, AClockThatRunsBackwardsTakesNothingAway) {
  counters_->vniIs(5, {});
  counters_->trafficIs(1);
  clock_->advance(seconds(10));
  const CounterValue before = *counters_->vni(5, CounterDirection::ingress);
  clock_->advance(seconds(-8));
  EXPECT_EQ(counters_->vni(5, CounterDirection::ingress), before);
}

TEST_F(FlexCounterTest, YearsOfTrafficDoNotOverflow) {
  counters_->vniIs(5, {});
  counters_->trafficIs(1);
  clock_->advance(seconds(1));
  const CounterValue second = *counters_->vni(5, CounterDirection::ingress);
  constexpr std::uint64_t kYear = 365ULL * 24 * 60 * 60;
  clock_->nowIs(seconds(kYear * 10));
  const CounterValue years = *counters_->vni(5, CounterDirection::ingress);
  EXPECT_EQ(years.packets, second.packets * kYear * 10);
}

}  // namespace
}  // namespace KorvoAgent
