// The base of the handlers of plain-text commands.
//
// A handler runs inside CliCallback::handleCommand, after the agent was found ready: the callback's
// agent and its unicast agent are there, every other object of the agent may be missing. Handlers
// hold what they call for the duration of the call.
#pragma once

#include <string>
#include <utility>

#include "KorvoL2/KorvoL2CliCallbacks/CliCallback.h"
#include "KorvoL2/KorvoL2CliCallbacks/HandlerClass.h"

namespace KorvoL2 {

class CliCallback::Handler : public Qel::Entity {
  KORVO_L2_HANDLER(CliCallback::Handler)
 public:
  explicit Handler(std::string cmdName) : cmdName_(std::move(cmdName)) {}

  /** The keyword. */
  QEL_ATTRIBUTE(std::string, cmdName)

  /** Whether the handler takes the command: by default, whether it begins with the keyword. */
  virtual bool condition(const Qel::Ptr<CliCallback>& callback) const;
  /** Answers the command. Throws NoImplementationException unless a derived class supplies it. */
  virtual void action(const Qel::Ptr<CliCallback>& callback);

 protected:
  /** What a command lacks; knows where it is written. */
  struct Lack {
    // Not explicit: handlers write a text.
    // NOLINTNEXTLINE(google-explicit-constructor)
    Lack(const char* text, const char* inFile = __builtin_FILE(),
         const char* inFunction = __builtin_FUNCTION(), int inLine = __builtin_LINE()) noexcept
        : reason(text), file(inFile), function(inFunction), line(inLine) {}
    const char* reason;
    const char* file;
    const char* function;
    int line;
  };
  /** Traces what the command lacks and makes it the command's outcome. */
  void lacks(const Qel::Ptr<CliCallback>& callback, const Lack& lack) const;
  /** No handler knows what the command asks for; `reason` is what there is to say about it. */
  static void notHandled(const Qel::Ptr<CliCallback>& callback, std::string reason = {});

  /** Calls `method` on an object of the agent; when the agent has none, says `absent`. */
  template <class Object, class Method, class... Args>
  void forward(const Qel::Ptr<CliCallback>& callback, Object* object, const Lack& absent,
               Method method, Args&&... args) const {
    const Qel::Ptr<Object> held(object);
    if (held == nullptr) return lacks(callback, absent);
    (held.get()->*method)(std::forward<Args>(args)...);
  }
};

/** The last of the chain: takes every command that nobody else took, and refuses it. */
class CliCallback::DefaultH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::DefaultH)
 public:
  using Handler::Handler;
  bool condition(const Qel::Ptr<CliCallback>& callback) const override;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

}  // namespace KorvoL2
