#include "client/Value.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "client/Text.h"

namespace KorvoCtl {

namespace {

constexpr unsigned kLowestVlan = 1;
constexpr unsigned kHighestVlan = 4094;

// The longest name that an agent takes, in bytes.
constexpr std::size_t kLongestInterface = 63;

bool isHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Pieces of `digits` hexadecimal digits each.
bool isHexInPieces(std::string_view text, char separator, std::size_t pieces, std::size_t digits) {
  const auto found = split(text, separator);
  return found.size() == pieces && std::all_of(found.begin(), found.end(), [&](auto piece) {
           return piece.size() == digits && std::all_of(piece.begin(), piece.end(), &isHexDigit);
         });
}

template <class Number>
std::string problemWithNumber(std::string_view text, Number lowest, Number highest,
                              std::string_view what) {
  const std::optional<Number> number = numberFrom<Number>(text);
  return number && *number >= lowest && *number <= highest
             ? std::string()
             : fmt::format("'{}' is not {} from {} to {}", text, what, lowest, highest);
}

// The comma ends a value in the commands that carry a name, and a blank or a control character in
// one is a slip of the keyboard.
std::string problemWithInterface(std::string_view text) {
  const bool fits = !text.empty() && text.size() <= kLongestInterface &&
                    std::all_of(text.begin(), text.end(), [](char c) {
                      return static_cast<unsigned char>(c) > ' ' && c != ',' && c != '\x7f';
                    });
  return fits ? std::string()
              : fmt::format(
                    "'{}' is not an interface's name: 1 to {} characters without blanks and commas",
                    text, kLongestInterface);
}

}  // namespace

std::string_view placeholder(ValueKind kind) {
  switch (kind) {
    case ValueKind::kNone:
      return "";
    case ValueKind::kNumber:
    case ValueKind::kRequest:
    case ValueKind::kVlan:
      return "N";
    case ValueKind::kMac:
      return "MAC";
    case ValueKind::kInterface:
      return "INTERFACE";
    case ValueKind::kChip:
      return "CHIP";
    case ValueKind::kChips:
      return "LIST";
    case ValueKind::kText:
      return "TEXT";
  }
  return "";
}

std::string problemWith(ValueKind kind, std::string_view text) {
  switch (kind) {
    case ValueKind::kNone:
    case ValueKind::kText:
    case ValueKind::kChip:
    case ValueKind::kChips:
      return {};
    case ValueKind::kNumber:
      return problemWithNumber<std::uint32_t>(text, 0, UINT32_MAX, "a number");
    case ValueKind::kRequest:
      return problemWithNumber<std::uint64_t>(text, 0, UINT64_MAX, "a request's number");
    case ValueKind::kVlan:
      return problemWithNumber<std::uint32_t>(text, kLowestVlan, kHighestVlan, "a VLAN");
    case ValueKind::kMac:
      return isHexInPieces(text, '.', 3, 4) || isHexInPieces(text, ':', 6, 2)
                 ? std::string()
                 : fmt::format(
                       "'{}' is not a MAC address: write hhhh.hhhh.hhhh or hh:hh:hh:hh:hh:hh",
                       text);
    case ValueKind::kInterface:
      return problemWithInterface(text);
  }
  return {};
}

}  // namespace KorvoCtl
