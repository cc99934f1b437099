// Answers plain-text commands: the callback that the agent calls, and the context that its handlers
// read.
//
// A command is checked against the agent's readiness, split at '+' into numbered tokens, and
// offered to a fixed chain of handlers (PlainHandlerChain.h). The first one whose condition holds
// acts. One callback serves all commands, one after the other; each command overwrites the context
// of the one before.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "KorvoL2/Export.h"
#include "platform/base/Attribute.h"
#include "platform/base/Trace.h"
#include "platform/command/CliCallbackBase.h"
#include "platform/l2/L2Agent.h"

namespace KorvoL2 {

class CliCallback final : public AgentCommand::CliCallbackBase {
  QEL_ENTITY_CLASS(CliCallback, "KorvoL2::CliCallback")
 public:
  /** The tokens of a command by position, ascending. Positions count from 1. */
  class QelCmdTokens {
   public:
    /** One token. */
    class Entry final : public Qel::RefCounted {
      QEL_TRACKED_ALLOCATION(CliCallback::QelCmdTokens::Entry)
     public:
      Entry(std::uint8_t position, std::string text)
          : position_(position), text_(std::move(text)) {}
      std::uint8_t position() const noexcept { return position_; }
      const std::string& text() const noexcept { return text_; }

     private:
      friend class CliCallback;
      std::uint8_t position_;
      std::string text_;
    };

   private:
    using Entries = std::map<std::uint8_t, Qel::Ptr<Entry>>;

   public:
    using const_iterator = Entries::const_iterator;

    const_iterator begin() const noexcept { return entries_.begin(); }
    const_iterator end() const noexcept { return entries_.end(); }
    const_iterator find(std::uint8_t position) const { return entries_.find(position); }
    std::size_t size() const noexcept { return entries_.size(); }
    bool empty() const noexcept { return entries_.empty(); }

   private:
    friend class CliCallback;
    Entries entries_;
  };

  class Handler;
  class DefaultH;
  class EcmpOutputIntfTunnelIdH;
  class EgrMaskStatusH;
  class EgrVlanXlateStatus2H;
  class FcvdsH;
  class FcvdvH;
  class HwFiforegH;
  class HwMcastAllH;
  class HwMcastClearH;
  class HwMcastDiffH;
  class HwMcastMcidxH;
  class McastAllH;
  class PerVlanEntryH;
  class ShadowShowH;
  class VlanVfiMapH;
  class VlanXlateStatus2H;
  class VniEgressFlexCountersSummaryH;
  class VniEgressFlexCountersValuesH;
  class VniIngressFlexCountersSummaryH;
  class VniIngressFlexCountersValuesH;
  class VxlanDebugStateH;
  class VxlanSvpUsageH;

  explicit CliCallback(std::string name);
  /** A new callback with its notifications switched on. */
  KORVO_L2_API static Qel::Ptr<CliCallback> CliCallbackIs(const std::string& name);

  /**
   * Answers `command` on `socket`; everything that it prints goes there. A command for which the
   * agent is not ready leaves the socket as it is; see outcome(). What a handler throws passes on.
   */
  KORVO_L2_API void handleCommand(std::uint32_t socket, std::string command) override;

  /** The command text after the keyword of the handler being tested. */
  QEL_ATTRIBUTE(std::string, arg)
  /** Attributes of the chip that the agent runs on; null when the chip is not known. */
  QEL_ATTRIBUTE(Qel::Ptr<const ChipAttr>, chipAttr)

  QEL_FIXED_ATTRIBUTE(QelCmdTokens, cmdTokens)
  /** The token at `position`, empty when there is none. */
  KORVO_L2_API std::string cmdTokens(std::uint8_t position) const;
  std::string cmdTokensGet(std::uint8_t position) const { return cmdTokens(position); }
  /** Inserts or replaces the token at `position`. */
  KORVO_L2_API void cmdTokensIs(std::uint8_t position, std::string text);
  KORVO_L2_API void cmdTokensDel(std::uint8_t position);
  /** Removes what `token` points at; throws AssertionException for the end. */
  KORVO_L2_API void cmdTokensDel(QelCmdTokens::const_iterator token);
  /** Removes the tokens one by one. */
  KORVO_L2_API void cmdTokensDelAll();
  /**
   * The position of the first token that equals `text`, 0 when there is none. The 256th token of a
   * command stands at position 0 and so cannot be found.
   */
  KORVO_L2_API std::uint8_t findSubArg(std::string_view text) const;

  /** The command text as received. */
  QEL_ATTRIBUTE(std::string, command)

  // Objects of the agent, not owned, as they were when the command came; null where the agent has
  // none.

  QEL_ATTRIBUTE(KorvoL2MacAddrSmHelper*, macAddrSmHelper)
  QEL_ATTRIBUTE(KorvoL2ModFifoMonitorSm*, l2ModFifoMonitorSm)
  QEL_ATTRIBUTE(KorvoL2McastHelper*, mcastHelper)

  /** What a ShadowShow command selects; null until the first such command or until it is set. */
  QEL_ATTRIBUTE(Qel::Ptr<ShadowShow>, shw)
  /** Descriptor of the socket that takes the answer. */
  QEL_ATTRIBUTE(std::uint32_t, socket)
  /** The command contains "detail". */
  QEL_ATTRIBUTE(bool, detail)
  /** Position of the token that a handler is looking at; 0 for none. */
  QEL_ATTRIBUTE(std::uint8_t, subArgPos)
  /** The chip translates VLANs at ingress. */
  QEL_ATTRIBUTE(bool, vlanXlateFeature)
  /** The chip translates VLANs at egress. */
  QEL_ATTRIBUTE(bool, egrVlanXlateFeature)

 private:
  /** Refreshes the context from the agent; the outcome says what is missing, if anything is. */
  AgentCommand::CommandOutcome refreshContext(const Qel::TraceSite& site);
  void tokenise();
};

/** The same as CliCallback::CliCallbackIs. */
KORVO_L2_API Qel::Ptr<CliCallback> cliCallbackFactory(const std::string& name);

}  // namespace KorvoL2
