#include "app/gallery_grid_view.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <utility>

#include "app/symbol_icon.h"
#include "models/app_model.h"
#include "models/gallery_model.h"
#include "models/image_store.h"

namespace vells::app {

namespace {

constexpr int kMargin = 24;
constexpr int kGap = 16;
constexpr int kCaption = 28;
constexpr int kHeader = 40;
constexpr int kSectionGap = 16;
constexpr int kCellHeight = GalleryGridView::thumbHeight + kCaption;
constexpr qreal kRadius = 8;
// A cache of scaled thumbnails this large holds any set's gallery; past it
// the oldest work is simply redone.
constexpr std::size_t kScaledLimit = 600;

QColor mix(const QColor& a, const QColor& b, float t) {
  return QColor::fromRgbF(a.redF() + (b.redF() - a.redF()) * t,
                          a.greenF() + (b.greenF() - a.greenF()) * t,
                          a.blueF() + (b.blueF() - a.blueF()) * t);
}

}  // namespace

GalleryGridView::GalleryGridView(models::GalleryModel& gallery, models::AppModel& app,
                                 models::ImageStore& images, QWidget* parent)
    : QWidget(parent), gallery_(gallery), app_(app), images_(images) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
  setAccessibleName(tr("Gallery"));

  for (auto signal : {&models::AppModel::pagesChanged, &models::AppModel::configChanged,
                      &models::AppModel::activeSetChanged}) {
    connect(&app_, signal, this, &GalleryGridView::rebuild);
  }
  for (auto signal : {&models::AppModel::osChanged, &models::AppModel::themeChanged,
                      &models::AppModel::renderVersionChanged}) {
    connect(&app_, signal, this, [this] {
      scaled_.clear();
      update();
    });
  }
  connect(&gallery_, &models::GalleryModel::orderChanged, this, &GalleryGridView::rebuild);
  connect(&gallery_, &models::GalleryModel::readyChanged, this, [this] {
    updateSpinner();
    update();
  });
  spinner_.setInterval(90);
  connect(&spinner_, &QTimer::timeout, this, [this] {
    spinnerPhase_ = (spinnerPhase_ + 1) % 12;
    QRegion region;
    const QRect visible = visibleRegion().boundingRect();
    for (const Section& section : sections_) {
      for (std::size_t i = 0; i < section.cells.size(); ++i) {
        if (!section.cells[i].intersects(visible)) continue;
        if (!gallery_.isReady(section.locale.code, section.row[i])) region += section.cells[i];
      }
    }
    if (!region.isEmpty()) update(region);
  });
  rebuild();
}

// --- layout ---

int GalleryGridView::columns(int width) const {
  return std::max(1, (width - 2 * kMargin + kGap) / (cellWidth + kGap));
}

std::vector<QRect> GalleryGridView::cellsFor(std::size_t count, int top, int width,
                                             int* bottom) const {
  const int perLine = columns(width);
  std::vector<QRect> cells;
  int y = top;
  for (std::size_t i = 0; i < count; ++i) {
    const int column = static_cast<int>(i) % perLine;
    if (i > 0 && column == 0) y += kCellHeight + kGap;
    cells.emplace_back(kMargin + column * (cellWidth + kGap), y, cellWidth, kCellHeight);
  }
  *bottom = count == 0 ? top : y + kCellHeight;
  return cells;
}

int GalleryGridView::layoutHeight(int width) const {
  int y = kMargin / 2;
  for (const Section& section : sections_) {
    int bottom = 0;
    cellsFor(section.row.size(), y + kHeader, width, &bottom);
    y = bottom + kSectionGap + kGap;
  }
  return y + kMargin / 2;
}

void GalleryGridView::layoutSections(int width) {
  int y = kMargin / 2;
  for (Section& section : sections_) {
    section.header = QRect(kMargin, y, std::max(0, width - 2 * kMargin), kHeader);
    int bottom = 0;
    section.cells = cellsFor(section.row.size(), y + kHeader, width, &bottom);
    y = bottom + kSectionGap + kGap;
  }
}

int GalleryGridView::heightForWidth(int width) const {
  return layoutHeight(width);
}

QSize GalleryGridView::sizeHint() const {
  const int width = 2 * kMargin + 4 * cellWidth + 3 * kGap;
  return {width, layoutHeight(width)};
}

void GalleryGridView::rebuild() {
  const auto keep = current();
  sections_.clear();
  for (const LocaleRef& locale : app_.activeSetLocales()) {
    Section section;
    section.locale = locale;
    if (drop_.dragging && locale.code == dragLocale_)
      section.row = drop_.liveRow.value_or(drop_.storedRow);
    else
      section.row = gallery_.row(locale.code, app_.pages());
    sections_.push_back(std::move(section));
  }
  layoutSections(width());
  current_ = {};
  if (keep) {
    for (std::size_t s = 0; s < sections_.size(); ++s) {
      if (sections_[s].locale.code != keep->first) continue;
      const auto& row = sections_[s].row;
      auto at = std::find(row.begin(), row.end(), keep->second);
      if (at != row.end()) current_ = {static_cast<int>(s), static_cast<int>(at - row.begin())};
    }
  }
  hovered_ = {};
  updateGeometry();
  updateSpinner();
  update();
}

void GalleryGridView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  layoutSections(width());
}

void GalleryGridView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  failed_.clear();  // a thumbnail that failed is tried again when the gallery shows again
  updateSpinner();
}

void GalleryGridView::updateSpinner() {
  const bool spin = isVisible() && gallery_.pendingCount() > 0;
  if (spin && !spinner_.isActive()) spinner_.start();
  if (!spin) spinner_.stop();
}

// --- cells ---

QRect GalleryGridView::cellRect(const std::string& locale, const std::string& page) const {
  for (const Section& section : sections_) {
    if (section.locale.code != locale) continue;
    for (std::size_t i = 0; i < section.row.size(); ++i) {
      if (section.row[i] == page) return section.cells[i];
    }
  }
  return {};
}

GalleryGridView::CellState GalleryGridView::cellState(const std::string& locale,
                                                      const std::string& page) {
  if (!gallery_.isReady(locale, page)) return CellState::rendering;
  const auto url = gallery_.thumbnailURL(locale, page);
  if (!url || failed_.contains(*url)) return CellState::failed;
  if (images_.cached(*url)) return CellState::shown;
  return CellState::loading;
}

std::optional<std::pair<std::string, std::string>> GalleryGridView::current() const {
  if (current_.section < 0 || current_.section >= static_cast<int>(sections_.size()))
    return std::nullopt;
  const Section& section = sections_[current_.section];
  if (current_.index < 0 || current_.index >= static_cast<int>(section.row.size()))
    return std::nullopt;
  return std::pair(section.locale.code, section.row[current_.index]);
}

void GalleryGridView::setCurrent(const std::string& locale, const std::string& page) {
  for (std::size_t s = 0; s < sections_.size(); ++s) {
    if (sections_[s].locale.code != locale) continue;
    const auto& row = sections_[s].row;
    auto at = std::find(row.begin(), row.end(), page);
    if (at != row.end()) focusHit({static_cast<int>(s), static_cast<int>(at - row.begin())});
  }
}

GalleryGridView::Hit GalleryGridView::hitAt(const QPoint& point) const {
  for (std::size_t s = 0; s < sections_.size(); ++s) {
    const auto& cells = sections_[s].cells;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (cells[i].contains(point)) return {static_cast<int>(s), static_cast<int>(i)};
    }
  }
  return {};
}

QString GalleryGridView::pageLabel(const std::string& page) const {
  return QString::fromStdString(app_.pageLabel(page));
}

std::optional<QImage> GalleryGridView::thumbnail(const std::string& locale,
                                                 const std::string& page) {
  const auto url = gallery_.thumbnailURL(locale, page);
  if (!url) return std::nullopt;
  if (auto image = images_.cached(*url)) return image;
  if (failed_.contains(*url) || requested_.contains(*url)) return std::nullopt;
  requested_.insert(*url);
  images_.image(*url, this, [this, key = *url](const std::optional<QImage>& image) {
    requested_.erase(key);
    if (!image) failed_.insert(key);
    update();
  });
  return std::nullopt;
}

void GalleryGridView::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QPalette& pal = palette();
  const QColor text = pal.color(QPalette::WindowText);
  const QColor secondary = mix(text, pal.color(QPalette::Window), 0.45F);
  const QRect dirty = event->rect();

  for (std::size_t s = 0; s < sections_.size(); ++s) {
    const Section& section = sections_[s];
    if (section.header.intersects(dirty)) {
      QFont strong = font();
      strong.setWeight(QFont::DemiBold);
      painter.setFont(strong);
      painter.setPen(text);
      QString title = QString::fromStdString(
          section.locale.nativeName.empty() ? section.locale.code : section.locale.nativeName);
      if (!section.locale.flag.empty())
        title = QString::fromStdString(section.locale.flag) + u' ' + title;
      const QRect line = section.header.adjusted(0, 0, 0, -8);
      painter.drawText(line, Qt::AlignLeft | Qt::AlignBottom, title);
      const int used = QFontMetrics(strong).horizontalAdvance(title);
      painter.setFont(font());
      painter.setPen(secondary);
      int ready = 0;
      for (const std::string& page : section.row)
        ready += gallery_.isReady(section.locale.code, page) ? 1 : 0;
      painter.drawText(line.adjusted(used + 8, 0, 0, 0), Qt::AlignLeft | Qt::AlignBottom,
                       QString::fromStdString(section.locale.code));
      if (gallery_.ready() && ready < static_cast<int>(section.row.size())) {
        painter.drawText(line, Qt::AlignRight | Qt::AlignBottom,
                         tr("%1 of %2 ready").arg(ready).arg(section.row.size()));
      }
    }
    for (std::size_t i = 0; i < section.cells.size(); ++i) {
      if (section.cells[i].intersects(dirty))
        paintCell(painter, section.cells[i], section, static_cast<int>(i));
    }
  }

  // The dragged cell follows the pointer above everything.
  if (drop_.dragging) {
    const QRect ghost(pointer_ - grabOffset_, QSize(cellWidth, thumbHeight));
    const auto image = thumbnail(dragLocale_, *drop_.dragging);
    painter.setOpacity(0.9);
    QPainterPath path;
    path.addRoundedRect(ghost, kRadius, kRadius);
    for (int spread = 1; spread <= 6; ++spread) {  // a soft lift shadow
      QPainterPath shadow;
      shadow.addRoundedRect(ghost.adjusted(-spread, -spread + 4, spread, spread + 4),
                            kRadius + spread, kRadius + spread);
      painter.fillPath(shadow, QColor(0, 0, 0, 10));
    }
    painter.fillPath(path, mix(pal.color(QPalette::Base), text, 0.08F));
    if (image) {
      painter.setClipPath(path);
      painter.drawImage(ghost, *image);
      painter.setClipping(false);
    }
    painter.setPen(QPen(pal.color(QPalette::Highlight), 2));
    painter.drawPath(path);
    painter.setOpacity(1);
  }
}

void GalleryGridView::paintCell(QPainter& painter, const QRect& rect, const Section& section,
                                int index) {
  const QPalette& pal = palette();
  const QColor text = pal.color(QPalette::WindowText);
  const QColor secondary = mix(text, pal.color(QPalette::Window), 0.45F);
  const QColor accent = pal.color(QPalette::Highlight);
  const std::string& locale = section.locale.code;
  const std::string& page = section.row[index];
  const QRect thumb(rect.topLeft(), QSize(cellWidth, thumbHeight));
  QPainterPath path;
  path.addRoundedRect(QRectF(thumb).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);

  const bool isDragged = drop_.dragging && locale == dragLocale_ && page == *drop_.dragging;
  if (isDragged) {  // the slot the page will land in
    painter.setPen(QPen(accent, 1.5, Qt::DashLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(path);
  } else {
    painter.fillPath(path, mix(pal.color(QPalette::Base), text, 0.06F));
    const auto image = gallery_.isReady(locale, page) ? thumbnail(locale, page) : std::nullopt;
    const auto url = gallery_.thumbnailURL(locale, page);
    if (image && url) {
      const qreal dpr = devicePixelRatioF();
      auto cached = scaled_.find(*url);
      if (cached == scaled_.end()) {
        if (scaled_.size() > kScaledLimit) scaled_.clear();
        QPixmap pixmap = QPixmap::fromImage(image->scaled(QSize(cellWidth, thumbHeight) * dpr,
                                                          Qt::KeepAspectRatioByExpanding,
                                                          Qt::SmoothTransformation));
        pixmap.setDevicePixelRatio(dpr);
        cached = scaled_.emplace(*url, std::move(pixmap)).first;
      }
      painter.save();
      painter.setClipPath(path);
      const QSizeF size = cached->second.deviceIndependentSize();
      painter.drawPixmap(QPointF(thumb.center()) - QPointF(size.width() / 2, size.height() / 2),
                         cached->second);
      painter.restore();
    } else {
      const CellState state = cellState(locale, page);
      painter.setPen(secondary);
      if (state == CellState::rendering) {
        const QRectF ring(thumb.center().x() - 10, thumb.center().y() - 22, 20, 20);
        painter.setPen(QPen(mix(secondary, pal.color(QPalette::Window), 0.6F), 2));
        painter.drawEllipse(ring);
        painter.setPen(QPen(secondary, 2, Qt::SolidLine, Qt::RoundCap));
        painter.drawArc(ring, -spinnerPhase_ * 30 * 16, 90 * 16);
        painter.setPen(secondary);
        painter.drawText(thumb.adjusted(0, 16, 0, 0), Qt::AlignCenter, tr("Rendering"));
      } else if (state == CellState::failed) {
        const QIcon mark = symbolIcon(u"exclamationmark.triangle", secondary);
        mark.paint(&painter, QRect(thumb.center().x() - 12, thumb.center().y() - 28, 24, 24));
        painter.drawText(thumb.adjusted(8, 16, -8, 0), Qt::AlignCenter | Qt::TextWordWrap,
                         tr("Couldn’t load the preview"));
      }
    }
    const bool isCurrent = current_.section >= 0 && &sections_[current_.section] == &section &&
                           current_.index == index;
    const bool isHovered = hovered_.section >= 0 && &sections_[hovered_.section] == &section &&
                           hovered_.index == index;
    painter.setBrush(Qt::NoBrush);
    if (isCurrent && hasFocus()) {
      painter.setPen(QPen(accent, 2));
      painter.drawRoundedRect(QRectF(thumb).adjusted(-2, -2, 2, 2), kRadius + 2, kRadius + 2);
    } else {
      QColor edge = isHovered ? accent : text;
      edge.setAlphaF(isHovered ? 0.6F : (isCurrent ? 0.35F : 0.12F));
      painter.setPen(QPen(edge, 1));
      painter.drawPath(path);
    }
  }

  // The caption: the place in the row, then the page's name.
  const QRect caption(rect.left(), thumb.bottom() + 7, cellWidth, kCaption - 8);
  const QString number = QString::number(index + 1);
  painter.setFont(font());
  painter.setPen(secondary);
  painter.drawText(caption, Qt::AlignLeft | Qt::AlignVCenter, number);
  const int numberWidth = fontMetrics().horizontalAdvance(QStringLiteral("00")) + 4;
  painter.setPen(text);
  painter.drawText(
      caption.adjusted(numberWidth, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
      fontMetrics().elidedText(pageLabel(page), Qt::ElideRight, caption.width() - numberWidth));
}

// --- keyboard ---

void GalleryGridView::focusHit(Hit hit) {
  current_ = hit;
  update();
  if (auto cell = current()) emit currentMoved(cellRect(cell->first, cell->second));
}

void GalleryGridView::moveCurrent(int key) {
  if (!current()) {
    if (!sections_.empty() && !sections_.front().row.empty()) focusHit({0, 0});
    return;
  }
  const Section& section = sections_[current_.section];
  const int last = static_cast<int>(section.row.size()) - 1;
  switch (key) {
    case Qt::Key_Left:
      return focusHit({current_.section, std::max(0, current_.index - 1)});
    case Qt::Key_Right:
      return focusHit({current_.section, std::min(last, current_.index + 1)});
    case Qt::Key_Home:
      return focusHit({current_.section, 0});
    case Qt::Key_End:
      return focusHit({current_.section, last});
    default:
      break;
  }
  // Up and down go to the nearest cell on the line above or below, across languages.
  const QRect from = section.cells[current_.index];
  const bool down = key == Qt::Key_Down;
  std::optional<int> line;
  Hit best;
  int bestDistance = 0;
  for (std::size_t s = 0; s < sections_.size(); ++s) {
    for (std::size_t i = 0; i < sections_[s].cells.size(); ++i) {
      const QRect& cell = sections_[s].cells[i];
      if (down ? cell.top() <= from.top() : cell.top() >= from.top()) continue;
      const int distance = std::abs(cell.center().x() - from.center().x());
      const bool closerLine = !line || (down ? cell.top() < *line : cell.top() > *line);
      if (closerLine || (cell.top() == *line && distance < bestDistance)) {
        line = cell.top();
        best = {static_cast<int>(s), static_cast<int>(i)};
        bestDistance = distance;
      }
    }
  }
  if (line) focusHit(best);
}

void GalleryGridView::moveCurrentPage(int step) {
  const auto cell = current();
  if (!cell) return;
  std::vector<std::string> row = sections_[current_.section].row;
  const int to = current_.index + step;
  if (to < 0 || to >= static_cast<int>(row.size())) return;
  std::swap(row[current_.index], row[to]);
  gallery_.saveRow(std::move(row), cell->first);
  setCurrent(cell->first, cell->second);
}

void GalleryGridView::keyPressEvent(QKeyEvent* event) {
  const int key = event->key();
  if (dragging()) {
    if (key == Qt::Key_Escape) endDrag(false);
    return event->accept();
  }
  if ((key == Qt::Key_Left || key == Qt::Key_Right) && event->modifiers() & Qt::AltModifier) {
    moveCurrentPage(key == Qt::Key_Left ? -1 : 1);
    return event->accept();
  }
  switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Home:
    case Qt::Key_End:
      moveCurrent(key);
      return event->accept();
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (current()) {
        emit openRequested(QString::fromStdString(sections_[current_.section].locale.code),
                           current_.index);
        return event->accept();
      }
      break;
    default:
      break;
  }
  QWidget::keyPressEvent(event);
}

void GalleryGridView::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  if (!current() && event->reason() != Qt::MouseFocusReason) moveCurrent(Qt::Key_Right);
  update();
}

void GalleryGridView::focusOutEvent(QFocusEvent* event) {
  QWidget::focusOutEvent(event);
  update();
}

// --- pointer: select, open, drag to reorder ---

void GalleryGridView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  setFocus(Qt::MouseFocusReason);
  const Hit hit = hitAt(event->position().toPoint());
  if (hit.section < 0) return;
  focusHit(hit);
  pressAt_ = event->position().toPoint();
  pressed_ = hit;
  grabOffset_ = *pressAt_ - sections_[hit.section].cells[hit.index].topLeft();
}

void GalleryGridView::mouseMoveEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  if (pressAt_ && !dragging() &&
      (point - *pressAt_).manhattanLength() >= QApplication::startDragDistance()) {
    beginDrag();
  }
  if (dragging()) {
    pointer_ = point;
    dragTo(point);
    update();
    return;
  }
  const Hit hit = hitAt(point);
  if (hit.section != hovered_.section || hit.index != hovered_.index) {
    hovered_ = hit;
    setCursor(hit.section >= 0 ? Qt::PointingHandCursor : Qt::ArrowCursor);
    update();
  }
}

void GalleryGridView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mouseReleaseEvent(event);
  if (dragging()) endDrag(true);
  pressAt_.reset();
}

void GalleryGridView::mouseDoubleClickEvent(QMouseEvent* event) {
  const Hit hit = hitAt(event->position().toPoint());
  if (hit.section < 0) return;
  emit openRequested(QString::fromStdString(sections_[hit.section].locale.code), hit.index);
}

void GalleryGridView::leaveEvent(QEvent* event) {
  QWidget::leaveEvent(event);
  hovered_ = {};
  update();
}

void GalleryGridView::beginDrag() {
  const Section& section = sections_[pressed_.section];
  dragLocale_ = section.locale.code;
  drop_ = models::ReorderDrop{section.row[pressed_.index], std::nullopt, section.row};
  setCursor(Qt::ClosedHandCursor);
}

void GalleryGridView::dragTo(const QPoint& point) {
  for (const Section& section : sections_) {
    if (section.locale.code != dragLocale_) continue;
    for (std::size_t i = 0; i < section.cells.size(); ++i) {
      if (!section.cells[i].contains(point)) continue;
      // The row moves while the drag is on; a drag that leaves the row keeps its last place.
      if (auto next = drop_.hover(section.row[i], point.x() - section.cells[i].left())) {
        drop_.liveRow = std::move(*next);
        rebuild();
      }
      return;
    }
  }
}

void GalleryGridView::endDrag(bool commit) {
  const std::string page = *drop_.dragging;
  std::vector<std::string> row = drop_.liveRow.value_or(drop_.storedRow);
  drop_ = {};
  pressAt_.reset();
  setCursor(Qt::ArrowCursor);
  // Dropping where it started still saves the row, as a language's own order.
  if (commit) gallery_.saveRow(std::move(row), dragLocale_);
  rebuild();
  setCurrent(dragLocale_, page);
}

// --- cell actions ---

void GalleryGridView::contextMenuEvent(QContextMenuEvent* event) {
  Hit hit = event->reason() == QContextMenuEvent::Keyboard ? current_ : hitAt(event->pos());
  if (hit.section < 0 || hit.index < 0) return;
  focusHit(hit);
  QPoint at = event->globalPos();
  if (event->reason() == QContextMenuEvent::Keyboard)
    at = mapToGlobal(sections_[hit.section].cells[hit.index].center());
  openContextMenu(hit, at);
}

void GalleryGridView::openContextMenu(Hit hit, const QPoint& globalPos) {
  const std::string locale = sections_[hit.section].locale.code;
  const std::string page = sections_[hit.section].row[hit.index];
  const int index = hit.index;
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->setToolTipsVisible(true);
  QAction* open = menu->addAction(tr("Open"), this, [this, locale, index] {
    emit openRequested(QString::fromStdString(locale), index);
  });
  open->setShortcut(Qt::Key_Space);
  menu->addAction(symbolIcon(u"pencil", palette().color(QPalette::WindowText)), tr("Edit"), this,
                  [this, locale, page] {
                    app_.setActiveLocale(locale);
                    app_.setActivePage(page);
                    app_.setWorkspace(models::Workspace::editor);
                  });
  menu->addSeparator();
  QAction* exportOne = menu->addAction(
      symbolIcon(u"square.and.arrow.up", palette().color(QPalette::WindowText)), tr("Export PNG…"),
      this, [this, locale, page, index] { gallery_.exportOne(page, locale, index); });
  exportOne->setToolTip(tr("Export this screenshot"));
  exportOne->setEnabled(!gallery_.exportingOne());
  menu->popup(globalPos);
}

}  // namespace vells::app
