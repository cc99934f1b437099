// Loads the command plug-in.
//
// Threading: before the event loop runs.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "platform/command/PluginEntry.h"

namespace KorvoAgent {

/** A plug-in that cannot be used; the message says which file and why. */
class PluginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/**
 * Loads the plug-in `file` for the rest of the process's life: objects of its classes may live
 * until the end. One of another interface version is refused before anything else of it is used.
 * Throws PluginError.
 */
AgentCommand::PluginEntry loadPlugin(const std::string& file);

/** The file name of the plug-in that the agent loads unless told otherwise. */
inline constexpr const char* kDefaultPlugin = "libKorvoL2CliCallbacks.so";

/** Where the default plug-in may stand, for an agent whose program file is in `programFolder`. */
std::vector<std::string> defaultPluginPaths(const std::string& programFolder);

/** The first of defaultPluginPaths() of the running program that exists. Throws PluginError. */
std::string findDefaultPlugin();

}  // namespace KorvoAgent
