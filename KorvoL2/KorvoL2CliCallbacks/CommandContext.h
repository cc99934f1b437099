// What both callbacks do in the same way before they offer a command to their handlers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/base/Trace.h"
#include "platform/command/CliCallbackBase.h"
#include "platform/l2/L2Agent.h"

namespace KorvoL2 {

/** Traces why a command is dropped, at level 8, and gives that back as the command's outcome. */
AgentCommand::CommandOutcome notReady(std::string_view reason, const Qel::TraceSite& site);

/**
 * Whether the agent that the command began with answers commands at all; traces what is missing,
 * for `site`.
 * The unicast agent of one that does is kept from then on.
 */
AgentCommand::CommandOutcome agentReadiness(AgentCommand::CliCallbackCommon::Kept& kept,
                                            const Qel::TraceSite& site);

inline bool isNotReady(const AgentCommand::CommandOutcome& outcome) noexcept {
  return outcome.kind == AgentCommand::CommandOutcome::Kind::notReady;
}

/** Lets a whole answer of usual size fit into the socket, as far as the process may ask for it. */
void enlargeSendBuffer(std::uint32_t socket);

/** The agent's multicast helper; null when it has none or one for another family of chips. */
KorvoL2McastHelper* mcastHelperOf(const L2Agent& agent);

/** The attributes of the chip that the agent runs on; null when the chip is not known. */
Qel::Ptr<const ChipAttr> chipAttrOf(const AgentCommand::CliCallbackCommon& callback);

/** Sets the VLAN translation flags of a callback from the chip's attributes, null for unknown. */
template <class Callback>
void vlanXlateFeaturesIs(Callback& callback, const ChipAttr* chipAttr) {
  if (chipAttr == nullptr) {
    // An unknown chip is taken to translate at egress, where showing an empty table does no harm;
    // about ingress the last answer stands.
    callback.egrVlanXlateFeatureIs(true);
    return;
  }
  callback.vlanXlateFeatureIs(chipAttr->ingVlanXlate);
  // Every chip that translates at ingress does so at egress, whatever its own attribute says.
  callback.egrVlanXlateFeatureIs(chipAttr->ingVlanXlate || chipAttr->egrVlanXlate);
}

/** Whether the command asks for detail. */
inline bool asksForDetail(std::string_view command) noexcept {
  return command.find("detail") != std::string_view::npos;
}

/** What follows the first `skip` characters of the command; empty when it is shorter. */
std::string argumentText(std::string_view command, std::size_t skip);

/**
 * The decimal number that `text` begins with, 0 where it begins with none. Negative numbers and
 * those too large for 32 bits give the largest number: every range check refuses it, where a
 * wrapped number might pass.
 */
std::uint32_t decimalNumber(const std::string& text);

}  // namespace KorvoL2
