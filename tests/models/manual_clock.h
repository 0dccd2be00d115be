#pragma once

// A clock that only moves when a test says so; due calls run in time order,
// each on the calling (main) thread.
#include <QObject>
#include <QPointer>
#include <map>
#include <memory>

#include "models/model_clock.h"

namespace vells::testing {

class ManualClock : public models::ModelClock {
 public:
  std::int64_t nowMs() const override { return state_->now; }

  models::TimerHandle after(std::chrono::milliseconds delay, QObject* context,
                            std::function<void()> call) override {
    const std::uint64_t id = state_->nextId++;
    state_->due.emplace(id, Entry{state_->now + delay.count(), context, std::move(call)});
    return std::make_unique<Handle>(state_, id);
  }

  // Moves time forward, running every call that falls due on the way.
  void advance(std::chrono::milliseconds by) {
    const std::int64_t end = state_->now + by.count();
    while (true) {
      auto next = state_->due.end();
      for (auto it = state_->due.begin(); it != state_->due.end(); ++it) {
        if (it->second.at <= end && (next == state_->due.end() || it->second.at < next->second.at))
          next = it;
      }
      if (next == state_->due.end()) break;
      state_->now = std::max(state_->now, next->second.at);
      Entry entry = std::move(next->second);
      state_->due.erase(next);
      if (entry.context) entry.call();
    }
    state_->now = end;
  }

  // Calls waiting, for checking that nothing was left behind.
  std::size_t scheduled() const { return state_->due.size(); }

 private:
  struct Entry {
    std::int64_t at;
    QPointer<QObject> context;
    std::function<void()> call;
  };
  struct State {
    std::int64_t now = 1'000'000;
    std::uint64_t nextId = 1;
    std::map<std::uint64_t, Entry> due;
  };
  class Handle : public models::ClockTimer {
   public:
    Handle(std::weak_ptr<State> state, std::uint64_t id) : state_(std::move(state)), id_(id) {}
    ~Handle() override {
      if (auto s = state_.lock()) s->due.erase(id_);
    }

   private:
    std::weak_ptr<State> state_;
    std::uint64_t id_;
  };

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace vells::testing
