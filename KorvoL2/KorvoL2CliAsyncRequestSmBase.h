// The generic request state machines.
#pragma once

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/EgrVlanXlateSwRequestSmBase.h"  // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanRangeRequestSmBase.h"  // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanXlateSwRequestSmBase.h"  // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2HwTableRequestSmBase.h"      // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2RoutingInfoRequestSmBase.h"  // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2SwTableRequestSmBase.h"      // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2VxlanVlanRequestSmBase.h"    // IWYU pragma: export
