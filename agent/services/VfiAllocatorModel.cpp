#include "agent/services/VfiAllocatorModel.h"

#include <algorithm>
#include <string>
#include <vector>

#include "agent/services/AnswerTable.h"

namespace KorvoAgent {

void VfiAllocatorModel::showVlanVfiMap(std::uint32_t socket) {
  using enum AnswerTable::Alignment;
  AnswerTable table({{"VLAN", kRight}, {"VFI", kRight}, {"VNI", kRight}});
  std::vector<std::uint16_t> used;
  for (const auto& [vlan, mapping] : networks_->vlanMapping) {
    if (mapping.vfi == 0) continue;
    used.push_back(mapping.vfi);
    table.row(vlan.value(), mapping.vfi, NoneIfZero{mapping.vni});
  }
  std::ranges::sort(used);
  const auto numUsed =
      static_cast<std::size_t>(std::unique(used.begin(), used.end()) - used.begin());
  const std::string total =
      std::to_string(numUsed) + " of " + counted(size_, "VFI", "VFIs") + " in use";
  Answer answer(socket);
  table.print(answer, {.title = "VLAN to VFI map",
                       .one = "VLAN",
                       .many = "VLANs",
                       .none = "No VLAN has a VFI.",
                       .total = total});
}

const Qel::TypeData& VfiAllocatorModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::VfiAllocatorModel"};
  return kType;
}

}  // namespace KorvoAgent
