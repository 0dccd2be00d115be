#pragma once

#include <QCursor>
#include <QImage>
#include <QPixmap>
#include <QSizeF>
#include <QWidget>
#include <optional>

#include "app/canvas_context_bar.h"
#include "app/floating_bar.h"
#include "app/inline_text_editor.h"
#include "models/canvas_geometry.h"
#include "models/gesture_controller.h"

class QToolButton;

namespace vells::models {
class CanvasModel;
class EditorModel;
class TextFonts;
}  // namespace vells::models

namespace vells::app {

// The page being edited, as people touch it: the preview's frame at the
// size of the box it fits in, with the selection's outline and handles, the
// centre guides of a drag, the bar of what can be done to the selection and
// the in-place text editor drawn over it. Pointer and key events go to the
// gesture controller in view points (the box's own coordinates); pictures
// dropped on it are placed on the page. It draws nothing of the page itself:
// the frame comes from outside (setFrame), made at the box size and the
// screen's pixel ratio so it is shown pixel for pixel.
class CanvasView : public QWidget {
  Q_OBJECT

 public:
  // Room around the page, in logical pixels.
  static constexpr int margin = 32;
  static constexpr int hintHeight = 32;

  CanvasView(models::CanvasModel& canvas, models::GestureController& gestures,
             models::EditorModel& editor, models::TextFonts& fonts, QWidget* parent = nullptr);

  // Where the page stands in the widget; its size is the box.
  QRect pageRect() const;
  QSize boxSize() const { return box_; }
  const QImage& frame() const { return frame_; }
  bool restarting() const { return restarting_; }
  // "title", "layer:<id>", or empty when nothing is edited in place.
  QString inlineEditingKey() const { return editingKey_; }

  CanvasContextBar& contextBar() { return contextBar_; }
  InlineTextEditor& inlineEditor() { return textEditor_; }
  FloatingBar& inlineBar() { return inlineBar_; }
  QToolButton* highlightButton() const { return highlight_; }
  QToolButton* doneButton() const { return done_; }

  // A point of the widget in the box's own coordinates, and back.
  models::ViewPoint toView(QPointF widgetPoint) const;
  QPointF fromView(models::ViewPoint viewPoint) const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 public slots:
  // A frame of the page at the box size times the screen's pixel ratio.
  void setFrame(QImage frame);
  // The preview's browser is starting again: the last frame shows dimmed.
  void setRestarting(bool restarting);

 signals:
  // The page's box on screen, in logical pixels, and the screen's ratio: the
  // size the next frames should have (times the ratio).
  void boxChanged(QSizeF box, qreal devicePixelRatio);
  // A title or text layer went into ("title", "layer:<id>") or out of ("")
  // in-place editing: the preview hides what the editor covers.
  void inlineEditingChanged(QString editingKey);

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void relayout();
  void checkBox();
  void refresh();
  void placeBars();
  void editingChanged();
  void placeEditor();
  InlineTextEditor::Look editorLook() const;
  void updateCursor(QPointF at);
  std::optional<models::KeyEvent> keyOf(const QKeyEvent& event) const;
  void paintFrame(QPainter& p, const QRect& page);
  void paintSelection(QPainter& p);
  void paintGuides(QPainter& p, const QRect& page);
  void paintHint(QPainter& p, const QRect& page);

  models::CanvasModel& canvas_;
  models::GestureController& gestures_;
  models::EditorModel& editor_;
  models::TextFonts& fonts_;

  QImage frame_;
  // The frame brought to the box once, when it came at another size.
  QPixmap fitted_;
  bool restarting_ = false;
  QSize box_;
  qreal ratio_ = 1;
  QRect page_;
  bool dropping_ = false;
  QCursor rotateCursor_;

  CanvasContextBar contextBar_;
  InlineTextEditor textEditor_;
  FloatingBar inlineBar_;
  QToolButton* highlight_;
  QToolButton* done_;
  QString editingKey_;
  // Where the edited text stood when last reported, kept while an emptied
  // title has no box.
  std::optional<models::CanvasBox> editBox_;
};

}  // namespace vells::app
