#include "app/color_picker_area.h"

#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace vells::app {
namespace {
constexpr int kHueHeight = 12;
constexpr int kGap = 8;
}  // namespace

ColorPickerArea::ColorPickerArea(QWidget* parent) : QWidget(parent) {
  setCursor(Qt::CrossCursor);
  setMinimumSize(160, 120);
}

void ColorPickerArea::setColor(const HSBColor& color) {
  color_ = color;
  update();
}

QRect ColorPickerArea::squareRect() const {
  return rect().adjusted(0, 0, 0, -(kHueHeight + kGap));
}

QRect ColorPickerArea::hueRect() const {
  return QRect(0, height() - kHueHeight, width(), kHueHeight);
}

void ColorPickerArea::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF sq = squareRect();
  QPainterPath clip;
  clip.addRoundedRect(sq, 6, 6);
  p.save();
  p.setClipPath(clip);
  p.fillRect(sq, QColor::fromHsvF(static_cast<float>(color_.hue), 1, 1));
  QLinearGradient white(sq.topLeft(), sq.topRight());
  white.setColorAt(0, Qt::white);
  white.setColorAt(1, QColor(255, 255, 255, 0));
  p.fillRect(sq, white);
  QLinearGradient black(sq.topLeft(), sq.bottomLeft());
  black.setColorAt(0, QColor(0, 0, 0, 0));
  black.setColorAt(1, Qt::black);
  p.fillRect(sq, black);
  p.restore();

  const QRectF hue = hueRect();
  QLinearGradient strip(hue.topLeft(), hue.topRight());
  for (int i = 0; i <= 6; ++i)
    strip.setColorAt(i / 6.0, QColor::fromHsvF(i == 6 ? 0.f : static_cast<float>(i / 6.0), 1, 1));
  p.setPen(Qt::NoPen);
  p.setBrush(strip);
  p.drawRoundedRect(hue, kHueHeight / 2.0, kHueHeight / 2.0);

  // Knobs: a ring that reads on both light and dark colours.
  const QPointF at(sq.left() + color_.saturation * sq.width(),
                   sq.top() + (1 - color_.brightness) * sq.height());
  const QPointF hueAt(hue.left() + color_.hue * hue.width(), hue.center().y());
  for (QPointF knob : {at, hueAt}) {
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(0, 0, 0, 90), 3));
    p.drawEllipse(knob, 6, 6);
    p.setPen(QPen(Qt::white, 2));
    p.drawEllipse(knob, 6, 6);
  }
}

void ColorPickerArea::mousePressEvent(QMouseEvent* event) {
  const QPoint at = event->position().toPoint();
  dragging_ = hueRect().adjusted(0, -kGap / 2, 0, 0).contains(at) ? Part::hue : Part::square;
  pickAt(at);
}

void ColorPickerArea::mouseMoveEvent(QMouseEvent* event) {
  if (dragging_ != Part::none) pickAt(event->position().toPoint());
}

void ColorPickerArea::mouseReleaseEvent(QMouseEvent*) {
  dragging_ = Part::none;
}

void ColorPickerArea::pickAt(QPoint at) {
  if (dragging_ == Part::hue) {
    const QRect hue = hueRect();
    color_.hue = std::clamp((at.x() - hue.left()) / double(std::max(1, hue.width())), 0.0, 1.0);
  } else {
    const QRect sq = squareRect();
    color_.saturation =
        std::clamp((at.x() - sq.left()) / double(std::max(1, sq.width())), 0.0, 1.0);
    color_.brightness =
        1 - std::clamp((at.y() - sq.top()) / double(std::max(1, sq.height())), 0.0, 1.0);
  }
  update();
  emit picked(color_);
}

}  // namespace vells::app
