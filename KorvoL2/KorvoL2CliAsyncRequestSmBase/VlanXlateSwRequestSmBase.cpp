#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/VlanXlateSwRequestSmBase.h"

namespace KorvoL2 {

VlanXlateSwRequestSmBase::~VlanXlateSwRequestSmBase() = default;

void VlanXlateSwRequestSmBase::getAsyncState() {
  if (inProgress_) {
    yieldingIs(false);
    return;
  }
  renderer().openObject();
  inProgressIs(true);
}

void VlanXlateSwRequestSmBase::executionComplete() {
  KORVO_L2_TRACE(8, "");
  renderer().closeObject();
  renderer().documentEnd();
  renderer().ioflush();
  executionCompleteFlagIs(true);
  inProgressIs(false);
}

}  // namespace KorvoL2
