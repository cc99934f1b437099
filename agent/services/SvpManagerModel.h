// Who uses which virtual port, and how many are left.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <utility>

#include "platform/l2/L2Services.h"

namespace KorvoAgent {

class SvpManagerModel final : public KorvoL2::SvpManager {
 public:
  /** The virtual ports are those of `state`. */
  explicit SvpManagerModel(Qel::Ptr<const KorvoL2::VxlanL2State> state)
      : state_(std::move(state)) {}

  void showVirtualPorts(std::uint32_t socket) override;
  const Qel::TypeData& typeData() const noexcept override;

  /** How many virtual ports the chips have. */
  std::uint32_t size() const noexcept { return size_; }
  void sizeIs(std::uint32_t size) { attributeIs(size_, size, "size"); }

 private:
  Qel::Ptr<const KorvoL2::VxlanL2State> state_;
  std::uint32_t size_ = 32'768;
};

}  // namespace KorvoAgent
