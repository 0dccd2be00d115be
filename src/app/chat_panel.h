#pragma once

#include <QPointer>
#include <QWidget>
#include <vector>

#include "assistants/editor_chat.h"

class QLabel;
class QPlainTextEdit;
class QScrollArea;
class QToolButton;
class QPushButton;
class QVBoxLayout;

namespace vells::app {

// The conversation beside the canvas: the intro with its suggestions, the
// messages as they stream, the activity line and the composer with Send and
// Stop. It only shows the chat and forwards to it; the person can go on
// editing the page while a turn runs. Return sends, Shift+Return breaks the
// line.
class ChatPanel : public QWidget {
  Q_OBJECT

 public:
  static const QStringList& suggestions();

  explicit ChatPanel(assistants::EditorChat& chat, QWidget* parent = nullptr);

  // Another set's conversation (the chats are one per set).
  void setChat(assistants::EditorChat& chat);
  assistants::EditorChat& chat() const { return *chat_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void bind();
  void rebuild();
  void appendMessage(int index);
  void updateMessage(int index);
  void updateState();
  void updateHeading();
  void scrollToEnd();
  QWidget* buildIntro();

  QPointer<assistants::EditorChat> chat_;
  std::vector<QMetaObject::Connection> connections_;
  QLabel* heading_ = nullptr;
  QToolButton* newConversation_ = nullptr;
  QScrollArea* scroll_ = nullptr;
  QWidget* intro_ = nullptr;
  QLabel* introHeading_ = nullptr;
  QLabel* introText_ = nullptr;
  QWidget* suggestionBox_ = nullptr;
  QWidget* list_ = nullptr;
  QVBoxLayout* listLayout_ = nullptr;
  std::vector<QWidget*> messageViews_;
  QLabel* activity_ = nullptr;
  QPlainTextEdit* composer_ = nullptr;
  QToolButton* send_ = nullptr;
};

}  // namespace vells::app
