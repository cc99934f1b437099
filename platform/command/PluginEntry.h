// How a host finds a plug-in's callbacks in its shared library.
//
// The library exports one C symbol, korvoPluginEntry, a constant record. Its first member is the
// interface version and never moves, so that a host can refuse a plug-in of another version before
// it touches anything else of it.
#pragma once

#include <cstdint>
#include <string>

#include "platform/command/CliCallbackBase.h"

namespace AgentCommand {

/**
 * The version of the interface between hosts and plug-ins: the classes of platform/. Raised with
 * every change that an already built plug-in or host would misread.
 */
inline constexpr std::uint32_t kPluginInterfaceVersion = 1;

/** The name under which a plug-in exports its PluginEntry. */
inline constexpr const char* kPluginEntrySymbol = "korvoPluginEntry";

struct PluginEntry {
  std::uint32_t interfaceVersion;
  const char* pluginName;
  const char* pluginVersion;
  Qel::Ptr<CliCallbackBase> (*cliCallback)(const std::string& name);
  Qel::Ptr<CliCallbackBaseWithFormat> (*cliCallbackWithFormat)(const std::string& name);
};

}  // namespace AgentCommand
