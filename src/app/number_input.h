#pragma once

#include <QLineEdit>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <optional>

class QLabel;

namespace vells::app {

// A number field that can be typed into or scrubbed: drag its axis letter (or
// any handle added) sideways and the value moves one step per 2 points. Typed
// text accepts a comma as the decimal point and is clamped to the range; text
// that isn't a number puts the old value back.
class NumberInput : public QWidget {
  Q_OBJECT

 public:
  struct Range {
    double min = 0;
    double max = 100;
  };

  NumberInput(const QString& axis, Range range, double step, const QString& unit,
              QWidget* parent = nullptr);

  double value() const { return value_; }
  // The value from the model; the text follows unless it is being typed.
  void setValue(double value);
  Range range() const { return range_; }
  double step() const { return step_; }
  QLineEdit* field() const { return field_; }
  QString text() const { return field_->text(); }

  // Dragging on `handle` scrubs this field (the row's label, for example).
  void addDragHandle(QWidget* handle);

  // One decimal for a step below 1, else a whole number.
  static QString format(double value, double step);
  // "," as the decimal point, every other character but digits, "." and "-"
  // dropped; nothing when no number is left.
  static std::optional<double> parse(const QString& text);

 signals:
  // A new value from the person; `continuous` while a drag goes on.
  void edited(double value, bool continuous);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void commit();
  double clamp(double value) const;

  Range range_;
  double step_;
  double value_ = 0;
  QLineEdit* field_;
  QLabel* axis_;
  QLabel* unit_;
  std::optional<double> dragStart_;
  std::optional<QPoint> pressAt_;
};

}  // namespace vells::app
