// The keys of the made-up MAC tables.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace KorvoL2::Testing {

/** VLAN number `group`, ascending: of one digit to four among the first few, then every one. */
constexpr unsigned ascendingVlan(std::size_t group) {
  constexpr std::array<unsigned, 6> kFirst{1, 2, 10, 99, 100, 1000};
  return group < kFirst.size() ? kFirst[group]
                               : static_cast<unsigned>(1001 + group - kFirst.size());
}
/** How many of them there are. */
inline constexpr std::size_t kAscendingVlans = 3000;

struct MacRowKey {
  unsigned vlan;
  std::uint64_t mac;
};

/** Key number `i`, ascending: four addresses in each VLAN, the first few outside any. */
constexpr MacRowKey macRowKey(std::size_t i) {
  constexpr std::array<std::uint64_t, 4> kAddresses{0x000000000000, 0x01005e000000, 0x020000000000,
                                                    0xfffffff00000};
  const unsigned vlan = i < 4 ? 0 : ascendingVlan(i / 4 - 1);
  return {vlan, kAddresses[i % 4] + i * 7919 % 0xfffff};
}

}  // namespace KorvoL2::Testing
