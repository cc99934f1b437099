#include "agent/model/UnicastAgentModel.h"

namespace KorvoAgent {

const Qel::TypeData& UnicastAgentModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::UnicastAgentModel"};
  return kType;
}

}  // namespace KorvoAgent
