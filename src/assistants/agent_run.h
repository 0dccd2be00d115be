#pragma once

#include <QObject>
#include <QProcess>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "assistants/agent_request.h"
#include "assistants/agent_stream.h"
#include "assistants/ai_tool.h"
#include "assistants/tool_call.h"

namespace vells::assistants {

// One run of one AI tool as a child process: started with a read-only
// argument vector, read line by line, reported through the callbacks, ended
// once. It lives on the main thread, and every callback comes there. The child
// runs in its own process group, so a stop reaches whatever the tool started.
//
// Owners set the callbacks before `start` and keep the run until `onExit` has
// come. A run dropped early says nothing more; a child still running then is
// killed with its group and reaped at once. Inside a callback, release the run
// with deleteLater().
class AgentRun : public QObject {
  Q_OBJECT

 public:
  // How the run came to its end.
  enum class Ending {
    running,
    exited,    // the tool ended by itself, well or not
    stopped,   // the owner stopped it
    timedOut,  // it went past a time limit and was stopped
    killed,    // a signal from elsewhere ended it
  };

  struct Limits {
    std::chrono::milliseconds total{std::chrono::minutes(30)};
    // A tool that prints nothing for this long is taken to hang.
    std::chrono::milliseconds silence{std::chrono::minutes(10)};
  };

  // After SIGTERM the group has this long before SIGKILL.
  static constexpr std::chrono::milliseconds kStopGrace{2000};

  std::function<void(const ToolCall&)> onToolCall;
  std::function<void(bool failed)> onToolResult;
  // When set before `start`, Claude Code is asked for the text as it is written.
  std::function<void(const QString& piece)> onText;
  // Comes at most once, after the child has exited: `ok` when it exited with
  // status 0 and its stream reported no failure.
  std::function<void(bool ok, const QString& reply)> onExit;

  explicit AgentRun(AITool tool, QObject* parent = nullptr);
  ~AgentRun() override;

  void setLimits(Limits limits) { limits_ = limits; }

  // Launches the tool; `loginPath` replaces PATH in the application's own
  // environment when known. Throws an AssistantError with the sentence to
  // show when the request is too long to pass or the tool can't be started;
  // then nothing runs.
  void start(const AgentRequest& request, const std::optional<QString>& loginPath);

  // SIGTERM to the child's group, SIGKILL 2 s later to what is left of it
  // while the run is kept; the end then comes the ordinary way, as
  // `Ending::stopped`.
  void stop();

  bool isRunning() const;
  AITool tool() const { return tool_; }
  Ending ending() const { return ending_; }
  // The tool's conversation, to resume on a later turn.
  std::optional<QString> sessionId() const;
  // The child's process id while it runs (its group has the same id).
  qint64 processId() const;

 private:
  void readOutput();
  void finished(int exitCode, QProcess::ExitStatus status);
  void stopAs(Ending ending);
  void terminateGroup();

  AITool tool_;
  Limits limits_;
  Ending ending_ = Ending::running;
  std::optional<Ending> stopReason_;
  std::unique_ptr<AgentStream> stream_;
  std::unique_ptr<QProcess> process_;
  qint64 leader_ = 0;
  QTimer silence_;
  QTimer total_;
  QTimer kill_;
};

}  // namespace vells::assistants
