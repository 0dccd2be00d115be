#include "app/edit_app_sheet.h"

#include <QBuffer>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>

#include "app/sheet_rules.h"
#include "app/symbol_icon.h"
#include "models/app_model.h"
#include "models/image_store.h"

namespace vells::app {

namespace {

constexpr int kIconSide = 512;
constexpr int kTileSide = 64;

QString q(const std::string& s) {
  return QString::fromStdString(s);
}

// The icon as the store shows it: a rounded square.
QPixmap tile(const QImage& image, qreal ratio) {
  const int side = qRound(kTileSide * ratio);
  QPixmap pixmap(side, side);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  QPainterPath clip;
  clip.addRoundedRect(QRectF(0, 0, side, side), side * 0.22, side * 0.22);
  painter.setClipPath(clip);
  painter.drawImage(QRect(0, 0, side, side), image);
  pixmap.setDevicePixelRatio(ratio);
  return pixmap;
}

QPixmap letterTile(const QString& name, const QPalette& palette, qreal ratio) {
  QImage image(kTileSide * 4, kTileSide * 4, QImage::Format_ARGB32_Premultiplied);
  image.fill(palette.color(QPalette::Highlight));
  QPainter painter(&image);
  QFont font = painter.font();
  font.setPixelSize(kTileSide * 2);
  font.setWeight(QFont::DemiBold);
  painter.setFont(font);
  painter.setPen(palette.color(QPalette::HighlightedText));
  const QString letter = name.isEmpty() ? QStringLiteral("?") : name.left(1).toUpper();
  painter.drawText(image.rect(), Qt::AlignCenter, letter);
  painter.end();
  return tile(image, ratio);
}

}  // namespace

EditAppSheet::EditAppSheet(models::AppModel& app, models::ImageStore& images, std::string appId,
                           QWidget* parent)
    : SheetDialog(parent), app_(app), images_(images), appId_(std::move(appId)) {
  setObjectName(QStringLiteral("editAppSheet"));
  setHeading(tr("Edit App"), {});

  // The hero: icon, name and whether the store lists it.
  auto* hero = new QHBoxLayout;
  hero->setSpacing(16);
  iconTile_ = new QLabel(this);
  iconTile_->setFixedSize(kTileSide, kTileSide);
  auto* heroText = new QVBoxLayout;
  heroText->setSpacing(2);
  heroName_ = new QLabel(this);
  QFont big = heroName_->font();
  big.setPointSizeF(big.pointSizeF() * 1.2);
  big.setWeight(QFont::DemiBold);
  heroName_->setFont(big);
  heroStatus_ = noteLabel({}, this);
  iconMenu_ = new QPushButton(tr("Change the icon"), this);
  iconMenu_->setAutoDefault(false);
  auto* menu = new QMenu(iconMenu_);
  menu->addAction(tr("Choose Image…"), this, &EditAppSheet::chooseIcon);
  removeIconAction_ = menu->addAction(tr("Remove Icon"), this, &EditAppSheet::removeIcon);
  iconMenu_->setMenu(menu);
  heroText->addStretch(1);
  heroText->addWidget(heroName_);
  heroText->addWidget(heroStatus_);
  heroText->addWidget(iconMenu_, 0, Qt::AlignLeft);
  heroText->addStretch(1);
  hero->addWidget(iconTile_, 0, Qt::AlignTop);
  hero->addLayout(heroText, 1);
  content()->addLayout(hero);

  QFormLayout* form = form_ = formLayout();
  name_ = new QLineEdit(this);
  name_->setObjectName(QStringLiteral("name"));
  developer_ = new QLineEdit(this);
  developer_->setObjectName(QStringLiteral("developer"));
  developer_->setPlaceholderText(tr("Optional"));
  listedName_ = new QLabel(this);
  listedDeveloper_ = new QLabel(this);
  listedRow_ = new QWidget(this);
  auto* listed = new QHBoxLayout(listedRow_);
  listed->setContentsMargins(0, 0, 0, 0);
  listed->setSpacing(8);
  auto* listedWord = noteLabel(tr("Listed"), listedRow_);
  listedWord->setWordWrap(false);
  viewListing_ = new QPushButton(tr("View Listing"), listedRow_);
  viewListing_->setAutoDefault(false);
  viewListing_->setFlat(true);
  listed->addWidget(listedName_);
  listed->addWidget(listedWord);
  listed->addStretch(1);
  listed->addWidget(viewListing_);
  auto* nameBox = new QWidget(this);
  auto* nameRow = new QVBoxLayout(nameBox);
  nameRow->setContentsMargins(0, 0, 0, 0);
  nameRow->addWidget(name_);
  nameRow->addWidget(listedRow_);
  auto* developerBox = new QWidget(this);
  auto* developerRow = new QVBoxLayout(developerBox);
  developerRow->setContentsMargins(0, 0, 0, 0);
  developerRow->addWidget(developer_);
  developerRow->addWidget(listedDeveloper_);
  form->addRow(tr("Name"), nameBox);
  form->addRow(tr("Developer"), developerBox);

  linkRow_ = new QWidget(this);
  auto* linkLayout = new QHBoxLayout(linkRow_);
  linkLayout->setContentsMargins(0, 0, 0, 0);
  linkLayout->setSpacing(8);
  link_ = new QLineEdit(linkRow_);
  link_->setObjectName(QStringLiteral("link"));
  link_->setPlaceholderText(QStringLiteral("Paste its link once released"));
  linkButton_ = new QPushButton(tr("Link"), linkRow_);
  linkButton_->setAutoDefault(false);
  linkLayout->addWidget(link_, 1);
  linkLayout->addWidget(linkButton_);
  form->addRow(tr("App Store link"), linkRow_);

  auto* chips = new QWidget(this);
  auto* chipRow = new QHBoxLayout(chips);
  chipRow->setContentsMargins(0, 0, 0, 0);
  chipRow->setSpacing(8);
  ios_ = platformChip(DeviceOS::ios, chips);
  android_ = platformChip(DeviceOS::android, chips);
  for (auto [chip, os] : {std::pair{ios_, DeviceOS::ios}, std::pair{android_, DeviceOS::android}}) {
    chip->setMinimumWidth(112);
    chipRow->addWidget(chip);
    connect(chip, &QPushButton::clicked, this, [this, os = os] { togglePlatform(os); });
  }
  chipRow->addStretch(1);
  form->addRow(tr("Platforms"), chips);

  auto* code = new QWidget(this);
  auto* codeRow = new QHBoxLayout(code);
  codeRow->setContentsMargins(0, 0, 0, 0);
  codeRow->setSpacing(8);
  folderLabel_ = new QLabel(code);
  folderLabel_->setObjectName(QStringLiteral("folder"));
  folderLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  folderLabel_->setMinimumWidth(80);
  folderButton_ = new QPushButton(code);
  folderButton_->setAutoDefault(false);
  removeFolder_ = new QPushButton(tr("Remove"), code);
  removeFolder_->setAutoDefault(false);
  codeRow->addWidget(folderLabel_, 1);
  codeRow->addWidget(folderButton_);
  codeRow->addWidget(removeFolder_);
  form->addRow(tr("Code"), code);

  profile_ = ProfileFields::addTo(form, this);
  content()->addLayout(form);

  delete_ = new QPushButton(tr("Delete App…"), this);
  delete_->setObjectName(QStringLiteral("deleteApp"));
  delete_->setAutoDefault(false);
  footerStart()->addWidget(delete_);
  confirmButton()->setText(tr("Save"));

  connect(confirmButton(), &QPushButton::clicked, this, &EditAppSheet::save);
  connect(delete_, &QPushButton::clicked, this, &EditAppSheet::confirmDelete);
  connect(linkButton_, &QPushButton::clicked, this, &EditAppSheet::linkToStore);
  connect(link_, &QLineEdit::returnPressed, this, &EditAppSheet::linkToStore);
  connect(link_, &QLineEdit::textChanged, this, &EditAppSheet::refresh);
  connect(name_, &QLineEdit::textChanged, this, &EditAppSheet::refresh);
  connect(folderButton_, &QPushButton::clicked, this, &EditAppSheet::chooseFolder);
  connect(removeFolder_, &QPushButton::clicked, this, [this] { setCodeFolder(std::nullopt); });
  connect(viewListing_, &QPushButton::clicked, this, [this] {
    if (const AppSummary* app = summary(); app && app->storeUrl)
      QDesktopServices::openUrl(QUrl(q(*app->storeUrl)));
  });

  load();
  refreshSymbols();
}

const AppSummary* EditAppSheet::summary() const {
  return summary_ ? &*summary_ : nullptr;
}

bool EditAppSheet::isListed() const {
  return summary_ && !summary_->unlisted.value_or(false);
}

bool EditAppSheet::canSave() const {
  return isListed() || !trimmed(name_->text()).isEmpty();
}

int EditAppSheet::ownedSets() const {
  if (!app_.config()) return 0;
  const auto& sets = app_.config()->sets;
  return static_cast<int>(std::count_if(sets.begin(), sets.end(),
                                        [&](const VellSet& set) { return set.appId == appId_; }));
}

void EditAppSheet::load() {
  summary_.reset();
  for (const AppSummary& app : app_.apps()) {
    if (app.appId == appId_) summary_ = app;
  }
  const AppSummary empty;
  const AppSummary& s = summary_ ? *summary_ : empty;
  name_->setText(q(s.name));
  developer_->setText(q(s.developer));
  listedName_->setText(q(s.name));
  listedDeveloper_->setText(s.developer.empty() ? QStringLiteral("—") : q(s.developer));
  link_->clear();
  platforms_.clear();
  for (const std::string& name : s.platforms.value_or(std::vector<std::string>{})) {
    if (name == "ios") platforms_.insert(DeviceOS::ios);
    if (name == "android") platforms_.insert(DeviceOS::android);
  }
  // An app that never said keeps the platform the window shows.
  if (platforms_.empty()) platforms_.insert(app_.os());
  profile_.about->setText(q(s.about.value_or("")));
  profile_.audience->setText(q(s.audience.value_or("")));
  profile_.setCategory(q(s.category.value_or("")));
  if (auto folder = app_.codeFolder(appId_)) {
    codeFolder_ = q(*folder);
  } else {
    codeFolder_.reset();
  }
  storedIcon_.reset();
  if (auto url = app_.iconURL(summary())) {
    images_.image(*url, this, [this](std::optional<QImage> image) {
      storedIcon_ = std::move(image);
      refresh();
    });
  }
  refresh();
}

void EditAppSheet::save() {
  if (saving_ || linking_ || !canSave()) return;
  saving_ = true;
  setError({});
  setBusy(true, tr("Saving…"));
  refresh();
  if (!newIcon_) return saveProfile(std::nullopt);
  app_.client().uploadAppIcon(std::string(newIcon_->constData(), newIcon_->size()), "image/png",
                              this, [this](models::APIResult<std::string> r) {
                                if (!r) return fail(r.error());
                                saveProfile(r.value());
                              });
}

void EditAppSheet::saveProfile(std::optional<std::string> iconRef) {
  std::optional<std::string> name, developer;
  if (!isListed()) {
    const QString n = trimmed(name_->text()), d = trimmed(developer_->text());
    if (!n.isEmpty()) name = n.toStdString();
    if (!d.isEmpty()) developer = d.toStdString();
  }
  const JSONValue profile = profile_.profile(platforms_);
  QPointer<EditAppSheet> self(this);
  app_.client().updateApp(appId_, name, developer, iconRef, removeIcon_ && !iconRef, profile, this,
                          [this, self](models::APIResult<models::Done> r) {
                            if (!r) return fail(r.error());
                            app_.refreshConfig([this, self] {
                              if (!self) return;
                              if (codeFolder_) {
                                app_.setCodeFolder(appId_, codeFolder_->toStdString());
                              } else {
                                app_.removeCodeFolder(appId_);
                              }
                              saving_ = false;
                              setBusy(false);
                              accept();
                            });
                          });
}

void EditAppSheet::linkToStore() {
  const QString link = trimmed(link_->text());
  if (link.isEmpty() || linking_ || saving_ || isListed()) return;
  linking_ = true;
  setError({});
  setBusy(true, tr("Looking it up on the App Store…"));
  refresh();
  std::set<std::string> before;
  for (const AppSummary& app : app_.apps())
    before.insert(app.appId);
  const bool wasActive = app_.activeApp() == appId_;
  app_.linkApp(appId_, link.toStdString(), this,
               [this, before, wasActive](models::APIResult<models::Done> r) {
                 linking_ = false;
                 setBusy(false);
                 if (!r) return fail(r.error());
                 // Linking gives the app its store id; find it under that.
                 if (wasActive && app_.activeApp()) {
                   appId_ = *app_.activeApp();
                 } else {
                   for (const AppSummary& app : app_.apps()) {
                     if (!before.count(app.appId)) appId_ = app.appId;
                   }
                 }
                 load();
               });
}

void EditAppSheet::setIconImage(const QImage& image) {
  if (image.isNull()) {
    setError(tr("That file isn’t a picture Vellora can read."));
    return;
  }
  QImage square(kIconSide, kIconSide, QImage::Format_ARGB32_Premultiplied);
  square.fill(Qt::transparent);
  QPainter painter(&square);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  const QSize size = image.size().scaled(kIconSide, kIconSide, Qt::KeepAspectRatioByExpanding);
  painter.drawImage(
      QRect(QPoint((kIconSide - size.width()) / 2, (kIconSide - size.height()) / 2), size), image);
  painter.end();
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  square.save(&buffer, "PNG");
  newIcon_ = png;
  newIconImage_ = square;
  removeIcon_ = false;
  setError({});
  refresh();
}

void EditAppSheet::removeIcon() {
  removeIcon_ = true;
  newIcon_.reset();
  newIconImage_ = QImage();
  refresh();
}

void EditAppSheet::togglePlatform(DeviceOS os) {
  if (platforms_.count(os)) {
    // An app needs at least one platform.
    if (platforms_.size() > 1) platforms_.erase(os);
  } else {
    platforms_.insert(os);
  }
  refresh();
}

void EditAppSheet::setCodeFolder(std::optional<QString> folder) {
  codeFolder_ = std::move(folder);
  refresh();
}

void EditAppSheet::confirmDelete() {
  if (confirmDelete_) return;
  const int owned = ownedSets();
  const QString name = summary_ && !summary_->name.empty() ? q(summary_->name) : tr("this app");
  QString message = QStringLiteral(
      "It is removed from Store Lens and the keyword tools too, with its tracked "
      "keywords.");
  if (owned >= 1) message += QStringLiteral(" Kept sets move to Unassigned.");
  message += QStringLiteral(" This can’t be undone.");
  confirmDelete_ =
      new QMessageBox(QMessageBox::Warning, QStringLiteral("Delete “%1”?").arg(name),
                      QStringLiteral("Delete “%1”?").arg(name), QMessageBox::NoButton, this);
  confirmDelete_->setInformativeText(message);
  confirmDelete_->setAttribute(Qt::WA_DeleteOnClose);
  confirmDelete_->setWindowModality(Qt::WindowModal);
  QPushButton* cancel = confirmDelete_->addButton(tr("Cancel"), QMessageBox::RejectRole);
  if (owned == 0) {
    QPushButton* only = confirmDelete_->addButton(tr("Delete App"), QMessageBox::DestructiveRole);
    connect(only, &QPushButton::clicked, this, [this] { deleteApp(false); });
  } else {
    QPushButton* with = confirmDelete_->addButton(
        QStringLiteral("Delete App and %1 %2")
            .arg(QString::number(owned),
                 owned > 1 ? QStringLiteral("Sets") : QStringLiteral("Set")),
        QMessageBox::DestructiveRole);
    QPushButton* keep =
        confirmDelete_->addButton(tr("Delete App, Keep Sets"), QMessageBox::DestructiveRole);
    connect(with, &QPushButton::clicked, this, [this] { deleteApp(true); });
    connect(keep, &QPushButton::clicked, this, [this] { deleteApp(false); });
  }
  confirmDelete_->setDefaultButton(cancel);
  confirmDelete_->setEscapeButton(cancel);
  connect(confirmDelete_, &QObject::destroyed, this, [this] { confirmDelete_ = nullptr; });
  confirmDelete_->open();
}

void EditAppSheet::deleteApp(bool withSets) {
  saving_ = true;
  setError({});
  setBusy(true, tr("Deleting…"));
  refresh();
  app_.deleteApp(appId_, withSets, this, [this](models::APIResult<models::Done> r) {
    if (!r) return fail(r.error());
    saving_ = false;
    setBusy(false);
    accept();
  });
}

void EditAppSheet::fail(const models::APIError& error) {
  saving_ = false;
  linking_ = false;
  setBusy(false);
  setError(QString::fromStdString(error.sentence()));
  refresh();
}

void EditAppSheet::chooseIcon() {
  auto* dialog = new QFileDialog(this, tr("Choose an icon"));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setFileMode(QFileDialog::ExistingFile);
  dialog->setNameFilter(tr("Images (*.png *.jpg *.jpeg *.heic *.webp *.tif *.tiff)"));
  dialog->setLabelText(QFileDialog::Accept, tr("Use as Icon"));
  dialog->setWindowModality(Qt::WindowModal);
  connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
    QImageReader reader(path);
    reader.setAutoTransform(true);
    setIconImage(reader.read());
  });
  dialog->open();
}

void EditAppSheet::chooseFolder() {
  chooseCodeFolder(trimmed(name_->text()), [this](const QString& path) { setCodeFolder(path); });
}

void EditAppSheet::showIcon() {
  const qreal ratio = devicePixelRatioF();
  if (!newIconImage_.isNull()) {
    iconTile_->setPixmap(tile(newIconImage_, ratio));
  } else if (storedIcon_ && !removeIcon_) {
    iconTile_->setPixmap(tile(*storedIcon_, ratio));
  } else {
    iconTile_->setPixmap(letterTile(trimmed(name_->text()), palette(), ratio));
  }
}

void EditAppSheet::refresh() {
  const bool listed = isListed();
  const bool busy = saving_ || linking_;
  heroName_->setText(summary_ ? q(summary_->name) : q(appId_));
  heroStatus_->setText(listed ? QStringLiteral("On the App Store")
                              : QStringLiteral("Not on the App Store yet"));
  removeIconAction_->setVisible(!newIconImage_.isNull() || (storedIcon_ && !removeIcon_));
  name_->setVisible(!listed);
  developer_->setVisible(!listed);
  listedRow_->setVisible(listed);
  listedDeveloper_->setVisible(listed);
  viewListing_->setVisible(listed && summary_ && summary_->storeUrl);
  linkRow_->setVisible(!listed);
  linkButton_->setEnabled(!busy && !trimmed(link_->text()).isEmpty());
  form_->setRowVisible(linkRow_, !listed);
  for (auto [chip, os] : {std::pair{ios_, DeviceOS::ios}, std::pair{android_, DeviceOS::android}}) {
    const bool chosen = platforms_.count(os) > 0;
    chip->setChecked(chosen);
    chip->setToolTip(chosen && platforms_.size() == 1
                         ? QStringLiteral("An app needs at least one platform")
                         : QString());
  }
  folderLabel_->setText(codeFolder_ ? *codeFolder_ : QStringLiteral("Not connected"));
  folderButton_->setText(codeFolder_ ? tr("Change") : tr("Choose"));
  removeFolder_->setVisible(codeFolder_.has_value());
  delete_->setEnabled(!busy);
  setCanConfirm(canSave() && !linking_);
  showIcon();
}

void EditAppSheet::refreshSymbols() {
  SheetDialog::refreshSymbols();
  const QColor color = palette().color(QPalette::ButtonText);
  viewListing_->setIcon(symbolIcon(u"arrow.up.right", color));
  showIcon();
}

}  // namespace vells::app
