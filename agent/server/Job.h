// One accepted request while the agent works on it.
//
// A job is made by the scheduler, which alone changes its state. Its owner is the connection that
// the request came on: it has the sockets and hears what becomes of the job.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "agent/server/Events.h"
#include "agent/server/RequestEnd.h"
#include "agent/server/RequestLine.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/rendering/PrintBuffer.h"

namespace KorvoAgent {

using JobId = std::uint64_t;

class Job;

/** What the scheduler asks of a job's sockets, and what it tells their owner. */
class JobOwner {
 public:
  virtual ~JobOwner() = default;
  /** Asks for one SliceScheduler::writable() as soon as the answer socket takes more. */
  virtual void awaitWritable() = 0;
  /** How much the peer has not read yet, in units of the kernel's own; falls when it reads. */
  virtual std::size_t unread() const = 0;
  /** Whether anybody is told of jobProgress(). */
  virtual bool hearsProgress() const noexcept = 0;
  virtual void jobProgress(const RequestFigures& figures) noexcept = 0;
  /**
   * The last call for a job. The owner lets go of the answer socket before it returns; what the
   * job still holds is released after that and reaches nobody.
   */
  virtual void jobEnded(const RequestEnd& end, const RequestFigures& figures) noexcept = 0;
};

class Job {
 public:
  enum class State : std::uint8_t {
    starting,  ///< its entry is being called
    queued,    ///< its entry is to be called when a check may run
    runnable,  ///< its next slice may run
    waiting,   ///< its last slice had nothing to do yet
    blocked,   ///< the answer socket takes no more for now
  };

  Job(JobId id, RequestLine request, uid_t user, JobOwner& owner, Qel::Duration started)
      : id_(id), request_(std::move(request)), user_(user), owner_(&owner), started_(started) {}

  JobId id() const noexcept { return id_; }
  const RequestLine& request() const noexcept { return request_; }
  /** Who asked, as the kernel told it when the connection was made. */
  uid_t user() const noexcept { return user_; }
  State state() const noexcept { return state_; }
  RequestFigures figures(Qel::Duration now) const;

 private:
  friend class SliceScheduler;

  std::uint64_t bytes() const noexcept {
    return directBytes_ + (output_ == nullptr ? 0 : output_->sent());
  }

  JobId id_;
  RequestLine request_;
  uid_t user_;
  JobOwner* owner_;
  Qel::Duration started_;
  State state_ = State::starting;
  std::function<void()> start_;  // while it is queued: calls its entry
  bool isRunningCheck_ = false;  // is counted as a check that runs

  Qel::Ptr<Rendering::PrintBuffer> output_;
  Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> machine_;  // null when nothing is left to run
  RequestEnd end_;                 // how the job ends once everything has been sent
  std::uint64_t directBytes_ = 0;  // sent by a callback itself, past output_
  std::uint64_t rows_ = 0;
  std::uint64_t slices_ = 0;
  Qel::Duration worstSlice_{0};
  Qel::Duration lastProgress_{0};
  bool idle_ = false;  // the last slice printed nothing and is not the end
  std::uint64_t bytesWhenBlocked_ = 0;
  std::size_t unreadWhenBlocked_ = 0;
};

}  // namespace KorvoAgent
