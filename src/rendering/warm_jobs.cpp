#include "rendering/warm_jobs.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vells::rendering {

namespace {

// Utility work yields the processor to everything the user waits for. Linux
// applies a nice value to the calling thread alone.
void lowerThisThread() {
  const auto tid = static_cast<id_t>(syscall(SYS_gettid));
  setpriority(PRIO_PROCESS, tid, 10);
}

}  // namespace

WarmJobs::~WarmJobs() {
  stopping_ = true;
  std::lock_guard<std::mutex> guard(mutex_);
  for (Job& job : jobs_) {
    if (job.thread.joinable()) job.thread.join();
  }
}

void WarmJobs::reapFinished() {
  for (auto it = jobs_.begin(); it != jobs_.end();) {
    if (it->done) {
      it->thread.join();
      it = jobs_.erase(it);
    } else {
      ++it;
    }
  }
}

void WarmJobs::start(Priority priority, std::function<void(const ShouldStop&)> job) {
  std::lock_guard<std::mutex> guard(mutex_);
  reapFinished();
  Job& slot = jobs_.emplace_back();
  try {
    slot.thread = std::thread([this, &slot, priority, work = std::move(job)] {
      if (priority == Priority::utility) lowerThisThread();
      work([this] { return stopping_.load(); });
      slot.done = true;
    });
  } catch (...) {
    jobs_.pop_back();
    throw;
  }
}

}  // namespace vells::rendering
