// SVG plots by gnuplot, from data files that stay beside them.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <stdexcept>

#include "bench/whole_process/ChildProcess.h"
#include "bench/whole_process/Report.h"

namespace KorvoBench {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kHead =
    "set terminal svg size 900,560 background 'white' font 'sans,13'\n"
    "set grid\nset key left top\n";

bool haveGnuplot() {
  const char* const path = std::getenv("PATH");
  std::string_view rest = path == nullptr ? "" : path;
  while (!rest.empty()) {
    const std::string_view folder = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(rest.size(), folder.size() + 1));
    std::error_code ignored;
    if (fs::exists(fs::path(folder) / "gnuplot", ignored)) return true;
  }
  return false;
}

class Plot {
 public:
  Plot(const std::string& folder, std::string name, std::string_view settings)
      : folder_(folder), name_(std::move(name)) {
    script_ = fmt::format("{}set output '{}.svg'\n{}\nplot", kHead, name_, settings);
  }

  std::ofstream addCurve(std::string_view title, std::string_view style) {
    const std::string file = fmt::format("{}-{}.dat", name_, ++curves_);
    script_ += fmt::format("{} '{}' {} title '{}'", curves_ == 1 ? "" : ",", file, style, title);
    return std::ofstream(fs::path(folder_) / file);
  }

  /** Nothing for a plot without curves. */
  void draw() const {
    if (curves_ == 0) return;
    const std::string file = name_ + ".gp";
    std::ofstream(fs::path(folder_) / file) << script_ << '\n';
    ChildProcess gnuplot = ChildProcess::fork([&] {
      fs::current_path(folder_);
      ChildProcess program = ChildProcess::start({"gnuplot", file});
      if (program.wait() != 0) throw std::runtime_error("gnuplot failed on " + file);
    });
    if (gnuplot.wait() != 0) throw std::runtime_error("could not plot " + name_);
  }

 private:
  const std::string& folder_;
  std::string name_;
  std::string script_;
  int curves_ = 0;
};

void plotRates(const Report& report, const std::string& folder, std::string_view format) {
  const std::string prefix = fmt::format("dump.{}.", format);
  std::map<std::string, std::map<std::uint64_t, Spread>> writers;
  std::uint64_t fewest = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t most = 0;
  for (const char* const name : {"ready-made", "ours", "fmt", "snprintf"}) {
    const std::string suffix = fmt::format(".{}.seconds", name);
    for (const auto& [key, seconds] : report.allNumbers()) {
      if (!key.starts_with(prefix) || !key.ends_with(suffix)) continue;
      const std::uint64_t rows = std::stoull(key.substr(prefix.size()));
      writers[name][rows] = spreadOf(seconds);
      fewest = std::min(fewest, rows);
      most = std::max(most, rows);
    }
  }
  if (writers.empty()) return;
  // Room beside the first and the last size, so that their bars are seen.
  Plot plot(
      folder, fmt::format("rate-{}", format),
      fmt::format("set title 'Software MAC table dump, {}: rows a second, whole path'\n"
                  "set logscale xy\nset xlabel 'rows in the table'\n"
                  "set xrange [{}:{}]\nset format x '%.0s%c'\n"
                  "set ylabel 'million rows a second'\nset key outside right",
                  format, static_cast<double>(fewest) / 1.5, static_cast<double>(most) * 1.5));
  for (const auto& [name, bySize] : writers) {
    std::ofstream data = plot.addCurve(name, "with yerrorlines pointtype 7 pointsize 0.6");
    for (const auto& [rows, seconds] : bySize) {
      const double million = static_cast<double>(rows) / 1e6;
      data << fmt::format("{} {} {} {}\n", rows, million / seconds.median, million / seconds.max,
                          million / seconds.min);
    }
  }
  plot.draw();
}

void addDistribution(Plot& plot, const Report& report, std::string_view title,
                     const std::string& key) {
  const auto found = report.allNumbers().find(key);
  if (found == report.allNumbers().end()) return;
  std::vector<double> values = found->second;
  std::ranges::sort(values);
  std::ofstream data = plot.addCurve(title, "with steps linewidth 2");
  for (std::size_t i = 0; i < values.size(); ++i) {
    data << fmt::format("{} {}\n", values[i],
                        100 * static_cast<double>(i + 1) / static_cast<double>(values.size()));
  }
}

constexpr std::string_view kDistribution =
    "set logscale x\nset xlabel 'milliseconds'\nset yrange [0:100]\nset ylabel 'percent within'\n"
    "set key right bottom";

}  // namespace

void writePlots(const Report& report, const std::string& folder) {
  if (!haveGnuplot()) {
    fmt::print("No plots: gnuplot is not installed.\n");
    return;
  }
  plotRates(report, folder, "text");
  plotRates(report, folder, "json");

  Plot commands(folder, "short-commands",
                fmt::format("set title 'Answer time of short commands'\n{}", kDistribution));
  for (const char* const command : {"plain text NOPE", "agent text status"}) {
    for (const char* const when : {"at-rest", "under-load"}) {
      addDistribution(commands, report, fmt::format("{}, {}", command, when),
                      fmt::format("short-command.{}.{}.ms", command, when));
    }
  }
  commands.draw();

  Plot slices(folder, "slices",
              fmt::format("set title 'Slices of a dump: the longest and the mean of each'\n{}",
                          kDistribution));
  for (const char* const when : {"alone", "beside"}) {
    for (const char* const which : {"mean", "worst"}) {
      addDistribution(slices, report, fmt::format("{}, {}", which, when),
                      fmt::format("slices.{}.{}.ms", when, which));
    }
  }
  slices.draw();
}

}  // namespace KorvoBench
