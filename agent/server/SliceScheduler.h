// Decides which request runs next, and when one waits or ends.
//
// A policy without sockets: output goes to print buffers, readiness comes in through writable(),
// time through the injected clock. The event loop calls runPiece() at most once per turn, so that
// sockets and timers are looked at between any two slices.
//
//   queued --its turn--> starting
//   starting --run()--> runnable --slice--> runnable         (to the back of the queue)
//                           |                  |
//                           |             output left over
//                           v                  v
//      drain() ---------> blocked --writable(), all sent--> runnable, or the end
//
// A blocked job is never polled: it moves on when its socket says so. While nothing of its output
// is read for the client timeout, it is ended with client-gone.
//
// Checks, which hold a table of findings each, run only so many at a time. The others are queued in
// the order in which they came, and hold nothing but their request. A check stops counting when its
// machine has been let go of, which is before the last of its answer has been read.
//
// Owners that hear of progress hear something in every state: of a job that runs after its slices,
// of one that is silent when the time for that is up.
//
// A slice that printed nothing and is not the end waits for something else that the agent does. Its
// job is asked again after a pause, which costs next to nothing and keeps nobody from sleeping.
//
// Threading: the agent's event-loop thread only. Owners are called from within these functions and
// may end other jobs, but not the one that they are being called for.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "agent/server/DeadlineQueue.h"
#include "agent/server/Job.h"
#include "agent/server/LoopClient.h"
#include "platform/base/Clock.h"

namespace KorvoAgent {

struct SchedulerPolicy {
  AgentCommand::SlicePolicy slice;
  /** How many checks run at a time. */
  std::size_t checks = 4;
  /** How long a client may read nothing of what waits for it. */
  Qel::Duration clientTimeout = std::chrono::seconds(60);
  /** How long a job pauses whose slice had nothing to do yet. */
  Qel::Duration idlePause = std::chrono::milliseconds(2);
  /** The least time between two progress events of a job. */
  Qel::Duration progressInterval = std::chrono::milliseconds(100);
  /** The longest. Clients count on five seconds; the rest is for turns that take long. */
  Qel::Duration longestSilence = std::chrono::seconds(4);
};

class SliceScheduler final : public LoopClient {
 public:
  SliceScheduler(Qel::Ptr<const Qel::Clock> clock, const SchedulerPolicy& policy)
      : clock_(std::move(clock)), policy_(policy) {}

  /** Takes a request in; it counts as active until it ends. `owner` must outlive the job. */
  JobId begin(const RequestLine& request, uid_t user, JobOwner& owner);
  /** Calls `start`, which makes the machine of a check, as soon as the check may run; not now. */
  void queueCheck(JobId id, std::function<void()> start);
  /** Runs `machine` in slices; all its output goes to `output`. */
  void run(JobId id, Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> machine,
           Qel::Ptr<Rendering::PrintBuffer> output);
  /**
   * A callback has answered at once: it sent `directBytes` itself in `took`, and the rest is in
   * `output`. The job ends with `end` when that is sent.
   */
  void drain(JobId id, Qel::Ptr<Rendering::PrintBuffer> output, RequestEnd end,
             std::uint64_t directBytes, Qel::Duration took);
  /** Ends a job now; what it has not sent is dropped. Nothing happens if it has ended already. */
  void end(JobId id, const RequestEnd& end);
  void endAll(const RequestEnd& end);
  /** The answer socket of a job that waits for it takes more, or reports an error. */
  void writable(JobId id);

  const std::map<JobId, Job>& jobs() const noexcept { return jobs_; }
  /** Requests taken in since the agent started. */
  std::uint64_t numBegun() const noexcept { return lastId_; }
  /** How many of the active ones are `user`'s; questions to the agent are not counted. */
  std::size_t numRequestsOf(uid_t user) const;
  const Qel::Clock& clock() const noexcept { return *clock_; }

  bool runnable() const override { return numRunnable_ != 0 || checkMayStart(); }
  void runPiece() override;
  std::optional<Qel::Duration> nextDeadline() const override;
  void deadlinesPassed(Qel::Duration now) override;

 private:
  Job* find(JobId id);
  Job* takeRunnable();
  bool checkMayStart() const noexcept {
    return !queuedChecks_.empty() && numRunningChecks_ < policy_.checks;
  }
  void startCheck();
  void checkEnded(Job& job) noexcept;
  void stateIs(Job& job, Job::State state);
  void runSlice(Job& job);
  void deadlinePassed(Job& job, Qel::Duration now);
  void releaseMachine(Job& job);
  void settle(Job& job);
  void block(Job& job);
  void queue(Job& job);
  void progress(Job& job);
  void tellProgress(Job& job, Qel::Duration now) noexcept;

  Qel::Ptr<const Qel::Clock> clock_;
  SchedulerPolicy policy_;
  std::map<JobId, Job> jobs_;
  std::deque<JobId> queue_;  // may name jobs that have ended or are blocked; they are passed over
  std::size_t numRunnable_ = 0;
  std::set<JobId> queuedChecks_;  // numbers ascend as requests come
  std::size_t numRunningChecks_ = 0;
  DeadlineQueue<JobId> deadlines_;  // of jobs that wait or are blocked
  DeadlineQueue<JobId> silences_;   // of all whose owners hear of progress: when they are to
  JobId lastId_ = 0;
};

}  // namespace KorvoAgent
