#pragma once

#include <QWidget>

#include "app/hsb_color.h"

namespace vells::app {

// A saturation and brightness square over a hue strip. Dragging in either
// reports the colour at every move.
class ColorPickerArea : public QWidget {
  Q_OBJECT

 public:
  explicit ColorPickerArea(QWidget* parent = nullptr);

  const HSBColor& color() const { return color_; }
  void setColor(const HSBColor& color);
  QSize sizeHint() const override { return {224, 184}; }

 signals:
  void picked(const vells::app::HSBColor& color);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  enum class Part { none, square, hue };
  QRect squareRect() const;
  QRect hueRect() const;
  void pickAt(QPoint at);

  HSBColor color_;
  Part dragging_ = Part::none;
};

}  // namespace vells::app
