// The agent's own questions (entry `agent`): status, chips, interface NAME, requests, cancel N,
// schema.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/server/Access.h"
#include "agent/server/RequestEnd.h"
#include "agent/server/SliceScheduler.h"
#include "platform/base/Clock.h"
#include "platform/rendering/RendererV2.h"

namespace KorvoAgent {

/** What the agent that serves knows of its switch; asked anew for every question. */
struct AgentFacts {
  struct Chip {
    std::uint32_t id;
    std::string name;
  };
  struct Interface {
    std::string name;
    std::string shortName;  ///< as tables print it
  };
  struct Table {
    std::string name;
    std::uint64_t rows;
  };
  std::function<std::vector<Chip>()> chips = [] { return std::vector<Chip>(); };
  /** The interface that goes by `name`, in full or in short; nothing when there is none. */
  std::function<std::optional<Interface>(std::string_view name)> findInterface =
      [](std::string_view) { return std::optional<Interface>(); };
  std::function<std::vector<Table>()> tables = [] { return std::vector<Table>(); };
  /** The JSON Schema of a state document, ending with a newline. */
  std::function<std::string_view()> stateDocumentSchema = [] { return std::string_view(); };
};

class AgentQuestions {
 public:
  /** `numConnections` tells how many clients are connected. `access` is kept by reference. */
  AgentQuestions(AgentFacts facts, SliceScheduler& scheduler, const AccessPolicy& access,
                 std::function<std::size_t()> numConnections);

  /**
   * Answers `question` of `peer`. Prints nothing when the question is refused; then the
   * message says why.
   */
  RequestEnd answer(std::string_view question, const Peer& peer, Rendering::RendererV2& out);

 private:
  void status(Rendering::RendererV2& out);
  void chips(Rendering::RendererV2& out);
  void interface(std::string_view name, Rendering::RendererV2& out);
  void requests(Rendering::RendererV2& out);
  void schema(Rendering::RendererV2& out);
  RequestEnd cancel(std::string_view argument, const Peer& peer, Rendering::RendererV2& out);

  AgentFacts facts_;
  SliceScheduler& scheduler_;
  const AccessPolicy& access_;
  std::function<std::size_t()> numConnections_;
  Qel::Duration started_;
};

}  // namespace KorvoAgent
