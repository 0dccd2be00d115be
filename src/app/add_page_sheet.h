#pragma once

#include <QString>
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

// One more page in the active set: one of the app's coded screens the set
// doesn't have yet, or an uploaded screenshot under a name of the person's.
class AddPageSheet : public SheetDialog {
  Q_OBJECT

 public:
  AddPageSheet(models::AppModel& app, QWidget* parent);

  PageSource source() const { return source_; }
  void setSource(PageSource source);
  // The coded screens the set doesn't have yet, in the catalogue's order.
  const std::vector<PageRef>& available() const { return available_; }
  bool canAdd() const;
  bool isSaving() const { return saving_; }

  void add();

 private:
  void refresh();

  models::AppModel& app_;
  PageSource source_ = PageSource::upload;
  std::vector<PageRef> available_;
  bool saving_ = false;

  QButtonGroup* sources_;
  QRadioButton* option_[3];
  QWidget* builtinBox_;
  QComboBox* builtin_;
  QLabel* noneLeft_;
  QWidget* uploadBox_;
  QLineEdit* label_;
};

}  // namespace vells::app
