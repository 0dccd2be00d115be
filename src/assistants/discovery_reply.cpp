#include "assistants/discovery_reply.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <set>

namespace vells::assistants {

namespace {

QString textAt(const QJsonObject& object, const QString& key, const QString& fallback = {}) {
  const QJsonValue value = object.value(key);
  return value.isString() ? value.toString() : fallback;
}

bool boolAt(const QJsonObject& object, const QString& key, bool fallback) {
  const QJsonValue value = object.value(key);
  return value.isBool() ? value.toBool() : fallback;
}

std::optional<QJsonDocument> spanDocument(const QString& reply, QChar open, QChar close) {
  const qsizetype first = reply.indexOf(open);
  const qsizetype last = reply.lastIndexOf(close);
  if (first < 0 || last < first) return std::nullopt;
  QJsonParseError error{};
  QJsonDocument document =
      QJsonDocument::fromJson(reply.mid(first, last - first + 1).toUtf8(), &error);
  if (error.error != QJsonParseError::NoError) return std::nullopt;
  return document;
}

// A picture the app ships, inside its own folder: a path that leaves the
// folder (through "..", or a link) is not the app's to offer.
std::optional<QString> stickerPath(const QString& given, const QString& folder) {
  const QString absolute = QDir::isAbsolutePath(given) ? given : QDir(folder).filePath(given);
  const QFileInfo file(absolute);
  static const std::set<QString> kinds{QStringLiteral("png"), QStringLiteral("jpg"),
                                       QStringLiteral("jpeg"), QStringLiteral("webp")};
  if (!kinds.contains(file.suffix().toLower()) || !file.isFile()) return std::nullopt;
  const QString real = file.canonicalFilePath();
  const QString root = QFileInfo(folder).canonicalFilePath();
  if (root.isEmpty() || !real.startsWith(root + QLatin1Char('/'))) return std::nullopt;
  return QDir::cleanPath(absolute);
}

}  // namespace

std::optional<QJsonObject> DiscoveryReply::replyObject(const QString& reply) {
  const auto document = spanDocument(reply, QLatin1Char('{'), QLatin1Char('}'));
  if (!document || !document->isObject()) return std::nullopt;
  return document->object();
}

QString DiscoveryReply::normalisedId(const QString& wanted) {
  QString id;
  bool gap = false;
  for (const QChar c : wanted.toLower()) {
    const bool kept = (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
                      (c >= QLatin1Char('0') && c <= QLatin1Char('9'));
    if (kept) {
      if (gap && !id.isEmpty()) id += QLatin1Char('-');
      id += c;
      gap = false;
    } else {
      gap = true;
    }
  }
  return id.isEmpty() ? QStringLiteral("screen") : id;
}

std::vector<FoundScreen> DiscoveryReply::parseScreens(const QString& reply) {
  QJsonArray list;
  const auto object = replyObject(reply);
  if (object && object->value(QStringLiteral("screens")).isArray()) {
    list = object->value(QStringLiteral("screens")).toArray();
  } else if (const auto array = spanDocument(reply, QLatin1Char('['), QLatin1Char(']'));
             array && array->isArray()) {
    list = array->array();
  }
  std::vector<FoundScreen> screens;
  std::set<QString> taken;
  for (const QJsonValue& entry : list) {
    const QJsonObject item = entry.toObject();
    const QString name = textAt(item, QStringLiteral("name"));
    if (name.isEmpty()) continue;
    QString id = normalisedId(textAt(item, QStringLiteral("id"), name));
    while (taken.contains(id))
      id += QStringLiteral("-2");
    taken.insert(id);
    screens.push_back({id, name, textAt(item, QStringLiteral("summary")),
                       textAt(item, QStringLiteral("file")),
                       boolAt(item, QStringLiteral("recommended"), false)});
  }
  return screens;
}

std::optional<Design> DiscoveryReply::parseDesign(const QString& reply, const QString& folder) {
  const auto object = replyObject(reply);
  if (!object || !object->value(QStringLiteral("design")).isObject()) return std::nullopt;
  const QJsonObject d = object->value(QStringLiteral("design")).toObject();
  Design design;
  design.summary = textAt(d, QStringLiteral("summary"));
  design.mood = textAt(d, QStringLiteral("mood"));
  design.background = textAt(d, QStringLiteral("background")) == QStringLiteral("solid")
                          ? QStringLiteral("solid")
                          : QStringLiteral("gradient");
  for (const QJsonValue& color : d.value(QStringLiteral("colors")).toArray()) {
    if (color.isString() && color.toString().startsWith(QLatin1Char('#')))
      design.colors << color.toString();
  }
  design.titleColor = textAt(d, QStringLiteral("titleColor"));
  design.accentColor = textAt(d, QStringLiteral("accentColor"));
  design.font = textAt(d, QStringLiteral("font")) == QStringLiteral("openrunde")
                    ? QStringLiteral("openrunde")
                    : QStringLiteral("nunito");
  design.suggestsStickers = boolAt(d, QStringLiteral("stickers"), false);
  for (const QJsonValue& entry : d.value(QStringLiteral("stickerAssets")).toArray()) {
    const QJsonObject asset = entry.toObject();
    if (!asset.value(QStringLiteral("path")).isString()) continue;
    const auto path = stickerPath(asset.value(QStringLiteral("path")).toString(), folder);
    if (!path) continue;
    design.stickerAssets.push_back(
        {textAt(asset, QStringLiteral("name"), QFileInfo(*path).fileName()), *path});
  }
  return design;
}

std::optional<Support> DiscoveryReply::parseSupport(const QString& reply) {
  const auto object = replyObject(reply);
  if (!object || !object->value(QStringLiteral("support")).isObject()) return std::nullopt;
  const QJsonObject s = object->value(QStringLiteral("support")).toObject();
  Support support;
  support.ios = boolAt(s, QStringLiteral("ios"), true);
  support.android = boolAt(s, QStringLiteral("android"), false);
  support.light = boolAt(s, QStringLiteral("light"), true);
  support.dark = boolAt(s, QStringLiteral("dark"), false);
  support.evidence = textAt(s, QStringLiteral("evidence"));
  if (!support.android) support.ios = true;
  if (!support.dark) support.light = true;
  return support;
}

}  // namespace vells::assistants
