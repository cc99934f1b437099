// One of the documents that the plug-in prints: a machine over a made-up switch that grows, and
// what the machine has to print.
//
// Everything about row number i of a switch follows from i, so that a switch of n rows is the same
// in every run and that of n + 1 rows has one row more.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/base/Clock.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/rendering/Renderer.h"

namespace KorvoL2::Testing {

using Machine = Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm>;
using Request = Qel::Ptr<const AgentCommand::AgentCommandRequest>;

/** The time that a slice of every machine has. */
inline constexpr Qel::Duration kSliceTime = std::chrono::milliseconds(50);

/** What a walk prints. It asks whether to yield after each piece, and only then. */
struct Document {
  std::vector<std::string> pieces;
  std::string tail;  ///< what follows the last piece
  /** Pieces behind which a walk goes on to another table though it is told to yield, ascending. */
  std::vector<std::size_t> endsOfTables{};

  std::string text() const {
    std::string all;
    for (const std::string& piece : pieces) all += piece;
    return all + tail;
  }
};

class Dump {
 public:
  virtual ~Dump() = default;

  /** Lets the switch have the rows 0 to `rows` - 1; it never shrinks. */
  void grow(std::size_t rows) {
    for (; size_ < rows; ++size_) add(size_);
  }
  std::size_t size() const noexcept { return size_; }

  /** A machine from its exported factory, in service. The dump outlives it. */
  virtual Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) = 0;
  /** What it prints. */
  virtual Document document() const = 0;
  /**
   * The same where the machine prints its end from piece `from` on twice, as only the two checks
   * do.
   */
  virtual Document documentRepeatedFrom(std::size_t /*from*/) const { return document(); }

 private:
  virtual void add(std::size_t row) = 0;

  std::size_t size_ = 0;
};

/** A kind of document, and what holds for it. */
struct DumpKind {
  std::string name;
  Rendering::OutputFormat format = Rendering::kText;
  std::function<std::unique_ptr<Dump>()> make{};
  /** How many rows there can be. */
  std::size_t maxRows = std::numeric_limits<std::size_t>::max();
  /** How many output windows of the default size that many rows fill, two at most. */
  unsigned defaultWindows = 2;
  /** It has the same end as the checks: see documentRepeatedFrom(). */
  bool repeatsItsEnd = false;
  /** A further row comes behind those that there are. */
  bool rowsAreAppended = true;
  /** The machine asks whether to yield after each piece and never else. */
  bool asksOncePerPiece = true;
  /** The JSON members of this object may be called "1" more than once; "" for none. */
  std::string repeatedKeyIn{};

  bool isJson() const noexcept { return format == Rendering::kJson; }
};

inline void PrintTo(const DumpKind& kind, std::ostream* out) { *out << kind.name; }

// The documents, one function for each family.
std::vector<DumpKind> softwareTableDumps();
std::vector<DumpKind> hardwareTableDumps();
std::vector<DumpKind> differenceReports();
std::vector<DumpKind> missingReports();
std::vector<DumpKind> vxlanVlanDumps();
std::vector<DumpKind> routingInfoDumps();
std::vector<DumpKind> vlanRangeDumps();
std::vector<DumpKind> vlanTranslationDumps();

}  // namespace KorvoL2::Testing
