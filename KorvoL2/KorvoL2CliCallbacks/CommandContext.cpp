#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "KorvoL2/Trace.h"

namespace KorvoL2 {

using AgentCommand::CliCallbackCommon;
using AgentCommand::CommandOutcome;

CommandOutcome notReady(std::string_view reason, const Qel::TraceSite& site) {
  KORVO_L2_TRACE_AT(8, site, "{}", reason);
  return {.kind = CommandOutcome::Kind::notReady, .reason = std::string(reason)};
}

CommandOutcome agentReadiness(CliCallbackCommon::Kept& kept, const Qel::TraceSite& site) {
  const Qel::Ptr<const L2Agent>& agent = kept.agent;
  if (agent == nullptr) return notReady("no l2 agent", site);
  const Qel::Ptr<const UnicastAgent> unicast(agent->unicastAgent());
  if (unicast == nullptr) return notReady("no unicast agent", site);
  if (!unicast->initialized()) return notReady("unicast agent not initialized", site);
  const L2AgentStatus status = agent->status();
  if (!status.configReady || !status.hardwareReady || !unicast->ready()) {
    return notReady("l2 agent not ready", site);
  }
  kept.unicastAgent = unicast;
  return {};
}

void enlargeSendBuffer(std::uint32_t socket) {
  constexpr int kSendBufferBytes = 2097152;
  // Going beyond the system's limit takes a privilege; without it the socket stays as it is and the
  // answer leaves in more pieces.
  static_cast<void>(::setsockopt(static_cast<int>(socket), SOL_SOCKET, SO_SNDBUFFORCE,
                                 &kSendBufferBytes, sizeof kSendBufferBytes));
}

KorvoL2McastHelper* mcastHelperOf(const L2Agent& agent) {
  const Qel::Ptr<McastObject> mcast(agent.mcast());
  return mcast == nullptr ? nullptr : dynamic_cast<KorvoL2McastHelper*>(mcast->mcastHelper());
}

Qel::Ptr<const ChipAttr> chipAttrOf(const CliCallbackCommon& callback) {
  const Qel::Ptr<const ChipAttr>* const found =
      callback.agent().chipAttrDir().find(callback.unicastAgent().chipIdentity());
  return found == nullptr ? nullptr : *found;
}

std::string argumentText(std::string_view command, std::size_t skip) {
  return std::string(command.substr(std::min(skip, command.size())));
}

std::uint32_t decimalNumber(const std::string& text) {
  constexpr auto kLargest = std::numeric_limits<std::uint32_t>::max();
  // Numbers that not even a long long holds come out as its limits, which is all the same here.
  const long long number = std::strtoll(text.c_str(), nullptr, 10);
  return number < 0 || number > kLargest ? kLargest : static_cast<std::uint32_t>(number);
}

}  // namespace KorvoL2
