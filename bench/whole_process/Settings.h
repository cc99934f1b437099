// What a run of the benchmark measures, and on what.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KorvoBench {

struct Settings {
  std::string agent;         ///< the program
  std::string reportFolder;  ///< made if it is not there
  std::string folder;        ///< for sockets and documents; the run's own
  std::vector<std::uint64_t> sizes{10'000, 100'000,
                                   1'000'000};  ///< tables that dumps are compared on
  std::uint64_t rows = 1'000'000;               ///< the table of everything else
  bool large = false;                           ///< sizes that take minutes and gigabytes
  unsigned repetitions = 9;
  unsigned samples = 1000;  ///< short commands of each kind under load
  std::uint64_t seed = 1;
  std::string commandLine;
};

}  // namespace KorvoBench
