#pragma once

#include <QDialog>
#include <QString>
#include <functional>
#include <vector>

#include "document/records.h"

class QBoxLayout;
class QFormLayout;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QVBoxLayout;

namespace vells::app {

// The frame every sheet shares: a window-modal dialog over the main window
// with a heading, the sheet's own content, the error line, a busy line while
// work runs, and a footer whose confirm button answers Return. Escape
// cancels. A sheet stays open over a failure so nothing typed is lost.
class SheetDialog : public QDialog {
  Q_OBJECT

 public:
  explicit SheetDialog(QWidget* parent);

  QString errorText() const { return error_; }
  bool isBusy() const { return busy_; }
  QPushButton* confirmButton() const { return confirm_; }
  QPushButton* cancelButton() const { return cancel_; }

 protected:
  void setHeading(const QString& title, const QString& subtitle);
  QVBoxLayout* content() const { return content_; }
  // The footer's left end, before the stretch (step counters, destructive actions).
  QHBoxLayout* footerStart() const { return footerStart_; }
  // A button just left of the confirm button (Back).
  void addFooterButton(QPushButton* button);
  // An empty text hides the line.
  void setError(const QString& text);
  // Disables the confirm button and shows the busy line with `text`.
  void setBusy(bool busy, const QString& text = {});
  // Re-reads what the sheet offers; the confirm button is on only when
  // `canConfirm` holds and nothing runs.
  void setCanConfirm(bool canConfirm);
  // Symbols drawn in the palette's colours; called again when the palette changes.
  virtual void refreshSymbols();
  // A label in the quieter colour for notes and hints.
  static QLabel* noteLabel(const QString& text, QWidget* parent = nullptr);
  // The folder chooser for an app's source code; `chosen` gets the folder.
  void chooseCodeFolder(const QString& appName, std::function<void(const QString&)> chosen);
  // Labels right-aligned in their column, fields growing in theirs.
  static QFormLayout* formLayout();
  // A toggle for one platform, named "ios" or "android".
  static QPushButton* platformChip(DeviceOS os, QWidget* parent);
  // A choice among several: symbol, a radio button with the title in bold,
  // the detail under it.
  static QWidget* optionRow(const QString& symbol, const QString& title, const QString& detail,
                            QRadioButton** radio, QWidget* parent);
  // A row of a symbol and a wrapped text.
  static QWidget* symbolLine(const QString& symbol, QLabel* text, QWidget* parent = nullptr);
  void changeEvent(QEvent* event) override;

 private:
  QLabel* title_;
  QLabel* subtitle_;
  QVBoxLayout* content_;
  QWidget* errorLine_;
  QLabel* errorLabel_;
  QWidget* busyLine_;
  QLabel* busyLabel_;
  QHBoxLayout* footerStart_;
  QHBoxLayout* footerEnd_;
  QPushButton* cancel_;
  QPushButton* confirm_;
  QString error_;
  bool busy_ = false;
  bool canConfirm_ = true;
};

}  // namespace vells::app
