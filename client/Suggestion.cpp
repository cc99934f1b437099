#include "client/Suggestion.h"

#include <algorithm>

#include "client/CommandTable.h"
#include "text/NearName.h"

namespace KorvoCtl {

namespace {

constexpr std::size_t kMaxSuggestions = 3;
constexpr std::size_t kMinBeginning = 2;

// How many typed words find a near one in the path, in order (a longest common subsequence).
std::size_t matches(std::span<const std::string_view> typed,
                    std::span<const std::string_view> path) {
  std::vector<std::size_t> best(path.size() + 1, 0);
  for (const std::string_view word : typed) {
    std::size_t diagonal = 0;
    for (std::size_t i = 1; i <= path.size(); ++i) {
      const std::size_t above = best[i];
      best[i] = isNear(word, path[i - 1]) ? diagonal + 1 : std::max(above, best[i - 1]);
      diagonal = above;
    }
  }
  return best.back();
}

bool equalWithoutCase(char a, char b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return lower(a) == lower(b);
}

// Whether a word is what goes to the agent for a row: a keyword, perhaps with arguments behind, or
// the part of one behind its '+'.
bool isKeywordOf(const CommandRow& row, std::string_view word) {
  const auto begins = [&](std::string_view keyword) {
    return !keyword.empty() && keyword.size() <= word.size() &&
           std::equal(keyword.begin(), keyword.end(), word.begin(), &equalWithoutCase);
  };
  const std::size_t plus = row.keyword.find('+');
  if (plus != std::string_view::npos && row.keyword.size() - plus - 1 == word.size() &&
      begins(row.keyword.substr(plus + 1))) {
    return true;
  }
  return begins(row.keyword) ||
         std::any_of(row.options.begin(), row.options.end(), [&](const CommandOption& option) {
           return option.replacesKeyword && begins(option.text);
         });
}

// The row of which the word is the keyword; the longest one, where several begin it.
const CommandRow* rowOfKeyword(std::string_view word) {
  const CommandRow* best = nullptr;
  for (const CommandRow& row : commandTable()) {
    if (isKeywordOf(row, word) && (best == nullptr || row.keyword.size() > best->keyword.size())) {
      best = &row;
    }
  }
  return best;
}

}  // namespace

bool isNear(std::string_view typed, std::string_view meant) {
  if (typed.size() >= kMinBeginning && meant.starts_with(typed)) {
    return true;
  }
  // A word much longer than the one that was meant is never near, and needs no table to tell.
  const std::size_t allowed = std::max<std::size_t>(1, meant.size() / 3);
  return typed == meant || (typed.size() > 1 && typed.size() <= meant.size() + allowed &&
                            Text::editDistance(typed, meant) <= allowed);
}

std::vector<std::string_view> suggestCommands(std::span<const std::string_view> typed,
                                              std::string_view unknown) {
  std::vector<std::string_view> suggestions;
  if (const CommandRow* row = rowOfKeyword(unknown)) {
    suggestions.push_back(row->path);
    return suggestions;
  }
  std::size_t best = 0;
  for (const CommandRow& row : commandTable()) {
    const std::vector<std::string_view> path = wordsOf(row.path);
    if (std::none_of(path.begin(), path.end(),
                     [&](std::string_view word) { return isNear(unknown, word); })) {
      continue;
    }
    const std::size_t count = matches(typed, path);
    if (count > best) {
      best = count;
      suggestions.clear();
    }
    if (count == best && suggestions.size() < kMaxSuggestions) {
      suggestions.push_back(row.path);
    }
  }
  return suggestions;
}

}  // namespace KorvoCtl
