// What a finished request of a simulation is held to.
//
//  - It ended once, with a status that what happened to it allows: ok when its reader read on and
//    nothing failed; error only if something threw; not-ready and no-handler exactly when they are
//    due; client-gone and cancelled only where a reader left or stopped, or somebody cancelled.
//  - No slice took longer than its budget and one row.
//  - Of an answer that is complete, all was received; JSON is one strict document.
//  - Its rows ascend and none comes twice, but for the end of a check's report, which comes once
//    more when the time of its slice is spent right there, and for no other reason.
//    Each was in its table when it was printed; a row that was in its table when its walk came by
//    is there, that is from when the row before it was printed until the one behind it was. Dumps
//    that take a copy first show that copy.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/simulation/AnswerRows.h"
#include "tests/simulation/Client.h"
#include "tests/simulation/World.h"

namespace KorvoSimulation {

/** Throws std::runtime_error with `what` unless it holds. */
void require(bool holds, const std::string& what);

/** How long a slice may take. */
struct SliceAllowance {
  Qel::Duration perReading{0};  ///< how far each reading moves the clock
  Qel::Duration rowCost{0};
  Qel::Duration longest() const;
};

/** Holds a request that has ended, and whose reader has read to the end, to the rules above. */
void judge(const Client& client, const World& world, const SliceAllowance& allowance);

/** Whether its rows are there to be held against the tables. */
bool rowsAreWhole(const Client& client);
/** Whether the keyword is one of the checks', whose end a report may show twice. */
bool isCheck(std::string_view keyword);
/** Drops the rows of a check that it shows a second time; false if there are none. */
bool dropRepeated(std::vector<AnswerRow>& rows);
/** The rows of a complete answer. */
std::vector<AnswerRow> rowsOf(const Client& client);

}  // namespace KorvoSimulation
