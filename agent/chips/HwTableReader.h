// Reads the chips' hardware MAC tables for the consistency checks and compares them with software.
//
// Requests are queued by the result table that they name. The tables take turns, a piece of about
// a millisecond each, so many checks at once proceed side by side and none waits for another.
// Within a table the chips are read in the order in which they were asked for, each in blocks.
//
//   difference   every software entry that the chip holds is compared with what it holds
//   missing      every software entry that the chip is to hold is looked for in it, and then every
//                entry of the chip that was not met on the way is looked for in software
//
// While tables change. An entry is compared at one moment, software and hardware of that moment
// side by side; nothing is reported that was not so then. An entry whose programming is not
// finished (flag kPending, or a removal that is due) is not reported: that it differs is no fault,
// and an operator who asks a moment later would look for it in vain. Entries that join software
// after a chip's turn began are not compared with that chip, so that a turn ends though more and
// more of them come. What differs throughout a turn, and is not pending, is reported. When software
// changes an entry between the turns of two chips, what was found of it before is dropped for what
// is found after: a report shows one state of the software entry.
//
// Odd requests. A chip that there is not, or that goes while it is read, has nothing more to
// compare; what was found of it stays. A chip named twice is read once. The null chip closes a
// table: its completion flag is set when everything that was asked for it, before the closing
// request or after, is done. A request after that opens the table again.
//
// A table whose findings take more memory than the reader's policy allows is given up: what was
// asked for it is dropped, and it says why (MacResultTable::whyGivenUp). The memory is counted by
// what a finding is made of, not measured.
//
// A table that nobody but the reader holds is dropped, with all that was asked for it, at the start
// of the next turn: its client has gone. The reader keeps hold of a finished table, too, until its
// client lets go of it: results can be half a million entries, which take longer to be freed than
// others should have to wait, and so they are taken apart in pieces.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>

#include "agent/chips/HwChips.h"
#include "agent/chips/HwProgrammer.h"
#include "agent/server/LoopClient.h"
#include "platform/base/Clock.h"
#include "platform/base/Tracked.h"
#include "platform/l2/L2TableReadSm.h"
#include "platform/l2/MacTblShadow.h"

namespace KorvoAgent {

class HwTableReader final : public KorvoL2::L2TableReadSm, public LoopClient {
  QEL_TRACKED_ALLOCATION(HwTableReader)
 public:
  /**
   * The chips and the programmer outlive the reader. `resultMemory` is how many bytes the findings
   * of one result table may take.
   */
  HwTableReader(Qel::Ptr<const Qel::Clock> clock, Qel::Ptr<const KorvoL2::MacTblShadow> software,
                HwChips& chips, const HwProgrammer& programmer, std::size_t resultMemory);
  ~HwTableReader() override;

  std::uint64_t createTransactionId() override { return ++lastTransactionId_; }
  void mcastHelperIs(KorvoL2::KorvoL2McastHelper* helper) override { mcastHelper_ = helper; }
  /** Throws AssertionException unless the request names exactly the table of its type. */
  void newReqIs(const KorvoL2::L2TableReadReq& request) override;
  const Qel::TypeData& typeData() const noexcept override;

  /** Tables that are being filled, and the chips that are still to be read for them. */
  std::size_t numTables() const noexcept { return reads_.size(); }
  std::size_t numRequests() const noexcept;
  /** Entries compared so far. */
  std::uint64_t numCompared() const noexcept { return numCompared_; }

  bool runnable() const override { return !reads_.empty() || !leftovers_.empty(); }
  void runPiece() override;
  std::optional<Qel::Duration> nextDeadline() const override;
  void deadlinesPassed(Qel::Duration now) override;

 private:
  /** A result table of either kind; the other one is null. */
  struct ResultTable {
    Qel::Ptr<KorvoL2::DiffMacEntryTable> diff;
    Qel::Ptr<KorvoL2::MissingMacEntryTable> missing;

    friend bool operator==(const ResultTable&, const ResultTable&) = default;
    /** Nobody else holds it. */
    bool abandoned() const noexcept;
    void completeIs(bool complete) const;
    void givenUpFor(const std::string& reason) const;
    bool givenUp() const noexcept;
    /** Frees some entries; false when none is left. */
    bool shrink() const;
  };
  struct Read;

  void takeOverAbandoned();
  void runRead();
  void runDemolition();
  bool step(Read& read);
  const HwChip* chipOf(Read& read);
  void compareSoftware(Read& read, const HwChip& chip);
  void compareHardware(Read& read, const HwChip& chip);

  Qel::Ptr<const Qel::Clock> clock_;
  Qel::Ptr<const KorvoL2::MacTblShadow> software_;
  HwChips& chips_;
  const HwProgrammer& programmer_;
  std::size_t resultMemory_;
  KorvoL2::KorvoL2McastHelper* mcastHelper_ = nullptr;
  std::list<Read> reads_;             // the table at the front is next
  std::list<ResultTable> finished_;   // complete, and still being printed
  std::list<ResultTable> leftovers_;  // nobody's any more, to be taken apart
  Qel::Duration lookAt_{0};           // when finished_ is looked through next
  bool demolitionNext_ = false;
  std::uint64_t lastTransactionId_ = 0;
  std::uint64_t numCompared_ = 0;
};

}  // namespace KorvoAgent
