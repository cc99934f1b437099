// The parts of a run. Each starts its own agents, checks what they produced, and ends them.
#pragma once

#include "bench/whole_process/Report.h"
#include "bench/whole_process/Settings.h"

namespace KorvoBench {

/** Whole dumps against the ready-made bytes, snprintf and fmt, over table sizes. */
void compareDumps(const Settings& settings, Report& report);
/** Time of a table four times as large. */
void measureGrowth(const Settings& settings, Report& report);
/** How soon a dump begins, and how long its slices are: alone, and beside other dumps. */
void measureSlices(const Settings& settings, Report& report);
/** How long a short command takes while other clients dump. */
void measureShortCommands(const Settings& settings, Report& report);
/** Dumps and checks of the chips' tables, and short commands meanwhile. */
void measureHardwareTables(const Settings& settings, Report& report);
/** What a dump adds to the agent's memory. */
void measureMemory(const Settings& settings, Report& report);
/** What a slice costs besides its rows. */
void measureResuming(const Settings& settings, Report& report);
/** How long the agent takes to start with a full table. */
void measureStart(const Settings& settings, Report& report);

}  // namespace KorvoBench
