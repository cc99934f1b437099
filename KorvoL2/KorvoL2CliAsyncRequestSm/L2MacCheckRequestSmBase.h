// What the two consistency checks of the MAC table share: asking for the hardware reads, waiting
// for them, and beginning and ending the report.
//
// A check cannot walk the hardware itself. It posts one read request for each chip of its list to
// the agent's table reader, and a closing request; the reader compares each chip's table with the
// software shadow and fills the check's result table. Each slice looks at that table's completion
// flag; when it is set, the report is printed from the result table, which rests from then on.
//
// Reports and their slices: a slice whose time is spent right after the last entry leaves its
// bookmark where it was, so that the next slice prints the entries from there again, and counts
// them again. Tools that read these reports know it. It happens once for a report: the second time
// the end is the end, or a slice too short for what it repeats would never get done. Whatever else
// ends a slice there (its window, its rows, a socket that takes no more) ends the report.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <absl/container/btree_set.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/ResumableWalk.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/KorvoL2MacAddrSmHelper.h"
#include "platform/l2/L2TableReadSm.h"
#include "platform/l2/McastHelper.h"
#include "platform/rendering/TableRenderer.h"

namespace KorvoL2 {

class L2MacCheckRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
 public:
  using Fap = absl::btree_set<std::uint32_t>;

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;

  /**
   * Posts the read requests and takes the machine into service. Throws RangeException on a chip
   * number whose low byte is above 128, AssertionException when a chip is to be read without a
   * multicast helper.
   */
  KORVO_L2_API void handleInitialized();

  /** Chip numbers as the command gave them, decimal, separated by ",". */
  QEL_FIXED_ATTRIBUTE(std::string, fapIdList)
  QEL_FIXED_ATTRIBUTE(bool, detail)
  /** Read requests posted, the closing one not counted. */
  QEL_COUNTER(std::uint32_t, numReq)
  /** The report has begun. */
  QEL_ATTRIBUTE(bool, inProgress)
  /** All hardware reads have finished. */
  QEL_ATTRIBUTE(bool, l2TableReadDone)

  /** Every chip number of the list, in full width, though a chip is asked for by its low byte. */
  QEL_SET_ATTRIBUTE(Fap, fap, fap)
  /** The text table of the report; null before it begins and after its end. */
  QEL_ATTRIBUTE(std::unique_ptr<Rendering::TableRenderer>, tableRenderer)

 protected:
  L2MacCheckRequestSmBase(std::string name,
                          Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                          Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                          KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
                          std::string fapIdList, bool detail);

  // What a check supplies.

  /** Makes a new, empty result table; returns a request that names it and the type of the check. */
  virtual L2TableReadReq resultTableIs() = 0;
  virtual bool resultTableComplete() const = 0;
  /** The key of the list of entries in JSON. */
  virtual std::string_view listKey() const = 0;
  /** Heads and formats of the report's text table, in order. */
  struct ReportColumn {
    std::string_view heading;
    Rendering::ColumnFormatter format;
  };
  virtual std::vector<ReportColumn> reportColumns() const = 0;
  /** One slice of the report. */
  virtual void printReport() = 0;
  /** The end of the report: the totals, then finishReport(). */
  virtual void executionComplete() = 0;

  void initializeTableRenderer();
  void finishReport();

  /**
   * One slice of a walk over a result table, traced for `site`, with the end that this file's head
   * tells of.
   */
  template <class Collection, class PrintEntry>
  void runReportSlice(const Qel::TraceSite& site, RestingWalk<Collection>& walk,
                      const Collection& entries, PrintEntry&& printEntry) {
    inProgressIs(true);
    bool printed = false;
    const WalkEnd end = walk.runSlice(entries, *this, site, [&](const auto& entry) {
      printEntry(entry);
      printed = true;
      return RowOutcome::printed;
    });
    if (end == WalkEnd::yielded) return;
    if (printed && !endRepeated_ && timeSpent()) {
      // The walk asks for the time now and then only, and not where there is another reason.
      if (end == WalkEnd::exhausted) KORVO_L2_TRACE_AT(8, site, "Yielding Cpu");
      endRepeated_ = true;
      return;
    }
    KORVO_L2_TRACE_AT(8, site, "Execution Completed");
    executionComplete();
  }

 private:
  void issueReads(const Qel::TraceSite& site);
  bool shallRead(Tessar::FapId fapId) const;
  void post(L2TableReadReq request, Tessar::FapId fapId);

  Qel::Ptr<KorvoL2MacAddrSmHelper> macAddrSmHelper_;
  Qel::Ptr<KorvoL2McastHelper> mcastHelper_;
  bool readsIssued_ = false;
  bool endRepeated_ = false;
};

}  // namespace KorvoL2
