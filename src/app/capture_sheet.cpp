#include "app/capture_sheet.h"

#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/symbol_icon.h"
#include "capture/device_capture_model.h"
#include "models/app_model.h"
#include "models/editor_model.h"

namespace vells::app {

namespace {

constexpr int kDeviceRole = Qt::UserRole;

QString languageName(const models::AppModel& app) {
  for (const LocaleRef& locale : app.activeSetLocales()) {
    if (locale.code == app.activeLocale())
      return QString::fromStdString(locale.nativeName.empty() ? locale.code : locale.nativeName);
  }
  return QString::fromStdString(app.activeLocale());
}

}  // namespace

CaptureSheet::CaptureSheet(models::AppModel& app, models::EditorModel& editor,
                           capture::DeviceCaptureModel& devices, QWidget* parent)
    : SheetDialog(parent), app_(app), editor_(editor), model_(devices) {
  setObjectName(QStringLiteral("captureSheet"));
  setHeading(tr("Capture from a device"),
             tr("The page’s screen, straight from your app running in a simulator or on a "
                "phone."));

  list_ = new QListWidget(this);
  list_->setObjectName(QStringLiteral("devices"));
  list_->setIconSize(QSize(16, 16));
  list_->setMinimumHeight(120);
  list_->setUniformItemSizes(true);
  list_->setSpacing(2);
  content()->addWidget(list_);
  empty_ = noteLabel({}, this);
  empty_->setObjectName(QStringLiteral("empty"));
  content()->addWidget(empty_);
  notes_ = new QVBoxLayout;
  notes_->setSpacing(4);
  content()->addLayout(notes_);
  hint_ = noteLabel({}, this);
  hint_->setObjectName(QStringLiteral("hint"));
  content()->addWidget(hint_);

  again_ = new QPushButton(tr("Look Again"), this);
  again_->setToolTip(tr("Look for simulators again"));
  again_->setAutoDefault(false);
  footerStart()->addWidget(again_);

  connect(again_, &QPushButton::clicked, this, &CaptureSheet::look);
  connect(confirmButton(), &QPushButton::clicked, this, &CaptureSheet::captureChosen);
  connect(list_, &QListWidget::currentRowChanged, this, &CaptureSheet::refresh);
  connect(list_, &QListWidget::itemActivated, this, [this] { captureChosen(); });
  connect(&model_, &capture::DeviceCaptureModel::devicesChanged, this, &CaptureSheet::rebuildList);
  connect(&model_, &capture::DeviceCaptureModel::lookingChanged, this, &CaptureSheet::refresh);
  connect(&model_, &capture::DeviceCaptureModel::capturingChanged, this, &CaptureSheet::refresh);
  connect(&model_, &capture::DeviceCaptureModel::failureChanged, this, &CaptureSheet::refresh);
  connect(&model_, &capture::DeviceCaptureModel::captured, this, &CaptureSheet::store);
  refresh();
  refreshSymbols();
}

void CaptureSheet::showEvent(QShowEvent* event) {
  SheetDialog::showEvent(event);
  if (!looked_) {
    looked_ = true;
    look();
  }
}

void CaptureSheet::look() {
  looked_ = true;
  model_.look();
  refresh();
}

std::optional<capture::Device> CaptureSheet::chosen() const {
  const int row = list_->currentRow();
  if (row < 0 || row >= static_cast<int>(shown_.size()) || !shown_[row].ready())
    return std::nullopt;
  return shown_[row];
}

void CaptureSheet::captureChosen() {
  const auto device = chosen();
  if (!device || model_.isCapturing() || storing_ || !app_.activePage()) return;
  storeError_.clear();
  model_.capture(*device);
}

void CaptureSheet::store(const QByteArray& png, ThemeName appearance) {
  if (!app_.activePage()) return;
  storing_ = true;
  refresh();
  // Several languages: the capture belongs to the one the app showed.
  const bool localeOnly = app_.activeSetLocales().size() > 1;
  const int before = editor_.screenVersion();
  QPointer<CaptureSheet> self(this);
  editor_.setScreen(png.toStdString(), "image/png", app_, localeOnly, appearance,
                    [this, self, before, appearance] {
                      if (!self) return;
                      storing_ = false;
                      if (editor_.screenVersion() == before) {
                        // The editor put the reason in its status line.
                        storeError_ = QString::fromStdString(editor_.status().text);
                        refresh();
                        return;
                      }
                      // Show what was stored: the screen is filed under the device's look.
                      if (appearance != app_.theme()) app_.setTheme(appearance);
                      accept();
                    });
}

void CaptureSheet::rebuildList() {
  const std::optional<capture::Device> was = chosen();
  shown_ = model_.sorted(app_.os());
  list_->clear();
  int select = -1;
  for (std::size_t i = 0; i < shown_.size(); ++i) {
    const capture::Device& device = shown_[i];
    QString text = QString::fromStdString(device.name);
    if (!device.ready())
      text += QStringLiteral(" — ") + QString::fromStdString(device.stateText.empty()
                                                                 ? std::string("not ready")
                                                                 : device.stateText);
    auto* item = new QListWidgetItem(text, list_);
    item->setData(kDeviceRole, QString::fromStdString(device.id));
    if (!device.ready()) {
      item->setFlags(item->flags() & ~(Qt::ItemIsEnabled | Qt::ItemIsSelectable));
      item->setToolTip(QString::fromStdString(capture::notReadySentence(device)));
    }
    if (device.ready() && (select < 0 || (was && was->id == device.id)))
      select = static_cast<int>(i);
  }
  if (select >= 0) list_->setCurrentRow(select);
  while (QLayoutItem* item = notes_->takeAt(0)) {
    delete item->widget();
    delete item;
  }
  for (const QString& note : model_.notes()) {
    QWidget* line = symbolLine(QStringLiteral("info.circle"), noteLabel(note), this);
    notes_->addWidget(line);
    line->show();
  }
  refreshSymbols();
  refresh();
}

void CaptureSheet::refresh() {
  const bool looking = model_.isLooking();
  const bool capturing = model_.isCapturing() || storing_;
  list_->setVisible(!shown_.empty());
  empty_->setVisible(shown_.empty() && !looking);
  empty_->setText(capture::DeviceCaptureModel::emptyText(app_.os()));
  hint_->setText(capture::DeviceCaptureModel::hint(static_cast<int>(app_.activeSetLocales().size()),
                                                   languageName(app_)));
  if (looking) {
    setBusy(true, QStringLiteral("Looking for simulators…"));
  } else if (capturing) {
    setBusy(true, storing_ ? tr("Storing the screen…") : tr("Capturing…"));
  } else {
    setBusy(false);
  }
  const auto device = chosen();
  confirmButton()->setText(
      device ? QStringLiteral("Capture ") + QString::fromStdString(device->name) : tr("Capture"));
  again_->setEnabled(!looking && !capturing);
  list_->setEnabled(!capturing);
  QString error = model_.failure();
  if (error.isEmpty()) error = storeError_;
  if (error.isEmpty() && !app_.activePage())
    error = tr("Pick a page first — the capture becomes its screen.");
  setError(error);
  setCanConfirm(device.has_value() && app_.activePage().has_value());
}

void CaptureSheet::refreshSymbols() {
  SheetDialog::refreshSymbols();
  const QColor color = palette().color(QPalette::ButtonText);
  again_->setIcon(symbolIcon(u"arrow.clockwise", color));
  confirmButton()->setIcon(symbolIcon(u"camera.viewfinder", palette().color(QPalette::ButtonText)));
  for (int i = 0; i < list_->count(); ++i)
    list_->item(i)->setIcon(symbolIcon(u"iphone", palette().color(QPalette::Text)));
}

}  // namespace vells::app
