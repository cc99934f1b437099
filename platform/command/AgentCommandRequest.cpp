#include "platform/command/AgentCommandRequest.h"

#include <utility>

#include "platform/base/Exceptions.h"

namespace AgentCommand {

AgentCommandRequest::AgentCommandRequest(std::string requestString, std::string commandString,
                                         std::uint32_t socket, std::uint32_t outputFormat,
                                         Qel::Ptr<Rendering::RendererV2> renderer)
    : requestString_(std::move(requestString)),
      commandString_(std::move(commandString)),
      socket_(socket),
      outputFormat_(outputFormat),
      renderer_(std::move(renderer)) {
  QEL_ASSERT(renderer_ != nullptr);
}

AgentCommandRequest::~AgentCommandRequest() = default;

}  // namespace AgentCommand
