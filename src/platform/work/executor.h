#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "platform/work/priority.h"

namespace vells::platform {

// A few threads for work nobody waits on at the call: warm-ups, the pages of
// an export. Interactive tasks start before background ones, each kind in the
// order posted. Stop is cooperative: a task gets the executor's stop token and
// looks at it between steps.
//
// Blocking: post() never waits for work; the destructor waits for every
// running task to return.
class Executor {
 public:
  using Task = std::function<void(std::stop_token)>;

  explicit Executor(int threads);
  // Requests stop, then lets the workers drain the queue: tasks not started
  // yet still run, with stop requested, so the clean-up they own (a warm-up
  // key, an export's bookkeeping) still happens. Then joins.
  ~Executor();
  Executor(const Executor&) = delete;
  Executor& operator=(const Executor&) = delete;

  // Queues `task`; false (and the task dropped) once the executor is stopping.
  // A task hands its failures to whoever waits for it; the executor has no one
  // to tell.
  bool post(Priority priority, Task task);

  int threads() const { return static_cast<int>(workers_.size()); }
  // Tasks queued and not started.
  std::size_t pending() const;

 private:
  void work(std::stop_token stop);

  mutable std::mutex mutex_;
  std::condition_variable_any ready_;
  std::deque<Task> interactive_, background_;
  std::stop_source stop_;
  // Last: the workers end before the queues they read.
  std::vector<std::jthread> workers_;
};

}  // namespace vells::platform
