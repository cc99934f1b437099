// Small work on text that several files here need.
#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace KorvoCtl {

// The pieces between the separators, empty ones included: one more than there are separators.
[[nodiscard]] std::vector<std::string_view> split(std::string_view text, char separator);

// The number that the whole text stands for; absent when it is not one or does not fit.
template <class Number>
[[nodiscard]] std::optional<Number> numberFrom(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() ? std::optional(number)
                                                                  : std::nullopt;
}

}  // namespace KorvoCtl
