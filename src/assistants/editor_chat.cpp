#include "assistants/editor_chat.h"

#include <QFile>
#include <QPointer>
#include <QTimer>
#include <QUuid>
#include <algorithm>

#include "assistants/ai_tool_words.h"
#include "assistants/assistant_error.h"
#include "assistants/chat_changes.h"
#include "assistants/chat_picture.h"
#include "assistants/chat_reply.h"
#include "assistants/chat_state.h"
#include "assistants/run_folder.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"

namespace vells::assistants {

const QString EditorChat::kStopped = QStringLiteral("Stopped.");
const QString EditorChat::kLookingAtPage = QStringLiteral("Looking at the page");
const QString EditorChat::kLookingAtScreenshot = QStringLiteral("Looking at the screenshot");
const QString EditorChat::kApplying = QStringLiteral("Applying");
const QString EditorChat::kCheckingText = QStringLiteral("Checking the text");
const QString EditorChat::kFittingText = QStringLiteral("Fitting the text");

namespace {

const QString kPictureName = QStringLiteral("current.jpg");

ChatMessage message(ChatMessage::Role role, QString text = {}) {
  ChatMessage m;
  m.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
  m.role = role;
  m.text = std::move(text);
  return m;
}

QStringList lines(const std::vector<std::string>& texts) {
  QStringList out;
  for (const std::string& text : texts)
    out << QString::fromStdString(text);
  return out;
}

std::string word(DeviceOS os) {
  return std::string(rawValue(os));
}
std::string word(ThemeName theme) {
  return std::string(rawValue(theme));
}

}  // namespace

EditorChat::EditorChat(QString setId, models::CanvasModel& canvas, ChatTools tools, QObject* parent)
    : QObject(parent), setId_(std::move(setId)), canvas_(canvas), tools_(std::move(tools)) {}

EditorChat::~EditorChat() = default;

void EditorChat::setDraft(const QString& text) {
  if (draft_ == text) return;
  draft_ = text;
  emit draftChanged();
}

std::optional<AITool> EditorChat::availableTool() const {
  if (!tools_.preferred) return std::nullopt;
  auto choice = tools_.preferred();
  return choice ? std::optional(choice->tool) : std::nullopt;
}

bool EditorChat::hasPage() const {
  return canvas_.app().activePage().has_value();
}

qint64 EditorChat::runningProcess() const {
  return run_ ? run_->processId() : 0;
}

QString EditorChat::folder() const {
  return folder_ ? folder_->path() : QString();
}

void EditorChat::append(ChatMessage m) {
  messages_.push_back(std::move(m));
  emit messageAppended(static_cast<int>(messages_.size()) - 1);
}

void EditorChat::changeLast(const std::function<void(ChatMessage&)>& change) {
  if (messages_.empty()) return;
  change(messages_.back());
  emit messageChanged(static_cast<int>(messages_.size()) - 1);
}

void EditorChat::setActivity(const QString& text) {
  if (activity_ == text) return;
  activity_ = text;
  emit activityChanged();
}

void EditorChat::setRunning(bool running) {
  if (isRunning_ == running) return;
  isRunning_ = running;
  emit runningChanged();
}

// --- the request ---

void EditorChat::sendSuggestion(const QString& text) {
  setDraft(text);
  send();
}

void EditorChat::send() {
  const QString text = draft_.trimmed();
  const auto& page = canvas_.app().activePage();
  if (text.isEmpty() || isRunning_ || !page) return;
  const auto choice = tools_.preferred ? tools_.preferred() : std::nullopt;
  if (!choice) {
    ChatMessage reply = message(ChatMessage::Role::assistant, ai_tool_words::kNoToolForChatTurn);
    reply.isError = true;
    append(std::move(reply));
    endedWell_ = false;
    emit turnEnded();
    return;
  }
  setDraft(QString());
  append(message(ChatMessage::Role::user, text));
  fixRound_ = 0;
  checks_.clear();
  checkpointTaken_ = false;
  problemsLeft_ = false;
  endedWell_ = false;
  ++turn_;
  page_ = *page;
  startTurn(text, *choice, page_);
}

void EditorChat::startTurn(const QString& request, const ToolPreference::Choice& choice,
                           const std::string& page) {
  ChatMessage reply = message(ChatMessage::Role::assistant);
  reply.isStreaming = true;
  append(std::move(reply));
  setRunning(true);
  setActivity(kLookingAtPage);
  const std::uint64_t turn = turn_;
  // The turn goes on once the panel has shown the request.
  QTimer::singleShot(0, this, [this, turn, request, choice, page] {
    if (!current(turn)) return;
    prepareFolder(turn, page, [this, turn, request, choice, page] {
      models::AppModel& app = canvas_.app();
      app.client().textFit(
          app.activeSet(), page, app.os(), app.theme(), app.activeLocale(), this,
          [this, turn, request, choice, page](models::APIResult<JSONValue> answer) {
            if (!current(turn)) return;
            std::optional<models::TextFit::Report> fit;
            if (answer) fit = models::TextFit::Report::decode(answer.value());
            const QString state = QString::fromStdString(chatState(canvas_, page, fit));
            launch(turn, chat_prompt::turn(state, request), choice);
          });
    });
  });
}

void EditorChat::prepareFolder(std::uint64_t turn, const std::string& page,
                               const std::function<void()>& then) {
  try {
    if (!folder_) folder_ = std::make_unique<RunFolder>(QStringLiteral("vells-chat-") + setId_);
  } catch (const AssistantError& e) {
    return finish(QString::fromUtf8(e.what()));
  }
  const QString picture = folder_->filePath(kPictureName);
  QFile::remove(picture);
  models::AppModel& app = canvas_.app();
  const auto url =
      models::APIClient::url("/composite", {{"set", app.activeSet()},
                                            {"page", page},
                                            {"os", word(app.os())},
                                            {"theme", word(app.theme())},
                                            {"locale", app.activeLocale()},
                                            {"v", std::to_string(app.renderVersion())}});
  if (!url) return then();
  // Without a picture the turn goes on: the state carries the page.
  app.client().download(
      *url, this,
      [this, turn, picture, then](models::APIResult<models::APIClient::Download> answer) {
        if (!current(turn)) return;
        if (answer) {
          const auto jpeg =
              downscaledJPEG(QByteArray::fromStdString(answer.value().bytes), kPictureWidth);
          if (jpeg) {
            QFile file(picture);
            if (!file.open(QIODevice::WriteOnly) || file.write(*jpeg) != jpeg->size()) {
              file.close();
              QFile::remove(picture);
            }
          }
        }
        then();
      });
}

void EditorChat::launch(std::uint64_t turn, const QString& prompt,
                        const ToolPreference::Choice& choice) {
  // A change of tool starts a new conversation.
  if (sessionTool_ != choice.tool) sessionId_.reset();
  auto run = std::make_unique<AgentRun>(choice.tool);
  run->setLimits(tools_.limits);
  streamed_.clear();
  finalReply_.reset();
  QPointer<EditorChat> self(this);
  run->onText = [self, turn](const QString& piece) {
    if (!self || !self->current(turn)) return;
    self->streamed_ += piece;
    self->setActivity(QString());
    const QString shown = chat_reply::shownText(self->streamed_);
    self->changeLast([&](ChatMessage& m) { m.text = shown; });
  };
  run->onToolCall = [self, turn](const ToolCall&) {
    if (!self || !self->current(turn)) return;
    self->setActivity(kLookingAtScreenshot);
    // What the tool said before it looked is not part of the answer.
    self->streamed_.clear();
  };
  run->onExit = [self, turn](bool ok, const QString& reply) {
    if (self) self->runEnded(turn, ok, reply);
  };

  AgentRequest request;
  request.binary = choice.binary;
  request.folder = folder_->path();
  request.prompt = prompt;
  // Gemini CLI never resumes: every run of it is a new conversation.
  if (choice.tool != AITool::gemini) request.resume = sessionId_;
  const QString picture = folder_->filePath(kPictureName);
  if (QFile::exists(picture)) request.images = QStringList{picture};
  request.system = chat_prompt::system();
  request.access = AgentAccess::look;
  try {
    run->start(request, tools_.loginPath ? tools_.loginPath() : std::nullopt);
  } catch (const std::exception& e) {
    return finish(QString::fromUtf8(e.what()));
  }
  run_ = std::move(run);
}

void EditorChat::runEnded(std::uint64_t turn, bool ok, const QString& reply) {
  // A run ends inside its own callback: it is released later.
  for (auto it = retired_.begin(); it != retired_.end();) {
    if ((*it)->isRunning()) {
      ++it;
      continue;
    }
    (*it).release()->deleteLater();
    it = retired_.erase(it);
  }
  if (!current(turn) || !run_) return;
  std::unique_ptr<AgentRun> run = std::move(run_);
  const AgentRun::Ending ending = run->ending();
  const AITool tool = run->tool();
  const std::optional<QString> session = run->sessionId();
  run.release()->deleteLater();

  if (session) {
    sessionId_ = session;
    sessionTool_ = tool;
  }
  if (ending == AgentRun::Ending::stopped || ending == AgentRun::Ending::killed)
    return finish(kStopped);
  if (ending == AgentRun::Ending::timedOut) {
    return finish(displayName(tool) + QStringLiteral(" took too long and was stopped. Try again."));
  }
  if (!ok && reply.isEmpty()) {
    sessionId_.reset();
    return finish(displayName(tool) + QStringLiteral(" stopped with an error. Try again."));
  }
  finalReply_ = ok ? std::optional(reply) : std::nullopt;
  QTimer::singleShot(0, this, [this, turn] {
    if (current(turn)) complete(turn);
  });
}

void EditorChat::complete(std::uint64_t turn) {
  const QString answer = finalReply_ ? *finalReply_ : streamed_;
  if (answer.trimmed().isEmpty()) {
    const QString who = sessionTool_ ? displayName(*sessionTool_) : QStringLiteral("The AI");
    return finish(who + QStringLiteral(" didn’t answer. Try again."));
  }
  changeLast([&](ChatMessage& m) {
    m.text = chat_reply::shownText(answer);
    m.isStreaming = false;
  });
  setActivity(QString());
  auto changes = chat_reply::changes(answer);
  if (!changes || changes->empty()) return endTurn(true);

  setActivity(kApplying);
  ChatChanges::apply(
      std::move(*changes), canvas_, [this] { takeCheckpoint(); }, this,
      [this, turn](ChatChanges::Result result) {
        if (!current(turn)) return;
        changeLast([&](ChatMessage& m) { m.applied = lines(result.lines); });
        std::set<std::string> locales = result.locales;
        locales.insert(canvas_.app().activeLocale());
        // The measuring reads what is stored: the saves go out first.
        models::EditorModel& editor = canvas_.editor();
        QPointer<EditorChat> self(this);
        editor.flushTextSave([self, turn, locales, &editor] {
          if (!self || !self->current(turn)) return;
          editor.flushStyleSave([self, turn, locales] {
            if (!self || !self->current(turn)) return;
            self->verifyText(turn, locales, [self, turn](bool repairing) {
              if (!self || !self->current(turn) || repairing) return;
              self->endTurn(!self->problemsLeft_);
            });
          });
        });
      });
}

void EditorChat::takeCheckpoint() {
  // A request is one undo step, its repair turns included.
  if (checkpointTaken_) return;
  checkpointTaken_ = true;
  canvas_.editor().checkpoint();
}

// --- the text check ---

void EditorChat::verifyText(std::uint64_t turn, const std::set<std::string>& locales,
                            const std::function<void(bool repairing)>& then) {
  setActivity(kCheckingText);
  std::vector<std::string> targets;
  for (const LocaleRef& ref : canvas_.app().activeSetLocales()) {
    if (locales.contains(ref.code)) targets.push_back(ref.code);
  }
  auto check = std::make_shared<TextCheck>();
  check->locales = targets;
  measure(turn, targets, 0, check, [this, turn, check, then] {
    checks_.push_back(*check);
    const std::vector<TextProblem>& problems = check->problems;
    if (problems.empty()) return then(false);
    const auto choice = tools_.preferred ? tools_.preferred() : std::nullopt;
    if (fixRound_ < kMaxRepairs && choice) {
      ++fixRound_;
      std::size_t n = 0;
      for (const TextProblem& p : problems)
        n += p.issues.size();
      append(
          message(ChatMessage::Role::note,
                  QStringLiteral("Text check: ") + QString::number(n) + QStringLiteral(" problem") +
                      (n == 1 ? QString() : QStringLiteral("s")) + QStringLiteral(" — asking ") +
                      displayName(choice->tool) + QStringLiteral(" to fix ") +
                      (n == 1 ? QStringLiteral("it") : QStringLiteral("them")) + QLatin1Char('.')));
      startTurn(chat_prompt::repairRequest(problems), *choice, page_);
      return then(true);
    }
    fitByRule(turn, problems, [then] { then(false); });
  });
}

void EditorChat::measure(std::uint64_t turn, const std::vector<std::string>& targets,
                         std::size_t next, const std::shared_ptr<TextCheck>& check,
                         const std::function<void()>& then) {
  if (next == targets.size()) return then();
  models::AppModel& app = canvas_.app();
  const std::string locale = targets[next];
  app.client().textFit(
      app.activeSet(), page_, app.os(), app.theme(), locale, this,
      [this, turn, targets, next, check, then, locale](models::APIResult<JSONValue> answer) {
        if (!current(turn)) return;
        // A failed measure counts as no problems for this round.
        if (answer) {
          if (auto report = models::TextFit::Report::decode(answer.value());
              report && !report->issues.empty())
            check->problems.push_back({locale, report->issues});
        }
        measure(turn, targets, next + 1, check, then);
      });
}

void EditorChat::fitByRule(std::uint64_t turn, std::vector<TextProblem> problems,
                           const std::function<void()>& then) {
  setActivity(kFittingText);
  struct Fitting {
    std::vector<TextProblem> problems;
    std::size_t next = 0;
    std::vector<std::string> changes;
    std::vector<std::string> remaining;
  };
  auto fitting = std::make_shared<Fitting>();
  fitting->problems = std::move(problems);
  // The step holds itself only weakly; the fit under way holds it strongly.
  auto step = std::make_shared<std::function<void()>>();
  std::weak_ptr<std::function<void()>> weakStep = step;
  QPointer<EditorChat> self(this);
  *step = [self, turn, fitting, weakStep, then] {
    if (!self || !self->current(turn)) return;
    models::AppModel& app = self->canvas_.app();
    models::EditorModel& editor = self->canvas_.editor();
    if (fitting->next < fitting->problems.size()) {
      const std::string locale = fitting->problems[fitting->next++].locale;
      models::TextFit::autoFit(
          app.client(), app.activeSet(), self->page_, app.os(), app.theme(), locale, self,
          [fitting, step = weakStep.lock()](models::TextFit::Result result) {
            fitting->changes.insert(fitting->changes.end(), result.changes.begin(),
                                    result.changes.end());
            if (result.remaining) {
              fitting->remaining.insert(fitting->remaining.end(), result.remaining->issues.begin(),
                                        result.remaining->issues.end());
            }
            (*step)();
          });
      return;
    }
    // The fit wrote behind the editor, whose styles are still those before
    // it: they become the request's undo step when none was taken yet.
    if (!fitting->changes.empty()) self->takeCheckpoint();
    editor.loadSet(app, [self, turn, fitting, then] {
      if (!self || !self->current(turn)) return;
      if (!fitting->changes.empty()) {
        ChatMessage fitted = message(ChatMessage::Role::note, QStringLiteral("Fitted the text:"));
        fitted.applied = lines(fitting->changes);
        self->append(std::move(fitted));
      }
      if (!fitting->remaining.empty()) {
        QStringList text{QStringLiteral("Still not right — adjust by hand or ask again:")};
        for (const std::string& issue : fitting->remaining)
          text << QStringLiteral("- ") + QString::fromStdString(issue);
        ChatMessage left = message(ChatMessage::Role::note, text.join(QLatin1Char('\n')));
        left.isError = true;
        self->append(std::move(left));
        self->problemsLeft_ = true;
      }
      then();
    });
  };
  (*step)();
}

// --- ends ---

void EditorChat::finish(const QString& error) {
  changeLast([&](ChatMessage& m) {
    m.isStreaming = false;
    if (m.text.isEmpty()) {
      m.text = error;
      m.isError = true;
    }
  });
  endTurn(false);
}

void EditorChat::endTurn(bool well) {
  endedWell_ = well;
  setActivity(QString());
  setRunning(false);
  emit turnEnded();
}

void EditorChat::stop() {
  if (run_ && run_->isRunning()) run_->stop();
}

void EditorChat::retire(std::unique_ptr<AgentRun> run) {
  if (!run) return;
  if (!run->isRunning()) {
    run.release()->deleteLater();
    return;
  }
  run->stop();
  retired_.push_back(std::move(run));
}

void EditorChat::clear() {
  // Whatever of the old request still comes back is dropped by its identity.
  ++turn_;
  retire(std::move(run_));
  messages_.clear();
  sessionId_.reset();
  sessionTool_.reset();
  fixRound_ = 0;
  checks_.clear();
  streamed_.clear();
  finalReply_.reset();
  emit messagesReset();
  setActivity(QString());
  if (isRunning_) {
    setRunning(false);
    endedWell_ = false;
    emit turnEnded();
  }
}

}  // namespace vells::assistants
