#include "agent/server/SliceScheduler.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/command/CommandArgument.h"

namespace KorvoAgent {

namespace {

// Deadlines of either kind that one turn of the loop looks at: after a pause that may be all of
// them.
constexpr int kDeadlinesPerTurn = 64;

constexpr std::string_view kPeerGone = "the answer's reader has gone";

std::string currentExceptionText() {
  try {
    throw;
  } catch (const std::exception& e) {
    return AgentCommand::messageOf(e);
  } catch (...) {
    return "unknown exception";
  }
}

}  // namespace

RequestFigures Job::figures(Qel::Duration now) const {
  return {.rows = machine_ == nullptr ? rows_ : machine_->rows(),
          .bytes = bytes(),
          .slices = slices_,
          .worstSlice = worstSlice_,
          .elapsed = std::max(now - started_, Qel::Duration::zero())};
}

JobId SliceScheduler::begin(const RequestLine& request, uid_t user, JobOwner& owner) {
  const JobId id = lastId_ + 1;
  const Qel::Duration now = clock_->now();
  const auto added = jobs_.try_emplace(id, id, request, user, owner, now).first;
  try {
    if (owner.hearsProgress()) silences_.set(id, now + policy_.longestSilence);
  } catch (...) {
    jobs_.erase(added);
    throw;
  }
  lastId_ = id;
  added->second.lastProgress_ = now;
  return id;
}

void SliceScheduler::queueCheck(JobId id, std::function<void()> start) {
  Job* const job = find(id);
  if (job == nullptr) return;
  queuedChecks_.insert(id);
  job->start_ = std::move(start);
  stateIs(*job, Job::State::queued);
}

// A piece of its own: making the machine of a check posts its reads. That ends the job at once
// where no machine is made.
void SliceScheduler::startCheck() {
  Job& job = *find(*queuedChecks_.begin());
  queuedChecks_.erase(queuedChecks_.begin());
  stateIs(job, Job::State::starting);
  job.isRunningCheck_ = true;
  ++numRunningChecks_;
  const std::function<void()> start = std::exchange(job.start_, {});
  start();
}

void SliceScheduler::checkEnded(Job& job) noexcept {
  if (std::exchange(job.isRunningCheck_, false)) --numRunningChecks_;
}

void SliceScheduler::run(JobId id, Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> machine,
                         Qel::Ptr<Rendering::PrintBuffer> output) {
  Job* const job = find(id);
  if (job == nullptr) return;
  machine->slicePolicyIs(policy_.slice);
  job->machine_ = std::move(machine);
  job->output_ = std::move(output);
  queue(*job);
}

void SliceScheduler::drain(JobId id, Qel::Ptr<Rendering::PrintBuffer> output, RequestEnd end,
                           std::uint64_t directBytes, Qel::Duration took) {
  Job* const job = find(id);
  if (job == nullptr) return;
  job->output_ = std::move(output);
  job->end_ = std::move(end);
  job->directBytes_ = directBytes;
  job->slices_ = 1;
  job->worstSlice_ = std::max(took, Qel::Duration::zero());
  job->output_->flush();
  settle(*job);
}

void SliceScheduler::end(JobId id, const RequestEnd& end) {
  const auto it = jobs_.find(id);
  if (it == jobs_.end()) return;
  stateIs(it->second, Job::State::starting);
  deadlines_.erase(id);
  silences_.erase(id);
  queuedChecks_.erase(id);
  checkEnded(it->second);
  const RequestFigures figures = it->second.figures(clock_->now());
  // Out of the table first: the owner may look at the other jobs or end them.
  const auto ended = jobs_.extract(it);
  ended.mapped().owner_->jobEnded(end, figures);
}

void SliceScheduler::endAll(const RequestEnd& end) {
  while (!jobs_.empty()) this->end(jobs_.begin()->first, end);
}

void SliceScheduler::writable(JobId id) {
  Job* const job = find(id);
  if (job == nullptr || job->state() != Job::State::blocked) return;
  job->output_->flush();
  settle(*job);
}

std::size_t SliceScheduler::numRequestsOf(uid_t user) const {
  return static_cast<std::size_t>(std::ranges::count_if(jobs_, [user](const auto& item) {
    return item.second.user() == user && item.second.request().entry != Entry::agent;
  }));
}

void SliceScheduler::runPiece() {
  if (checkMayStart()) {
    startCheck();
    return;
  }
  if (Job* const job = takeRunnable()) runSlice(*job);
}

std::optional<Qel::Duration> SliceScheduler::nextDeadline() const {
  std::optional<Qel::Duration> next = deadlines_.next();
  const std::optional<Qel::Duration> silence = silences_.next();
  if (silence && (!next || *silence < *next)) next = silence;
  return next;
}

void SliceScheduler::deadlinesPassed(Qel::Duration now) {
  for (int i = 0; i < kDeadlinesPerTurn; ++i) {
    const std::optional<JobId> id = deadlines_.takePassed(now);
    if (!id) break;
    Job* const job = find(*id);
    if (job == nullptr) continue;
    try {
      deadlinePassed(*job, now);
    } catch (...) {
      // Its deadline has been taken: nothing would ever come back to it.
      end(*id, {RequestStatus::error, currentExceptionText()});
    }
  }
  for (int i = 0; i < kDeadlinesPerTurn; ++i) {
    const std::optional<JobId> id = silences_.passed(now);
    if (!id) break;
    tellProgress(*find(*id), now);
  }
}

void SliceScheduler::deadlinePassed(Job& job, Qel::Duration now) {
  if (job.state() == Job::State::waiting) {
    queue(job);
    return;
  }
  // A slow reader empties the kernel's buffers long before they take more.
  const std::size_t unread = job.owner_->unread();
  if (unread < job.unreadWhenBlocked_) {
    job.unreadWhenBlocked_ = unread;
    deadlines_.set(job.id(), now + policy_.clientTimeout);
    return;
  }
  end(job.id(), {RequestStatus::clientGone,
                 fmt::format("nothing of the answer was read for {} s",
                             std::chrono::duration<double>(policy_.clientTimeout).count())});
}

Job* SliceScheduler::find(JobId id) {
  const auto it = jobs_.find(id);
  return it == jobs_.end() ? nullptr : &it->second;
}

Job* SliceScheduler::takeRunnable() {
  while (!queue_.empty()) {
    Job* const job = find(queue_.front());
    queue_.pop_front();
    if (job != nullptr && job->state() == Job::State::runnable) return job;
  }
  return nullptr;
}

void SliceScheduler::queue(Job& job) {
  queue_.push_back(job.id());
  stateIs(job, Job::State::runnable);
}

void SliceScheduler::stateIs(Job& job, Job::State state) {
  if (job.state_ == Job::State::runnable) --numRunnable_;
  job.state_ = state;
  if (job.state_ == Job::State::runnable) ++numRunnable_;
}

void SliceScheduler::runSlice(Job& job) {
  const Qel::Duration start = clock_->now();
  const std::uint64_t doneBefore = job.machine_->entriesDone();
  const std::uint64_t bytesBefore = job.output_->appended();
  bool ended = false;
  try {
    job.machine_->runCommand();
    ended = job.machine_->executionCompleteFlag();
  } catch (...) {
    ended = true;
    job.end_ = {RequestStatus::error, currentExceptionText()};
    // The rows up to here may be of use, and nothing says that they are all: the status does.
    job.output_->flush();
  }
  ++job.slices_;
  job.worstSlice_ = std::max(job.worstSlice_, clock_->now() - start);
  job.idle_ =
      !ended && job.machine_->entriesDone() == doneBefore && job.output_->appended() == bytesBefore;
  if (ended) releaseMachine(job);
  try {
    settle(job);
  } catch (...) {
    end(job.id(), {RequestStatus::error, currentExceptionText()});
  }
}

void SliceScheduler::releaseMachine(Job& job) {
  job.rows_ = job.machine_->rows();
  job.machine_.reset();
  checkEnded(job);
}

// Where a job goes after it wrote something: on, into waiting, or to its end.
void SliceScheduler::settle(Job& job) {
  if (job.output_->failed()) {
    end(job.id(), {RequestStatus::clientGone, std::string(kPeerGone)});
    return;
  }
  if (job.output_->pending() == 0 && job.machine_ == nullptr) {
    end(job.id(), RequestEnd(job.end_));
    return;
  }
  progress(job);
  if (job.output_->pending() != 0) {
    block(job);
    return;
  }
  if (job.idle_) {
    stateIs(job, Job::State::waiting);
    deadlines_.set(job.id(), clock_->now() + policy_.idlePause);
    return;
  }
  deadlines_.erase(job.id());
  queue(job);
}

void SliceScheduler::block(Job& job) {
  const bool readSince = job.state() != Job::State::blocked || job.bytes() != job.bytesWhenBlocked_;
  stateIs(job, Job::State::blocked);
  if (readSince) {
    job.bytesWhenBlocked_ = job.bytes();
    job.unreadWhenBlocked_ = job.owner_->unread();
    deadlines_.set(job.id(), clock_->now() + policy_.clientTimeout);
  }
  job.owner_->awaitWritable();
}

void SliceScheduler::progress(Job& job) {
  const Qel::Duration now = clock_->now();
  const Qel::Duration since = now - job.lastProgress_;
  if (since >= Qel::Duration::zero() && since < policy_.progressInterval) return;
  if (since >= Qel::Duration::zero()) {
    tellProgress(job, now);
  } else {
    // A clock that was set back starts a new interval and says nothing.
    job.lastProgress_ = now;
  }
}

void SliceScheduler::tellProgress(Job& job, Qel::Duration now) noexcept {
  job.lastProgress_ = now;
  if (!job.owner_->hearsProgress()) return;
  silences_.move(job.id(), now + policy_.longestSilence);
  job.owner_->jobProgress(job.figures(now));
}

}  // namespace KorvoAgent
