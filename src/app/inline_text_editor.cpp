#include "app/inline_text_editor.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <cmath>

namespace vells::app {

using models::AccentText;
using models::InlineMarkup;

namespace {

bool isFinishKey(const QKeyEvent& key) {
  if (key.key() == Qt::Key_Escape) return true;
  const bool enter = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
  return enter && (key.modifiers() & Qt::ControlModifier);
}

}  // namespace

InlineTextEditor::InlineTextEditor(QWidget* parent) : QTextEdit(parent) {
  setFrameShape(QFrame::NoFrame);
  setAcceptRichText(false);  // a paste brings its words, not its looks
  setTabChangesFocus(true);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setLineWrapMode(QTextEdit::WidgetWidth);
  setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  document()->setDocumentMargin(0);
  // The page shows through: only the letters are drawn here.
  setAttribute(Qt::WA_TranslucentBackground);
  viewport()->setAutoFillBackground(false);
  setAutoFillBackground(false);
  QPalette pal = palette();
  pal.setColor(QPalette::Base, Qt::transparent);
  setPalette(pal);
  connect(this, &QTextEdit::textChanged, this, &InlineTextEditor::edited);
  hide();
}

void InlineTextEditor::start(const QString& markup, const Look& look) {
  look_ = look;
  restyling_ = true;
  load(InlineMarkup::attributed(markup));
  restyling_ = false;
  restyle();
  document()->clearUndoRedoStacks();
  moveCursor(QTextCursor::End);
}

void InlineTextEditor::setLook(const Look& look) {
  look_ = look;
  restyle();
}

AccentText InlineTextEditor::accentText() const {
  AccentText out;
  for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
    if (block != document()->begin()) {
      out.text += QLatin1Char('\n');
      out.accent.push_back(false);
    }
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      const QTextFragment fragment = it.fragment();
      const bool accent = fragment.charFormat().boolProperty(accentProperty);
      out.text += fragment.text();
      out.accent.insert(out.accent.end(), static_cast<std::size_t>(fragment.text().size()), accent);
    }
  }
  return out;
}

QString InlineTextEditor::markup() const {
  return InlineMarkup::serialize(accentText());
}

void InlineTextEditor::load(const AccentText& text) {
  clear();
  QTextCursor cursor(document());
  qsizetype i = 0;
  while (i < text.text.size()) {
    const bool accent = text.accent[static_cast<std::size_t>(i)];
    qsizetype end = i;
    while (end < text.text.size() && text.accent[static_cast<std::size_t>(end)] == accent)
      ++end;
    QTextCharFormat format;
    format.setProperty(accentProperty, accent);
    cursor.insertText(text.text.mid(i, end - i), format);
    i = end;
  }
}

void InlineTextEditor::toggleHighlight() {
  QTextCursor cursor = textCursor();
  if (!cursor.hasSelection()) return;
  AccentText text = accentText();
  if (!InlineMarkup::toggleHighlight(text, cursor.selectionStart(), cursor.selectionEnd())) return;
  // Only the property changes: the letters and the selection stay as they are.
  const int anchor = cursor.anchor();
  const int position = cursor.position();
  QTextCursor edit(document());
  edit.beginEditBlock();
  for (int at = cursor.selectionStart(); at < cursor.selectionEnd(); ++at) {
    edit.setPosition(at);
    edit.setPosition(at + 1, QTextCursor::KeepAnchor);
    QTextCharFormat format;
    format.setProperty(accentProperty,
                       static_cast<bool>(text.accent[static_cast<std::size_t>(at)]));
    edit.mergeCharFormat(format);
  }
  edit.endEditBlock();
  cursor.setPosition(anchor);
  cursor.setPosition(position, QTextCursor::KeepAnchor);
  setTextCursor(cursor);
}

void InlineTextEditor::restyle() {
  if (restyling_) return;
  restyling_ = true;
  const AccentText text = accentText();
  QFont font = look_.font;
  font.setLetterSpacing(QFont::AbsoluteSpacing,
                        look_.rightToLeft ? 0 : look_.letterSpacing * font.pixelSize());
  QTextCursor cursor(document());
  // Part of the edit that caused it, so one undo takes back the typing and
  // its lettering together.
  cursor.joinPreviousEditBlock();
  QTextBlockFormat block;
  block.setAlignment(look_.align | Qt::AlignAbsolute);
  block.setLayoutDirection(look_.rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
  block.setLineHeight(std::round(look_.lineHeight * font.pixelSize()),
                      QTextBlockFormat::FixedHeight);
  cursor.select(QTextCursor::Document);
  cursor.setBlockFormat(block);
  qsizetype i = 0;
  do {
    const bool accent = i < text.text.size() && text.accent[static_cast<std::size_t>(i)];
    qsizetype end = i;
    while (end < text.text.size() && text.accent[static_cast<std::size_t>(end)] == accent)
      ++end;
    QTextCharFormat format;
    format.setFont(font);
    format.setForeground(accent ? look_.accent : look_.color);
    format.setProperty(accentProperty, accent);
    cursor.setPosition(static_cast<int>(i));
    cursor.setPosition(static_cast<int>(end), QTextCursor::KeepAnchor);
    cursor.setCharFormat(format);
    i = end;
  } while (i < text.text.size());
  cursor.endEditBlock();
  // What is typed next starts plain unless it continues an accented word.
  QTextCharFormat typing = currentCharFormat();
  typing.setFont(font);
  typing.setForeground(typing.boolProperty(accentProperty) ? look_.accent : look_.color);
  setCurrentCharFormat(typing);
  QTextOption option = document()->defaultTextOption();
  option.setTextDirection(look_.rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
  document()->setDefaultTextOption(option);
  document()->setDefaultFont(font);
  QPalette pal = palette();
  pal.setColor(QPalette::Text, look_.color);
  pal.setColor(QPalette::Base, Qt::transparent);
  setPalette(pal);
  setCursorWidth(std::max(2, font.pixelSize() / 16));
  restyling_ = false;
}

void InlineTextEditor::edited() {
  if (restyling_) return;
  restyle();
  emit markupChanged(markup());
}

int InlineTextEditor::fittingHeight() const {
  return static_cast<int>(std::ceil(document()->size().height()));
}

bool InlineTextEditor::event(QEvent* event) {
  // The application's shortcuts (delete, duplicate, nudge…) never act on
  // the canvas while its text is typed here.
  if (event->type() == QEvent::ShortcutOverride) {
    const auto* key = static_cast<QKeyEvent*>(event);
    const bool command = key->modifiers() & Qt::ControlModifier;
    const bool functionKey = key->key() >= Qt::Key_F1 && key->key() <= Qt::Key_F35;
    if (isFinishKey(*key) || (!command && !functionKey) || key->key() == Qt::Key_D) {
      event->accept();
      return true;
    }
  }
  return QTextEdit::event(event);
}

void InlineTextEditor::keyPressEvent(QKeyEvent* event) {
  if (isFinishKey(*event)) {
    event->accept();
    emit finished();
    return;
  }
  if (event->key() == Qt::Key_D && (event->modifiers() & Qt::ControlModifier)) {
    event->accept();
    return;
  }
  QTextEdit::keyPressEvent(event);
}

void InlineTextEditor::focusOutEvent(QFocusEvent* event) {
  QTextEdit::focusOutEvent(event);
  // A menu opened from the text, or another window in front, doesn't end the edit.
  if (event->reason() == Qt::PopupFocusReason || event->reason() == Qt::ActiveWindowFocusReason)
    return;
  if (isVisible()) emit focusLost();
}

}  // namespace vells::app
