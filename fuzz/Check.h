// What a fuzz target says before it stops at an input that shows a fault.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace KorvoFuzz {

inline void check(bool holds, const char* what, std::string_view detail = {}) {
  if (holds) return;
  std::fprintf(stderr, "%s: ", what);
  std::fwrite(detail.empty() ? "" : detail.data(), 1, detail.size(), stderr);
  std::fputs("\n", stderr);
  std::abort();
}

}  // namespace KorvoFuzz
