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
#include "platform/base/Tracked.h"
#include "platform/command/CliCallbackBase.h"
#include "platform/l2/L2Agent.h"

namespace KorvoL2 {

class CliCallbackWithFormat final : public AgentCommand::CliCallbackBaseWithFormat {
  QEL_TRACKED_ALLOCATION(CliCallbackWithFormat)
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
  const std::string& arg() const noexcept { return arg_; }
  void argIs(std::string arg) { attributeIs(arg_, std::move(arg), "arg"); }

  /** The command text as received. */
  const std::string& command() const noexcept { return command_; }
  void commandIs(std::string command) { attributeIs(command_, std::move(command), "command"); }

  /** The request being turned into a state machine; null at all other times. */
  const Qel::Ptr<const AgentCommand::AgentCommandRequest>& asyncRequest() const noexcept {
    return asyncRequest_;
  }
  void asyncRequestIs(Qel::Ptr<const AgentCommand::AgentCommandRequest> request) {
    attributeIs(asyncRequest_, std::move(request), "asyncRequest");
  }

  // Objects of the agent, not owned, as they were when the command came; null where the agent has
  // none.

  KorvoL2MacAddrSmHelper* macAddrSmHelper() const noexcept { return macAddrSmHelper_; }
  void macAddrSmHelperIs(KorvoL2MacAddrSmHelper* helper) {
    attributeIs(macAddrSmHelper_, helper, "macAddrSmHelper");
  }
  KorvoL2McastHelper* mcastHelper() const noexcept { return mcastHelper_; }
  void mcastHelperIs(KorvoL2McastHelper* helper) {
    attributeIs(mcastHelper_, helper, "mcastHelper");
  }

  /** A Rendering::OutputFormat, handed to renderers unchanged. */
  std::uint32_t outputFormat() const noexcept { return outputFormat_; }
  void outputFormatIs(std::uint32_t format) { attributeIs(outputFormat_, format, "outputFormat"); }

  /** Descriptor of the socket that takes the answer. */
  std::uint32_t socket() const noexcept { return socket_; }
  void socketIs(std::uint32_t socket) { attributeIs(socket_, socket, "socket"); }

  /** The command contains "detail". */
  bool detail() const noexcept { return detail_; }
  void detailIs(bool detail) { attributeIs(detail_, detail, "detail"); }

  /** The chip supports ingress VLAN ranges. */
  bool vlanRangeSupported() const noexcept { return vlanRangeSupported_; }
  void vlanRangeSupportedIs(bool supported) {
    attributeIs(vlanRangeSupported_, supported, "vlanRangeSupported");
  }
  /** The chip's ingress VLAN ranges are dynamic. */
  bool ingVlanDynamicRange() const noexcept { return ingVlanDynamicRange_; }
  void ingVlanDynamicRangeIs(bool dynamic) {
    attributeIs(ingVlanDynamicRange_, dynamic, "ingVlanDynamicRange");
  }
  /** The chip translates VLANs at egress. */
  bool egrVlanXlateFeature() const noexcept { return egrVlanXlateFeature_; }
  void egrVlanXlateFeatureIs(bool feature) {
    attributeIs(egrVlanXlateFeature_, feature, "egrVlanXlateFeature");
  }
  /** The chip translates VLANs at ingress. */
  bool vlanXlateFeature() const noexcept { return vlanXlateFeature_; }
  void vlanXlateFeatureIs(bool feature) {
    attributeIs(vlanXlateFeature_, feature, "vlanXlateFeature");
  }

  KORVO_L2_API const Qel::TypeData& typeData() const noexcept override;

 private:
  void refreshChipFlags();
  /** Sets arg() for a handler with that keyword. */
  void prepare(const std::string& keyword);

  std::string arg_;
  std::string command_;
  Qel::Ptr<const AgentCommand::AgentCommandRequest> asyncRequest_;
  KorvoL2MacAddrSmHelper* macAddrSmHelper_ = nullptr;
  KorvoL2McastHelper* mcastHelper_ = nullptr;
  std::uint32_t outputFormat_ = 0;
  std::uint32_t socket_ = 0;
  bool detail_ = false;
  bool vlanRangeSupported_ = false;
  bool ingVlanDynamicRange_ = false;
  bool egrVlanXlateFeature_ = false;
  bool vlanXlateFeature_ = false;
};

/** The same as CliCallbackWithFormat::CliCallbackWithFormatIs. */
KORVO_L2_API Qel::Ptr<CliCallbackWithFormat> cliCallbackWithFormatFactory(const std::string& name);

}  // namespace KorvoL2
