#pragma once

#include <QFont>
#include <QObject>
#include <QString>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vells::models {

class APIClient;

// The page's faces for native text views, so the in-place editor letters
// text as the page does. Loaded once from the library's /fonts/ files; a face
// that didn't load falls back to the system font. Main thread only.
class TextFonts : public QObject {
  Q_OBJECT
  Q_PROPERTY(int version READ version NOTIFY versionChanged)

 public:
  struct File {
    std::string name;
    // "nunito" or "openrunde".
    std::string role;
  };
  // The files requested, in order.
  static const std::vector<File>& files();

  explicit TextFonts(QObject* parent = nullptr);

  bool loading() const { return loading_; }
  // Rises by one after each load, so views redraw.
  int version() const { return version_; }
  bool hasNunito() const { return nunito_.has_value(); }
  const std::map<int, QString>& openRunde() const { return openRunde_; }

  // Requests the files one after the other; does nothing while loading or
  // once Nunito is there. `done` runs at the end.
  void load(APIClient& client, std::function<void()> done = {});
  // The face for a style's font id and weight (0 is the heaviest) at `size`
  // pixels.
  QFont font(const std::string& id, double weight, double size) const;

 signals:
  void versionChanged();

 private:
  void loadFrom(APIClient& client, std::size_t index, std::function<void()> done);

  std::optional<QString> nunito_;
  std::map<int, QString> openRunde_;
  bool loading_ = false;
  int version_ = 0;
};

}  // namespace vells::models
