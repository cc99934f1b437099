// The derived request state machines, those that the command front end creates.
#pragma once

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"  // IWYU pragma: export
