#pragma once

#include <QLineEdit>
#include <QPointer>
#include <QToolButton>
#include <QWidget>

namespace vells::app {

class ColorPickerArea;

// A swatch and a hex field. Six hex digits (with or without "#") are
// accepted and sent in upper case; anything else puts the current colour
// back. The swatch opens a saturation/brightness square with a hue strip.
class ColorInput : public QWidget {
  Q_OBJECT

 public:
  // `help` names the colour for tips and screen readers ("Text colour").
  explicit ColorInput(const QString& help, QWidget* parent = nullptr);

  QString hex() const { return hex_; }
  void setHex(const QString& hex);
  QLineEdit* field() const { return field_; }
  QToolButton* swatch() const { return swatch_; }
  // Opens the colour area under the swatch.
  void openPicker();
  QWidget* picker() const { return picker_; }

  // "#" + the six digits in upper case, or nothing.
  static std::optional<QString> normalized(const QString& text);

 signals:
  // A colour from the person; `continuous` while the colour area is dragged.
  void edited(const QString& hex, bool continuous);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void commit();
  void paintSwatch();

  QString hex_ = QStringLiteral("#000000");
  QToolButton* swatch_;
  QLineEdit* field_;
  QPointer<QWidget> picker_;
};

}  // namespace vells::app
