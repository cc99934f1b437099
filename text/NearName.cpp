#include "text/NearName.h"

#include <algorithm>
#include <vector>

namespace Text {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::size_t editDistance(std::string_view a, std::string_view b) {
  const std::size_t width = b.size() + 1;
  std::vector<std::size_t> cells((a.size() + 1) * width);
  const auto cell = [&](std::size_t i, std::size_t j) -> std::size_t& {
    return cells[i * width + j];
  };
  for (std::size_t i = 0; i <= a.size(); ++i) cell(i, 0) = i;
  for (std::size_t j = 0; j <= b.size(); ++j) cell(0, j) = j;
  const auto same = [&](std::size_t i, std::size_t j) { return lower(a[i]) == lower(b[j]); };
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      std::size_t best = std::min(cell(i - 1, j), cell(i, j - 1)) + 1;
      best = std::min(best, cell(i - 1, j - 1) + (same(i - 1, j - 1) ? 0 : 1));
      if (i > 1 && j > 1 && same(i - 1, j - 2) && same(i - 2, j - 1)) {
        best = std::min(best, cell(i - 2, j - 2) + 1);
      }
      cell(i, j) = best;
    }
  }
  return cell(a.size(), b.size());
}

std::string_view nearName(std::string_view given, std::span<const std::string_view> names) {
  constexpr std::size_t kLongest = 64;  // no name is as long; comparing costs the product
  if (given.size() > kLongest) return {};
  std::string_view nearest;
  std::size_t least = 3;  // more than two slips is another word
  for (const std::string_view name : names) {
    const std::size_t apart = editDistance(given, name);
    if (apart < least && apart < name.size()) {
      least = apart;
      nearest = name;
    }
  }
  return nearest;
}

std::string nearNameHint(std::string_view given, std::span<const std::string_view> names) {
  if (const std::string_view nearest = nearName(given, names); !nearest.empty()) {
    return "did you mean \"" + std::string(nearest) + "\"?";
  }
  std::string hint = "known are ";
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i != 0) hint += i + 1 == names.size() ? " and " : ", ";
    hint.append("\"").append(names[i]).append("\"");
  }
  return hint;
}

}  // namespace Text
