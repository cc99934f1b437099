#include "platform/types/VlanId.h"

#include "platform/base/Exceptions.h"

namespace Bridging {

void VlanId::outOfRange() {
  throw Qel::RangeException("Bridging::VlanId::value < 1 or > 4094 not allowed");
}

VlanIdRange::VlanIdRange(VlanId first, VlanId last) : first_(first), last_(last) {
  if (last < first) {
    throw Qel::RangeException("Bridging::VlanIdRange::last < Bridging::VlanIdRange::first (" +
                              last.stringValue() + " < " + first.stringValue() + ") not allowed");
  }
}

std::string VlanIdRange::stringValue() const {
  if (first_ == last_) return first_.stringValue();
  return first_.stringValue() + "-" + last_.stringValue();
}

}  // namespace Bridging
