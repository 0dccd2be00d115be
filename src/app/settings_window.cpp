#include "app/settings_window.h"

#include <QComboBox>
#include <QDesktopServices>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>

#include "app/app_look.h"
#include "app/platform_words.h"
#include "app/symbol_icon.h"
#include "assistants/ai_tool.h"

namespace vells::app {

using assistants::AITool;
using assistants::DetectedTool;

namespace {

constexpr const char* keyTool = "generate.ai";

QLabel* groupTitle(const QString& words, QWidget* parent) {
  auto* label = new QLabel(words, parent);
  QFont f = label->font();
  f.setWeight(QFont::DemiBold);
  label->setFont(f);
  return label;
}

QLabel* note(const QString& words, QWidget* parent) {
  auto* label = new QLabel(words, parent);
  label->setWordWrap(true);
  AppLook::quiet(label, 0.92);
  return label;
}

}  // namespace

SettingsWindow::SettingsWindow(QString libraryPath, QSettings& settings,
                               assistants::ToolFinder finder, QWidget* parent)
    : QWidget(parent, Qt::Window),
      libraryPath_(std::move(libraryPath)),
      settings_(settings),
      finder_(std::move(finder)),
      picker_(new QComboBox(this)),
      lookingWords_(new QLabel(QStringLiteral("Looking for AI tools…"), this)),
      warningRow_(new QWidget(this)),
      warningIcon_(new QLabel(warningRow_)),
      warning_(new QLabel(warningRow_)),
      lookAgain_(new QPushButton(QStringLiteral("Look Again"), this)) {
  setWindowTitle(QStringLiteral("Settings"));
  setMinimumWidth(560);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(24, 20, 24, 24);
  column->setSpacing(8);

  // Library
  column->addWidget(groupTitle(QStringLiteral("Library"), this));
  auto* library = new QFormLayout;
  library->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  library->setHorizontalSpacing(16);
  library->setVerticalSpacing(8);
  auto* locationRow = new QHBoxLayout;
  auto* location = new QLabel(libraryPath_, this);
  location->setObjectName(QStringLiteral("libraryLocation"));
  location->setTextInteractionFlags(Qt::TextSelectableByMouse);
  location->setWordWrap(true);
  locationRow->addWidget(location, 1);
  auto* reveal = new QPushButton(platformWords(u"Show in Finder"), this);
  reveal->setIcon(symbolIcon(u"folder", palette().color(QPalette::ButtonText)));
  locationRow->addWidget(reveal);
  library->addRow(QStringLiteral("Location"), locationRow);
  library->addRow(QString(), note(QStringLiteral("Sets, styles, uploads and renders are kept here. "
                                                 "The render cache in output/ is safe to delete — "
                                                 "it is redrawn on demand."),
                                  this));
  column->addLayout(library);
  column->addSpacing(16);

  // AI
  column->addWidget(groupTitle(QStringLiteral("AI"), this));
  auto* ai = new QFormLayout;
  ai->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  ai->setHorizontalSpacing(16);
  ai->setVerticalSpacing(8);
  auto* pickerRow = new QHBoxLayout;
  picker_->setAccessibleName(QStringLiteral("AI tool"));
  picker_->setMinimumWidth(260);
  pickerRow->addWidget(picker_, 1);
  pickerRow->addWidget(lookAgain_);
  ai->addRow(QStringLiteral("AI tool"), pickerRow);
  AppLook::quiet(lookingWords_);
  ai->addRow(QString(), lookingWords_);
  auto* warningLine = new QHBoxLayout(warningRow_);
  warningLine->setContentsMargins(0, 0, 0, 0);
  warningIcon_->setPixmap(
      symbolIcon(u"exclamationmark.triangle.fill", AppLook::warning(palette())).pixmap(16, 16));
  warningLine->addWidget(warningIcon_, 0, Qt::AlignTop);
  warning_->setWordWrap(true);
  warningLine->addWidget(warning_, 1);
  warningRow_->hide();
  ai->addRow(QString(), warningRow_);
  ai->addRow(QString(),
             note(platformWords(u"Generate Screenshots and the editor’s chat use this AI — Claude "
                                u"Code, Codex CLI or Gemini CLI, signed in with your own plan. It "
                                u"only reads the app’s code; it never changes it."),
                  this));
  column->addLayout(ai);
  column->addStretch(1);

  connect(reveal, &QPushButton::clicked, this,
          [this] { QDesktopServices::openUrl(QUrl::fromLocalFile(libraryPath_)); });
  connect(lookAgain_, &QPushButton::clicked, this, &SettingsWindow::look);
  connect(&watcher_, &QFutureWatcher<std::vector<DetectedTool>>::finished, this,
          [this] { found(watcher_.result()); });
  connect(picker_, &QComboBox::currentIndexChanged, this, [this] {
    if (filling_) return;
    settings_.setValue(keyTool, picker_->currentData().toString());
    checkStoredTool();
  });
  fillPicker();
}

SettingsWindow::~SettingsWindow() {
  // The search has its own time limits; waiting here keeps its result from
  // landing on a window that is gone.
  watcher_.waitForFinished();
}

void SettingsWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  look();
}

void SettingsWindow::look() {
  if (looking_) return;
  looking_ = true;
  lookingWords_->show();
  lookAgain_->setEnabled(false);
  watcher_.setFuture(finder_.detectToolsInBackground());
}

void SettingsWindow::found(std::vector<DetectedTool> tools) {
  tools_ = std::move(tools);
  looking_ = false;
  lookingWords_->hide();
  lookAgain_->setEnabled(true);
  fillPicker();
  checkStoredTool();
  emit lookFinished();
}

void SettingsWindow::fillPicker() {
  filling_ = true;
  picker_->clear();
  picker_->addItem(QStringLiteral("Ask next time"), QString());
  for (AITool tool : assistants::kAllTools) {
    QString label = assistants::displayName(tool);
    auto detected = std::find_if(tools_.begin(), tools_.end(),
                                 [&](const DetectedTool& d) { return d.tool == tool; });
    if (detected != tools_.end()) {
      if (!detected->isInstalled()) {
        label += QStringLiteral(" — not installed");
      } else if (detected->version) {
        label += QLatin1Char(' ') + *detected->version;
      }
    }
    picker_->addItem(label, assistants::rawValue(tool));
  }
  const int stored = picker_->findData(settings_.value(keyTool).toString());
  picker_->setCurrentIndex(stored < 0 ? 0 : stored);
  filling_ = false;
}

void SettingsWindow::checkStoredTool() {
  warningRow_->hide();
  if (looking_ || tools_.empty()) return;
  const auto stored = assistants::toolFromRawValue(settings_.value(keyTool).toString());
  if (!stored) return;
  auto detected = std::find_if(tools_.begin(), tools_.end(),
                               [&](const DetectedTool& d) { return d.tool == *stored; });
  if (detected != tools_.end() && detected->isUsable()) return;
  warning_->setText(assistants::displayName(*stored) +
                    platformWords(u" isn’t on this Mac anymore. Choose another, or install it "
                                  u"and look again."));
  warningRow_->show();
}

}  // namespace vells::app
