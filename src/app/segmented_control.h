#pragma once

#include <QStringList>
#include <QWidget>

class QButtonGroup;
class QAbstractButton;

namespace vells::app {

// A row of exclusive choices drawn as one control, as the toolbar's switches
// are: one press chooses, and only a person's press is reported.
class SegmentedControl : public QWidget {
  Q_OBJECT

 public:
  SegmentedControl(const QStringList& titles, const QString& accessibleName,
                   QWidget* parent = nullptr);

  int current() const;
  // Shows `index` as chosen without reporting it.
  void setCurrent(int index);
  QAbstractButton* segment(int index) const;

 signals:
  void chosen(int index);

 private:
  QButtonGroup* group_;
};

}  // namespace vells::app
