// Where a host that loads this library finds its callbacks.

#include "platform/command/PluginEntry.h"

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliCallbacks.h"
#include "KorvoL2/Trace.h"

namespace KorvoL2 {
namespace {

// There as soon as the library is loaded, so that a host can set its level before the first line.
[[maybe_unused]] const Qel::TraceHandle& registered = trace();

Qel::Ptr<AgentCommand::CliCallbackBase> cliCallback(const std::string& name) {
  return cliCallbackFactory(name);
}

Qel::Ptr<AgentCommand::CliCallbackBaseWithFormat> cliCallbackWithFormat(const std::string& name) {
  return cliCallbackWithFormatFactory(name);
}

}  // namespace
}  // namespace KorvoL2

extern "C" {

extern KORVO_L2_API const AgentCommand::PluginEntry korvoPluginEntry;
const AgentCommand::PluginEntry korvoPluginEntry{
    .interfaceVersion = AgentCommand::kPluginInterfaceVersion,
    .pluginName = "KorvoL2CliCallbacks",
    .pluginVersion = KORVO_L2_VERSION,
    .cliCallback = &KorvoL2::cliCallback,
    .cliCallbackWithFormat = &KorvoL2::cliCallbackWithFormat,
};

}  // extern "C"
