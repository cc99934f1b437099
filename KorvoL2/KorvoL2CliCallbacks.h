// The plug-in's two command callbacks and their factories: what a host that links the plug-in
// needs. A host that loads it instead finds them through platform/command/PluginEntry.h.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/CliCallback.h"            // IWYU pragma: export
#include "KorvoL2/KorvoL2CliCallbacks/CliCallbackWithFormat.h"  // IWYU pragma: export
