#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>
#include <optional>
#include <set>
#include <string>

#include "app/profile_fields.h"
#include "app/sheet_dialog.h"
#include "document/records.h"

class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QMessageBox;
class QPushButton;

namespace vells::models {
class AppModel;
class APIError;
class ImageStore;
}  // namespace vells::models

namespace vells::app {

// Everything the library keeps about one app: its icon, name and developer
// (editable until it is on the store), its store link, platforms, source
// folder and profile; and deleting it, with or without its sets.
class EditAppSheet : public SheetDialog {
  Q_OBJECT

 public:
  EditAppSheet(models::AppModel& app, models::ImageStore& images, std::string appId,
               QWidget* parent);

  const std::string& appId() const { return appId_; }
  bool isListed() const;
  bool canSave() const;
  bool isSaving() const { return saving_; }
  bool isLinking() const { return linking_; }
  const std::set<DeviceOS>& platforms() const { return platforms_; }
  std::optional<QString> codeFolder() const { return codeFolder_; }
  const std::optional<QByteArray>& newIcon() const { return newIcon_; }
  bool removesIcon() const { return removeIcon_; }
  // The sets filed under this app.
  int ownedSets() const;
  // The delete confirmation while it shows.
  QMessageBox* deleteConfirmation() const { return confirmDelete_; }

  // Reads the fields from the library's summary of the app.
  void load();
  void save();
  void linkToStore();
  // An icon picture, redrawn into a 512 × 512 square.
  void setIconImage(const QImage& image);
  void removeIcon();
  void togglePlatform(DeviceOS os);
  void setCodeFolder(std::optional<QString> folder);
  void confirmDelete();

 protected:
  void refreshSymbols() override;

 private:
  const AppSummary* summary() const;
  void saveProfile(std::optional<std::string> iconRef);
  void deleteApp(bool withSets);
  void fail(const models::APIError& error);
  void chooseIcon();
  void chooseFolder();
  void showIcon();
  void refresh();

  models::AppModel& app_;
  models::ImageStore& images_;
  std::string appId_;
  std::optional<AppSummary> summary_;
  std::set<DeviceOS> platforms_;
  std::optional<QString> codeFolder_;
  std::optional<QByteArray> newIcon_;
  QImage newIconImage_;
  std::optional<QImage> storedIcon_;
  bool removeIcon_ = false;
  bool saving_ = false;
  bool linking_ = false;

  QFormLayout* form_;
  QLabel* iconTile_;
  QLabel* heroName_;
  QLabel* heroStatus_;
  QPushButton* iconMenu_;
  QAction* removeIconAction_;
  QLineEdit* name_;
  QLineEdit* developer_;
  QLabel* listedName_;
  QLabel* listedDeveloper_;
  QWidget* listedRow_;
  QPushButton* viewListing_;
  QWidget* linkRow_;
  QLineEdit* link_;
  QPushButton* linkButton_;
  QPushButton* ios_;
  QPushButton* android_;
  QLabel* folderLabel_;
  QPushButton* folderButton_;
  QPushButton* removeFolder_;
  ProfileFields profile_;
  QPushButton* delete_;
  QMessageBox* confirmDelete_ = nullptr;
};

}  // namespace vells::app
