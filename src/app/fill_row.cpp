#include "app/fill_row.h"

#include <QPainter>

#include "app/fill_kind.h"
#include "app/fill_popover.h"
#include "app/inspector_look.h"

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
  const QColor edge = palette().color(QPalette::Mid);
  QPixmap chip =
      gradientChip(QSize(40, 20), s.gradFrom, s.gradVia, s.gradTo, edge, devicePixelRatioF());
  if (kind == FillKind::image) {
    // No picture to show here: a hatched chip stands for it.
    chip.fill(Qt::transparent);
    QPainter p(&chip);
    p.setRenderHint(QPainter::Antialiasing);
    p.setBrush(QBrush(edge, Qt::Dense4Pattern));
    p.setPen(QPen(edge, 1));
    p.drawRoundedRect(QRectF(0.5, 0.5, 39, 19), 5, 5);
  }
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
