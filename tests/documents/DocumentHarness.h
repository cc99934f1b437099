// Runs the machine of a document under conditions that a test sets: what ends a slice, how the
// reader reads, and when time passes.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/KorvoL2/RequestHarness.h"
#include "tests/documents/Dump.h"

namespace KorvoL2::Testing {

/** A clock by which the time of a slice is spent as soon as a machine has printed so many rows. */
class RowClock final : public Qel::Clock {
 public:
  /** How the end of a slice's time is to be seen. */
  enum class Seen { always, once };

  RowClock(std::vector<std::uint64_t> spentAfter, Seen seen)
      : spentAfter_(std::move(spentAfter)), seen_(seen) {}

  void machineIs(const AgentCommand::AgentAsyncCommandRequestSm* machine) { machine_ = machine; }
  Qel::Duration now() const override;

 private:
  std::vector<std::uint64_t> spentAfter_;  // ascending
  Seen seen_;
  const AgentCommand::AgentAsyncCommandRequestSm* machine_ = nullptr;
  mutable std::size_t told_ = 0;  // how many of spentAfter_ have been seen
};

/** What ends slices besides the end of the rows; nothing unless given. */
struct Conditions {
  std::size_t window = std::size_t{1} << 40;
  std::uint32_t rowBudget = 0;
  std::vector<std::uint64_t> spentAfter{};  ///< rows after which the time of a slice is spent
  RowClock::Seen seen = RowClock::Seen::always;
};

struct Outcome {
  std::string text;
  std::uint64_t questions = 0;             ///< how often the machine asked whether to yield
  std::vector<std::uint64_t> sliceStarts;  ///< rows printed before each slice
  std::vector<bool> blocked;               ///< of each slice: the socket took no more at its end
  std::size_t yields = 0;                  ///< how often the machine said that it yields
};

class DocumentHarness : public RequestHarness {
 protected:
  static constexpr std::size_t kDefaultWindow = std::size_t{256} * 1024;

  /** On a socket whose reader keeps up. */
  Outcome run(Dump& dump, const DumpKind& kind, const Conditions& conditions);
  /**
   * To a reader that takes `first` bytes in the first slice, `later` in each slice after it, and
   * everything at the end.
   */
  Outcome runBlocked(Dump& dump, const DumpKind& kind, const Conditions& conditions,
                     std::size_t first, std::size_t later);
  /** On the smallest socket there is, with `filler` bytes in it, read empty after each slice. */
  Outcome runOnSmallSocket(Dump& dump, const DumpKind& kind, std::size_t filler);

 private:
  Outcome drive(Dump& dump, const Request& request, const Conditions& conditions,
                const std::function<void()>& betweenSlices);
};

/** Says where two texts differ. */
::testing::AssertionResult isText(const std::string& actual, const std::string& expected);

/** Where slices end by the rules. */
class Slices {
 public:
  /** Slices of `window` bytes, or of `rowBudget` rows; 0 is no limit. */
  Slices(const Document& document, std::size_t window, std::size_t rowBudget = 0);

  /** Rows before each slice, a slice of no rows at the end not counted. */
  const std::vector<std::uint64_t>& starts() const noexcept { return starts_; }
  /** How many slices were ended by their limit. */
  std::size_t full() const noexcept { return full_; }
  /** The last row's slice was ended by its limit. */
  bool endsFull() const noexcept { return endsFull_; }
  /** Bytes in the slice after the last one that was ended by its limit. */
  std::size_t open() const noexcept { return open_; }

 private:
  std::vector<std::uint64_t> starts_{0};
  std::size_t full_ = 0;
  bool endsFull_ = false;
  std::size_t open_ = 0;
};

}  // namespace KorvoL2::Testing
