#pragma once

#include <QButtonGroup>
#include <QString>
#include <QWidget>
#include <utility>
#include <vector>

class QToolButton;

namespace vells::app {

// A row of choices, one of them on. Each option is a value and its label;
// an option with a symbol shows the symbol and takes the label as its tip.
class SegmentedInput : public QWidget {
  Q_OBJECT

 public:
  struct Option {
    QString value;
    QString label;
    QString symbol;
  };

  explicit SegmentedInput(std::vector<Option> options, QWidget* parent = nullptr);

  QString selection() const { return selection_; }
  // From the model: no signal.
  void setSelection(const QString& value);
  QToolButton* button(const QString& value) const;

 signals:
  void chosen(const QString& value);

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void paintIcons();

  std::vector<Option> options_;
  std::vector<QToolButton*> buttons_;
  QButtonGroup group_;
  QString selection_;
};

}  // namespace vells::app
