// A plug-in of this version whose callbacks know one plain command.

#include "platform/command/PluginEntry.h"
#include "platform/rendering/PrintBuffer.h"

namespace {

class Plain final : public AgentCommand::CliCallbackBase {
 public:
  explicit Plain(std::string name) : CliCallbackBase(std::move(name), "small") {}
  void handleCommand(std::uint32_t socket, std::string command) override {
    Rendering::printToSocket(socket, name() + " " + command);
  }
};

class Formatted final : public AgentCommand::CliCallbackBaseWithFormat {
 public:
  explicit Formatted(std::string name) : CliCallbackBaseWithFormat(std::move(name), "small") {}
  void handleCommand(std::uint32_t, std::string, std::uint32_t) override {}
  Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> createAgentAsyncCommandRequestSm(
      Qel::Ptr<const AgentCommand::AgentCommandRequest>) override {
    return nullptr;
  }
};

}  // namespace

extern "C" {
[[gnu::visibility("default")]] extern const AgentCommand::PluginEntry korvoPluginEntry;
const AgentCommand::PluginEntry korvoPluginEntry{
    AgentCommand::kPluginInterfaceVersion, "small", "1",
    [](const std::string& name) {
      return Qel::Ptr<AgentCommand::CliCallbackBase>(Qel::makePtr<Plain>(name));
    },
    [](const std::string& name) {
      return Qel::Ptr<AgentCommand::CliCallbackBaseWithFormat>(Qel::makePtr<Formatted>(name));
    }};
}
