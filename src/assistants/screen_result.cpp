#include "assistants/screen_result.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <algorithm>

#include "assistants/discovery_reply.h"

namespace vells::assistants {

ScreenResult ScreenReply::parseResult(const QString& reply) {
  ScreenResult result;
  const auto object = DiscoveryReply::replyObject(reply);
  if (!object) return result;
  const QJsonObject titles = object->value(QStringLiteral("titles")).toObject();
  for (auto it = titles.begin(); it != titles.end(); ++it) {
    if (it.value().isString()) result.titles[it.key()] = it.value().toString();
  }
  const QJsonObject background = object->value(QStringLiteral("background")).toObject();
  for (auto it = background.begin(); it != background.end(); ++it) {
    const QJsonValue value = it.value();
    if (value.isString()) {
      result.background[it.key()] = value.toString();
    } else if (value.isDouble()) {
      result.background[it.key()] = QString::number(value.toDouble());
    } else if (value.isBool()) {
      result.background[it.key()] =
          value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    } else if (value.isNull()) {
      result.background[it.key()] = QStringLiteral("null");
    }
  }
  for (const QJsonValue& entry : object->value(QStringLiteral("stickers")).toArray()) {
    const QString path = entry.isString()
                             ? entry.toString()
                             : entry.toObject().value(QStringLiteral("path")).toString();
    if (!path.isEmpty() && QFileInfo(path).isFile()) result.stickers << path;
  }
  return result;
}

QString ScreenReply::assetMime(const QString& path) {
  const QString ext = QFileInfo(path).suffix().toLower();
  static const std::map<QString, QString> types{
      {QStringLiteral("jpg"), QStringLiteral("image/jpeg")},
      {QStringLiteral("jpeg"), QStringLiteral("image/jpeg")},
      {QStringLiteral("webp"), QStringLiteral("image/webp")},
      {QStringLiteral("svg"), QStringLiteral("image/svg+xml")},
      {QStringLiteral("gif"), QStringLiteral("image/gif")},
      {QStringLiteral("ttf"), QStringLiteral("font/ttf")},
      {QStringLiteral("otf"), QStringLiteral("font/otf")},
      {QStringLiteral("woff"), QStringLiteral("font/woff")},
      {QStringLiteral("woff2"), QStringLiteral("font/woff2")},
  };
  const auto it = types.find(ext);
  return it == types.end() ? QStringLiteral("image/png") : it->second;
}

QString ScreenReply::inlineAssets(const QString& html, const std::map<QString, QString>& assets) {
  std::vector<std::pair<QString, QString>> entries(assets.begin(), assets.end());
  std::stable_sort(entries.begin(), entries.end(),
                   [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
  QString out = html;
  for (const auto& [name, path] : entries) {
    QFile file(path);
    if (name.isEmpty() || !file.open(QIODevice::ReadOnly)) continue;
    const QString url = QStringLiteral("data:") + assetMime(path) + QStringLiteral(";base64,") +
                        QString::fromLatin1(file.readAll().toBase64());
    out.replace(QStringLiteral("asset:") + name, url);
  }
  return out;
}

QString ScreenReply::themed(const QString& html, ThemeName theme) {
  const QString attribute =
      QStringLiteral(" data-theme=\"") + QString::fromUtf8(rawValue(theme)) + QLatin1Char('"');
  const qsizetype at = html.indexOf(QStringLiteral("<html"));
  if (at < 0) {
    return QStringLiteral("<html") + attribute + QLatin1Char('>') + html +
           QStringLiteral("</html>");
  }
  QString out = html;
  out.insert(at + 5, attribute);
  return out;
}

std::map<QString, QString> ScreenReply::assets(const QJsonObject& reply) {
  std::map<QString, QString> assets;
  const QJsonObject given = reply.value(QStringLiteral("assets")).toObject();
  for (auto it = given.begin(); it != given.end(); ++it) {
    if (it.value().isString()) assets[it.key()] = it.value().toString();
  }
  return assets;
}

}  // namespace vells::assistants
