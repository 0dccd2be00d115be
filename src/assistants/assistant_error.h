#pragma once

#include <QString>

#include "platform/error.h"

namespace vells::assistants {

// A failure of the AI runtime that a person reads: a tool that can't be
// started, a request too long to hand over, a working folder that can't be made.
class AssistantError : public Error {
 public:
  explicit AssistantError(const QString& sentence) : Error(sentence.toStdString()) {}
};

}  // namespace vells::assistants
