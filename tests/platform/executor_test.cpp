#include "platform/work/executor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <mutex>
#include <string>
#include <vector>

namespace vells::platform {
namespace {

TEST(Executor, InteractiveWorkStartsBeforeBackgroundWorkPostedEarlier) {
  std::vector<std::string> order;
  std::mutex orderMutex;
  auto record = [&](std::string name) {
    return [&, name](std::stop_token) {
      std::lock_guard guard(orderMutex);
      order.push_back(name);
    };
  };
  std::latch release(1);
  {
    Executor executor(1);
    // The one worker is held, so everything after queues behind it.
    executor.post(Priority::interactive, [&](std::stop_token) { release.wait(); });
    executor.post(Priority::background, record("background 1"));
    executor.post(Priority::background, record("background 2"));
    executor.post(Priority::interactive, record("interactive 1"));
    executor.post(Priority::interactive, record("interactive 2"));
    release.count_down();
  }  // drains the queue before it ends
  EXPECT_EQ(order, (std::vector<std::string>{"interactive 1", "interactive 2", "background 1",
                                             "background 2"}));
}

TEST(Executor, EndingAsksRunningWorkToStopAndStillRunsWhatWasQueued) {
  std::latch running(1);
  std::atomic<bool> stopped{false}, queuedSawStop{false}, postedWhileEnding{true};
  {
    Executor executor(1);
    executor.post(Priority::background, [&](std::stop_token stop) {
      running.count_down();
      while (!stop.stop_requested())
        std::this_thread::yield();
      stopped = true;
    });
    executor.post(Priority::background, [&](std::stop_token stop) {
      queuedSawStop = stop.stop_requested();  // its clean-up runs, told to be brief
      postedWhileEnding = executor.post(Priority::interactive, [](std::stop_token) {});
    });
    running.wait();
  }
  EXPECT_TRUE(stopped);
  EXPECT_TRUE(queuedSawStop);
  EXPECT_FALSE(postedWhileEnding);
}

TEST(Executor, AFailingTaskDoesNotEndItsWorker) {
  std::atomic<int> ran{0};
  {
    Executor executor(1);
    executor.post(Priority::interactive, [](std::stop_token) { throw std::runtime_error("x"); });
    executor.post(Priority::interactive, [&](std::stop_token) { ++ran; });
  }
  EXPECT_EQ(ran, 1);
}

}  // namespace
}  // namespace vells::platform
