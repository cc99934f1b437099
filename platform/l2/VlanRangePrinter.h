// How the ingress VLAN ranges of one interface are shown.
//
// Text: what a person needs to know of the interface in one line, folded before a fact or a range
// with which it would get wider than 100 columns; lines that go on are indented by four, so that
// searching for a name finds its first line. Port-channel membership is told because the logical
// port may be that of the port-channel. Of an interface that wants more ranges than fit, only a
// part is programmed.
//
//   Ethernet3/1: logical port 12, 3 VLAN ranges: 10-20, 30, 100-199
//   Ethernet4/1: logical port 97, member of Port-Channel7, 1 VLAN range: 10-20
//   Ethernet5/1: logical port 14, wants more than its table holds, 25 VLAN ranges: 2, 4, 6, 8, 10,
//   12,
//       14, 16, 18, 20, 22, 24, 26, 28, 30, 32, 34, 36, 38, 40, 42, 44, 46, 48, 50
//
// JSON: a member of the object that is open, always with the same members of the same types;
// "portChannel" is "" for an interface that is in none.
//
//   "Ethernet3/1":{"logicalPort":12,"portChannel":"","oversize":false,
//                  "ranges":[{"first":10,"last":20},{"first":30,"last":30}]}
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/l2/FeatureAgentCommonSmData.h"
#include "platform/rendering/RendererV2.h"
#include "platform/types/IntfId.h"
#include "platform/types/VlanId.h"

namespace KorvoL2 {

/**
 * Prints the ranges programmed for `intf`, in the order given. `oversize`: the interface wants more
 * ranges than the table of one port holds.
 */
void printIngVlanRangeEntryUtil(Rendering::RendererV2& renderer,
                                const FeatureAgentCommonSmData& fcsd, Bridging::IntfId intf,
                                std::uint16_t logicalPort, bool oversize,
                                const std::vector<Bridging::VlanIdRange>& ranges);

}  // namespace KorvoL2
