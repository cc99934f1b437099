// The base of every time-sliced request state machine.
//
// A request that walks a large table is an object that the agent calls again and again. Each call
// (a slice) prints as many rows as its budget allows, remembers where it stopped and returns; when
// the table is exhausted the machine sets its execution-complete flag and the agent releases it.
//
// The contract between the machine and who drives it:
//  - runCommand() is one slice. It is never entered twice at once, and not called again once
//    executionCompleteFlag() is set.
//  - Inside a slice the machine asks shouldYield() after every row that it printed, and only then.
//    True means: remember the next row's key and return.
//  - shouldYield() is true when the slice has run longer than maxRunTime on the machine's clock;
//    also when the slice has filled its output window or the socket takes no more, so that a
//    reader that is slow or gone costs bounded memory and a slice that prints fast stays short.
//  - A yes stays a yes until the slice ends, whatever drains or runs backwards meanwhile: a machine
//    with a walk inside a walk asks twice.
//  - It is asked after a row, so every slice prints at least one, whatever the clock does.
//  - timeSpent() tells of the time alone, and exactly: shouldYield() looks at the clock only
//    now and then. It is for machines whose output depends on it, and costs a reading of the clock.
//  - A walk that comes by long stretches of entries that print nothing asks shouldYieldSilent()
//    there: it heeds the time and a number of entries and counts no row, so that it changes nothing
//    about what is printed.
//  - An exception that leaves runCommand() ends the request; the machine is not called again.
//  - A reactor may let go of the machine in the middle of a slice, or of the agent's objects that
//    it walks: runCommand() holds the machine, and a machine holds what it was given until it goes.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Attribute.h"
#include "platform/base/Clock.h"
#include "platform/command/AgentCommandRequest.h"

namespace AgentCommand {

/** What bounds a slice besides its time. */
struct SlicePolicy {
  /** Bytes that a slice may print before it yields. */
  std::size_t outputWindow = std::size_t{256} * 1024;
  /** Rows that a slice may print before it yields; 0 is no limit. For tests and debugging. */
  std::uint32_t rowBudget = 0;
  /**
   * Entries that a slice may come by without printing before it yields; 0 is no limit. What the
   * output window is to slices that print: one that does not stays a few milliseconds long, too.
   */
  std::uint32_t silentBudget = 16384;

  friend bool operator==(const SlicePolicy&, const SlicePolicy&) = default;
};

class AgentAsyncCommandRequestSm : public Qel::Entity {
 public:
  /** Runs one slice on the request's socket and format; hands the output to the socket at its end.
   */
  virtual void runCommand() final;
  /** Whether the slice should end now; asked once after every printed row. */
  virtual bool shouldYield() final {
    ++rows_;
    ++rowsInSlice_;
    buffer_->unitEnd();
    if (mustYield_ || buffer_->sliceFull() || reached(rowsInSlice_, slicePolicy_.rowBudget) ||
        timer_.spent()) {
      mustYield_ = true;
    }
    return mustYield_;
  }
  /** The same where an entry took work and printed nothing; asked instead of shouldYield(). */
  bool shouldYieldSilent() {
    ++silentEntries_;
    ++silentInSlice_;
    if (mustYield_ || reached(silentInSlice_, slicePolicy_.silentBudget) || timer_.spent()) {
      mustYield_ = true;
    }
    return mustYield_;
  }
  /** Whether the slice has run longer than maxRunTime; reads the clock. */
  bool timeSpent() { return timer_.spentNow(); }
  /** The body of a slice; a machine overrides it. `format` is a Rendering::OutputFormat. */
  virtual void handleAsyncCommand(std::uint32_t socket, std::uint32_t format);

  QEL_FIXED_ATTRIBUTE(std::string, name)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const AgentCommandRequest>, agentCommandRequest)
  QEL_FIXED_ATTRIBUTE(Qel::Duration, maxRunTime)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const Qel::Clock>, clock)
  Rendering::RendererV2& renderer() const noexcept { return agentCommandRequest_->renderer(); }

  /** Takes the machine into service; a machine calls it from handleInitialized(). */
  void initializeSm() { attributeIs(initialized_, true, "initialized"); }
  QEL_FIXED_ATTRIBUTE(bool, initialized)

  /** Set by the machine when its walk has ended and its trailer is written. */
  QEL_ATTRIBUTE(bool, executionCompleteFlag)
  QEL_ATTRIBUTE(SlicePolicy, slicePolicy)

  /** Rows printed, slices run, and the longest slice so far. */
  std::uint64_t rows() const noexcept { return rows_; }
  /** Entries that took work, printed or silent; a slice that added none had nothing to do. */
  std::uint64_t entriesDone() const noexcept { return rows_ + silentEntries_; }
  std::uint64_t slices() const noexcept { return slices_; }
  Qel::Duration worstSlice() const noexcept { return worstSlice_; }

  const Qel::TypeData& typeData() const noexcept override;

 protected:
  /**
   * `maxRunTime` is the time budget of one slice, measured on `clock`. Throws AssertionException
   * when request or clock is null.
   */
  AgentAsyncCommandRequestSm(std::string name, Qel::Ptr<const AgentCommandRequest> request,
                             Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock);
  ~AgentAsyncCommandRequestSm() override;

 private:
  static constexpr bool reached(std::uint32_t count, std::uint32_t budget) noexcept {
    return budget != 0 && count >= budget;
  }

  Rendering::PrintBuffer* buffer_;  // the renderer's, at hand for shouldYield()
  Qel::BudgetTimer timer_;
  std::uint64_t rows_ = 0;
  std::uint64_t silentEntries_ = 0;
  std::uint64_t slices_ = 0;
  Qel::Duration worstSlice_{0};
  std::uint32_t rowsInSlice_ = 0;
  std::uint32_t silentInSlice_ = 0;
  bool mustYield_ = false;  // this slice was told to end
};

}  // namespace AgentCommand
