#pragma once

#include <QString>
#include <QVariantMap>
#include <functional>
#include <optional>
#include <set>
#include <vector>

#include "app/profile_fields.h"
#include "app/sheet_dialog.h"
#include "models/api_client.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace vells::models {
class AppModel;
}

namespace vells::app {

// The five steps of adding an app: its name or store link (looked up when
// the person continues), the platforms, the source folder, a few words about
// it, and a last look before it is added. A failed lookup with a name typed
// goes on by name. After adding, an app with a source folder asks for the
// generate flow through `generateRequested`.
class AddAppSheet : public SheetDialog {
  Q_OBJECT

 public:
  enum class Step { app = 0, platforms, code, about, ready };
  static constexpr int stepCount = 5;

  // `startStep` from 0 to 4 opens that step, anything else the first.
  // `hasAITool` answers, off the main thread, whether an AI tool is usable now.
  AddAppSheet(models::AppModel& app, int startStep, std::function<bool()> hasAITool,
              QWidget* parent);

  Step step() const { return step_; }
  bool isWorking() const { return working_; }
  bool canContinue() const;
  const std::optional<models::APIClient::LookedUpApp>& found() const { return found_; }
  const std::set<DeviceOS>& platforms() const { return platforms_; }
  std::optional<QString> codeFolder() const { return codeFolder_; }
  QString displayName() const;
  // What the library keeps about the app: platforms and the non-empty texts.
  JSONValue::Object profile() const;

  // The forward button: the next step, or adding the app on the last.
  void advance();
  void back();
  void setCodeFolder(std::optional<QString> folder);
  void togglePlatform(DeviceOS os);

 signals:
  // The app was added with a source folder: open generation with this profile
  // ("What it does", "Who it is for", "Category", the non-empty ones).
  void generateRequested(const QVariantMap& profile);

 private:
  void buildAppStep();
  void buildPlatformsStep();
  void buildCodeStep();
  void buildAboutStep();
  void buildReadyStep();
  void lookUp(std::function<void()> then);
  void continueFromApp();
  void finish();
  void storeFolderAndOpen(const std::string& appId);
  void fail(const models::APIError& error);
  void goTo(Step step);
  void refresh();
  void chooseFolder();

  models::AppModel& app_;
  std::function<bool()> hasAITool_;
  Step step_ = Step::app;
  bool working_ = false;
  std::optional<models::APIClient::LookedUpApp> found_;
  QString lookedUpLink_;
  std::set<DeviceOS> platforms_;
  std::optional<QString> codeFolder_;
  std::optional<bool> aiAvailable_;

  QWidget* steps_;
  std::vector<QWidget*> pages_;
  QLabel* stepCounter_;
  QPushButton* back_;
  QLineEdit* name_;
  QLineEdit* link_;
  QLabel* linkHint_;
  QWidget* foundLine_;
  QLabel* foundText_;
  QPushButton* ios_;
  QPushButton* android_;
  QLabel* folderTitle_;
  QLabel* folderDetail_;
  QPushButton* folderButton_;
  QPushButton* disconnect_;
  QLabel* aiNotice_;
  ProfileFields profile_;
  QLabel* readyName_;
  QLabel* readyStore_;
  QLabel* readyPlatforms_;
  QLabel* readyFolder_;
  QLabel* readyProfile_;
};

}  // namespace vells::app
