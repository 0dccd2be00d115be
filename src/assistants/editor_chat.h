#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "assistants/agent_run.h"
#include "assistants/ai_tool.h"
#include "assistants/chat_prompt.h"
#include "assistants/tool_preference.h"
#include "document/json_value.h"
#include "models/text_fit.h"

namespace vells::models {
class CanvasModel;
}

namespace vells::assistants {

class RunFolder;

// One entry of the conversation. A note comes from the application (the text
// check), not from the AI.
struct ChatMessage {
  enum class Role { user, assistant, note };
  QString id;
  Role role = Role::assistant;
  QString text;
  // What was changed, one line each, shown under the message.
  QStringList applied;
  bool isError = false;
  // Shown as unfinished while the text still grows.
  bool isStreaming = false;
};

// What the chat needs of the computer: the tool to use and its PATH.
struct ChatTools {
  std::function<std::optional<ToolPreference::Choice>()> preferred;
  std::function<std::optional<QString>()> loginPath;
  AgentRun::Limits limits{std::chrono::minutes(10), std::chrono::minutes(3)};
};

// One measuring of the page's text after a turn's changes.
struct TextCheck {
  std::vector<std::string> locales;  // what was measured, in the set's order
  std::vector<TextProblem> problems;
};

// The conversation beside the editor's canvas for one set. A person writes
// what the page should become; an AI tool gets the page as JSON and as a
// picture, its streamed answer is shown, the JSON changes that close the
// answer are applied as ordinary edits (one undo step per request), and the
// text is measured and repaired: by the AI at most twice, then by rule.
//
// The conversation's memory is the tool's own session; each turn sends the
// whole page. Nothing of it is saved. Main thread only.
class EditorChat : public QObject {
  Q_OBJECT

 public:
  static constexpr int kPictureWidth = 720;
  // Repair turns the AI gets for one request before the rule-based fit.
  static constexpr int kMaxRepairs = 2;

  EditorChat(QString setId, models::CanvasModel& canvas, ChatTools tools,
             QObject* parent = nullptr);
  ~EditorChat() override;

  const QString& setId() const { return setId_; }
  const std::vector<ChatMessage>& messages() const { return messages_; }
  bool isRunning() const { return isRunning_; }
  // The status line while no text streams; empty for none.
  const QString& activity() const { return activity_; }
  const QString& draft() const { return draft_; }
  void setDraft(const QString& text);
  const std::optional<QString>& sessionId() const { return sessionId_; }
  const std::optional<AITool>& sessionTool() const { return sessionTool_; }
  int fixRound() const { return fixRound_; }
  // The checks of the current (or last) request, in order.
  const std::vector<TextCheck>& checks() const { return checks_; }
  // The last request got an answer and left no text problem standing.
  bool lastTurnEndedWell() const { return endedWell_; }
  // The tool a turn would use now; asks the cached preference.
  std::optional<AITool> availableTool() const;
  // A page is active, so a request can go.
  bool hasPage() const;
  // The child of the running turn, 0 when none.
  qint64 runningProcess() const;
  // The working folder the tool runs in; empty before the first turn.
  QString folder() const;

  // Sends the draft for the page the app has active. Nothing happens while a
  // turn runs, with an empty draft or with no page.
  void send();
  // A suggestion: the text becomes the draft and goes at once.
  void sendSuggestion(const QString& text);
  // Ends the running tool; its turn ends with "Stopped." or what it had said.
  void stop();
  // "New Conversation": stops a running turn and forgets messages and
  // session. Nothing of the old turn lands in the new conversation.
  void clear();

  // The words of the chat, for the panel and tests.
  static const QString kStopped;
  static const QString kLookingAtPage;
  static const QString kLookingAtScreenshot;
  static const QString kApplying;
  static const QString kCheckingText;
  static const QString kFittingText;

 signals:
  void messageAppended(int index);
  void messageChanged(int index);
  void messagesReset();
  void runningChanged();
  void activityChanged();
  void draftChanged();
  // A request has come to its end, with all its checks.
  void turnEnded();

 private:
  void append(ChatMessage message);
  void changeLast(const std::function<void(ChatMessage&)>& change);
  void setActivity(const QString& text);
  void setRunning(bool running);
  void startTurn(const QString& request, const ToolPreference::Choice& choice,
                 const std::string& page);
  void prepareFolder(std::uint64_t turn, const std::string& page,
                     const std::function<void()>& then);
  void launch(std::uint64_t turn, const QString& prompt, const ToolPreference::Choice& choice);
  void runEnded(std::uint64_t turn, bool ok, const QString& reply);
  void complete(std::uint64_t turn);
  void verifyText(std::uint64_t turn, const std::set<std::string>& locales,
                  const std::function<void(bool repairing)>& then);
  void measure(std::uint64_t turn, const std::vector<std::string>& targets, std::size_t next,
               const std::shared_ptr<TextCheck>& check, const std::function<void()>& then);
  void fitByRule(std::uint64_t turn, std::vector<TextProblem> problems,
                 const std::function<void()>& then);
  void finish(const QString& error);
  void endTurn(bool well);
  void retire(std::unique_ptr<AgentRun> run);
  void takeCheckpoint();
  bool current(std::uint64_t turn) const { return turn == turn_; }

  QString setId_;
  models::CanvasModel& canvas_;
  ChatTools tools_;

  std::vector<ChatMessage> messages_;
  bool isRunning_ = false;
  QString activity_;
  QString draft_;
  std::optional<QString> sessionId_;
  std::optional<AITool> sessionTool_;
  int fixRound_ = 0;
  std::vector<TextCheck> checks_;
  bool endedWell_ = false;
  bool checkpointTaken_ = false;
  // The rule-based fit left problems it couldn't mend.
  bool problemsLeft_ = false;

  // The request under way; a late answer of an older one is dropped.
  std::uint64_t turn_ = 0;
  std::string page_;
  QString streamed_;
  std::optional<QString> finalReply_;
  std::unique_ptr<AgentRun> run_;
  // Runs stopped by a new conversation, kept until their child has exited.
  std::vector<std::unique_ptr<AgentRun>> retired_;
  std::unique_ptr<RunFolder> folder_;
};

}  // namespace vells::assistants
