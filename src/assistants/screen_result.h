#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <map>
#include <vector>

#include "document/records.h"

namespace vells::assistants {

// A layer drawn from a reply's HTML, waiting for its place on the page.
struct MadeLayer {
  QString asset;
  double width = 0;
  QString role;
  friend bool operator==(const MadeLayer&, const MadeLayer&) = default;
};

// What one screen's reply leaves for saving.
struct ScreenResult {
  std::map<QString, QString> titles;      // locale code to title
  std::map<QString, QString> background;  // style field to value
  QStringList stickers;                   // absolute paths of existing files
  std::vector<MadeLayer> made;
  std::map<QString, QString> replaced;  // old asset to new asset
  friend bool operator==(const ScreenResult&, const ScreenResult&) = default;
};

// Reading a screen's reply and readying its HTML for the renderer.
class ScreenReply {
 public:
  ScreenReply() = delete;

  // The titles, background and stickers of a reply; made layers and
  // replacements come from drawing it.
  static ScreenResult parseResult(const QString& reply);
  // Each "asset:NAME" becomes a data URL of the file at its path, the longest
  // names first so that one name beginning another can't cut it short. A file
  // that can't be read leaves its references as they are.
  static QString inlineAssets(const QString& html, const std::map<QString, QString>& assets);
  // The document with data-theme set on its <html>, wrapped in one when it has none.
  static QString themed(const QString& html, ThemeName theme);
  // The MIME type a data URL of this file gets, by its extension.
  static QString assetMime(const QString& path);
  // A reply's "assets": name to path, text values only.
  static std::map<QString, QString> assets(const QJsonObject& reply);
};

}  // namespace vells::assistants
