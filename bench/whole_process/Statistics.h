// What is said of repeated measurements: never an average, which one disturbance spoils.
#pragma once

#include <vector>

namespace KorvoBench {

/** The middle of several measurements and how far they lie apart. */
struct Spread {
  double median = 0;
  double min = 0;
  double max = 0;
};

/** Throws std::invalid_argument when there is nothing to describe. */
Spread spreadOf(std::vector<double> values);

/** The value below or at which `percent` of all lie (nearest rank). Throws as spreadOf(). */
double percentile(std::vector<double> values, double percent);

/**
 * above[i] / below[i]: what was measured side by side is compared side by side, so that a machine
 * that is busy for some seconds slows both. Throws std::invalid_argument for different lengths.
 */
std::vector<double> ratios(const std::vector<double>& above, const std::vector<double>& below);

}  // namespace KorvoBench
