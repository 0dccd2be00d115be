#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace vells::assistants {

// One screen of the app as the discovery run named it.
struct FoundScreen {
  QString id;
  QString name;
  QString summary;
  QString file;  // relative to the code folder; may be empty
  bool recommended = false;
  friend bool operator==(const FoundScreen&, const FoundScreen&) = default;
};

// One of the app's own pictures that can stand on a page as a sticker.
struct StickerAsset {
  QString name;
  QString path;  // absolute, and the file existed when the reply was read
  friend bool operator==(const StickerAsset&, const StickerAsset&) = default;
};

// How the app looks, so its screenshots can match it.
struct Design {
  QString summary;
  QString mood;
  QString background = QStringLiteral("gradient");  // "solid" or "gradient"
  QStringList colors;
  QString titleColor;
  QString accentColor;
  QString font = QStringLiteral("nunito");  // "nunito" or "openrunde"
  std::vector<StickerAsset> stickerAssets;
  bool suggestsStickers = false;
  friend bool operator==(const Design&, const Design&) = default;
};

// The platforms and appearances the code really builds; never none of either.
struct Support {
  bool ios = true;
  bool android = false;
  bool light = true;
  bool dark = false;
  QString evidence;
  friend bool operator==(const Support&, const Support&) = default;
};

// Reads an AI tool's answer to the discovery prompt. Every field has a
// default, so a partial answer still works; words around the JSON and code
// fences are tolerated.
class DiscoveryReply {
 public:
  DiscoveryReply() = delete;

  // The text from the first "{" through the last "}" as a JSON object.
  static std::optional<QJsonObject> replyObject(const QString& reply);
  static std::vector<FoundScreen> parseScreens(const QString& reply);
  // Sticker paths are made absolute against `folder` and kept only when the
  // file is a picture that exists inside `folder`.
  static std::optional<Design> parseDesign(const QString& reply, const QString& folder);
  static std::optional<Support> parseSupport(const QString& reply);
  // Lower case, runs outside a-z and 0-9 as one "-", trimmed; "screen" when
  // nothing is left.
  static QString normalisedId(const QString& wanted);
};

}  // namespace vells::assistants
