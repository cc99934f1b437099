// The commands of a simulation: every keyword, with arguments that make sense and such that do not.
#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>

#include "agent/model/SeededRandom.h"
#include "tests/simulation/Client.h"

namespace KorvoSimulation {

inline constexpr std::array<std::string_view, 9> kAsyncKeywords{
    "MACT_ALL",       "MACT_HW_ALL",       "MACT_DIFF",
    "MACT_MISSING",   "VXLAN_VLAN",        "VXLAN_ROUTING_INFO",
    "ING_VLAN_RANGE", "VLAN_XLATE_STATUS", "EGR_VLAN_XLATE_STATUS"};

/** Whether the command wants a list of chips. */
bool namesChips(std::string_view keyword);

/** Any command; two of three are dumps. `chips` are those that there are. */
Command anyCommand(KorvoAgent::SeededRandom& random, const std::map<unsigned, std::string>& chips);

/** The dump of that keyword over all chips. */
Command dumpCommand(std::string_view keyword, Rendering::OutputFormat format, bool detail,
                    const std::map<unsigned, std::string>& chips);

}  // namespace KorvoSimulation
