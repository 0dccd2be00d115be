#include "assistants/chat_threads.h"

namespace vells::assistants {

ChatThreads::ChatThreads(models::CanvasModel& canvas, ChatTools tools)
    : canvas_(canvas), tools_(std::move(tools)) {}

EditorChat& ChatThreads::chat(const QString& setId) {
  auto& slot = chats_[setId];
  if (!slot) slot = std::make_unique<EditorChat>(setId, canvas_, tools_);
  return *slot;
}

}  // namespace vells::assistants
