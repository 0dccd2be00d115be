#pragma once

#include <QImage>
#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QTimer>
#include <QWidget>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "document/records.h"
#include "models/reorder_drop.h"

namespace vells::models {
class AppModel;
class GalleryModel;
class ImageStore;
}  // namespace vells::models

namespace vells::app {

// The gallery's cells: one section per language of the set, each holding that
// language's pages in its own order as thumbnails that wrap to the width.
// A cell shows its render once the cache holds it, "Rendering" until then, and
// a warning mark when the thumbnail can't be loaded. Pages are reordered by
// dragging a cell within its language (or Alt+Left/Right); arrows move between
// cells, Space or Enter opens the lightbox, the context menu edits or exports.
class GalleryGridView : public QWidget {
  Q_OBJECT

 public:
  // The width a reorder's half-way rule is measured in.
  static constexpr int cellWidth = static_cast<int>(models::ReorderDrop::cellWidth);
  // The store image's proportions at that width.
  static constexpr int thumbHeight = 320;

  enum class CellState { rendering, loading, shown, failed };

  struct Section {
    LocaleRef locale;
    std::vector<std::string> row;
    QRect header;
    std::vector<QRect> cells;
  };

  GalleryGridView(models::GalleryModel& gallery, models::AppModel& app, models::ImageStore& images,
                  QWidget* parent = nullptr);

  const std::vector<Section>& sections() const { return sections_; }
  // Where a page's cell of a language stands now, or an empty rectangle.
  QRect cellRect(const std::string& locale, const std::string& page) const;
  CellState cellState(const std::string& locale, const std::string& page);
  // The focused cell as (language, page).
  std::optional<std::pair<std::string, std::string>> current() const;
  void setCurrent(const std::string& locale, const std::string& page);
  bool dragging() const { return drop_.dragging.has_value(); }

  int heightForWidth(int width) const override;
  bool hasHeightForWidth() const override { return true; }
  QSize sizeHint() const override;

 signals:
  // The lightbox should open on this cell of the language's row.
  void openRequested(const QString& locale, int index);
  // The focused cell moved; the scroll area keeps it in view.
  void currentMoved(const QRect& rect);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  struct Hit {
    int section = -1;
    int index = -1;
  };

  void rebuild();
  void layoutSections(int width);
  std::vector<QRect> cellsFor(std::size_t count, int top, int width, int* bottom) const;
  Hit hitAt(const QPoint& point) const;
  QString pageLabel(const std::string& page) const;
  std::optional<QImage> thumbnail(const std::string& locale, const std::string& page);
  void paintCell(QPainter& painter, const QRect& rect, const Section& section, int index);
  void moveCurrent(int key);
  void moveCurrentPage(int step);
  void focusHit(Hit hit);
  void beginDrag();
  void dragTo(const QPoint& point);
  void endDrag(bool commit);
  void openContextMenu(Hit hit, const QPoint& globalPos);
  void updateSpinner();
  int layoutHeight(int width) const;
  int columns(int width) const;

  models::GalleryModel& gallery_;
  models::AppModel& app_;
  models::ImageStore& images_;

  std::vector<Section> sections_;
  Hit current_;
  Hit hovered_;
  // Addresses asked for and not yet answered, and those that failed.
  std::set<std::string> requested_;
  std::set<std::string> failed_;

  // The drag of a cell: where the press was, and the reorder rule's state.
  std::optional<QPoint> pressAt_;
  Hit pressed_;
  QPoint grabOffset_;
  QPoint pointer_;
  std::string dragLocale_;
  models::ReorderDrop drop_;

  // Thumbnails scaled to their cell, by address.
  std::map<std::string, QPixmap> scaled_;
  QTimer spinner_;
  int spinnerPhase_ = 0;
};

}  // namespace vells::app
