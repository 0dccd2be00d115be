#pragma once

#include <QString>
#include <map>
#include <memory>

#include "assistants/editor_chat.h"

namespace vells::assistants {

// The conversations of one application run, one per set, made on first use.
// A conversation outlives the closing of the panel and a switch of sets; none
// is saved.
class ChatThreads {
 public:
  ChatThreads(models::CanvasModel& canvas, ChatTools tools);

  EditorChat& chat(const QString& setId);

 private:
  models::CanvasModel& canvas_;
  ChatTools tools_;
  std::map<QString, std::unique_ptr<EditorChat>> chats_;
};

}  // namespace vells::assistants
