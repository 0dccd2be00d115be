#pragma once

#include <QString>
#include <optional>
#include <string>
#include <vector>

#include "app/sheet_dialog.h"
#include "document/records.h"

class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;

namespace vells::models {
class AppModel;
class APIError;
}  // namespace vells::models

namespace vells::app {

// A new set for the active app: blank pages to fill by hand, or — when the
// app's code is connected — pages the AI makes from it, or a copy of an
// existing set whose screens the AI redraws from the latest code.
class NewSetSheet : public SheetDialog {
  Q_OBJECT

 public:
  enum class Start { generate, update, blank };

  NewSetSheet(models::AppModel& app, QWidget* parent);

  bool hasCode() const { return hasCode_; }
  Start start() const { return start_; }
  void setStart(Start start);
  // The sets of the active app, newest first.
  const std::vector<VellSet>& sets() const { return sets_; }
  std::optional<std::string> source() const;
  void setSource(const std::string& setId);
  // "<app> v<n+1>": what an empty name field gives.
  QString defaultName() const;
  bool isWorking() const { return working_; }
  bool isOffered(Start start) const;

  void create();

 signals:
  // The new set is made; the generate flow takes over.
  void generateRequested();
  // The copy is made; the update flow takes over.
  void updateRequested();

 private:
  void fail(const models::APIError& error);
  void refresh();

  models::AppModel& app_;
  bool hasCode_ = false;
  std::vector<VellSet> sets_;
  Start start_ = Start::blank;
  bool working_ = false;
  QString appName_;

  QLineEdit* name_;
  QButtonGroup* options_;
  QRadioButton* option_[3];
  QWidget* fromRow_;
  QComboBox* from_;
  QWidget* noCodeNote_;
};

}  // namespace vells::app
