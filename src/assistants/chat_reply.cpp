#include "assistants/chat_reply.h"

#include <algorithm>

namespace vells::assistants::chat_reply {

namespace {

const QString kFence = QStringLiteral("```");

}  // namespace

QString shownText(const QString& answer) {
  const qsizetype fence = answer.indexOf(kFence);
  return (fence < 0 ? answer : answer.left(fence)).trimmed();
}

std::optional<JSONValue::Array> changes(const QString& answer) {
  const QString opening = kFence + QStringLiteral("json");
  const qsizetype at = answer.lastIndexOf(opening);
  if (at < 0) return std::nullopt;
  const qsizetype from = at + opening.size();
  const qsizetype end = answer.indexOf(kFence, from);
  const QString block = end < 0 ? answer.mid(from) : answer.mid(from, end - from);
  const auto value = JSONValue::tryParse(block.toStdString());
  if (!value) return std::nullopt;
  const JSONValue* list = value->find("changes");
  if (!list || !list->isArray()) return std::nullopt;
  const JSONValue::Array& items = *list->asArray();
  if (!std::all_of(items.begin(), items.end(), [](const JSONValue& v) { return v.isObject(); }))
    return std::nullopt;
  return items;
}

}  // namespace vells::assistants::chat_reply
