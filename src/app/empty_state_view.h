#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QHBoxLayout;
class QPushButton;

namespace vells::app {

// A centred symbol, title and message with optional actions: what a column
// shows when it has nothing to show, and says why.
class EmptyStateView : public QWidget {
  Q_OBJECT

 public:
  EmptyStateView(QString symbol, QString title, QString message, QWidget* parent = nullptr);

  void setTitle(const QString& title);
  void setMessage(const QString& message);
  QString title() const;
  QString message() const;
  // Adds a button under the message; the first one added is the default.
  QPushButton* addAction(const QString& text, const QString& symbol = {});

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void recolour();

  QString symbol_;
  QLabel* icon_;
  QLabel* title_;
  QLabel* message_;
  QHBoxLayout* actions_;
};

}  // namespace vells::app
