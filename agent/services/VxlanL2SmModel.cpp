#include "agent/services/VxlanL2SmModel.h"

#include <fmt/format.h>

#include "platform/rendering/PrintBuffer.h"

namespace KorvoAgent {

void VxlanL2SmModel::showSoftwareVxlanDebugInfo(std::uint32_t socket) {
  Rendering::printToSocket(
      socket, fmt::format("{:<32}: {}\n{:<32}: {}\n{:<32}: {}\n", "VXLAN VLANs",
                          l2State_->vlanMapping.size(), "Virtual ports of VLANs",
                          l2State_->vlanToSvp.size(), "Virtual ports of edge interfaces",
                          l2State_->portToEdgeSvp.size()));
}

const Qel::TypeData& VxlanL2SmModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::VxlanL2SmModel"};
  return kType;
}

}  // namespace KorvoAgent
