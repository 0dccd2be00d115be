#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <chrono>
#include <optional>

namespace vells::capture {

// Runs the developer tools of a phone or simulator. Each run has a time
// limit: a tool that hangs (a device that dropped off USB mid-call) is killed
// and counts as failed, so nothing waits for ever.
class ToolRunner {
 public:
  explicit ToolRunner(std::chrono::milliseconds timeLimit) : timeLimit_(timeLimit) {}

  // The tool's standard output when it exits with status 0; absent when it
  // can't start, fails, or runs past the limit. Its standard input and error
  // are the null device.
  std::optional<QByteArray> run(const QString& program, const QStringList& arguments) const;

  std::chrono::milliseconds timeLimit() const { return timeLimit_; }

 private:
  std::chrono::milliseconds timeLimit_;
};

// True for a file that exists and may be run.
bool isExecutable(const QString& path);

}  // namespace vells::capture
