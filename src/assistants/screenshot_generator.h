#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "assistants/agent_run.h"
#include "assistants/detected_tool.h"
#include "assistants/discovery_reply.h"
#include "assistants/screen_result.h"
#include "assistants/style_direction.h"
#include "assistants/tool_call.h"
#include "assistants/update_page.h"

namespace vells::models {
class APIClient;
}

namespace vells::assistants {

class RunFolder;

// One job that turns an app's source code into screenshots: a discovery run
// that finds the screens and the look, then one run per chosen screen (at
// most three first runs at a time) whose HTML is drawn through the routes for
// every platform and appearance the app has, each followed by one review
// round. Lives on the main thread; sheets, the corner panel and the command
// line bind to its properties and signals.
//
// Stop ends every child (its whole process group: SIGTERM, SIGKILL 2 s later)
// and nothing that comes after it reaches the set: no late exit, draw or
// review changes a thing, and the results are never handed on.
class ScreenshotGenerator : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString phaseName READ phaseName NOTIFY phaseChanged)
  Q_PROPERTY(QString failure READ failure NOTIFY phaseChanged)
  Q_PROPERTY(bool isRunning READ isRunning NOTIFY phaseChanged)
  Q_PROPERTY(bool allDone READ allDone NOTIFY pageStatesChanged)
  Q_PROPERTY(int renderedScreens READ renderedScreens NOTIFY pageStatesChanged)
  Q_PROPERTY(int failedScreens READ failedScreens NOTIFY pageStatesChanged)
  Q_PROPERTY(QStringList stepTexts READ stepTexts NOTIFY stepsChanged)
  Q_PROPERTY(QStringList notices READ notices NOTIFY noticesChanged)
  Q_PROPERTY(int runningChildren READ runningChildren NOTIFY runsChanged)

 public:
  enum class Phase { idle, discovering, choosing, rendering, finished, stopped, failed };
  enum class Mode { generate, update };

  struct Step {
    QUuid id;
    QString symbol;
    QString text;
  };

  struct PageState {
    enum class Kind { waiting, working, failed, done };
    Kind kind = Kind::waiting;
    QString text;
    friend bool operator==(const PageState&, const PageState&) = default;
  };

  struct RenderContext {
    DetectedTool tool;
    std::vector<DeviceOS> platforms;
    QStringList locales;
    std::map<QString, QString> profile;
  };

  using Results = std::map<QString, ScreenResult>;

  static constexpr int kMaxFirstRuns = 3;
  static constexpr int kMaxSteps = 200;
  // More HTML than any screen needs: a reply this large is refused before it
  // reaches the renderer.
  static constexpr qsizetype kMaxHTMLBytes = qsizetype{4} * 1024 * 1024;

  // `loginPath` replaces PATH for the tools when known.
  ScreenshotGenerator(models::APIClient& client, QString appName, QString setId, QString folder,
                      std::optional<QString> loginPath, QObject* parent = nullptr);
  ~ScreenshotGenerator() override;

  // --- the person's choices between discovery and render ---
  std::optional<Design> design;
  std::optional<Support> support;
  bool useStickers = false;
  StyleDirection direction = StyleDirection::minimal;
  QString rating;
  QString review;
  std::set<QString> selected;
  bool wantsUpdate = false;

  // Called after each screen has been drawn (pictures changed).
  std::function<void()> onScreenRendered;
  // Called once, when the job has ended by itself; call `done` when the
  // results are saved. Never called after a stop.
  std::function<void(const Results&, std::function<void()> done)> onResults;

  void discover(const DetectedTool& tool);
  void render(const DetectedTool& tool, const QStringList& locales,
              const std::map<QString, QString>& profile);
  void update(const DetectedTool& tool, const std::vector<UpdatePage>& pages);
  void stop();

  // --- state ---
  const QString& appName() const { return appName_; }
  const QString& setId() const { return setId_; }
  const QString& folder() const { return folder_; }
  Phase phase() const { return phase_; }
  QString phaseName() const;
  const QString& failure() const { return failure_; }
  bool isRunning() const { return phase_ == Phase::discovering || phase_ == Phase::rendering; }
  Mode mode() const { return mode_; }
  const std::vector<Step>& steps() const { return steps_; }
  QStringList stepTexts() const;
  const std::vector<FoundScreen>& screens() const { return screens_; }
  const QStringList& notices() const { return notices_; }
  const std::map<QString, PageState>& pageStates() const { return pageStates_; }
  const Results& results() const { return results_; }
  const std::vector<ThemeName>& appearances() const { return appearances_; }
  const std::vector<DeviceOS>& platforms() const;
  int renderedScreens() const;
  int failedScreens() const;
  bool allDone() const;
  // Children of this job still alive, stopped ones included.
  int runningChildren() const;
  // The keys of the runs holding a slot ("discover" or page ids).
  QStringList runKeys() const;
  // The chosen screens, in the order of `screens`.
  std::vector<FoundScreen> chosenScreens() const;

  // --- words the flows show ---
  // A screen's row: its state's words.
  QString rowText(const QString& pageId) const;
  QString renderTitle() const;
  QString renderSubtitle() const;
  QString panelLine() const;

  // The job's own temporary folder, made at the first call; throws an
  // AssistantError when it can't be made.
  QString workFolder();

  void add(const QString& symbol, const QString& text);
  void describe(const ToolCall& call, const std::optional<QString>& pageId);

 signals:
  void phaseChanged();
  void stepsChanged();
  void screensChanged();
  void pageStatesChanged();
  void noticesChanged();
  void runsChanged();

 private:
  struct DrawOutcome;
  struct DrawJob;

  void setPhase(Phase phase, QString failure = {});
  void setPageState(const QString& id, PageState state);
  void stopAllRuns();
  void start(std::unique_ptr<AgentRun> run, const QString& key, const QString& prompt,
             const std::optional<QString>& resume, const QStringList& extraDirs);
  void discoveryFinished(bool ok, const QString& reply);
  void fillSlots();
  void screenFinished(const FoundScreen& screen, bool ok, const QString& reply,
                      const std::optional<QString>& session);
  void allFinished();
  void draw(const QJsonObject& reply, const QString& page, bool update,
            std::function<void(DrawOutcome)> done);
  void drawNext(std::shared_ptr<DrawJob> job);
  void startReview(const FoundScreen& screen, const std::optional<QString>& session,
                   const std::vector<ScreenSlotKey>& slotKeys, const ScreenResult& result,
                   std::function<void(bool)> done);
  void launchReview(const FoundScreen& screen, const std::optional<QString>& session,
                    const QStringList& pictureLines, const QString& pictureFolder);
  void reviewFinished(const FoundScreen& screen, const QString& reply);
  void drawingEnded(const QString& id);
  QString jobFolder();
  std::unique_ptr<AgentRun> newRun(const std::optional<QString>& pageId);
  bool current(std::uint64_t token) const { return token == token_ && phase_ == Phase::rendering; }
  const FoundScreen* screenById(const QString& id) const;

  models::APIClient& client_;
  QString appName_;
  QString setId_;
  QString folder_;
  std::optional<QString> loginPath_;

  Phase phase_ = Phase::idle;
  QString failure_;
  Mode mode_ = Mode::generate;
  std::vector<Step> steps_;
  std::vector<FoundScreen> screens_;
  QStringList notices_;
  std::map<QString, UpdatePage> updatePages_;
  std::map<QString, PageState> pageStates_;
  std::map<QString, std::unique_ptr<AgentRun>> runs_;
  // Stopped children on their way out: kept so the SIGKILL after the grace
  // still comes, dropped when they have exited.
  std::vector<std::unique_ptr<AgentRun>> stopping_;
  std::vector<FoundScreen> queue_;
  Results results_;
  std::optional<RenderContext> renderContext_;
  std::set<QString> drawing_;
  std::set<QString> reviewed_;
  std::vector<ThemeName> appearances_;
  Results firstResults_;
  std::map<QString, QString> firstReplies_;
  std::unique_ptr<RunFolder> folderForJob_;
  // Raised by every start and stop: an answer carrying an older token
  // belongs to a job that is over.
  std::uint64_t token_ = 0;
  bool resultsHandedOn_ = false;
};

}  // namespace vells::assistants
