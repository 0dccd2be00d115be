#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

class QObject;

namespace vells::models {

// A scheduled call; destroying the handle cancels it if it hasn't run.
class ClockTimer {
 public:
  virtual ~ClockTimer() = default;
};
using TimerHandle = std::unique_ptr<ClockTimer>;

// Every rule that waits or measures time asks this, so tests can step time
// instead of sleeping. Calls run on the main thread, never before `delay`, and
// never once `context` is destroyed.
class ModelClock {
 public:
  virtual ~ModelClock() = default;
  virtual std::int64_t nowMs() const = 0;
  [[nodiscard]] virtual TimerHandle after(std::chrono::milliseconds delay, QObject* context,
                                          std::function<void()> call) = 0;
};

// The wall clock and the main thread's event loop.
class QtTimerClock : public ModelClock {
 public:
  std::int64_t nowMs() const override;
  TimerHandle after(std::chrono::milliseconds delay, QObject* context,
                    std::function<void()> call) override;
};

}  // namespace vells::models
