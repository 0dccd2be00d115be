#pragma once

#include <QObject>
#include <QPointer>
#include <QSettings>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "document/records.h"
#include "models/api_client.h"
#include "models/connection_state.h"

namespace vells::models {

class ImageStore;

enum class Workspace { gallery, editor };

// What the user is looking at — app, set, page, language, platform, theme,
// gallery or editor — kept valid against the library, remembered in the
// preferences, and the operations that change it. Main thread only.
class AppModel : public QObject {
  Q_OBJECT
  Q_PROPERTY(int renderVersion READ renderVersion NOTIFY renderVersionChanged)
  Q_PROPERTY(bool isCreatingSet READ isCreatingSet WRITE setCreatingSet NOTIFY isCreatingSetChanged)
  Q_PROPERTY(QString activeSetName READ activeSetNameText NOTIFY activeSetChanged)
  Q_PROPERTY(bool isAddingApp READ isAddingApp NOTIFY isAddingAppChanged)
  Q_PROPERTY(bool isAddingPage READ isAddingPage WRITE setAddingPage NOTIFY isAddingPageChanged)

 public:
  // The reserved set id of an app's live store listing.
  static constexpr std::string_view appStoreSet = "app-store";

  // Reads the selection from `defaults`; makes no request until reconnect().
  AppModel(APIClient& client, ImageStore& images, QSettings& defaults, QObject* parent = nullptr);

  APIClient& client() { return client_; }
  const ConnectionState& connection() const { return connection_; }
  const std::optional<AppConfig>& config() const { return config_; }
  const std::vector<SetPage>& pages() const { return pages_; }

  Workspace workspace() const { return workspace_; }
  void setWorkspace(Workspace workspace);
  DeviceOS os() const { return os_; }
  void setOs(DeviceOS os);
  ThemeName theme() const { return theme_; }
  void setTheme(ThemeName theme);
  const std::optional<std::string>& activeApp() const { return activeApp_; }
  void setActiveApp(std::optional<std::string> app);
  const std::string& activeSet() const { return activeSet_; }
  // A new value is remembered and brings its pages and a clamp.
  void setActiveSet(const std::string& set);
  const std::optional<std::string>& activePage() const { return activePage_; }
  void setActivePage(std::optional<std::string> page);
  const std::string& activeLocale() const { return activeLocale_; }
  void setActiveLocale(const std::string& locale);
  int renderVersion() const { return renderVersion_; }
  bool isCreatingSet() const { return isCreatingSet_; }
  void setCreatingSet(bool creating);
  // The sheets the sidebar opens; the window shows whichever is asked for.
  bool isAddingApp() const { return isAddingApp_; }
  // The step of the five the add-app sheet opens at, 0 to 4.
  int addAppStep() const { return addAppStep_; }
  void setAddingApp(bool adding, int step = 0);
  // The app whose edit sheet is open.
  const std::optional<std::string>& editingApp() const { return editingApp_; }
  void setEditingApp(std::optional<std::string> appId);
  bool isAddingPage() const { return isAddingPage_; }
  void setAddingPage(bool adding);

  // --- derived from the config, the pages and the selection ---
  std::vector<AppSummary> apps() const;
  std::vector<VellSet> setsInActiveApp() const;
  bool hasUnassignedSets() const;
  std::vector<LocaleRef> activeSetLocales() const;
  std::string activeSetName() const;
  QString activeSetNameText() const { return QString::fromStdString(activeSetName()); }
  bool canUseBuiltinPages() const;
  // What a page of the active set is called: its own label, else the
  // built-in page's, else its id.
  std::string pageLabel(const std::string& pageId) const;
  std::optional<std::string> iconURL(const AppSummary* app) const;
  std::vector<std::string> appStoreScreenshots(int width, const std::string& format) const;

  // The preference that maps a generated set's page ids to the files of
  // their views in the app's code (a QVariantMap).
  static QString generatedFilesKey(const std::string& setId);
  // The preference that holds an app's code folder.
  static QString codeFolderKey(const std::string& appId);

  // The folder of an app's source code, as the user chose it.
  std::optional<std::string> codeFolder(const std::string& appId) const;
  void setCodeFolder(const std::string& appId, const std::string& folder);
  void removeCodeFolder(const std::string& appId);
  // The device capture sheet of the active page is asked for.
  bool isShowingCapture() const { return isShowingCapture_; }
  void setShowingCapture(bool showing);

  // --- operations ---
  // Brings the library up and loads it: connecting, then online or offline.
  void reconnect();
  // Reloads the config, then the pages; a failure keeps the old config.
  void refreshConfig(std::function<void()> then = {});
  // Reloads the active set's pages (none on failure), then clamps.
  void loadPages(std::function<void()> then = {});
  void selectApp(std::optional<std::string> appId);
  void createBlankSet(const std::string& name, QObject* receiver, Reply<Done> done);
  void openNewApp(const std::string& appId, const std::string& name, QObject* receiver,
                  Reply<Done> done);
  void duplicateSet(const std::string& from, const std::string& name, QObject* receiver,
                    Reply<VellSet> done);
  void deleteSet(const std::string& id, QObject* receiver, Reply<Done> done);
  void setLocales(const std::string& setId, const std::vector<std::string>& codes,
                  QObject* receiver, Reply<Done> done);
  // A non-empty `profile` (platforms as an array, texts) goes into `info`.
  void addListedApp(const std::string& appId, JSONValue info, const JSONValue::Object& profile,
                    QObject* receiver, Reply<Done> done);
  void linkApp(const std::string& appId, const std::string& storeURL, QObject* receiver,
               Reply<Done> done);
  void deleteApp(const std::string& appId, bool withSets, QObject* receiver, Reply<Done> done);
  // Every picture may have changed: forget decoded ones, raise the version.
  void bumpRenderVersion();
  // The other platform when the set's uploaded screens are only there.
  void platformWithScreensElsewhere(QObject* receiver,
                                    std::function<void(std::optional<DeviceOS>)> done);

 signals:
  void connectionChanged();
  void configChanged();
  void pagesChanged();
  void workspaceChanged();
  void osChanged();
  void themeChanged();
  void activeAppChanged();
  void activeSetChanged();
  void activePageChanged();
  void activeLocaleChanged();
  void renderVersionChanged();
  void isShowingCaptureChanged();
  void isCreatingSetChanged();
  void isAddingAppChanged();
  void editingAppChanged();
  void isAddingPageChanged();

 private:
  void setConnection(ConnectionState state);
  void clampSelection();
  void clampPage();
  void clampLocale();
  const VellSet* findSet(const std::string& id) const;
  const AppSummary* findApp(const std::optional<std::string>& appId) const;
  void saveBlankPages(const std::string& set, std::function<void(std::optional<APIError>)> then);
  void eachSet(std::vector<std::string> ids, std::size_t index, bool withSets,
               std::function<void(std::optional<APIError>)> then);
  void screensOn(std::vector<std::string> pages, std::size_t index, DeviceOS os, std::string locale,
                 std::function<void(bool)> then);

  APIClient& client_;
  ImageStore& images_;
  QSettings& defaults_;

  ConnectionState connection_ = ConnectionState::connecting();
  std::optional<AppConfig> config_;
  std::vector<SetPage> pages_;
  Workspace workspace_ = Workspace::gallery;
  DeviceOS os_ = DeviceOS::android;
  ThemeName theme_ = ThemeName::dark;
  std::optional<std::string> activeApp_;
  std::string activeSet_ = "default";
  std::optional<std::string> activePage_;
  std::string activeLocale_ = "en";
  int renderVersion_ = 0;
  bool isShowingCapture_ = false;
  bool isCreatingSet_ = false;
  bool isAddingApp_ = false;
  int addAppStep_ = 0;
  std::optional<std::string> editingApp_;
  bool isAddingPage_ = false;

  // Only the newest of each kind of load may land.
  std::uint64_t pagesToken_ = 0;
  std::uint64_t configToken_ = 0;
  std::uint64_t connectToken_ = 0;
};

}  // namespace vells::models
