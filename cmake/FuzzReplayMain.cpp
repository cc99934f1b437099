// Runs a fuzz target over the files of the folders that are named on the command line, once each:
// the stand-in for libFuzzer's own main() in builds without it.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) {
        continue;
      }
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string bytes{std::istreambuf_iterator<char>(file), {}};
      // Named before it runs: an input that crashes is the last one named.
      std::cout << entry.path().filename().string() << std::endl;
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++count;
    }
  }
  if (count == 0) {
    std::cerr << "no input was found\n";
    return 1;
  }
  std::cout << count << " inputs\n";
  return 0;
}
