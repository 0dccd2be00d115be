#pragma once

#include <stdexcept>
#include <string>

#include <QString>

namespace vells::assistants {

// A failure of the AI runtime that a person reads: a tool that can't be
// started, a request too long to hand over, a working folder that can't be made.
class AssistantError : public std::runtime_error {
 public:
  explicit AssistantError(const QString& sentence) : std::runtime_error(sentence.toStdString()) {}
};

}  // namespace vells::assistants
