// The state document: everything that commands read from a switch, as JSON.
//
// docs/state-document.md describes it for those who write one, docs/state.schema.json exactly.
#pragma once

#include <string>
#include <string_view>

#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

/**
 * Reads the document at `path` ("-" is standard input) into `model`. What the document does not
 * mention stays as it is in the model; a section that it has replaces entries of the same key and
 * adds to the rest. Throws DocumentError; the model is then partly filled and of no use.
 */
void loadStateDocument(const std::string& path, SwitchModel& model);

/** The JSON Schema (draft 2020-12) of state documents. */
std::string_view stateDocumentSchema();

}  // namespace KorvoAgent
