#include "app/layers_section.h"

#include <QContextMenuEvent>
#include <QInputDialog>
#include <QMenu>
#include <QSignalBlocker>
#include <algorithm>

#include "app/symbol_icon.h"

namespace vells::app {
namespace {

constexpr int kRowHeight = 28;
const std::string kTitle = "title";
const std::string kPhone = "phone";

}  // namespace

LayersSection::LayersSection(const InspectorContext& context, QWidget* parent)
    : QListWidget(parent), context_(context) {
  setAccessibleName(tr("Layers"));
  setDragDropMode(QAbstractItemView::InternalMove);
  setDefaultDropAction(Qt::MoveAction);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setIconSize(QSize(16, 16));
  setMouseTracking(true);
  setUniformItemSizes(true);
  setStyleSheet(QStringLiteral("QListWidget{background:transparent;outline:0;}"
                               "QListWidget::item{height:%1px;border-radius:5px;padding-left:4px;}"
                               "QListWidget::item:hover{background:palette(midlight);}"
                               "QListWidget::item:selected{background:palette(highlight);"
                               "color:palette(highlighted-text);}")
                    .arg(kRowHeight));
  connect(model(), &QAbstractItemModel::rowsMoved, this, [this] {
    if (!rebuilding_) restackFromRows();
  });
  connect(this, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
    const std::string id = item->data(idRole).toString().toStdString();
    if (id == kTitle)
      context_.canvas.select(models::CanvasSelection::title());
    else if (id == kPhone)
      context_.canvas.select(models::CanvasSelection::phone());
    else
      context_.canvas.select(models::CanvasSelection::layer(id));
  });
  refresh();
}

int LayersSection::rowOf(const std::string& id) const {
  for (int i = 0; i < count(); ++i)
    if (item(i)->data(idRole).toString().toStdString() == id) return i;
  return -1;
}

void LayersSection::refresh() {
  if (rebuilding_) return;
  std::vector<std::pair<std::string, QString>> rows;
  rows.emplace_back(kTitle, tr("Title"));
  const auto stack = context_.canvas.stack();
  const auto layers = context_.canvas.layers();
  for (auto it = stack.rbegin(); it != stack.rend(); ++it) {
    if (it->isPhone()) {
      rows.emplace_back(kPhone, tr("Phone"));
      continue;
    }
    auto l = std::find_if(layers.begin(), layers.end(),
                          [&](const VellLayer& x) { return x.id == *it->layerId; });
    if (l != layers.end())
      rows.emplace_back(l->id, QString::fromStdString(models::CanvasModel::displayName(*l)));
  }
  if (rows != shown_) {
    rebuilding_ = true;
    const QSignalBlocker quiet(this);
    clear();
    const QColor ink = palette().color(QPalette::Text);
    for (const auto& [id, name] : rows) {
      QString symbol = QStringLiteral("textformat");
      if (id == kPhone) {
        symbol = QStringLiteral("iphone");
      } else if (id != kTitle) {
        const auto l = std::find_if(layers.begin(), layers.end(),
                                    [&](const VellLayer& x) { return x.id == id; });
        symbol = l->kind == VellLayer::Kind::text ? QStringLiteral("text.alignleft")
                 : l->sticker                     ? QStringLiteral("seal")
                                                  : QStringLiteral("photo");
      }
      auto* row = new QListWidgetItem(symbolIcon(symbol, ink), name, this);
      row->setData(idRole, QString::fromStdString(id));
      row->setToolTip(name);
      Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
      if (id != kTitle) flags |= Qt::ItemIsDragEnabled;
      row->setFlags(flags);
    }
    shown_ = std::move(rows);
    rebuilding_ = false;
    setFixedHeight(static_cast<int>(shown_.size()) * (kRowHeight + 2) + 4);
  }
  showSelection();
}

void LayersSection::showSelection() {
  const QSignalBlocker quiet(this);
  const auto& sel = context_.canvas.selection();
  std::string id;
  if (sel)
    id = sel->kind == models::CanvasSelection::Kind::title   ? kTitle
         : sel->kind == models::CanvasSelection::Kind::phone ? kPhone
                                                             : sel->layerId;
  const int row = id.empty() ? -1 : rowOf(id);
  if (row < 0)
    clearSelection();
  else
    setCurrentRow(row);
}

void LayersSection::restackFromRows() {
  std::vector<models::StackItem> items;
  for (int i = count() - 1; i >= 0; --i) {
    const std::string id = item(i)->data(idRole).toString().toStdString();
    if (id == kTitle) continue;
    items.push_back(id == kPhone ? models::StackItem::phone() : models::StackItem::layer(id));
  }
  context_.editor.checkpoint();
  // The list is still inside its drop: rows are redrawn once it has ended,
  // in the order that was stored, which may differ from the drop.
  rebuilding_ = true;
  context_.canvas.setStack(items);
  rebuilding_ = false;
  QMetaObject::invokeMethod(
      this,
      [this] {
        shown_.clear();
        refresh();
      },
      Qt::QueuedConnection);
}

void LayersSection::rename(const std::string& id) {
  const auto l = context_.canvas.layer(id);
  if (!l) return;
  QInputDialog dialog(this);
  dialog.setWindowTitle(tr("Rename layer"));
  dialog.setLabelText(tr("Name"));
  dialog.setOkButtonText(tr("Rename"));
  dialog.setCancelButtonText(tr("Cancel"));
  dialog.setTextValue(QString::fromStdString(l->name.value_or(std::string())));
  if (dialog.exec() == QDialog::Accepted)
    context_.canvas.renameLayer(id, dialog.textValue().toStdString());
}

void LayersSection::contextMenuEvent(QContextMenuEvent* event) {
  QListWidgetItem* row = itemAt(event->pos());
  if (!row) return;
  const std::string id = row->data(idRole).toString().toStdString();
  if (id == kTitle || id == kPhone) return;
  QMenu menu(this);
  menu.addAction(tr("Rename…"), this, [this, id] { rename(id); });
  menu.addAction(tr("Duplicate"), this, [this, id] { context_.canvas.duplicateLayer(id); });
  menu.addSeparator();
  menu.addAction(tr("Bring Forward"), this,
                 [this, id] { context_.canvas.arrange(id, models::ArrangeMove::forward); });
  menu.addAction(tr("Send Backward"), this,
                 [this, id] { context_.canvas.arrange(id, models::ArrangeMove::backward); });
  menu.addAction(tr("Bring to Front"), this,
                 [this, id] { context_.canvas.arrange(id, models::ArrangeMove::toFront); });
  menu.addAction(tr("Send to Back"), this,
                 [this, id] { context_.canvas.arrange(id, models::ArrangeMove::toBack); });
  menu.addSeparator();
  menu.addAction(tr("Delete"), this, [this, id] { context_.canvas.deleteLayer(id); });
  menu.exec(event->globalPos());
}

void LayersSection::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) {
    shown_.clear();
    refresh();
  }
  QListWidget::changeEvent(event);
}

}  // namespace vells::app
