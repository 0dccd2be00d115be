#pragma once

#include <QImage>
#include <QLabel>
#include <QString>
#include <QToolButton>
#include <QWidget>
#include <optional>
#include <string>
#include <vector>

namespace vells::models {
class ImageStore;
}

namespace vells::app {

// One language's pages shown large, one at a time, over the gallery: the
// store image at full resolution, its thumbnail while that loads, a caption,
// and the way back. Left and Right step through the row, Escape or Space
// closes.
class LightboxView : public QWidget {
  Q_OBJECT

 public:
  struct Item {
    std::string full;
    std::optional<std::string> placeholder;
    QString caption;
  };

  LightboxView(models::ImageStore& images, QWidget* parent = nullptr);

  void open(std::vector<Item> items, int index);
  void close();
  bool isOpen() const { return isVisible(); }
  int index() const { return index_; }
  void showIndex(int index);
  // Whether the picture on show is the full one (not its placeholder).
  bool showingFull() const { return full_.has_value(); }
  QString caption() const { return caption_->text(); }

 signals:
  void closed();
  // The page on show as its place in the row; the gallery follows it.
  void indexChanged(int index);
  // Asks the gallery to export the page on show.
  void exportRequested(int index);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QRect pictureRect() const;
  void place();
  void load();

  models::ImageStore& images_;
  std::vector<Item> items_;
  int index_ = 0;
  std::optional<QImage> full_;
  std::optional<QImage> placeholder_;
  bool failed_ = false;
  QLabel* caption_;
  QToolButton* previous_;
  QToolButton* next_;
  QToolButton* close_;
  QToolButton* export_;
};

}  // namespace vells::app
