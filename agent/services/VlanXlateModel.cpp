#include "agent/services/VlanXlateModel.h"

namespace KorvoAgent {

const Qel::TypeData& VlanXlateSmModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::VlanXlateSmModel"};
  return kType;
}

const Qel::TypeData& IngVlanRangeSmModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::IngVlanRangeSmModel"};
  return kType;
}

}  // namespace KorvoAgent
