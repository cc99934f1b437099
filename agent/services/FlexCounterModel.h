// Counters of VXLAN frames: decapsulated from each remote tunnel end, and received from and sent
// into each VXLAN network.
//
// A counter has a value and, while traffic runs, grows at a steady rate that its owner and the
// traffic's seed make up: how much it has grown is reckoned when it is shown, from the agent's
// clock.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "platform/base/Clock.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/l2/L2Services.h"
#include "platform/types/IpAddr.h"

namespace KorvoAgent {

struct CounterValue {
  std::uint64_t packets = 0;
  std::uint64_t bytes = 0;
  friend bool operator==(const CounterValue&, const CounterValue&) = default;
};

/** The counters of one VXLAN network. */
struct VniCounters {
  CounterValue ingress{};  ///< of frames that came out of tunnels
  CounterValue egress{};   ///< of frames that were sent into tunnels
  friend bool operator==(const VniCounters&, const VniCounters&) = default;
};

class FlexCounterModel final : public KorvoL2::KorvoL2FlexCounter {
 public:
  /** `networks` tells which VXLAN networks there are. */
  FlexCounterModel(Qel::Ptr<const Qel::Clock> clock,
                   Qel::Ptr<const KorvoL2::VxlanL3Config> networks)
      : clock_(std::move(clock)), networks_(std::move(networks)) {}

  void showVtepDecapFlexCountersSummary(std::uint32_t socket) override;
  void showVtepDecapFlexCountersValues(std::uint32_t socket) override;
  void showVniIngressFlexCountersSummary(std::uint32_t socket) override;
  void showVniEgressFlexCountersSummary(std::uint32_t socket) override;
  void showVniFlexCountersValues(std::uint32_t socket,
                                 KorvoL2::CounterDirection direction) override;
  const Qel::TypeData& typeData() const noexcept override;

  /** How many counters there are for each of the three purposes. */
  std::uint32_t size() const noexcept { return size_; }
  void sizeIs(std::uint32_t size) { attributeIs(size_, size, "size"); }

  /** Gives a remote tunnel end a counter, or its counter a value to grow from. */
  void vtepIs(const Bridging::IpAddr& vtep, const CounterValue& value);
  void vniIs(std::uint32_t vni, const VniCounters& values);
  /** From now on every counter grows. */
  void trafficIs(std::uint64_t seed);

  /** What the counter shows now; nothing where there is none. */
  std::optional<CounterValue> vtep(const Bridging::IpAddr& vtep) const;
  std::optional<CounterValue> vni(std::uint32_t vni, KorvoL2::CounterDirection direction) const;

 private:
  /** A VXLAN network and what is to be said of it. */
  struct Network {
    std::uint32_t vni = 0;
    std::uint16_t vlan = 0;  ///< 0 where no VLAN is mapped to it
    std::optional<CounterValue> value{};
  };
  /** What a counter shows after so much traffic; `owner` tells it from others. */
  CounterValue grown(const CounterValue& value, std::uint64_t owner, Qel::Duration traffic) const;
  /** For how long there has been traffic. */
  Qel::Duration trafficTime() const;
  std::vector<Network> networks(KorvoL2::CounterDirection direction) const;
  void showVniSummary(std::uint32_t socket, KorvoL2::CounterDirection direction);

  Qel::Ptr<const Qel::Clock> clock_;
  Qel::Ptr<const KorvoL2::VxlanL3Config> networks_;
  std::uint32_t size_ = 4096;
  Qel::KeyedCollection<Bridging::IpAddr, CounterValue> vteps_;
  Qel::KeyedCollection<std::uint32_t, VniCounters> vnis_;
  std::optional<std::uint64_t> seed_;
  Qel::Duration trafficStart_{0};
  mutable Qel::Duration longest_{0};  // traffic never ran for less than once was seen
};

}  // namespace KorvoAgent
