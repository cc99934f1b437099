// Made-up MAC tables of any size.
#pragma once

#include <cstdint>

#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

/** Most entries that generateMacs() makes in one go. */
inline constexpr std::uint64_t kMaxGeneratedMacs = 10'000'000;

/**
 * Adds `count` entries to the software MAC table, spread over VLANs and interfaces as on a busy
 * switch: mostly learned ones, some static, remote and dropped. Keys that the table has already are
 * left alone and others taken instead. The same switch, count and seed give the same entries.
 * Throws Qel::RangeException above kMaxGeneratedMacs.
 */
void generateMacs(SwitchModel& model, std::uint64_t count, std::uint64_t seed);

}  // namespace KorvoAgent
