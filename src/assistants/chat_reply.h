#pragma once

#include <QString>
#include <optional>

#include "document/json_value.h"

namespace vells::assistants {

// Reading a chat answer: the words a person sees and the changes it asks for.
namespace chat_reply {

// The answer up to its first code fence, trimmed: the block of changes never
// shows, also while it streams.
QString shownText(const QString& answer);

// The change objects of the last "```json" block: the value of its "changes"
// when that is an array of objects. Absent for an answer without such a
// block, or one that doesn't read.
std::optional<JSONValue::Array> changes(const QString& answer);

}  // namespace chat_reply
}  // namespace vells::assistants
