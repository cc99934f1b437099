#include "bench/whole_process/Report.h"

#include <fmt/format.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace KorvoBench {

namespace {

#ifdef __clang__
constexpr const char* kCompiler = __VERSION__;
#else
constexpr const char* kCompiler = "g++ " __VERSION__;
#endif

// Three significant digits: more would be noise.
std::string numberText(double value) {
  if (value >= 100) return fmt::format("{:.0f}", value);
  if (value >= 10) return fmt::format("{:.1f}", value);
  if (value >= 0.1) return fmt::format("{:.2f}", value);
  return fmt::format("{:.3f}", value);
}

std::string goalText(const std::optional<Goal>& goal, double Goal::*which) {
  if (!goal) return "";
  return (goal->better == Goal::Better::higher ? ">= " : "<= ") +
         fmt::format("{:g}", (*goal).*which);
}

bool meets(double value, Goal::Better better, double bound) {
  return better == Goal::Better::higher ? value >= bound : value <= bound;
}

/** The machine and the build: without them numbers say nothing. */
std::vector<std::pair<std::string, std::string>> circumstances(const Settings& settings) {
  std::string model = "unknown";
  std::ifstream cpus("/proc/cpuinfo");
  for (std::string line; std::getline(cpus, line);) {
    if (!line.starts_with("model name")) continue;
    model = line.substr(std::min(line.find(": ") + 2, line.size()));
    break;
  }
  std::string load = "unknown";
  std::ifstream loadFile("/proc/loadavg");
  std::getline(loadFile, load);
  utsname system{};
  ::uname(&system);
#ifdef NDEBUG
  const char* const build = "assertions off";
#else
  const char* const build = "assertions on: do not compare these numbers with others";
#endif
  return {{"command", settings.commandLine},
          {"processor", fmt::format("{}, {} in use", model, ::sysconf(_SC_NPROCESSORS_ONLN))},
          {"kernel", fmt::format("{} {} {}", system.sysname, system.release, system.machine)},
          {"compiler", kCompiler},
          {"build", build},
          {"load average at the end", load}};
}

std::string textOf(const Report& report, const Settings& settings) {
  std::string text;
  for (const auto& [name, value] : circumstances(settings))
    text += fmt::format("{}: {}\n", name, value);
  text += '\n';
  std::size_t width = 4;
  for (const Figure& figure : report.figures()) width = std::max(width, figure.what.size());
  const auto line = [&](const std::string& what, const std::string& measured,
                        const std::string& must, const std::string& aim, std::string_view verdict,
                        const std::string& detail) {
    text += fmt::format("{:<{}}  {:>16}  {:>10}  {:>10}  {:<8}  {}\n", what, width, measured, must,
                        aim, verdict, detail);
  };
  line("what", "measured", "must reach", "aim for", "verdict", "detail");
  for (const Figure& figure : report.figures()) {
    line(figure.what, numberText(figure.value) + (figure.unit.empty() ? "" : " " + figure.unit),
         goalText(figure.goal, &Goal::mustReach), goalText(figure.goal, &Goal::aimFor),
         figure.verdict(), figure.detail);
  }
  return text;
}

std::string jsonOf(const Report& report, const Settings& settings) {
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
  writer.SetIndent(' ', 1);
  writer.SetFormatOptions(rapidjson::kFormatSingleLineArray);
  const auto text = [&](std::string_view value) {
    writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
  };
  const auto member = [&](const char* key, std::string_view value) {
    writer.Key(key);
    text(value);
  };
  writer.StartObject();
  writer.Key("circumstances");
  writer.StartObject();
  for (const auto& [name, value] : circumstances(settings)) member(name.c_str(), value);
  writer.EndObject();
  writer.Key("figures");
  writer.StartObject();
  for (const Figure& figure : report.figures()) {
    writer.Key(figure.what.c_str());
    writer.StartObject();
    writer.Key("value");
    writer.Double(figure.value);
    member("unit", figure.unit);
    member("detail", figure.detail);
    if (figure.goal) {
      writer.Key("mustReach");
      writer.Double(figure.goal->mustReach);
      writer.Key("aimFor");
      writer.Double(figure.goal->aimFor);
      member("verdict", figure.verdict());
    }
    writer.EndObject();
  }
  writer.EndObject();
  writer.Key("numbers");
  writer.StartObject();
  for (const auto& [name, values] : report.allNumbers()) {
    writer.Key(name.c_str());
    writer.StartArray();
    for (const double value : values) writer.Double(value);
    writer.EndArray();
  }
  writer.EndObject();
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace

bool Figure::reached() const { return !goal || meets(value, goal->better, goal->mustReach); }

std::string_view Figure::verdict() const {
  if (!goal) return "";
  if (!reached()) return "MISSED";
  return meets(value, goal->better, goal->aimFor) ? "aim met" : "reached";
}

void Report::heading(std::string_view text) { fmt::print(stderr, "== {}\n", text); }

void Report::figure(Figure figure) { figures_.push_back(std::move(figure)); }

void Report::numbers(const std::string& name, std::vector<double> values) {
  numbers_.insert_or_assign(name, std::move(values));
}

bool Report::allReached() const { return std::ranges::all_of(figures_, &Figure::reached); }

std::string spreadText(const Spread& spread, double scale) {
  return numberText(spread.min * scale) + " to " + numberText(spread.max * scale);
}

void writeReport(const Report& report, const Settings& settings) {
  std::filesystem::create_directories(settings.reportFolder);
  const std::filesystem::path folder = settings.reportFolder;
  const std::string text = textOf(report, settings);
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
  writeFile(folder / "figures.txt", text);
  writeFile(folder / "figures.json", jsonOf(report, settings));
  writePlots(report, settings.reportFolder);
  fmt::print("\nReport: {}\n", settings.reportFolder);
}

}  // namespace KorvoBench
