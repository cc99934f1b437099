#include "agent/server/ChangingCommands.h"

#include <algorithm>
#include <array>

namespace KorvoAgent {

namespace {

constexpr std::array<ChangingCommand, 1> kRows{{
    {.entry = Entry::plain,
     .keyword = "HW_MCAST_CLEAR",
     .what = "clears the shadow of the multicast groups"},
}};

}  // namespace

std::span<const ChangingCommand> changingCommands() noexcept { return kRows; }

const ChangingCommand* changingCommandOf(const RequestLine& request) noexcept {
  const auto row = std::ranges::find_if(kRows, [&request](const ChangingCommand& changing) {
    return request.entry == changing.entry && request.command.starts_with(changing.keyword);
  });
  return row == kRows.end() ? nullptr : &*row;
}

}  // namespace KorvoAgent
