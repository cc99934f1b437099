// korvo_simulation: lives of an agent by their seeds. See Simulation.h.

#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "tests/simulation/Simulation.h"

namespace {

using KorvoSimulation::Tally;

struct Options {
  std::optional<std::uint64_t> seed;
  std::string seeds;
  double minutes = 0;
};

bool rangeOf(const std::string& text, std::uint64_t& from, std::uint64_t& to) {
  unsigned long long first = 0;
  unsigned long long last = 0;
  char rest = 0;
  // NOLINTNEXTLINE(cert-err34-c): what does not fit a number is no seed either
  if (std::sscanf(text.c_str(), "%llu-%llu%c", &first, &last, &rest) != 2) return false;
  from = first;
  to = last;
  return from <= to;
}

/** False, and says how to see it again, when a rule is broken. */
bool holds(std::uint64_t seed, Tally& tally) {
  try {
    KorvoSimulation::simulate(seed, tally);
    return true;
  } catch (const std::exception& e) {
    std::printf("seed %llu: %s\nagain: korvo_simulation --seed %llu\n",
                static_cast<unsigned long long>(seed), e.what(),
                static_cast<unsigned long long>(seed));
    return false;
  }
}

void print(const char* what, std::uint64_t count) {
  std::printf("%-32s %12llu\n", what, static_cast<unsigned long long>(count));
}

void print(const Tally& tally) {
  print("seeds", tally.seeds);
  print("turns", tally.turns);
  print("slices", tally.slices);
  print("requests", tally.requests);
  print("  ended ok", tally.endedOk);
  print("  ended error", tally.endedError);
  print("  ended not-ready", tally.endedNotReady);
  print("  ended no-handler", tally.endedNoHandler);
  print("  ended cancelled", tally.endedCancelled);
  print("  ended client-gone", tally.endedClientGone);
  print("dumps held against the model", tally.dumps);
  print("rows held against the model", tally.rows);
  print("table changes", tally.tableChanges);
  print("exceptions of agent objects", tally.exceptions);
  print("allocations that failed", tally.allocationFailures);
  print("clock jumps", tally.clockJumps);
  print("times that the agent was stopped", tally.stops);
  print("progress events", tally.progressEvents);
}

int run(int argc, char** argv) {
  CLI::App app{"Runs simulated lives of an agent and checks what its dumps promise."};
  Options options;
  app.add_option("--seed", options.seed, "run this one");
  app.add_option("--seeds", options.seeds, "run those FROM-TO");
  app.add_option("--minutes", options.minutes, "run as many as there is time for, from seed 1 on");
  CLI11_PARSE(app, argc, argv);
  std::uint64_t from = 1;
  std::uint64_t to = ~std::uint64_t{0} - 1;
  if (options.seed) {
    from = to = *options.seed;
  } else if (!options.seeds.empty()) {
    if (!rangeOf(options.seeds, from, to)) {
      std::fprintf(stderr, "korvo_simulation: --seeds takes FROM-TO, not %s\n",
                   options.seeds.c_str());
      return 2;
    }
  } else if (options.minutes <= 0) {
    std::fprintf(stderr, "korvo_simulation: give --seed, --seeds or --minutes\n");
    return 2;
  }
  std::signal(SIGPIPE, SIG_IGN);
  const auto start = std::chrono::steady_clock::now();
  const std::chrono::duration<double, std::ratio<60>> most(options.minutes);
  Tally tally;
  bool good = true;
  for (std::uint64_t seed = from; seed <= to && good; ++seed) {
    good = holds(seed, tally);
    if (options.minutes > 0 && std::chrono::steady_clock::now() - start >= most) break;
  }
  print(tally);
  return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "korvo_simulation: %s\n", e.what());
    return 2;
  }
}
