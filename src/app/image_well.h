#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <string>

class QLabel;
class QPushButton;

namespace vells::app {

// Takes a dropped or chosen picture and hands its bytes on. Empty, it reads
// "Drag an image, or click"; with a picture it offers Replace and Remove.
// While a pick or a removal runs it is busy and takes nothing new.
class ImageWell : public QWidget {
  Q_OBJECT

 public:
  // `done` must be called once the upload or removal has ended.
  using Pick = std::function<void(std::string bytes, std::string mime, std::function<void()> done)>;
  using Remove = std::function<void(std::function<void()> done)>;

  ImageWell(const QString& title, const QString& hint, Pick pick, Remove remove,
            QWidget* parent = nullptr);

  void setIsSet(bool isSet);
  bool isSet() const { return isSet_; }
  bool isBusy() const { return busy_; }
  bool isTargeted() const { return targeted_; }
  // Reads the file and hands it on; a file that can't be read is a sentence
  // in `failed`.
  void takeFile(const QString& path);
  void takeData(std::string bytes, std::string mime);

 signals:
  void failed(const QString& message);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void choose();
  void showState();
  void setBusy(bool busy);

  Pick pick_;
  Remove remove_;
  bool isSet_ = false;
  bool busy_ = false;
  bool targeted_ = false;
  QLabel* title_;
  QLabel* prompt_;
  QLabel* hint_;
  QPushButton* replace_;
  QPushButton* removeButton_;
};

}  // namespace vells::app
