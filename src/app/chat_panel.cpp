#include "app/chat_panel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/platform_words.h"
#include "app/symbol_icon.h"
#include "assistants/ai_tool_words.h"
#include "assistants/editor_chat.h"

namespace vells::app {

namespace {

using assistants::ChatMessage;

constexpr int kGrid = 8;
constexpr int kIconSize = 14;

QColor muted(const QPalette& palette) {
  QColor c = palette.color(QPalette::WindowText);
  c.setAlphaF(0.55f);
  return c;
}

QColor errorColor(const QPalette& palette) {
  return palette.color(QPalette::Window).lightness() < 128 ? QColor(0xFF, 0x8A, 0x80)
                                                           : QColor(0xC4, 0x2B, 0x1C);
}

QString rgba(const QColor& c) {
  return QStringLiteral("rgba(%1,%2,%3,%4)")
      .arg(c.red())
      .arg(c.green())
      .arg(c.blue())
      .arg(c.alphaF(), 0, 'f', 2);
}

// A hairline between the panel's bands.
QFrame* hairline(QWidget* parent) {
  auto* line = new QFrame(parent);
  line->setFrameShape(QFrame::NoFrame);
  line->setFixedHeight(1);
  QColor c = parent->palette().color(QPalette::WindowText);
  c.setAlphaF(0.12f);
  line->setStyleSheet(QStringLiteral("background:%1;").arg(rgba(c)));
  return line;
}

QLabel* iconLabel(const QString& symbol, const QColor& color, QWidget* parent) {
  auto* label = new QLabel(parent);
  label->setPixmap(symbolIcon(symbol, color).pixmap(kIconSize, kIconSize));
  label->setFixedSize(kIconSize + 2, kIconSize + 4);
  label->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
  return label;
}

QLabel* textLabel(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setWordWrap(true);
  label->setTextFormat(Qt::PlainText);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  label->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  return label;
}

// One message: the person's request in a tinted bubble on the right, the
// AI's answer as plain text, the application's notes with their symbol, and
// under an answer the lines of what it changed.
class MessageView : public QWidget {
 public:
  explicit MessageView(QWidget* parent) : QWidget(parent) {
    layout_ = new QVBoxLayout(this);
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(kGrid / 2);
  }

  void show(const ChatMessage& m) {
    while (QLayoutItem* item = layout_->takeAt(0)) {
      if (item->widget()) item->widget()->deleteLater();
      if (item->layout()) item->layout()->deleteLater();
      delete item;
    }
    const QPalette& p = palette();
    switch (m.role) {
      case ChatMessage::Role::user:
        showUser(m, p);
        break;
      case ChatMessage::Role::assistant:
        showAssistant(m, p);
        break;
      case ChatMessage::Role::note:
        showNote(m, p);
        break;
    }
    for (const QString& line : m.applied) {
      auto* row = new QHBoxLayout;
      row->setSpacing(kGrid / 2);
      row->addWidget(iconLabel(QStringLiteral("checkmark"), p.color(QPalette::Highlight), this));
      QLabel* text = textLabel(line, this);
      text->setStyleSheet(QStringLiteral("color:%1;").arg(rgba(muted(p))));
      row->addWidget(text, 1);
      layout_->addLayout(row);
    }
  }

 private:
  void showUser(const ChatMessage& m, const QPalette& p) {
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    QLabel* bubble = textLabel(m.text, this);
    bubble->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    bubble->setMaximumWidth(260);
    QColor tint = p.color(QPalette::Highlight);
    tint.setAlphaF(0.16f);
    bubble->setStyleSheet(
        QStringLiteral("background:%1; border-radius:10px; padding:6px 10px;").arg(rgba(tint)));
    row->addWidget(bubble);
    layout_->addLayout(row);
  }

  void showAssistant(const ChatMessage& m, const QPalette& p) {
    const QString text = m.text.isEmpty() && m.isStreaming ? QStringLiteral("…") : m.text;
    QLabel* label =
        textLabel(m.isStreaming && !m.text.isEmpty() ? text + QStringLiteral(" ▍") : text, this);
    if (m.isError) {
      auto* row = new QHBoxLayout;
      row->setSpacing(kGrid / 2);
      row->addWidget(iconLabel(QStringLiteral("exclamationmark.triangle"), errorColor(p), this));
      label->setStyleSheet(QStringLiteral("color:%1;").arg(errorColor(p).name()));
      row->addWidget(label, 1);
      layout_->addLayout(row);
    } else {
      if (m.text.isEmpty()) label->setStyleSheet(QStringLiteral("color:%1;").arg(rgba(muted(p))));
      layout_->addWidget(label);
    }
  }

  void showNote(const ChatMessage& m, const QPalette& p) {
    auto* row = new QHBoxLayout;
    row->setSpacing(kGrid / 2);
    const QColor color = m.isError ? errorColor(p) : muted(p);
    row->addWidget(
        iconLabel(m.isError ? QStringLiteral("exclamationmark.triangle") : QStringLiteral("ruler"),
                  color, this));
    QLabel* label = textLabel(m.text, this);
    label->setStyleSheet(QStringLiteral("color:%1;").arg(rgba(color)));
    QFont small = label->font();
    small.setPointSizeF(small.pointSizeF() * 0.92);
    label->setFont(small);
    row->addWidget(label, 1);
    layout_->addLayout(row);
  }

  QVBoxLayout* layout_;
};

}  // namespace

const QStringList& ChatPanel::suggestions() {
  static const QStringList list{QStringLiteral("Make this screenshot stand out more"),
                                QStringLiteral("Write a shorter, punchier title"),
                                QStringLiteral("Translate the title into every language"),
                                QStringLiteral("Match the style across all pages")};
  return list;
}

ChatPanel::ChatPanel(assistants::EditorChat& chat, QWidget* parent)
    : QWidget(parent), chat_(&chat) {
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->setSpacing(0);

  // The heading: which AI designs, and a fresh start.
  auto* header = new QWidget(this);
  auto* headerRow = new QHBoxLayout(header);
  headerRow->setContentsMargins(2 * kGrid, kGrid, kGrid, kGrid);
  heading_ = new QLabel(header);
  QFont bold = heading_->font();
  bold.setWeight(QFont::DemiBold);
  heading_->setFont(bold);
  headerRow->addWidget(heading_, 1);
  newConversation_ = new QToolButton(header);
  newConversation_->setText(QStringLiteral("New Conversation"));
  newConversation_->setToolTip(QStringLiteral("New Conversation"));
  newConversation_->setAutoRaise(true);
  newConversation_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  connect(newConversation_, &QToolButton::clicked, this, [this] {
    if (chat_) chat_->clear();
  });
  headerRow->addWidget(newConversation_);
  outer->addWidget(header);
  outer->addWidget(hairline(this));

  // The messages, or the intro while there are none.
  scroll_ = new QScrollArea(this);
  scroll_->setWidgetResizable(true);
  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  auto* content = new QWidget(scroll_);
  auto* contentLayout = new QVBoxLayout(content);
  contentLayout->setContentsMargins(2 * kGrid, kGrid, 2 * kGrid, kGrid);
  contentLayout->setSpacing(2 * kGrid);
  intro_ = buildIntro();
  contentLayout->addWidget(intro_);
  list_ = new QWidget(content);
  listLayout_ = new QVBoxLayout(list_);
  listLayout_->setContentsMargins(0, 0, 0, 0);
  listLayout_->setSpacing(2 * kGrid);
  contentLayout->addWidget(list_);
  contentLayout->addStretch(1);
  scroll_->setWidget(content);
  outer->addWidget(scroll_, 1);

  // What the AI is doing while no text streams.
  activity_ = new QLabel(this);
  activity_->setContentsMargins(2 * kGrid, kGrid / 2, 2 * kGrid, kGrid / 2);
  outer->addWidget(activity_);

  // The composer.
  outer->addWidget(hairline(this));
  auto* composer = new QWidget(this);
  auto* composerRow = new QHBoxLayout(composer);
  composerRow->setContentsMargins(kGrid + kGrid / 2, kGrid, kGrid + kGrid / 2, kGrid + kGrid / 2);
  composerRow->setSpacing(kGrid);
  composer_ = new QPlainTextEdit(composer);
  composer_->setTabChangesFocus(true);
  composer_->setFixedHeight(68);
  composer_->installEventFilter(this);
  composer_->setAccessibleName(QStringLiteral("Message"));
  connect(composer_, &QPlainTextEdit::textChanged, this, [this] {
    if (chat_ && chat_->draft() != composer_->toPlainText())
      chat_->setDraft(composer_->toPlainText());
  });
  composerRow->addWidget(composer_, 1);
  send_ = new QToolButton(composer);
  send_->setFixedSize(32, 32);
  send_->setIconSize(QSize(18, 18));
  connect(send_, &QToolButton::clicked, this, [this] {
    if (!chat_) return;
    if (chat_->isRunning()) {
      chat_->stop();
    } else {
      chat_->send();
    }
  });
  composerRow->addWidget(send_, 0, Qt::AlignBottom);
  outer->addWidget(composer);

  setMinimumWidth(280);
  bind();
}

QWidget* ChatPanel::buildIntro() {
  auto* intro = new QWidget(this);
  auto* layout = new QVBoxLayout(intro);
  layout->setContentsMargins(0, 3 * kGrid, 0, 0);
  layout->setSpacing(kGrid + kGrid / 2);
  introHeading_ = new QLabel(intro);
  QFont big = introHeading_->font();
  big.setPointSizeF(big.pointSizeF() * 1.25);
  big.setWeight(QFont::DemiBold);
  introHeading_->setFont(big);
  layout->addWidget(introHeading_);
  introText_ = textLabel(QString(), intro);
  layout->addWidget(introText_);
  suggestionBox_ = new QWidget(intro);
  auto* list = new QVBoxLayout(suggestionBox_);
  list->setContentsMargins(0, kGrid, 0, 0);
  list->setSpacing(kGrid - 2);
  for (const QString& text : suggestions()) {
    auto* button = new QPushButton(text, suggestionBox_);
    button->setIcon(symbolIcon(QStringLiteral("sparkles"), palette().color(QPalette::Highlight)));
    button->setCursor(Qt::PointingHandCursor);
    button->setStyleSheet(QStringLiteral("text-align:left; padding:6px 10px;"));
    connect(button, &QPushButton::clicked, this, [this, text] {
      if (chat_) chat_->sendSuggestion(text);
    });
    list->addWidget(button);
  }
  layout->addWidget(suggestionBox_);
  return intro;
}

void ChatPanel::setChat(assistants::EditorChat& chat) {
  if (chat_ == &chat) return;
  chat_ = &chat;
  bind();
}

void ChatPanel::bind() {
  for (const auto& c : connections_)
    disconnect(c);
  connections_.clear();
  assistants::EditorChat* chat = chat_;
  connections_ = {
      connect(chat, &assistants::EditorChat::messageAppended, this, &ChatPanel::appendMessage),
      connect(chat, &assistants::EditorChat::messageChanged, this, &ChatPanel::updateMessage),
      connect(chat, &assistants::EditorChat::messagesReset, this, &ChatPanel::rebuild),
      connect(chat, &assistants::EditorChat::runningChanged, this, &ChatPanel::updateState),
      connect(chat, &assistants::EditorChat::activityChanged, this, &ChatPanel::updateState),
      connect(chat, &assistants::EditorChat::draftChanged, this,
              [this] {
                if (composer_->toPlainText() != chat_->draft())
                  composer_->setPlainText(chat_->draft());
              }),
  };
  composer_->setPlainText(chat->draft());
  rebuild();
}

void ChatPanel::rebuild() {
  for (QWidget* view : messageViews_)
    view->deleteLater();
  messageViews_.clear();
  for (int i = 0; i < static_cast<int>(chat_->messages().size()); ++i)
    appendMessage(i);
  updateState();
}

void ChatPanel::appendMessage(int index) {
  while (static_cast<int>(messageViews_.size()) <= index) {
    auto* view = new MessageView(list_);
    listLayout_->addWidget(view);
    messageViews_.push_back(view);
  }
  updateMessage(index);
  updateState();
}

void ChatPanel::updateMessage(int index) {
  if (index < 0 || index >= static_cast<int>(messageViews_.size()) ||
      index >= static_cast<int>(chat_->messages().size()))
    return;
  static_cast<MessageView*>(messageViews_[index])->show(chat_->messages()[index]);
  scrollToEnd();
}

void ChatPanel::scrollToEnd() {
  QTimer::singleShot(0, this, [this] {
    scroll_->verticalScrollBar()->setValue(scroll_->verticalScrollBar()->maximum());
  });
}

void ChatPanel::updateHeading() {
  const auto tool = chat_->availableTool();
  const QString name = tool ? assistants::displayName(*tool) : QString();
  heading_->setText(tool ? QStringLiteral("Design with ") + name : QStringLiteral("AI Chat"));
  introHeading_->setText(heading_->text());
  introText_->setText(
      tool ? platformWords(QStringLiteral(
                 "Say what this screenshot should become — copy, colours, layout, badges. The AI "
                 "looks at the page as it renders and changes it here. ⌘Z undoes a change."))
           : assistants::ai_tool_words::kNoToolForChatIntro);
  suggestionBox_->setVisible(tool.has_value());
}

void ChatPanel::updateState() {
  const bool empty = chat_->messages().empty();
  const bool running = chat_->isRunning();
  intro_->setVisible(empty);
  list_->setVisible(!empty);
  updateHeading();
  newConversation_->setEnabled(!empty || running);
  const QColor activityColor = muted(palette());
  activity_->setStyleSheet(QStringLiteral("color:%1;").arg(rgba(activityColor)));
  activity_->setText(chat_->activity().isEmpty() ? QString()
                                                 : chat_->activity() + QStringLiteral("…"));
  activity_->setVisible(!chat_->activity().isEmpty());
  composer_->setPlaceholderText(chat_->hasPage() ? QStringLiteral("Ask for a change…")
                                                 : QStringLiteral("Pick a page to start"));
  const QColor accent = palette().color(QPalette::Highlight);
  if (running) {
    send_->setIcon(
        symbolIcon(QStringLiteral("stop.circle"), palette().color(QPalette::WindowText)));
    send_->setToolTip(QStringLiteral("Stop"));
    send_->setAccessibleName(QStringLiteral("Stop"));
    send_->setEnabled(true);
  } else {
    send_->setIcon(symbolIcon(QStringLiteral("arrow.up"), accent));
    send_->setToolTip(QStringLiteral("Send (Return)"));
    send_->setAccessibleName(QStringLiteral("Send"));
    send_->setEnabled(chat_->hasPage());
  }
  newConversation_->setIcon(
      symbolIcon(QStringLiteral("plus"), palette().color(QPalette::WindowText)));
}

bool ChatPanel::eventFilter(QObject* watched, QEvent* event) {
  if (watched == composer_ && event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(event);
    const bool enter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
    if (enter && !(key->modifiers() & Qt::ShiftModifier)) {
      if (chat_ && !chat_->isRunning()) chat_->send();
      return true;
    }
  }
  return QWidget::eventFilter(watched, event);
}

void ChatPanel::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange && chat_) rebuild();
}

}  // namespace vells::app
