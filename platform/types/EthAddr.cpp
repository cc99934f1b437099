#include "platform/types/EthAddr.h"

#include "platform/base/Exceptions.h"
#include "text/Printable.h"

namespace Bridging {

namespace {

int nibble(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

EthAddr::EthAddr(std::string_view text) {
  const auto parsed = parse(text);
  if (!parsed) {
    throw Qel::ParseException(Text::inQuotes(text) +
                              " is no MAC address: write hhhh.hhhh.hhhh or hh:hh:hh:hh:hh:hh");
  }
  *this = *parsed;
}

std::optional<EthAddr> EthAddr::parse(std::string_view text) noexcept {
  std::size_t group;  // digits between two separators
  char separator;
  if (text.size() == kDisplayLength) {
    group = 4;
    separator = '.';
  } else if (text.size() == 17) {
    group = 2;
    separator = ':';
  } else {
    return std::nullopt;
  }
  std::uint64_t value = 0;
  std::size_t inGroup = 0;
  for (const char c : text) {
    if (inGroup == group) {
      if (c != separator) return std::nullopt;
      inGroup = 0;
      continue;
    }
    const int digit = nibble(c);
    if (digit < 0) return std::nullopt;
    value = (value << 4) | static_cast<std::uint64_t>(digit);
    ++inGroup;
  }
  return EthAddr(value);
}

std::string EthAddr::stringValue() const {
  std::string text(kDisplayLength, '\0');
  writeDisplay(text.data());
  return text;
}

}  // namespace Bridging
