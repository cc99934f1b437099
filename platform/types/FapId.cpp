#include "platform/types/FapId.h"

#include "platform/base/Exceptions.h"

namespace Tessar {

void FapId::outOfRange() {
  throw Qel::RangeException(
      "Tessar::FapId::value < Tessar::FapId::min or > Tessar::FapId::null not allowed");
}

}  // namespace Tessar
