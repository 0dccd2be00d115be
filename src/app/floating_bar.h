#pragma once

#include <QFrame>
#include <QHBoxLayout>
#include <QString>
#include <QStringView>
#include <memory>
#include <vector>

class QToolButton;

namespace vells::app {

// A small rounded bar of buttons that floats over the canvas, beside what it
// acts on: the context bar of a selection and the bar of the in-place text
// editor. It draws its own background and a soft shadow, so it reads on any
// page colour.
class FloatingBar : public QFrame {
  Q_OBJECT

 public:
  explicit FloatingBar(QWidget* parent = nullptr);

  // A button with the symbol, the text beside it when not empty, and the tip;
  // the bar keeps it.
  QToolButton* addButton(QStringView symbol, const QString& text, const QString& tip);
  // A thin line between groups.
  void addSeparator();
  // Shows the bar at its natural size with its centre at `centre`, held inside
  // the parent.
  void placeAt(QPointF centre);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void recolourIcons();

  QHBoxLayout layout_;
  // After the layout: they leave it as they go.
  std::vector<std::unique_ptr<QWidget>> items_;
};

}  // namespace vells::app
