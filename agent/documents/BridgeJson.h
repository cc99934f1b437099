// The forwarding database of a Linux bridge, as iproute2 prints it.
#pragma once

#include <string>

#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

/**
 * Reads what `bridge -j fdb show`, or `bridge -j fdb show br NAME`, printed into the software MAC
 * table; `path` may be "-" for standard input. Taken are exactly the bridge's own entries, those
 * with a master; the others are address filters and tunnel tables of single devices. An entry
 * without a VLAN is one outside any VLAN. Throws DocumentError, among others when two bridges hold
 * the same VLAN and MAC address.
 */
void loadBridgeJson(const std::string& path, SwitchModel& model);

}  // namespace KorvoAgent
