// A request state machine that prints numbered rows, for tests of what drives one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "platform/base/Tracked.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"

namespace KorvoAgent {

/** The text of row `i`; sixteen bytes up to a million rows. */
inline std::string rowText(std::uint64_t i) {
  std::string digits = std::to_string(i);
  return "row " + std::string(11 - std::min<std::size_t>(11, digits.size()), '0') + digits + "\n";
}

inline std::string rowsText(std::uint64_t rows) {
  std::string text;
  for (std::uint64_t i = 0; i < rows; ++i) text += rowText(i);
  return text + "end\n";
}

class RowsMachine final : public AgentCommand::AgentAsyncCommandRequestSm {
  QEL_TRACKED_ALLOCATION(RowsMachine)
 public:
  using Hook = std::function<void(std::uint64_t row)>;

  /** Prints `rows` rows and "end\n"; `beforeRow` may throw. */
  RowsMachine(const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
              Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock, std::uint64_t rows,
              Hook beforeRow = {})
      : AgentAsyncCommandRequestSm(request->requestString(), request, maxRunTime, std::move(clock)),
        rows_(rows),
        beforeRow_(std::move(beforeRow)) {}

  void handleAsyncCommand(std::uint32_t, std::uint32_t) override {
    while (next_ < rows_) {
      if (beforeRow_) beforeRow_(next_);
      renderer().buffer().append(rowText(next_));
      ++next_;
      if (shouldYield() && next_ < rows_) return;
    }
    renderer().buffer().append("end\n");
    renderer().ioflush();
    executionCompleteFlagIs(true);
  }

 private:
  std::uint64_t rows_;
  Hook beforeRow_;
  std::uint64_t next_ = 0;
};

}  // namespace KorvoAgent
