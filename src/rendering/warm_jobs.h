#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace vells::rendering {

// Detached render warm-ups that still end cleanly: the owner's destruction
// asks every running job to stop after its current page and waits for it, so
// no job outlives the backend and renderer it works with.
class WarmJobs {
 public:
  enum class Priority { interactive, utility };
  // A job gets this to ask, between pages, whether it should give up.
  using ShouldStop = std::function<bool()>;

  WarmJobs() = default;
  WarmJobs(const WarmJobs&) = delete;
  WarmJobs& operator=(const WarmJobs&) = delete;
  ~WarmJobs();

  void start(Priority priority, std::function<void(const ShouldStop&)> job);

 private:
  struct Job {
    std::thread thread;
    std::atomic<bool> done{false};
  };
  void reapFinished();

  std::mutex mutex_;
  std::list<Job> jobs_;
  std::atomic<bool> stopping_{false};
};

}  // namespace vells::rendering
