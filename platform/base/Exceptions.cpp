#include "platform/base/Exceptions.h"

#include <fmt/format.h>

#include <string_view>

namespace Qel {

void assertionFailed(const char* condition, const char* unit, int line) {
  std::string_view file = unit;
  file.remove_prefix(file.find_last_of('/') + 1);
  throw AssertionException(fmt::format("assertion \"{}\" failed ({}:{})", condition, file, line));
}

void mustBeImplementedInDerivedClass(const char* signature) {
  throw NoImplementationException(
      fmt::format("{} must be implemented in the derived class", signature));
}

}  // namespace Qel
