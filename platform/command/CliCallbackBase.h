// The two bases of a plug-in's command callbacks, and what they tell their host.
//
// A host (an agent) creates a plug-in's callbacks through its plug-in entry, gives each its layer-2
// agent object, and calls them for every command. A callback writes its answer to the socket, or
// gives back a state machine that does. What became of the command is told in outcome(), for the
// socket carries answers only.
//
// A reactor may take anything away in the middle of a command: the agent from the callback, an
// object from the agent, the callback from its host. The command goes on with what it began with,
// for a callback holds itself and what it uses until the command is answered.
//
// Threading: the agent's event-loop thread only; one command at a time.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Attribute.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/command/AgentCommandRequest.h"
#include "platform/l2/L2Agent.h"

namespace AgentCommand {

/** What became of the last command. */
struct CommandOutcome {
  enum class Kind : std::uint8_t {
    handled,    ///< a handler took it
    noHandler,  ///< no handler's condition held
    notReady,   ///< the agent or something that the command needs is not there yet
    failed,     ///< a handler took it and failed; its answer is missing or cut off
  };
  Kind kind = Kind::handled;
  /**
   * For notReady: what is missing, as the trace says it. For failed: what went wrong. For
   * noHandler: why not, where there is more to say than that no keyword matched. May hold what the
   * command named, control bytes excepted. Empty otherwise.
   */
  std::string reason;

  friend bool operator==(const CommandOutcome&, const CommandOutcome&) = default;
};

/** What both callback bases share. */
class CliCallbackCommon : public Qel::Entity {
 public:
  /** What is kept until the command is answered. */
  struct Kept {
    Qel::Ptr<const KorvoL2::L2Agent> agent;              ///< null when there is none
    Qel::Ptr<const KorvoL2::UnicastAgent> unicastAgent;  ///< null until the agent is found ready
    std::vector<Qel::Ptr<const Qel::Entity>> objects;
  };

  /** The name given by the agent, and the plug-in's fixed second name. */
  QEL_FIXED_ATTRIBUTE(std::string, name)
  QEL_FIXED_ATTRIBUTE(std::string, secondName)
  /** The agent's layer-2 object, not owned; null until the agent is far enough. */
  QEL_ATTRIBUTE(KorvoL2::L2Agent*, l2Agent)
  QEL_FIXED_ATTRIBUTE(CommandOutcome, outcome)

  // For the handlers of a command, which run once the agent was found ready.

  /** The agent that the command under way began with. */
  const KorvoL2::L2Agent& agent() const noexcept { return *kept_.agent; }
  const KorvoL2::UnicastAgent& unicastAgent() const noexcept { return *kept_.unicastAgent; }

 protected:
  /** A command is under way while one is in scope; the outermost ends it. */
  class Command {
   public:
    explicit Command(CliCallbackCommon& callback) : callback_(&callback) {
      if (callback_->numUnderWay_++ == 0) callback_->kept_.agent = callback_->l2Agent_;
    }
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    ~Command() {
      if (--callback_->numUnderWay_ == 0) const Kept gone = std::exchange(callback_->kept_, {});
    }

   private:
    Qel::Ptr<CliCallbackCommon> callback_;
  };
  /** Keeps `object`, which may be null, until the command is answered; returns it. */
  template <class Object>
  Object* keep(Object* object) {
    if (object != nullptr) kept_.objects.emplace_back(object);
    return object;
  }
  Kept& kept() noexcept { return kept_; }

  CliCallbackCommon(std::string name, std::string secondName)
      : name_(std::move(name)), secondName_(std::move(secondName)) {}
  void outcomeIs(CommandOutcome outcome) { attributeIs(outcome_, std::move(outcome), "outcome"); }

 private:
  Kept kept_;
  unsigned numUnderWay_ = 0;
};

/** Answers plain-text commands. */
class CliCallbackBase : public CliCallbackCommon {
 public:
  /**
   * Answers `command` on `socket`. The callback may close the socket; the host finds out (see
   * docs/embedding.md) and closes it otherwise.
   */
  virtual void handleCommand(std::uint32_t socket, std::string command) = 0;

 protected:
  using CliCallbackCommon::CliCallbackCommon;
};

/** Turns commands into time-sliced request state machines. */
class AgentCommandCallback {
 public:
  virtual ~AgentCommandCallback() = default;
  /** The state machine that serves `request`, or null when there is none; then see outcome(). */
  virtual Qel::Ptr<AgentAsyncCommandRequestSm> createAgentAsyncCommandRequestSm(
      Qel::Ptr<const AgentCommandRequest> request) = 0;
};

/** Answers commands whose answer is text or JSON, at once or through a state machine. */
class CliCallbackBaseWithFormat : public CliCallbackCommon, public AgentCommandCallback {
 public:
  /** Answers at once; `outputFormat` is a Rendering::OutputFormat. */
  virtual void handleCommand(std::uint32_t socket, std::string command,
                             std::uint32_t outputFormat) = 0;

 protected:
  using CliCallbackCommon::CliCallbackCommon;
};

}  // namespace AgentCommand
