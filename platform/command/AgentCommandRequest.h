// One command as it reached the agent.
#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Entity.h"
#include "platform/base/Tracked.h"
#include "platform/rendering/RendererV2.h"

namespace AgentCommand {

/**
 * The record of one command request: an identifying string, the command text, the answer socket and
 * output format, and the renderer on that socket. Requests are handed around as pointers to const:
 * nobody but the agent changes one; the renderer that it holds is what its answer is written to.
 */
class AgentCommandRequest final : public Qel::Entity {
  QEL_TRACKED_ALLOCATION(AgentCommandRequest)
 public:
  AgentCommandRequest(std::string requestString, std::string commandString, std::uint32_t socket,
                      std::uint32_t outputFormat, Qel::Ptr<Rendering::RendererV2> renderer);
  ~AgentCommandRequest() override;

  /** Identifies the request among those of the agent; the name of its state machine. */
  const std::string& requestString() const noexcept { return requestString_; }
  /** The command text as received. */
  const std::string& commandString() const noexcept { return commandString_; }
  /** The answer socket's descriptor. */
  std::uint32_t socket() const noexcept { return socket_; }
  /** A Rendering::OutputFormat. */
  std::uint32_t outputFormat() const noexcept { return outputFormat_; }
  Rendering::RendererV2& renderer() const noexcept { return *renderer_; }

  const Qel::TypeData& typeData() const noexcept override;

 private:
  std::string requestString_;
  std::string commandString_;
  std::uint32_t socket_;
  std::uint32_t outputFormat_;
  Qel::Ptr<Rendering::RendererV2> renderer_;
};

}  // namespace AgentCommand
