#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QHBoxLayout;
class QToolButton;

namespace vells::app {

// The head of a panel: a symbol, a title, an optional second line, and small
// buttons at the right.
class InspectorHeader : public QWidget {
  Q_OBJECT

 public:
  InspectorHeader(const QString& symbol, const QString& title, QWidget* parent = nullptr);

  void setTitle(const QString& title);
  QString title() const;
  void setSubtitle(const QString& text);
  QString subtitle() const;
  // An icon button with a tip at the right end; returns it for connecting.
  QToolButton* addButton(const QString& symbol, const QString& tip);

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void paintSymbols();

  QString symbol_;
  QLabel* icon_;
  QLabel* title_;
  QLabel* subtitle_;
  QHBoxLayout* row_;
  std::vector<std::pair<QToolButton*, QString>> buttons_;
};

// A small flat button showing one symbol, with its tip as its name.
QToolButton* iconButton(const QString& symbol, const QString& tip, QWidget* parent);

}  // namespace vells::app
