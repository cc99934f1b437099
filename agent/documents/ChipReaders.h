// Readers of chips that the switch has.
#pragma once

#include "agent/documents/JsonNode.h"
#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

/** The number of a chip; refused unless the switch has it. */
Tessar::FapId readChip(const JsonNode& node, const SwitchModel& model);
/** A list of those; no chip twice. */
ChipSet readChipSet(const JsonNode& list, const SwitchModel& model);

}  // namespace KorvoAgent
