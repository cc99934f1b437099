#include "bench/whole_process/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace KorvoBench {

namespace {

void needSome(const std::vector<double>& values) {
  if (values.empty()) throw std::invalid_argument("nothing was measured");
}

}  // namespace

Spread spreadOf(std::vector<double> values) {
  needSome(values);
  std::ranges::sort(values);
  const std::size_t middle = values.size() / 2;
  const double median =
      values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
  return {median, values.front(), values.back()};
}

double percentile(std::vector<double> values, double percent) {
  needSome(values);
  std::ranges::sort(values);
  const double rank = std::ceil(percent / 100 * static_cast<double>(values.size()));
  const auto index = static_cast<std::size_t>(std::max(rank, 1.0)) - 1;
  return values[std::min(index, values.size() - 1)];
}

std::vector<double> ratios(const std::vector<double>& above, const std::vector<double>& below) {
  if (above.size() != below.size()) throw std::invalid_argument("unlike numbers of measurements");
  std::vector<double> result;
  result.reserve(above.size());
  for (std::size_t i = 0; i < above.size(); ++i) result.push_back(above[i] / below[i]);
  return result;
}

}  // namespace KorvoBench
