#include "client/Suggestion.h"

#include <algorithm>

#include "client/CommandTable.h"

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

}  // namespace

std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> cost(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const std::size_t replace = cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, replace});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
      }
    }
  }
  return cost[a.size()][b.size()];
}

bool isNear(std::string_view typed, std::string_view meant) {
  if (typed.size() >= kMinBeginning && meant.starts_with(typed)) {
    return true;
  }
  // A word much longer than the one that was meant is never near, and needs no table to tell.
  const std::size_t allowed = std::max<std::size_t>(1, meant.size() / 3);
  return typed == meant || (typed.size() > 1 && typed.size() <= meant.size() + allowed &&
                            editDistance(typed, meant) <= allowed);
}

std::vector<std::string_view> suggestCommands(std::span<const std::string_view> typed,
                                              std::string_view unknown) {
  std::vector<std::string_view> suggestions;
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
