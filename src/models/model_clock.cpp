#include "models/model_clock.h"

#include <QDateTime>
#include <QTimer>

namespace vells::models {

namespace {

class QtClockTimer : public ClockTimer {
 public:
  QtClockTimer(std::chrono::milliseconds delay, QObject* context, std::function<void()> call) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, context, std::move(call));
    timer_.start(delay);
  }

 private:
  QTimer timer_;
};

}  // namespace

std::int64_t QtTimerClock::nowMs() const {
  return QDateTime::currentMSecsSinceEpoch();
}

TimerHandle QtTimerClock::after(std::chrono::milliseconds delay, QObject* context,
                                std::function<void()> call) {
  return std::make_unique<QtClockTimer>(delay, context, std::move(call));
}

}  // namespace vells::models
