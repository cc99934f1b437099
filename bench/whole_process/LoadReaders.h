// Clients that keep an agent busy: a number of dumps at all times, each read as fast as it comes.
#pragma once

#include <cstdint>
#include <string>

#include "agent/server/FileDescriptor.h"
#include "bench/whole_process/ChildProcess.h"

namespace KorvoBench {

struct LoadFigures {
  std::uint64_t dumps = 0;  ///< that were read to their end
  std::uint64_t bytes = 0;  ///< of these and of the unfinished ones
  std::uint64_t wrong = 0;  ///< dumps that ended with another size than they should have
};

/** A child process; a dump that ends is followed by a new one. */
class LoadReaders {
 public:
  /**
   * Every other reader asks for JSON. The sizes are those of a whole dump. Returns when the first
   * of them is being read.
   */
  LoadReaders(const std::string& socketPath, unsigned readers, std::uint64_t textSize,
              std::uint64_t jsonSize);

  /** Ends the load; throws std::runtime_error when a dump was of a wrong size. */
  LoadFigures stop();

 private:
  KorvoAgent::FileDescriptor link_;  // shut to end the child, which answers with its figures
  ChildProcess process_;
};

}  // namespace KorvoBench
