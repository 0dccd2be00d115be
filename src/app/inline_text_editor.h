#pragma once

#include <QColor>
#include <QFont>
#include <QTextEdit>

#include "models/inline_markup.h"

namespace vells::app {

// The native text view laid over a title or text layer while it is edited in
// place. It letters the text as the page does (face, size, colour, accent,
// alignment, line height, spacing, direction) and hides the stars of the
// stored markup: accented characters carry a character property instead, and
// every change hands out the markup again with the stars put back.
class InlineTextEditor : public QTextEdit {
  Q_OBJECT

 public:
  // The character property that marks accented text.
  static constexpr int accentProperty = QTextFormat::UserProperty + 17;

  struct Look {
    // At the size it shows on the canvas.
    QFont font;
    QColor color = Qt::white;
    QColor accent = Qt::yellow;
    // Qt::AlignLeft, Qt::AlignHCenter or Qt::AlignRight, as on the page.
    Qt::Alignment align = Qt::AlignHCenter;
    // Times the font's pixel size, as CSS line-height.
    double lineHeight = 1.12;
    // In em, as CSS letter-spacing.
    double letterSpacing = 0;
    bool rightToLeft = false;
  };

  explicit InlineTextEditor(QWidget* parent = nullptr);

  // Replaces the text with `markup`, lettered with `look`; the caret at the end.
  void start(const QString& markup, const Look& look);
  void setLook(const Look& look);
  const Look& look() const { return look_; }
  QString markup() const;
  models::AccentText accentText() const;
  // Sets or clears the accent on the selected words.
  void toggleHighlight();
  // The height the text needs at the current width.
  int fittingHeight() const;

 signals:
  void markupChanged(const QString& markup);
  // Esc or Ctrl+Return.
  void finished();
  // Focus went elsewhere in the application.
  void focusLost();

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void load(const models::AccentText& text);
  void restyle();
  void edited();

  Look look_;
  bool restyling_ = false;
};

}  // namespace vells::app
