#include "app/fill_row.h"

#include <QLinearGradient>
#include <QPainter>

#include "app/fill_kind.h"
#include "app/fill_popover.h"

namespace vells::app {

FillRow::FillRow(const InspectorContext& context, QWidget* parent)
    : QToolButton(parent), context_(context) {
  setToolTip(tr("Edit the background fill"));
  setAccessibleName(tr("Fill"));
  setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  setFixedHeight(28);
  setIconSize(QSize(40, 20));
  setCursor(Qt::PointingHandCursor);
  connect(this, &QToolButton::clicked, this, [this] { openPopover(); });
  refresh();
}

void FillRow::refresh() {
  const ResolvedStyle s = context_.style();
  const FillKind kind = currentFillKind(s, context_.editor.hasBackground());
  switch (kind) {
    case FillKind::image:
      setText(tr("Image"));
      break;
    case FillKind::gradient:
      setText(tr("Linear gradient"));
      break;
    case FillKind::solid:
      setText(QString::fromStdString(s.gradFrom).toUpper());
      break;
  }
  const qreal dpr = devicePixelRatioF();
  QPixmap chip(QSize(40, 20) * dpr);
  chip.setDevicePixelRatio(dpr);
  chip.fill(Qt::transparent);
  QPainter p(&chip);
  p.setRenderHint(QPainter::Antialiasing);
  QLinearGradient g(0, 0, 40, 20);
  g.setColorAt(0, QColor(QString::fromStdString(s.gradFrom)));
  g.setColorAt(0.5, QColor(QString::fromStdString(s.gradVia)));
  g.setColorAt(1, QColor(QString::fromStdString(s.gradTo)));
  p.setBrush(kind == FillKind::image ? QBrush(palette().color(QPalette::Mid), Qt::Dense4Pattern)
                                     : QBrush(g));
  p.setPen(QPen(palette().color(QPalette::Mid), 1));
  p.drawRoundedRect(QRectF(0.5, 0.5, 39, 19), 4, 4);
  p.end();
  setIcon(QIcon(chip));
  if (popover_) popover_->refresh();
}

FillPopover* FillRow::popover() const {
  return popover_;
}

FillPopover* FillRow::openPopover() {
  if (!popover_) {
    popover_ = new FillPopover(context_, this);
    popover_->setWindowFlags(Qt::Popup);
    popover_->setAttribute(Qt::WA_DeleteOnClose);
  }
  popover_->refresh();
  popover_->adjustSize();
  popover_->move(mapToGlobal(QPoint(width() - popover_->width(), height() + 4)));
  popover_->show();
  return popover_;
}

}  // namespace vells::app
