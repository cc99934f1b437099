#include "agent/server/HardwareCommands.h"

#include <algorithm>
#include <array>

namespace KorvoAgent {

namespace {

constexpr std::array<std::string_view, 3> kKeywords{"MACT_DIFF", "MACT_HW_ALL", "MACT_MISSING"};

}  // namespace

std::span<const std::string_view> hardwareCommands() noexcept { return kKeywords; }

bool readsHardware(const RequestLine& request) noexcept {
  return request.entry == Entry::async &&
         std::ranges::any_of(kKeywords, [&request](std::string_view keyword) {
           return request.command.starts_with(keyword);
         });
}

}  // namespace KorvoAgent
