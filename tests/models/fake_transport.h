#pragma once

// A transport under the client that records every request, counts how many
// run at once, can hold calls until released, and answers with whatever the
// test's function says (or passes on to a real backend).
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

#include "models/api_transport.h"

namespace vells::testing {

class FakeTransport {
 public:
  using Answer = std::function<backend::Response(const backend::Request&)>;

  explicit FakeTransport(Answer answer = {}) : answer_(std::move(answer)) {}

  models::APITransport transport() {
    return models::APITransport{[this](const backend::Request& r) { return handle(r); },
                                [this] {
                                  if (startFailure) throw std::runtime_error(*startFailure);
                                }};
  }

  void setAnswer(Answer answer) {
    std::lock_guard g(mutex_);
    answer_ = std::move(answer);
  }
  // Calls wait inside the transport until release().
  void hold() {
    std::lock_guard g(mutex_);
    held_ = true;
  }
  void release() {
    {
      std::lock_guard g(mutex_);
      held_ = false;
    }
    cv_.notify_all();
  }

  std::vector<backend::Request> requests() const {
    std::lock_guard g(mutex_);
    return requests_;
  }
  int count() const { return started_.load(); }
  int running() const { return running_.load(); }
  int maxRunning() const { return maxRunning_.load(); }

  std::optional<std::string> startFailure;

 private:
  backend::Response handle(const backend::Request& request) {
    Answer answer;
    {
      std::unique_lock lock(mutex_);
      requests_.push_back(request);
      ++started_;
      const int now = ++running_;
      int seen = maxRunning_.load();
      while (now > seen && !maxRunning_.compare_exchange_weak(seen, now)) {
      }
      cv_.wait(lock, [this] { return !held_; });
      answer = answer_;
    }
    backend::Response response =
        answer ? answer(request) : backend::Response::json(JSONValue::Object{{"ok", true}});
    --running_;
    return response;
  }

  mutable std::mutex mutex_;
  std::condition_variable cv_;
  bool held_ = false;
  Answer answer_;
  std::vector<backend::Request> requests_;
  std::atomic<int> started_{0};
  std::atomic<int> running_{0};
  std::atomic<int> maxRunning_{0};
};

// Spins the event loop until `done` holds or `ms` pass; false on time-out.
inline bool spinUntil(const std::function<bool()>& done, int ms = 10000) {
  QElapsedTimer timer;
  timer.start();
  while (!done()) {
    if (timer.elapsed() > ms) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    QThread::usleep(200);
  }
  return true;
}

}  // namespace vells::testing
