#include "app/sidebar_row_delegate.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

#include "app/app_look.h"

namespace vells::app {

namespace {
constexpr int kPad = 8;
constexpr int kIcon = 20;
constexpr int kRadius = 6;
}  // namespace

QSize SidebarRowDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
  const QFontMetrics fm(option.font);
  const bool twoLines = !index.data(subtitleRole).toString().isEmpty();
  const int textHeight = twoLines ? fm.height() * 2 : fm.height();
  return {160, std::max(kIcon, textHeight) + 2 * 6};
}

void SidebarRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  const QPalette& pal = option.palette;
  const bool selected = option.state & QStyle::State_Selected;
  const bool hovered = option.state & QStyle::State_MouseOver;
  const bool enabled = option.state & QStyle::State_Enabled;
  const QRect row = option.rect.adjusted(kPad / 2, 1, -kPad / 2, -1);
  if (selected || hovered) {
    QPainterPath shape;
    shape.addRoundedRect(row, kRadius, kRadius);
    QColor fill = selected ? pal.color(QPalette::Highlight) : pal.color(QPalette::Midlight);
    if (selected && !(option.state & QStyle::State_HasFocus) &&
        !(option.state & QStyle::State_Active)) {
      fill = pal.color(QPalette::Mid);
    }
    painter->fillPath(shape, fill);
  }
  const QColor textColor = !enabled   ? pal.color(QPalette::Disabled, QPalette::Text)
                           : selected ? pal.color(QPalette::HighlightedText)
                                      : pal.color(QPalette::Text);
  const QColor quiet =
      selected ? pal.color(QPalette::HighlightedText) : AppLook::secondaryText(pal);

  const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>();
  const QRect iconRect(row.left() + kPad, row.center().y() - kIcon / 2, kIcon, kIcon);
  if (!icon.isNull())
    icon.paint(painter, iconRect, Qt::AlignCenter, selected ? QIcon::Selected : QIcon::Normal);

  const int textLeft = iconRect.right() + kPad;
  const QRect textRect(textLeft, row.top(), row.right() - kPad - textLeft, row.height());
  const QString title = index.data(Qt::DisplayRole).toString();
  const QString subtitle = index.data(subtitleRole).toString();
  const QFontMetrics fm(option.font);
  painter->setFont(option.font);
  if (subtitle.isEmpty()) {
    painter->setPen(textColor);
    painter->drawText(textRect, Qt::AlignVCenter | Qt::AlignLeft,
                      fm.elidedText(title, Qt::ElideRight, textRect.width()));
  } else {
    const int top = row.center().y() - fm.height();
    painter->setPen(textColor);
    painter->drawText(QRect(textRect.left(), top, textRect.width(), fm.height()),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      fm.elidedText(title, Qt::ElideRight, textRect.width()));
    QFont small = option.font;
    small.setPointSizeF(small.pointSizeF() * 0.88);
    painter->setFont(small);
    painter->setPen(quiet);
    const QFontMetrics sm(small);
    painter->drawText(QRect(textRect.left(), top + fm.height(), textRect.width(), fm.height()),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      sm.elidedText(subtitle, Qt::ElideRight, textRect.width()));
  }
  painter->restore();
}

}  // namespace vells::app
