#include "platform/l2/FeatureAgentCommonSmData.h"

#include <algorithm>

namespace KorvoL2 {

using Bridging::IntfId;

void FeatureAgentCommonSmData::lagMembershipIs(IntfId port, IntfId lag) {
  lagMembershipDel(port);
  lagIs(lag);
  lagToPort_.change(lag, [port](std::vector<IntfId>& members) {
    members.insert(std::ranges::upper_bound(members, port), port);
  });
  portToLag_.put(port, lag);
}

void FeatureAgentCommonSmData::lagIs(IntfId lag) {
  if (!lagToPort_.has(lag)) lagToPort_.put(lag, {});
}

void FeatureAgentCommonSmData::lagMembershipDel(IntfId port) {
  const IntfId* const lag = portToLag_.find(port);
  if (lag == nullptr) return;
  lagToPort_.change(*lag, [port](std::vector<IntfId>& members) { std::erase(members, port); });
  portToLag_.erase(port);
}

}  // namespace KorvoL2
