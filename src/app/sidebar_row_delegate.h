#pragma once

#include <QStyledItemDelegate>

namespace vells::app {

// A sidebar row: a symbol or thumbnail, the name, and a quieter second line.
class SidebarRowDelegate : public QStyledItemDelegate {
  Q_OBJECT

 public:
  // The item data role of the second line.
  static constexpr int subtitleRole = Qt::UserRole + 1;
  // The id the row stands for.
  static constexpr int idRole = Qt::UserRole + 2;

  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace vells::app
