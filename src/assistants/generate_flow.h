#pragma once

#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "assistants/detected_tool.h"
#include "assistants/generated_saver.h"
#include "assistants/screenshot_generator.h"

namespace vells::models {
class APIClient;
}

namespace vells::assistants {

// The generate and update flows as a sheet (or the command line) walks
// them: the tool step, the screen chooser, the style step and the render
// step, over one job. The set's documents are written only once the job has
// ended by itself: a Stop before that leaves them exactly as they were.
//
// A sheet binds to `step` for the page it shows, to the job's own
// properties (`generator()`: phase, steps, page states, notices) for the
// rows, and calls chooseTool / startRender / startUpdate / stop.
class GenerateFlow : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString step READ stepName NOTIFY stepChanged)
  Q_PROPERTY(QString title READ title NOTIFY stepChanged)
  Q_PROPERTY(QString subtitle READ subtitle NOTIFY stepChanged)
  Q_PROPERTY(QString error READ error NOTIFY stepChanged)
  Q_PROPERTY(bool isSaving READ isSaving NOTIFY savingChanged)

 public:
  enum class Step { tool, screens, style, render };

  struct Options {
    std::string set;
    QString appName = QStringLiteral("the app");
    QString folder;
    std::vector<std::string> locales{"en"};
    std::map<QString, QString> profile;
    DeviceOS os = DeviceOS::ios;  // the canvas the layers are placed on
    ThemeName theme = ThemeName::light;
    std::optional<QString> loginPath;
  };

  GenerateFlow(models::APIClient& client, QSettings& defaults, Options options,
               QObject* parent = nullptr);

  ScreenshotGenerator& generator() { return *generator_; }
  const Options& options() const { return options_; }

  // Called whenever pictures or documents have changed, for the gallery.
  std::function<void()> onRenderVersion;

  Step step() const { return step_; }
  QString stepName() const;
  QString title() const;
  QString subtitle() const;
  const QString& error() const { return error_; }
  bool isSaving() const { return saving_; }

  // The tool step's button: remembers the choice and starts the discovery.
  void chooseTool(const DetectedTool& tool);
  // The screens step's "Continue".
  void continueToStyle();
  // The style step's "Render <n>".
  void startRender();
  // The update flow: finds the set's pages made from code and redraws them.
  void startUpdate(const DetectedTool& tool);
  void stop();

 signals:
  void stepChanged();
  void savingChanged();
  // The job ended and what it made is in the set (or, after a stop or a
  // failure, nothing was written).
  void ended();

 private:
  void setStep(Step step, QString error = {});
  void save(const ScreenshotGenerator::Results& results, std::function<void()> done);
  void bump();

  models::APIClient& client_;
  QSettings& defaults_;
  Options options_;
  std::unique_ptr<ScreenshotGenerator> generator_;
  std::unique_ptr<GeneratedSaver> saver_;
  Step step_ = Step::tool;
  QString error_;
  bool saving_ = false;
  std::optional<DetectedTool> tool_;
};

}  // namespace vells::assistants
