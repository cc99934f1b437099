// Answers commands whose answer is text or JSON: the callback that the agent calls, and the context
// that its handlers read.
//
// Small answers are printed at once (handleCommand); walks over large tables become time-sliced
// request state machines (createAgentAsyncCommandRequestSm). Both have a chain of handlers of their
// own (FormattedHandlerChain.h) and share checks and context.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

#include "KorvoL2/Export.h"
#include "platform/base/Attribute.h"
#include "platform/command/CliCallbackBase.h"
#include "platform/l2/L2Agent.h"

namespace KorvoL2 {

class CliCallbackWithFormat final : public AgentCommand::CliCallbackBaseWithFormat {
  QEL_ENTITY_CLASS(CliCallbackWithFormat, "KorvoL2::CliCallbackWithFormat")
 public:
  /** Bytes that an answer which is printed at once gathers before they are sent. */
  static constexpr std::size_t defaultBufferSize = 1048576;
  /** Time budget of one slice of every state machine that is created here. */
  static constexpr Qel::Duration defaultMaxRuntime = std::chrono::milliseconds(50);

  class Handler;
  class AsyncHandler;
  class DefaultH;
  class DefaultAsyncH;
  class EgrVlanXlateStatusH;
  class IngVlanRangeH;
  class MacTableHandler;
  class MactAllH;
  class MactDiffH;
  class MactHwAllH;
  class MactMissingH;
  class VlanDumpHandler;
  class VlanXlateStatusH;
  class VxlanRoutingInfoH;
  class VxlanVlanH;
  class VxlanVlanSummaryH;

  explicit CliCallbackWithFormat(std::string name);
  /** A new callback with its notifications switched on. */
  KORVO_L2_API static Qel::Ptr<CliCallbackWithFormat> CliCallbackWithFormatIs(
      const std::string& name);

  /**
   * Answers `command` on `socket` at once. A command that no handler takes, or for which the agent
   * is not ready, leaves the socket as it is; see outcome(). What a handler throws passes on.
   */
  KORVO_L2_API void handleCommand(std::uint32_t socket, std::string command,
                                  std::uint32_t outputFormat) override;
  /** A new machine, taken into service, or null; see outcome() then. `request` must not be null. */
  KORVO_L2_API Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> createAgentAsyncCommandRequestSm(
      Qel::Ptr<const AgentCommand::AgentCommandRequest> request) override;
  /**
   * Checks the agent and refreshes what both kinds of commands read of it. False, with the reason
   * in outcome(), when the agent is not ready.
   */
  KORVO_L2_API bool handleCommandCommon();

  /** The command text after the keyword of the handler being tested. */
  QEL_ATTRIBUTE(std::string, arg)
  /** The command text as received. */
  QEL_ATTRIBUTE(std::string, command)
  /** The request being turned into a state machine; null at all other times. */
  QEL_ATTRIBUTE(Qel::Ptr<const AgentCommand::AgentCommandRequest>, asyncRequest)

  // Objects of the agent, not owned, as they were when the command came; null where the agent has
  // none.

  QEL_ATTRIBUTE(KorvoL2MacAddrSmHelper*, macAddrSmHelper)
  QEL_ATTRIBUTE(KorvoL2McastHelper*, mcastHelper)

  /** A Rendering::OutputFormat, handed to renderers unchanged. */
  QEL_ATTRIBUTE(std::uint32_t, outputFormat)
  /** Descriptor of the socket that takes the answer. */
  QEL_ATTRIBUTE(std::uint32_t, socket)
  /** The command contains "detail". */
  QEL_ATTRIBUTE(bool, detail)
  /** The chip supports ingress VLAN ranges. */
  QEL_ATTRIBUTE(bool, vlanRangeSupported)
  /** The chip's ingress VLAN ranges are dynamic. */
  QEL_ATTRIBUTE(bool, ingVlanDynamicRange)
  /** The chip translates VLANs at egress. */
  QEL_ATTRIBUTE(bool, egrVlanXlateFeature)
  /** The chip translates VLANs at ingress. */
  QEL_ATTRIBUTE(bool, vlanXlateFeature)

 private:
  void refreshChipFlags();
  /** Sets arg() for a handler with that keyword. */
  void prepare(const std::string& keyword);
};

/** The same as CliCallbackWithFormat::CliCallbackWithFormatIs. */
KORVO_L2_API Qel::Ptr<CliCallbackWithFormat> cliCallbackWithFormatFactory(const std::string& name);

}  // namespace KorvoL2
