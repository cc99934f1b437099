// A plug-in of another interface version. Only the version may be looked at: the rest of the record
// is not what this version's hosts expect.

#include <cstdint>

extern "C" {
[[gnu::visibility("default")]] extern const std::uint32_t korvoPluginEntry;
const std::uint32_t korvoPluginEntry = 4711;
}
