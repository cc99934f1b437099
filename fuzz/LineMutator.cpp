// Changes inputs that are lines: every line of an input by itself.
//
// libFuzzer reads through all of its counters after each input, which costs more than a command
// does. So an input holds many commands, and each of them is changed each time: no command is run
// again only because it stands beside one that was changed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Lines.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

constexpr std::size_t kLines = 64;
constexpr std::size_t kMostGrowth = 24;

std::string_view viewOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

std::string changed(std::string_view line) {
  std::string text(line);
  text.resize(line.size() + kMostGrowth);
  auto* const bytes = reinterpret_cast<std::uint8_t*>(text.data());
  text.resize(LLVMFuzzerMutate(bytes, line.size(), text.size()));
  return text;
}

/** As many whole lines as fit. */
std::size_t write(const std::vector<std::string>& lines, std::uint8_t* data, std::size_t maxSize) {
  std::size_t size = 0;
  for (const std::string& line : lines) {
    if (size + line.size() + 1 > maxSize) break;
    std::copy(line.begin(), line.end(), data + size);
    size += line.size();
    data[size++] = '\n';
  }
  return size;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  std::minstd_rand random(seed);
  std::vector<std::string_view> lines = KorvoFuzz::linesOf(viewOf(data, size));
  if (lines.empty()) lines.emplace_back();
  const std::size_t given = lines.size();
  while (lines.size() < kLines) lines.push_back(lines[random() % given]);
  std::vector<std::string> next;
  next.reserve(lines.size());
  for (const std::string_view line : lines) next.push_back(changed(line));
  std::shuffle(next.begin(), next.end(), random);
  return write(next, data, maxSize);
}

/** Half of the lines of either. */
extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* one, std::size_t oneSize,
                                                 const std::uint8_t* other, std::size_t otherSize,
                                                 std::uint8_t* out, std::size_t maxSize,
                                                 unsigned seed) {
  std::minstd_rand random(seed);
  std::vector<std::string> mixed;
  for (const std::string_view from : {viewOf(one, oneSize), viewOf(other, otherSize)}) {
    for (const std::string_view line : KorvoFuzz::linesOf(from)) {
      if (random() % 2 == 0) mixed.emplace_back(line);
    }
  }
  return write(mixed, out, maxSize);
}
