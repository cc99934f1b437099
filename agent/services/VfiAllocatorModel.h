// Which VLAN has which virtual forwarding instance, and how many are left.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <utility>

#include "platform/l2/L2Services.h"

namespace KorvoAgent {

class VfiAllocatorModel final : public KorvoL2::VfiAllocatorSm {
 public:
  /** The allocations are those that `networks` tells. */
  explicit VfiAllocatorModel(Qel::Ptr<const KorvoL2::VxlanL3Config> networks)
      : networks_(std::move(networks)) {}

  void showVlanVfiMap(std::uint32_t socket) override;
  const Qel::TypeData& typeData() const noexcept override;

  /** How many instances the chips have. */
  std::uint32_t size() const noexcept { return size_; }
  void sizeIs(std::uint32_t size) { attributeIs(size_, size, "size"); }

 private:
  Qel::Ptr<const KorvoL2::VxlanL3Config> networks_;
  std::uint32_t size_ = 16'384;
};

}  // namespace KorvoAgent
