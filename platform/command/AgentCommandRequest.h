// One command as it reached the agent.
#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Attribute.h"
#include "platform/rendering/RendererV2.h"

namespace AgentCommand {

/**
 * The record of one command request: an identifying string, the command text, the answer socket and
 * output format, and the renderer on that socket. Requests are handed around as pointers to const:
 * nobody but the agent changes one; the renderer that it holds is what its answer is written to.
 */
class AgentCommandRequest final : public Qel::Entity {
  QEL_ENTITY_CLASS(AgentCommandRequest, "AgentCommand::AgentCommandRequest")
 public:
  AgentCommandRequest(std::string requestString, std::string commandString, std::uint32_t socket,
                      std::uint32_t outputFormat, Qel::Ptr<Rendering::RendererV2> renderer);
  ~AgentCommandRequest() override;

  /** Identifies the request among those of the agent; the name of its state machine. */
  QEL_FIXED_ATTRIBUTE(std::string, requestString)
  /** The command text as received. */
  QEL_FIXED_ATTRIBUTE(std::string, commandString)
  /** The answer socket's descriptor. */
  QEL_FIXED_ATTRIBUTE(std::uint32_t, socket)
  /** A Rendering::OutputFormat. */
  QEL_FIXED_ATTRIBUTE(std::uint32_t, outputFormat)
  Rendering::RendererV2& renderer() const noexcept { return *renderer_; }

 private:
  Qel::Ptr<Rendering::RendererV2> renderer_;
};

}  // namespace AgentCommand
