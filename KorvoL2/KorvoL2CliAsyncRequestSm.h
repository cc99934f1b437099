// The derived request state machines, those that the command front end creates.
#pragma once

#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngDynamicVlanRangeRequestSm.h"  // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngVlanRangeRequestSm.h"         // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2HwTableRequestSm.h"            // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacDiffRequestSm.h"            // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacMissingRequestSm.h"         // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2RoutingInfoRequestSm.h"        // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"            // IWYU pragma: export
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/TextHelpers.h"               // IWYU pragma: export
