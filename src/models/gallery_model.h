#pragma once

#include <QObject>
#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "document/records.h"
#include "models/model_clock.h"

namespace vells::models {

class AppModel;
class FileSaver;

// What the gallery's work depends on; a new value starts it over.
struct GalleryTaskKey {
  std::string set;
  DeviceOS os = DeviceOS::android;
  ThemeName theme = ThemeName::dark;
  int version = 0;
  std::vector<std::string> locales;
  friend bool operator==(const GalleryTaskKey&, const GalleryTaskKey&) = default;
};

// The gallery's view of the render cache: it polls how far the backend has
// come, asks it to fill what is missing, warms the combinations the user is
// likely to look at next, keeps each language's page order, and exports.
// Main thread only.
class GalleryModel : public QObject {
  Q_OBJECT
  Q_PROPERTY(int pendingCount READ pendingCount NOTIFY readyChanged)
  Q_PROPERTY(bool regenerating READ regenerating NOTIFY regeneratingChanged)

 public:
  static constexpr std::chrono::milliseconds pollInterval{1500};
  static constexpr std::chrono::milliseconds retryInterval{4000};
  static constexpr std::chrono::milliseconds warmDelay{4000};

  GalleryModel(AppModel& app, ModelClock& clock, FileSaver& saver, QObject* parent = nullptr);

  // While showing and the workspace is the gallery, a new task key restarts
  // the polling and reloads the order; otherwise everything stops.
  void setShowing(bool showing);
  GalleryTaskKey taskKey() const;

  // Polls the active set, platform and theme as they are now, and warms the
  // neighbours after a while. Answers meant for an earlier start are dropped.
  void start();
  void stop();
  void loadOrder();

  // The renders that exist as "locale:page"; nothing while not yet known.
  const std::optional<std::set<std::string>>& ready() const { return ready_; }
  bool isReady(const std::string& locale, const std::string& page) const;
  int pendingCount() const { return pendingCount_; }
  const OrderDocument& order() const { return order_; }
  // The locale being exported, "*" for all of them.
  const std::optional<std::string>& exporting() const { return exporting_; }
  // The file name of a single page being exported.
  const std::optional<std::string>& exportingOne() const { return exportingOne_; }
  bool regenerating() const { return regenerating_; }
  const std::optional<std::string>& errorMessage() const { return errorMessage_; }
  void dismissError();

  // A language's pages in the order the user gave them; pages added since
  // come last, pages removed since are left out.
  std::vector<std::string> row(const std::string& locale, const std::vector<SetPage>& pages) const;
  void saveRow(std::vector<std::string> row, const std::string& locale);

  // Addresses of a cell's thumbnail and of the full picture.
  std::optional<std::string> thumbnailURL(const std::string& locale, const std::string& page) const;
  std::optional<std::string> fullURL(const std::string& locale, const std::string& page) const;

  // "Clear this combination’s cached renders and rebuild them".
  void regenerate();
  // The set's ZIP, for one language or (nothing) all of them.
  void exportZip(std::optional<std::string> locale);
  // One page; `index` is its place in the language's row.
  void exportOne(const std::string& page, const std::string& locale, int index);

 signals:
  void readyChanged();
  void orderChanged();
  void exportingChanged();
  void regeneratingChanged();
  void errorMessageChanged();
  // An export was written: where it went, or the suggested name when the
  // saver doesn't say.
  void exported(const QString& path);

 private:
  struct Target {
    std::string set;
    DeviceOS os;
    ThemeName theme;
  };
  void follow();
  void poll(std::uint64_t generation);
  void warmNeighbours(std::uint64_t generation);
  void setError(std::optional<std::string> message);
  void setExporting(std::optional<std::string> locale);
  void save(std::string bytes, std::string name, std::function<void()> then);
  void setExportingOne(std::optional<std::string> name);
  std::optional<std::string> compositeURL(const std::string& locale, const std::string& page,
                                          bool thumb) const;

  AppModel& app_;
  ModelClock& clock_;
  FileSaver& saver_;
  bool showing_ = false;
  std::optional<GalleryTaskKey> followed_;

  Target target_;
  std::uint64_t generation_ = 0;
  std::uint64_t orderToken_ = 0;
  TimerHandle pollTimer_;
  TimerHandle warmTimer_;

  std::optional<std::set<std::string>> ready_;
  int pendingCount_ = 0;
  OrderDocument order_;
  std::optional<std::string> exporting_;
  std::optional<std::string> exportingOne_;
  bool regenerating_ = false;
  std::optional<std::string> errorMessage_;
};

}  // namespace vells::models
