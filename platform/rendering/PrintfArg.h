// One argument of a printf-style format, of any type that the renderer prints.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace Rendering {

template <class T>
concept SignedNumber = std::signed_integral<T> && !std::same_as<T, char>;
template <class T>
concept UnsignedNumber = std::unsigned_integral<T> && !std::same_as<T, char>;

class PrintfArg {
 public:
  enum class Kind : std::uint8_t { signedInteger, unsignedInteger, character, text };

  template <SignedNumber T>
  constexpr PrintfArg(T value) noexcept  // NOLINT(google-explicit-constructor)
      : kind_(Kind::signedInteger), number_(static_cast<std::uint64_t>(std::int64_t{value})) {}
  template <UnsignedNumber T>
  constexpr PrintfArg(T value) noexcept  // NOLINT(google-explicit-constructor)
      : kind_(Kind::unsignedInteger), number_(value) {}
  constexpr PrintfArg(char value) noexcept  // NOLINT(google-explicit-constructor)
      : kind_(Kind::character), number_(static_cast<unsigned char>(value)) {}
  constexpr PrintfArg(std::string_view value) noexcept  // NOLINT(google-explicit-constructor)
      : kind_(Kind::text), text_(value) {}
  PrintfArg(const std::string& value) noexcept  // NOLINT(google-explicit-constructor)
      : kind_(Kind::text), text_(value) {}
  constexpr PrintfArg(const char* value) noexcept  // NOLINT(google-explicit-constructor)
      : kind_(Kind::text), text_(value) {}

  constexpr Kind kind() const noexcept { return kind_; }
  constexpr std::uint64_t number() const noexcept { return number_; }
  constexpr std::string_view text() const noexcept { return text_; }

 private:
  Kind kind_;
  std::uint64_t number_ = 0;
  std::string_view text_;
};

/**
 * Formats as printf does: %s %d %u %x %c %% with flags, width and precision. Numbers of any width
 * go with %d, %u and %x; no length modifiers. Texts are shown as Text::printable() does. Throws
 * fmt::format_error on a format that does not fit.
 */
std::string formatPrintf(std::string_view format, std::initializer_list<PrintfArg> arguments);

}  // namespace Rendering
