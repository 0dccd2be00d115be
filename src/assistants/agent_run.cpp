#include "assistants/agent_run.h"

#include <signal.h>

#include <QFileInfo>
#include <QPointer>
#include <QUuid>

#include "assistants/agent_arguments.h"
#include "assistants/assistant_error.h"
#include "assistants/process_group.h"

namespace vells::assistants {

namespace {

constexpr int kLaunchWaitMs = 10000;
// SIGKILL takes effect at once; this only bounds the reaping.
constexpr int kReapMs = 2000;

}  // namespace

AgentRun::AgentRun(AITool tool, QObject* parent)
    : QObject(parent),
      tool_(tool),
      stream_(std::make_unique<AgentStream>(tool)),
      process_(std::make_unique<QProcess>()) {
  stream_->onToolCall = [this](const ToolCall& call) {
    if (onToolCall) onToolCall(call);
  };
  stream_->onToolResult = [this](bool failed) {
    if (onToolResult) onToolResult(failed);
  };
  stream_->onText = [this](const QString& piece) {
    if (onText) onText(piece);
  };
  silence_.setSingleShot(true);
  total_.setSingleShot(true);
  kill_.setSingleShot(true);
  connect(&silence_, &QTimer::timeout, this, [this] { stopAs(Ending::timedOut); });
  connect(&total_, &QTimer::timeout, this, [this] { stopAs(Ending::timedOut); });
  connect(&kill_, &QTimer::timeout, this, [this] { signalProcessGroup(leader_, SIGKILL); });
}

AgentRun::~AgentRun() {
  // An owner that lets go of a run has no use for its end: the group gets no
  // grace, and the child is reaped here, so a running QProcess is never
  // destroyed and nothing of the tool is left behind.
  process_->disconnect(this);
  if (process_->state() != QProcess::NotRunning) {
    signalProcessGroup(leader_, SIGKILL);
    process_->waitForFinished(kReapMs);
  } else if (kill_.isActive()) {
    signalProcessGroup(leader_, SIGKILL);
  }
}

void AgentRun::terminateGroup() {
  signalProcessGroup(leader_, SIGTERM);
  if (!kill_.isActive()) kill_.start(kStopGrace);
}

void AgentRun::start(const AgentRequest& request, const std::optional<QString>& loginPath) {
  if (process_->state() != QProcess::NotRunning || ending_ != Ending::running || leader_ != 0) {
    throw AssistantError(QStringLiteral("This AI run has already been started."));
  }
  QString geminiSession;
  if (tool_ == AITool::gemini) {
    geminiSession = QUuid::createUuid().toString(QUuid::WithoutBraces).toLower();
    stream_->setSessionId(geminiSession);
  }
  const QStringList arguments =
      agentArguments(tool_, request, static_cast<bool>(onText), geminiSession);
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  if (loginPath) environment.insert(QStringLiteral("PATH"), *loginPath);
  checkArgumentLimits(tool_, arguments, environment.toStringList());

  const QFileInfo binary(request.binary);
  if (!binary.isFile() || !binary.isExecutable()) {
    throw AssistantError(displayName(tool_) + QStringLiteral(" isn’t at ") + request.binary +
                         QStringLiteral(" anymore. Install it again, or choose another AI in "
                                        "Settings."));
  }
  if (!QFileInfo(request.folder).isDir()) {
    throw AssistantError(QStringLiteral("The folder ") + request.folder + QStringLiteral(" for ") +
                         displayName(tool_) + QStringLiteral(" doesn’t exist. Try again."));
  }

  process_->setProgram(request.binary);
  process_->setArguments(arguments);
  process_->setProcessEnvironment(environment);
  process_->setWorkingDirectory(request.folder);
  process_->setStandardInputFile(QProcess::nullDevice());
  process_->setStandardErrorFile(QProcess::nullDevice());
  startInOwnProcessGroup(*process_);
  connect(process_.get(), &QProcess::readyReadStandardOutput, this, &AgentRun::readOutput);
  connect(process_.get(), &QProcess::finished, this, &AgentRun::finished);

  process_->start(QIODevice::ReadOnly);
  if (!process_->waitForStarted(kLaunchWaitMs)) {
    const QString reason = process_->errorString();
    if (process_->state() != QProcess::NotRunning) {
      process_->kill();
      process_->waitForFinished(kLaunchWaitMs);
    }
    process_->disconnect(this);
    throw AssistantError(displayName(tool_) + QStringLiteral(" couldn’t be started: ") + reason);
  }
  leader_ = process_->processId();
  silence_.start(limits_.silence);
  total_.start(limits_.total);
}

void AgentRun::stop() {
  stopAs(Ending::stopped);
}

void AgentRun::stopAs(Ending ending) {
  if (!isRunning() || stopReason_) return;
  stopReason_ = ending;
  silence_.stop();
  total_.stop();
  terminateGroup();
}

bool AgentRun::isRunning() const {
  return process_ && process_->state() != QProcess::NotRunning;
}

std::optional<QString> AgentRun::sessionId() const {
  return stream_->sessionId();
}

qint64 AgentRun::processId() const {
  return isRunning() ? leader_ : 0;
}

void AgentRun::readOutput() {
  const QByteArray block = process_->readAllStandardOutput();
  if (block.isEmpty()) return;
  if (!stopReason_) silence_.start(limits_.silence);
  QPointer<AgentRun> self(this);
  stream_->consume(block);
  if (!self) return;
}

void AgentRun::finished(int exitCode, QProcess::ExitStatus status) {
  QPointer<AgentRun> self(this);
  // The last blocks the child wrote before it exited.
  readOutput();
  if (!self) return;
  silence_.stop();
  total_.stop();
  process_->disconnect(this);
  // Whatever the tool left running in its group goes with it.
  terminateGroup();

  if (stopReason_) {
    ending_ = *stopReason_;
  } else {
    ending_ = status == QProcess::CrashExit ? Ending::killed : Ending::exited;
  }
  const bool ok = status == QProcess::NormalExit && exitCode == 0 && !stream_->reportedError();
  auto exit = std::move(onExit);
  onExit = nullptr;
  if (exit) exit(ok, stream_->finalReply());
}

}  // namespace vells::assistants
