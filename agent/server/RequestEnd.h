// How a request ended, as clients hear it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace KorvoAgent {

enum class RequestStatus : std::uint8_t {
  ok,          ///< the whole answer was handed over
  refused,     ///< not a request that the agent takes
  noHandler,   ///< no handler knows the command
  notReady,    ///< the agent, or something that the command needs, is not there yet
  error,       ///< the command failed part-way; the message says why
  cancelled,   ///< by another request, by the agent's end, or by hanging up the control connection
  clientGone,  ///< nobody reads the answer any more
};

/** The status as it stands in a `done` event. */
constexpr std::string_view statusName(RequestStatus status) noexcept {
  switch (status) {
    case RequestStatus::ok:
      return "ok";
    case RequestStatus::refused:
      return "refused";
    case RequestStatus::noHandler:
      return "no-handler";
    case RequestStatus::notReady:
      return "not-ready";
    case RequestStatus::error:
      return "error";
    case RequestStatus::cancelled:
      return "cancelled";
    case RequestStatus::clientGone:
      return "client-gone";
  }
  return "error";
}

struct RequestEnd {
  RequestStatus status = RequestStatus::ok;
  /** For a person; empty when there is nothing to add. */
  std::string message;
};

}  // namespace KorvoAgent
