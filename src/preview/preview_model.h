#pragma once

#include <QImage>
#include <QObject>
#include <QSizeF>
#include <optional>

#include "preview/preview_state.h"

namespace vells::models {
class CanvasModel;
}

namespace vells::preview {

class PreviewEngine;

// What the canvas widget binds to: the live preview of the editor's page.
// It follows the workspace, the editor and the canvas (their page, style,
// title, pictures and the text edited in place), fits the page into the box
// the widget gives, sends the state to the engine, and puts the rectangles the
// page reports into the canvas model. Main thread only.
//
// Geometry: the page is fitted into the box keeping the composite's aspect
// ratio; `imageSize()` is the fitted size in points and `frame()` is drawn at
// the box's top left at that size. Rectangles are in the same points, with
// their origin at the frame's top left.
class PreviewModel : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool restarting READ restarting NOTIFY restartingChanged)
  Q_PROPERTY(QImage frame READ frame NOTIFY frameChanged)

 public:
  PreviewModel(PreviewEngine& engine, models::CanvasModel& canvas, QObject* parent = nullptr);

  // The newest frame, in device pixels with its ratio set; null before the
  // first. While restarting() it is the last one, to be shown dimmed.
  QImage frame() const;
  // The browser behind the preview died and is coming back ("Preview restarting…").
  bool restarting() const;

  void setBoxSize(QSizeF size);
  QSizeF boxSize() const { return box_; }
  // The screen's ratio; a change restarts the browser at the new one.
  void setDevicePixelRatio(qreal ratio);
  qreal devicePixelRatio() const;
  // The page's size inside the box, in points; empty before a box is set.
  QSizeF imageSize() const;

  // The state now wanted; nothing without an active page, styles or a box.
  std::optional<PreviewState> state() const;
  // Sends the state again after a change the model can't see.
  void refresh();

 signals:
  void frameChanged();
  void restartingChanged();
  void imageSizeChanged();

 private:
  PreviewEngine& engine_;
  models::CanvasModel& canvas_;
  QSizeF box_;
};

}  // namespace vells::preview
