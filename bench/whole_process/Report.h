// What a run found: figures against their goals, and every number that they come from.
//
// Written as a text table, a JSON document of all raw numbers, and plots where gnuplot is
// installed.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bench/whole_process/Settings.h"
#include "bench/whole_process/Statistics.h"

namespace KorvoBench {

/** What a figure must reach and what it should. */
struct Goal {
  enum class Better : std::uint8_t { higher, lower };
  Better better;
  double mustReach;
  double aimFor;
};

constexpr Goal atLeast(double mustReach, double aimFor) {
  return {Goal::Better::higher, mustReach, aimFor};
}
constexpr Goal atMost(double mustReach, double aimFor) {
  return {Goal::Better::lower, mustReach, aimFor};
}

struct Figure {
  std::string what;
  double value;
  std::string unit;    ///< as it is printed after the value; may be empty
  std::string detail;  ///< between which values the repetitions lay, and the like
  std::optional<Goal> goal;

  bool reached() const;
  std::string_view verdict() const;
};

class Report {
 public:
  /** Says what is being measured, while it is. */
  void heading(std::string_view text);
  /** A figure without a goal says how to read those with one. */
  void figure(Figure figure);
  /** Raw numbers under a dotted name, such as "dump.text.1000000.ours.seconds". */
  void numbers(const std::string& name, std::vector<double> values);

  const std::vector<Figure>& figures() const noexcept { return figures_; }
  const std::map<std::string, std::vector<double>>& allNumbers() const noexcept { return numbers_; }
  bool allReached() const;

 private:
  std::vector<Figure> figures_;
  std::map<std::string, std::vector<double>> numbers_;
};

/** "3.1 to 3.9": between which values the repetitions lay. */
std::string spreadText(const Spread& spread, double scale = 1);

/**
 * Writes figures.txt, figures.json and the plots into the report folder, and the text to standard
 * output. Throws std::runtime_error when the folder cannot be written to.
 */
void writeReport(const Report& report, const Settings& settings);

/** Plots the report's numbers as SVG; says so and does nothing where there is no gnuplot. */
void writePlots(const Report& report, const std::string& folder);

}  // namespace KorvoBench
