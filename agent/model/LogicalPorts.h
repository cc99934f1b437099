// Under which numbers the layer-2 tables of the chips know an interface.
#pragma once

#include "agent/model/SwitchModel.h"
#include "agent/services/CmdRingManagerModel.h"
#include "platform/types/IntfId.h"

namespace KorvoAgent {

/**
 * The port whose ingress VLAN ranges are those of `intf`. Chips with dynamic ranges number it by
 * the hardware index of the interface or, without one, of the port-channel that it is a member of;
 * other chips by the port on the chip. What an interface lacks is replaced by the tables' own
 * values for "none": logical FAP 0x200, port 1023, index 0.
 */
LogicalPort logicalPortOf(SwitchModel& model, Bridging::IntfId intf);

}  // namespace KorvoAgent
