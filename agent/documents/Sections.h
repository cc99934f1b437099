// The sections of a state document, each read by one function into the model.
//
// A new section is a reader of its own here, a row in the table in StateDocument.cpp and an entry
// in docs/state.schema.json.
#pragma once

#include "agent/documents/JsonNode.h"
#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

void readSwitch(const JsonNode& section, SwitchModel& model);
/** The chips of the section "switch", instead of those that the model has. */
void readChips(const JsonNode& chips, SwitchModel& model);
void readReadiness(const JsonNode& section, SwitchModel& model);
void readToggles(const JsonNode& section, SwitchModel& model);
void readChipAttributes(const JsonNode& section, SwitchModel& model);
void readL2TableFeature(const JsonNode& section, SwitchModel& model);
void readInterfaces(const JsonNode& section, SwitchModel& model);
void readPortChannels(const JsonNode& section, SwitchModel& model);
void readLagMembership(const JsonNode& section, SwitchModel& model);
void readSwitchportConfig(const JsonNode& section, SwitchModel& model);
void readRouting(const JsonNode& section, SwitchModel& model);
void readVxlan(const JsonNode& section, SwitchModel& model);
void readVlanTranslation(const JsonNode& section, SwitchModel& model);
void readVlanRanges(const JsonNode& section, SwitchModel& model);
void readMulticast(const JsonNode& section, SwitchModel& model);
void readFifos(const JsonNode& section, SwitchModel& model);
void readMlag(const JsonNode& section, SwitchModel& model);
void readFlexCounters(const JsonNode& section, SwitchModel& model);
void readPools(const JsonNode& section, SwitchModel& model);
void readOwnRouterMacs(const JsonNode& section, SwitchModel& model);
void readShadowTables(const JsonNode& section, SwitchModel& model);
void readRemoteMac(const JsonNode& section, SwitchModel& model);
void readMacTable(const JsonNode& section, SwitchModel& model);

}  // namespace KorvoAgent
