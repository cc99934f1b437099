#include "platform/command/AgentAsyncCommandRequestSm.h"

#include <algorithm>
#include <utility>

#include "platform/base/Exceptions.h"

namespace AgentCommand {

AgentAsyncCommandRequestSm::AgentAsyncCommandRequestSm(std::string name,
                                                       Qel::Ptr<const AgentCommandRequest> request,
                                                       Qel::Duration maxRunTime,
                                                       Qel::Ptr<const Qel::Clock> clock)
    : name_(std::move(name)),
      agentCommandRequest_(std::move(request)),
      maxRunTime_(maxRunTime),
      clock_(std::move(clock)) {
  QEL_ASSERT(agentCommandRequest_ != nullptr);
  QEL_ASSERT(clock_ != nullptr);
  buffer_ = &renderer().buffer();
  timer_.start(*clock_, maxRunTime_);  // for who calls handleAsyncCommand() without runCommand()
}

AgentAsyncCommandRequestSm::~AgentAsyncCommandRequestSm() = default;

void AgentAsyncCommandRequestSm::runCommand() {
  QEL_ASSERT(!executionCompleteFlag_);
  const Qel::Ptr<const Qel::Entity> held = hold();
  ++slices_;
  rowsInSlice_ = 0;
  silentInSlice_ = 0;
  mustYield_ = false;
  buffer_->sliceBegin(slicePolicy_.outputWindow);
  timer_.start(*clock_, maxRunTime_);
  handleAsyncCommand(agentCommandRequest_->socket(), agentCommandRequest_->outputFormat());
  // What a slice printed is on its way before the next one starts: the first byte of a dump never
  // waits for a full buffer.
  if (!buffer_->blocked()) buffer_->flush();
  worstSlice_ = std::max(worstSlice_, timer_.elapsed());
}

void AgentAsyncCommandRequestSm::handleAsyncCommand(std::uint32_t, std::uint32_t) {
  throw Qel::NoImplementationException("not implemented in base-class");
}

const Qel::TypeData& AgentAsyncCommandRequestSm::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"AgentCommand::AgentAsyncCommandRequestSm"};
  return kType;
}

}  // namespace AgentCommand
