// A document that the agent reads: it is taken whole or refused with the place, and what is taken
// can be put into chips.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "agent/chips/SwitchHardware.h"
#include "agent/documents/BridgeJson.h"
#include "agent/documents/DocumentError.h"
#include "agent/documents/StateDocument.h"
#include "fuzz/Check.h"
#include "platform/base/Exceptions.h"
#include "tests/support/ManualClock.h"

namespace {

using namespace KorvoAgent;  // NOLINT(google-build-using-namespace): a program of its own

/** A file in memory, open for as long as the process lives. */
int memoryFile() {
  static const int file = ::memfd_create("document", MFD_CLOEXEC);
  KorvoFuzz::check(file >= 0, "no memory file");
  return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const int file = memoryFile();
  const auto length = static_cast<ssize_t>(size);
  const bool written = ::ftruncate(file, 0) == 0 && ::pwrite(file, data, size, 0) == length;
  KorvoFuzz::check(written, "the memory file takes nothing");
  static const auto clock = Qel::makePtr<Qel::ManualClock>();
  const auto model = Qel::makePtr<SwitchModel>(clock);
  try {
    KORVO_FUZZ_LOADER("/proc/self/fd/" + std::to_string(file), *model);
    const SwitchHardware hardware(clock, model, {.tableSize = 1024});
  } catch (const DocumentError& e) {
    KorvoFuzz::check(e.what()[0] != '\0', "a refused document without a word why");
  } catch (const Qel::RangeException&) {
    // What a document says of chips is judged when they are made; the agent adds the document.
  }
  return 0;
}
