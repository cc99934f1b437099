// The demo switch's interfaces, VXLAN networks, VLAN translation and VLAN ranges.
#pragma once

#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

/**
 * Gives the demo switch what goes with its MAC table: VLANs 10, 20 and 100 in VXLAN networks, the
 * virtual ports of their edge interfaces, the switch as a router and tunnel end, customers' tags
 * that are translated, and the ranges that save table entries. All of it agrees, but for one of
 * each thing that an operator should learn to see: VLAN 40 is listed and not mapped, VLAN 200 is on
 * a port-channel alone, lacks its router addresses and its port configuration, one interface asks
 * for more ranges than fit, a translation leads nowhere, some interfaces have no port or no
 * hardware index, and a port-channel has no members.
 *
 * Called when the port-channels have their members.
 */
void fillDemoVxlan(SwitchModel& model);

}  // namespace KorvoAgent
