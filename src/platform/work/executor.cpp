#include "platform/work/executor.h"

namespace vells::platform {

Executor::Executor(int threads) {
  const int count = threads < 1 ? 1 : threads;
  workers_.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    workers_.emplace_back([this] { work(stop_.get_token()); });
}

Executor::~Executor() {
  {
    std::lock_guard guard(mutex_);
    stop_.request_stop();
  }
  ready_.notify_all();
  workers_.clear();  // joins
}

bool Executor::post(Priority priority, Task task) {
  {
    std::lock_guard guard(mutex_);
    if (stop_.stop_requested()) return false;
    (priority == Priority::interactive ? interactive_ : background_).push_back(std::move(task));
  }
  ready_.notify_one();
  return true;
}

std::size_t Executor::pending() const {
  std::lock_guard guard(mutex_);
  return interactive_.size() + background_.size();
}

void Executor::work(std::stop_token stop) {
  for (;;) {
    Task task;
    {
      std::unique_lock lock(mutex_);
      ready_.wait(lock, [&] {
        return !interactive_.empty() || !background_.empty() || stop.stop_requested();
      });
      auto& queue = !interactive_.empty() ? interactive_ : background_;
      if (queue.empty()) return;  // stopping, and nothing left to drain
      task = std::move(queue.front());
      queue.pop_front();
    }
    // Tasks report their own failures (see post); one that escapes anyway
    // must not end a worker that other work depends on.
    try {
      task(stop);
    } catch (...) {
    }
  }
}

}  // namespace vells::platform
