#include "agent/server/HardwareCommands.h"

#include <algorithm>
#include <array>

namespace KorvoAgent {

namespace {

constexpr std::array<HardwareCommand, 3> kHardwareRows{{
    {.keyword = "MACT_DIFF", .isCheck = true},
    {.keyword = "MACT_HW_ALL", .isCheck = false},
    {.keyword = "MACT_MISSING", .isCheck = true},
}};

}  // namespace

std::span<const HardwareCommand> hardwareCommands() noexcept { return kHardwareRows; }

const HardwareCommand* hardwareCommandOf(const RequestLine& request) noexcept {
  if (request.entry != Entry::async) return nullptr;
  const auto row = std::ranges::find_if(kHardwareRows, [&request](const HardwareCommand& command) {
    return request.command.starts_with(command.keyword);
  });
  return row == kHardwareRows.end() ? nullptr : &*row;
}

}  // namespace KorvoAgent
