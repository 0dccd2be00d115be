#include "app/inspector_look.h"

#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QWidget>

namespace vells::app {

void paintFieldFrame(QWidget* field, bool focused) {
  QPainter p(field);
  p.setRenderHint(QPainter::Antialiasing);
  const QPalette& pal = field->palette();
  QColor edge = pal.color(QPalette::Mid);
  if (focused)
    edge = pal.color(QPalette::Highlight);
  else if (field->underMouse() && field->isEnabled())
    edge = pal.color(QPalette::Dark);
  p.setPen(QPen(edge, focused ? 1.5 : 1));
  p.setBrush(pal.color(field->isEnabled() ? QPalette::Base : QPalette::Window));
  p.drawRoundedRect(QRectF(field->rect()).adjusted(0.75, 0.75, -0.75, -0.75), 5, 5);
}

QLabel* noteLabel(const QString& text, QWidget* parent) {
  auto* note = new QLabel(text, parent);
  note->setWordWrap(true);
  note->setForegroundRole(QPalette::PlaceholderText);
  QFont f = note->font();
  f.setPointSizeF(f.pointSizeF() * 0.9);
  note->setFont(f);
  return note;
}

QPixmap gradientChip(QSize size, const std::string& from, const std::string& via,
                     const std::string& to, const QColor& edge, qreal dpr) {
  QPixmap chip(size * dpr);
  chip.setDevicePixelRatio(dpr);
  chip.fill(Qt::transparent);
  QPainter p(&chip);
  p.setRenderHint(QPainter::Antialiasing);
  QLinearGradient g(0, 0, size.width(), size.height());
  g.setColorAt(0, QColor(QString::fromStdString(from)));
  g.setColorAt(0.5, QColor(QString::fromStdString(via)));
  g.setColorAt(1, QColor(QString::fromStdString(to)));
  p.setBrush(g);
  p.setPen(QPen(edge, 1));
  p.drawRoundedRect(QRectF(0.5, 0.5, size.width() - 1, size.height() - 1), 5, 5);
  return chip;
}

QColor mutedColor(const QWidget* widget) {
  return widget->palette().color(QPalette::PlaceholderText);
}

}  // namespace vells::app
