// What the demo switch's small objects hold: those that plain commands forward to.
#pragma once

#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

/**
 * Gives the demo switch multicast groups, FIFOs, egress masks, counters and shadows of its hardware
 * tables. They agree with its MAC table and its VXLAN networks, but for one of each thing that an
 * operator should learn to see: two chips that hold other groups than software wants, a FIFO that
 * overflowed, a mask that is not needed, a network without a counter and a counter without a
 * network, an entry that is not valid, and one that a chip holds otherwise.
 *
 * Called when all of that is there.
 */
void fillDemoServices(SwitchModel& model);

}  // namespace KorvoAgent
