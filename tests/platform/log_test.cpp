#include "platform/log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vells::platform {
namespace {

using Lines = std::vector<std::pair<LogLevel, std::string>>;

TEST(Log, HandlerGetsEveryLineFromTheMinimumLevelUp) {
  Lines lines;
  Log log([&](LogLevel level, std::string_view message) { lines.emplace_back(level, message); });
  log.debug("hidden");
  log.info("started");
  log.error("stopped");
  log.setMinimumLevel(LogLevel::debug);
  log.debug("shown");
  EXPECT_EQ(lines, (Lines{{LogLevel::info, "started"},
                          {LogLevel::error, "stopped"},
                          {LogLevel::debug, "shown"}}));
}

TEST(Log, StderrUntilAHandlerIsSetAndAfterItIsCleared) {
  Log log;
  ::testing::internal::CaptureStderr();
  log.warning("No thumbnail for a.jpg");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "vellora: warning: No thumbnail for a.jpg\n");

  Lines lines;
  log.setHandler(
      [&](LogLevel level, std::string_view message) { lines.emplace_back(level, message); });
  ::testing::internal::CaptureStderr();
  log.warning("to the handler");
  log.setHandler({});
  log.error("back to stderr");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "vellora: error: back to stderr\n");
  EXPECT_EQ(lines, (Lines{{LogLevel::warning, "to the handler"}}));
}

TEST(Log, AHandlerMayWriteToTheLogAndManyThreadsMayWriteAtOnce) {
  Log log;
  std::atomic<int> count{0};
  log.setHandler([&](LogLevel level, std::string_view) {
    ++count;
    if (level == LogLevel::error) log.info("after an error");  // no lock of ours is held
  });
  std::vector<std::jthread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i)
        log.error("failed");
    });
  }
  threads.clear();
  EXPECT_EQ(count.load(), 800);
}

}  // namespace
}  // namespace vells::platform
