// korvo_whole_process_bench: measures a real agent as its clients see it, every figure as a ratio
// or a time taken in one run, and holds the figures against their goals.

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string_view>

#include "bench/whole_process/Sections.h"

namespace {

using namespace KorvoBench;  // NOLINT(google-build-using-namespace): this file is the program's
                             // main

struct Section {
  std::string_view name;
  void (*measure)(const Settings&, Report&);
};

constexpr std::array<Section, 8> kSections{{
    {"dumps", compareDumps},
    {"growth", measureGrowth},
    {"slices", measureSlices},
    {"short-commands", measureShortCommands},
    {"hardware", measureHardwareTables},
    {"memory", measureMemory},
    {"resuming", measureResuming},
    {"start", measureStart},
}};

/** A folder for sockets and documents, gone with this object. */
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "korvo-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make " + pattern);
    path_ = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::string& path() const noexcept { return path_; }

 private:
  std::string path_;
};

std::string agentBesideThisProgram() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  return (self.parent_path() / "korvo-l2-agent").string();
}

int run(int argc, char** argv) {
  Settings settings;
  settings.agent = agentBesideThisProgram();
  settings.reportFolder = "build/bench-report";
  std::vector<std::string> names;
  bool strict = false;

  CLI::App app("Measures a real agent as its clients see it", "korvo_whole_process_bench");
  app.add_option("--agent", settings.agent, "The agent's program")->capture_default_str();
  app.add_option("--report", settings.reportFolder, "Where the report goes")->capture_default_str();
  app.add_option("--sizes", settings.sizes, "Tables on which dumps are compared, in rows")
      ->delimiter(',')
      ->check(CLI::Range(1, 10'000'000))
      ->capture_default_str();
  app.add_option("--rows", settings.rows, "The table of everything else, in rows")
      ->check(CLI::Range(100, 2'500'000))
      ->capture_default_str();
  app.add_flag("--large", settings.large, "Also dumps of 4 and 10 million rows");
  app.add_option("--repetitions", settings.repetitions, "How often a thing is measured")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app.add_option("--samples", settings.samples, "How many short commands of a kind are asked")
      ->check(CLI::Range(1, 1'000'000))
      ->capture_default_str();
  app.add_option("--seed", settings.seed, "Seed of tables and pauses")->capture_default_str();
  app.add_option("--sections", names, "What to measure; all unless given")->delimiter(',');
  app.add_flag("--strict", strict, "Exit status 1 when a figure misses what it must reach");
  CLI11_PARSE(app, argc, argv);
  for (const std::string& name : names) {
    if (std::ranges::find(kSections, name, &Section::name) == kSections.end()) {
      fmt::print(stderr, "no section \"{}\"; there are", name);
      for (const Section& section : kSections) fmt::print(stderr, " {}", section.name);
      fmt::print(stderr, "\n");
      return 2;
    }
  }
  if (settings.large) settings.sizes.insert(settings.sizes.end(), {4'000'000, 10'000'000});
  for (int i = 0; i < argc; ++i) settings.commandLine += (i == 0 ? "" : " ") + std::string(argv[i]);

  std::signal(SIGPIPE, SIG_IGN);
  const TemporaryFolder folder;
  settings.folder = folder.path();
  Report report;
  for (const Section& section : kSections) {
    const bool wanted = names.empty() || std::ranges::find(names, section.name) != names.end();
    if (wanted) section.measure(settings, report);
  }
  writeReport(report, settings);
  return strict && !report.allReached() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "benchmark: %s\n", e.what());
    return 1;
  }
}
