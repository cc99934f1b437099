// Feature toggles.
//
// A toggle is a named switch in a toggle file: a JSON object whose members are booleans, such as
// KorvoL2.json: {"ShowL2EcmpVxlanDestination": true}. Files stand in one directory. A toggle is
// read once per process: its state does not change while the agent runs.
#pragma once

#include <string>
#include <string_view>

namespace Qel {

/**
 * The state of toggle `name` of toggle file `file`; `defaultState` when the file or the member is
 * missing, or is not readable as such a file (which is traced on handle "Toggles" at level 1).
 * The first answer for a toggle is kept for the life of the process.
 */
bool getToggleState(std::string_view name, std::string_view file, bool defaultState);

/** Where toggle files stand; /etc/korvo/toggles unless set. Toggles already read keep their state.
 */
void toggleDirectoryIs(std::string directory);

/** Sets a toggle without a file. Throws AssertionException when it was already read otherwise. */
void toggleStateIs(std::string_view name, std::string_view file, bool state);

/** Forgets everything read and set so far, so that a test starts as a new process does. */
void forgetTogglesForTest();

}  // namespace Qel
