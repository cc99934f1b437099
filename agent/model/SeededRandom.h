// Pseudo-random numbers that are the same on every machine for the same seed.
#pragma once

#include <cstdint>
#include <random>

namespace KorvoAgent {

/**
 * The standard's 64-bit Mersenne twister, whose sequence is fixed; the standard's distributions are
 * not, hence the ones here. The small bias of below() does not matter for made-up tables.
 */
class SeededRandom {
 public:
  explicit SeededRandom(std::uint64_t seed) : engine_(seed) {}

  std::uint64_t next() { return engine_(); }
  /** A number from 0 to bound - 1; `bound` is at least 1 and at most 2^32. */
  std::uint64_t below(std::uint64_t bound) { return ((engine_() >> 32) * bound) >> 32; }
  /** True once in `times` calls on average. */
  bool onceIn(std::uint64_t times) { return below(times) == 0; }

 private:
  std::mt19937_64 engine_;
};

}  // namespace KorvoAgent
