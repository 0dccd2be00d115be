#pragma once

#include <QString>
#include <QWidget>

class QGridLayout;
class QLabel;
class QToolButton;

namespace vells::app {

// A labelled group of the inspector: a header that folds it, then rows of a
// label column and a control column. No frame: a hairline above separates it
// from the group before.
class InspectorSection : public QWidget {
  Q_OBJECT

 public:
  explicit InspectorSection(const QString& title, QWidget* parent = nullptr);

  QString title() const { return title_; }
  // A row: the label in the first column, the control in the second. The
  // label is returned so a number field can be scrubbed from it.
  QLabel* addRow(const QString& label, QWidget* control, const QString& tip = {});
  // Two controls on one row under one label; without a second, the first
  // takes half the row so single fields line up with pairs.
  QLabel* addPair(const QString& label, QWidget* first, QWidget* second, const QString& tip = {});
  // A control across both columns.
  void addWide(QWidget* control);
  // Hides or shows a row added with addRow / addPair (label and control).
  void setRowVisible(QWidget* control, bool visible);

  bool isExpanded() const { return expanded_; }
  void setExpanded(bool expanded);
  // The words of the fold button at the right of the header ("Show",
  // "Hide"), in place of the chevron.
  void setFoldWords(const QString& show, const QString& hide);
  QToolButton* foldButton() const { return fold_; }
  // A small button at the right end of the header.
  void addHeaderButton(QToolButton* button);

 signals:
  void expandedChanged(bool expanded);

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void showFoldState();

  QString title_;
  bool expanded_ = true;
  QString showWord_;
  QString hideWord_;
  QLabel* header_;
  QToolButton* fold_;
  QWidget* headerRow_;
  QWidget* body_;
  QGridLayout* grid_;
};

}  // namespace vells::app
