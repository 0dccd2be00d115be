#include "app/add_app_sheet.h"

#include <QComboBox>
#include <QDir>
#include <QFormLayout>
#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

#include "app/platform_words.h"
#include "app/profile_fields.h"
#include "app/sheet_rules.h"
#include "app/symbol_icon.h"
#include "models/app_model.h"

namespace vells::app {

namespace {

struct StepWords {
  const char* title;
  const char* subtitle;
};

constexpr StepWords kSteps[AddAppSheet::stepCount] = {
    {"Add an app", "Its name, or paste its App Store link to fill everything in."},
    {"Where does it run?", "Choose at least one. Screenshots are made for each platform you pick."},
    {"Connect the app’s code",
     "Optional — give access to the source folder and screenshots can be built from the app’s "
     "real screens."},
    {"About the app", "Optional — a few words help write titles that fit the app."},
    {"Ready to add", "Check it over — you can change any of this later."},
};

const char* kLookupFailed =
    "Couldn’t find that app on the App Store — you can still add it by name.";

QString folderName(const QString& path) {
  const QString name = QDir(path).dirName();
  return name.isEmpty() ? path : name;
}

QWidget* page(QWidget* parent) {
  auto* widget = new QWidget(parent);
  auto* layout = new QVBoxLayout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(12);
  return widget;
}

}  // namespace

AddAppSheet::AddAppSheet(models::AppModel& app, int startStep, std::function<bool()> hasAITool,
                         QWidget* parent)
    : SheetDialog(parent), app_(app), hasAITool_(std::move(hasAITool)) {
  setObjectName(QStringLiteral("addAppSheet"));
  steps_ = new QWidget(this);
  auto* stepsLayout = new QVBoxLayout(steps_);
  stepsLayout->setContentsMargins(0, 0, 0, 0);
  content()->addWidget(steps_);
  buildAppStep();
  buildPlatformsStep();
  buildCodeStep();
  buildAboutStep();
  buildReadyStep();

  stepCounter_ = noteLabel({}, this);
  footerStart()->addWidget(stepCounter_);
  back_ = new QPushButton(tr("Back"), this);
  addFooterButton(back_);
  connect(back_, &QPushButton::clicked, this, &AddAppSheet::back);
  connect(confirmButton(), &QPushButton::clicked, this, &AddAppSheet::advance);

  if (hasAITool_) {
    auto* watcher = new QFutureWatcher<bool>(this);
    connect(watcher, &QFutureWatcher<bool>::finished, this, [this, watcher] {
      aiAvailable_ = watcher->result();
      refresh();
    });
    watcher->setFuture(QtConcurrent::run(hasAITool_));
  }

  step_ = startStep >= 0 && startStep < stepCount ? static_cast<Step>(startStep) : Step::app;
  goTo(step_);
  refreshSymbols();
}

void AddAppSheet::buildAppStep() {
  QWidget* widget = page(steps_);
  auto* form = formLayout();
  name_ = new QLineEdit(widget);
  name_->setObjectName(QStringLiteral("name"));
  name_->setPlaceholderText(tr("App name"));
  link_ = new QLineEdit(widget);
  link_->setObjectName(QStringLiteral("link"));
  link_->setPlaceholderText(QStringLiteral("https://apps.apple.com/app/id…"));
  form->addRow(tr("Name"), name_);
  form->addRow(tr("App Store link"), link_);
  linkHint_ = noteLabel({}, widget);
  form->addRow(QString(), linkHint_);
  foundText_ = new QLabel(widget);
  foundText_->setWordWrap(true);
  foundLine_ = symbolLine(QStringLiteral("checkmark.circle.fill"), foundText_, widget);
  form->addRow(QString(), foundLine_);
  static_cast<QVBoxLayout*>(widget->layout())->addLayout(form);
  static_cast<QVBoxLayout*>(widget->layout())->addStretch(1);
  steps_->layout()->addWidget(widget);
  pages_.push_back(widget);
  connect(name_, &QLineEdit::textChanged, this, &AddAppSheet::refresh);
  connect(link_, &QLineEdit::textChanged, this, &AddAppSheet::refresh);
}

void AddAppSheet::buildPlatformsStep() {
  QWidget* widget = page(steps_);
  auto* row = new QHBoxLayout;
  row->setSpacing(8);
  auto chip = [&](DeviceOS os) {
    QPushButton* button = platformChip(os, widget);
    button->setMinimumSize(152, 64);
    connect(button, &QPushButton::clicked, this, [this, os] { togglePlatform(os); });
    row->addWidget(button);
    return button;
  };
  ios_ = chip(DeviceOS::ios);
  android_ = chip(DeviceOS::android);
  row->addStretch(1);
  static_cast<QVBoxLayout*>(widget->layout())->addLayout(row);
  static_cast<QVBoxLayout*>(widget->layout())->addStretch(1);
  steps_->layout()->addWidget(widget);
  pages_.push_back(widget);
}

void AddAppSheet::buildCodeStep() {
  QWidget* widget = page(steps_);
  auto* layout = static_cast<QVBoxLayout*>(widget->layout());
  const std::pair<const char*, std::pair<const char*, const char*>> benefits[] = {
      {"sparkles", {"Real screens", "Built from your layouts, colours and copy"}},
      {"globe", {"Every language", "Drawn from the app’s own translations"}},
      {"lock.fill", {"Private", "Stays on this Mac — never uploaded"}},
  };
  for (const auto& [symbol, words] : benefits) {
    auto* text =
        new QLabel(QStringLiteral("<b>%1</b><br>%2")
                       .arg(QString::fromUtf8(words.first),
                            platformWords(QString::fromUtf8(words.second)).toHtmlEscaped()),
                   widget);
    text->setWordWrap(true);
    layout->addWidget(symbolLine(QString::fromLatin1(symbol), text, widget));
  }

  auto* folderRow = new QHBoxLayout;
  folderRow->setSpacing(8);
  auto* texts = new QVBoxLayout;
  texts->setSpacing(2);
  folderTitle_ = new QLabel(widget);
  folderTitle_->setObjectName(QStringLiteral("folderTitle"));
  folderDetail_ = noteLabel({}, widget);
  folderDetail_->setWordWrap(false);
  folderDetail_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  texts->addWidget(folderTitle_);
  texts->addWidget(folderDetail_);
  folderButton_ = new QPushButton(widget);
  folderButton_->setObjectName(QStringLiteral("chooseFolder"));
  folderButton_->setAutoDefault(false);
  disconnect_ = new QPushButton(tr("Disconnect"), widget);
  disconnect_->setAutoDefault(false);
  folderRow->addLayout(texts, 1);
  folderRow->addWidget(folderButton_);
  folderRow->addWidget(disconnect_);
  auto* folderBox = new QWidget(widget);
  folderBox->setLayout(folderRow);
  folderRow->setContentsMargins(0, 8, 0, 0);
  layout->addWidget(folderBox);
  aiNotice_ = noteLabel({}, widget);
  aiNotice_->setObjectName(QStringLiteral("aiNotice"));
  layout->addWidget(aiNotice_);
  static_cast<QVBoxLayout*>(widget->layout())->addStretch(1);
  steps_->layout()->addWidget(widget);
  pages_.push_back(widget);
  connect(folderButton_, &QPushButton::clicked, this, &AddAppSheet::chooseFolder);
  connect(disconnect_, &QPushButton::clicked, this, [this] { setCodeFolder(std::nullopt); });
}

void AddAppSheet::buildAboutStep() {
  QWidget* widget = page(steps_);
  auto* form = formLayout();
  profile_ = ProfileFields::addTo(form, widget);
  static_cast<QVBoxLayout*>(widget->layout())->addLayout(form);
  static_cast<QVBoxLayout*>(widget->layout())->addStretch(1);
  steps_->layout()->addWidget(widget);
  pages_.push_back(widget);
}

void AddAppSheet::buildReadyStep() {
  QWidget* widget = page(steps_);
  auto* form = formLayout();
  auto value = [&](const char* name) {
    auto* label = new QLabel(widget);
    label->setObjectName(QString::fromLatin1(name));
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
  };
  readyName_ = value("readyName");
  readyStore_ = value("readyStore");
  readyPlatforms_ = value("readyPlatforms");
  readyFolder_ = value("readyFolder");
  readyProfile_ = value("readyProfile");
  form->addRow(tr("App"), readyName_);
  form->addRow(tr("App Store"), readyStore_);
  form->addRow(tr("Platforms"), readyPlatforms_);
  form->addRow(tr("Code"), readyFolder_);
  form->addRow(tr("About"), readyProfile_);
  static_cast<QVBoxLayout*>(widget->layout())->addLayout(form);
  static_cast<QVBoxLayout*>(widget->layout())->addStretch(1);
  steps_->layout()->addWidget(widget);
  pages_.push_back(widget);
}

bool AddAppSheet::canContinue() const {
  switch (step_) {
    case Step::app:
      return !trimmed(name_->text()).isEmpty() || found_ || !trimmed(link_->text()).isEmpty();
    case Step::platforms:
      return !platforms_.empty();
    default:
      return true;
  }
}

QString AddAppSheet::displayName() const {
  if (found_) {
    if (auto name = found_->info.stringAt("name")) return QString::fromStdString(*name);
  }
  return trimmed(name_->text());
}

JSONValue::Object AddAppSheet::profile() const {
  return profile_.profile(platforms_);
}

void AddAppSheet::advance() {
  if (working_ || !canContinue()) return;
  switch (step_) {
    case Step::ready:
      finish();
      return;
    case Step::app: {
      const QString link = trimmed(link_->text());
      if (!link.isEmpty() && link != lookedUpLink_) {
        lookUp([this] { continueFromApp(); });
      } else {
        continueFromApp();
      }
      return;
    }
    default:
      setError({});
      goTo(static_cast<Step>(static_cast<int>(step_) + 1));
  }
}

void AddAppSheet::back() {
  if (working_ || step_ == Step::app) return;
  goTo(static_cast<Step>(static_cast<int>(step_) - 1));
}

void AddAppSheet::lookUp(std::function<void()> then) {
  const QString link = trimmed(link_->text());
  if (link.isEmpty()) return then();
  working_ = true;
  setBusy(true, tr("Looking it up on the App Store…"));
  refresh();
  app_.client().lookupApp(
      link.toStdString(), this,
      [this, link, then = std::move(then)](models::APIResult<models::APIClient::LookedUpApp> r) {
        if (r) {
          found_ = r.value();
          lookedUpLink_ = link;
          setError({});
          if (trimmed(name_->text()).isEmpty()) {
            if (auto name = found_->info.stringAt("name"))
              name_->setText(QString::fromStdString(*name));
          }
        } else {
          found_.reset();
          setError(QString::fromUtf8(kLookupFailed));
        }
        working_ = false;
        setBusy(false);
        refresh();
        then();
      });
}

void AddAppSheet::continueFromApp() {
  if (!errorText().isEmpty() && trimmed(name_->text()).isEmpty()) return;
  setError({});
  if (found_ && platforms_.empty()) platforms_ = {DeviceOS::ios};
  goTo(Step::platforms);
}

void AddAppSheet::finish() {
  working_ = true;
  setError({});
  setBusy(true, tr("Adding the app…"));
  refresh();
  QPointer<AddAppSheet> self(this);
  if (found_) {
    const std::string appId = found_->appId;
    app_.addListedApp(appId, found_->info, profile(), this,
                      [this, appId](models::APIResult<models::Done> r) {
                        if (!r) return fail(r.error());
                        storeFolderAndOpen(appId);
                      });
    return;
  }
  app_.client().addUnlistedApp(trimmed(name_->text()).toStdString(), "", JSONValue(profile()), this,
                               [this, self](models::APIResult<std::string> r) {
                                 if (!r) return fail(r.error());
                                 const std::string appId = r.value();
                                 app_.refreshConfig([this, self, appId] {
                                   if (!self) return;
                                   app_.selectApp(appId);
                                   storeFolderAndOpen(appId);
                                 });
                               });
}

void AddAppSheet::storeFolderAndOpen(const std::string& appId) {
  // Without sandboxing the folder's own path is what reaches it again.
  if (codeFolder_) {
    app_.setCodeFolder(appId, codeFolder_->toStdString());
  } else {
    app_.removeCodeFolder(appId);
  }
  if (platforms_.count(DeviceOS::ios)) {
    app_.setOs(DeviceOS::ios);
  } else if (platforms_.count(DeviceOS::android)) {
    app_.setOs(DeviceOS::android);
  }
  app_.openNewApp(appId, displayName().toStdString(), this,
                  [this](models::APIResult<models::Done> r) {
                    if (!r) return fail(r.error());
                    working_ = false;
                    setBusy(false);
                    accept();
                    if (!codeFolder_) return;
                    QVariantMap generate;
                    const std::pair<const char*, QString> fields[] = {
                        {"What it does", trimmed(profile_.about->text())},
                        {"Who it is for", trimmed(profile_.audience->text())},
                        {"Category", profile_.categoryText()},
                    };
                    for (const auto& [key, text] : fields) {
                      if (!text.isEmpty()) generate.insert(QString::fromUtf8(key), text);
                    }
                    emit generateRequested(generate);
                  });
}

void AddAppSheet::fail(const models::APIError& error) {
  working_ = false;
  setBusy(false);
  setError(QString::fromStdString(error.sentence()));
  refresh();
}

void AddAppSheet::setCodeFolder(std::optional<QString> folder) {
  codeFolder_ = std::move(folder);
  refresh();
}

void AddAppSheet::togglePlatform(DeviceOS os) {
  if (!platforms_.erase(os)) platforms_.insert(os);
  refresh();
}

void AddAppSheet::chooseFolder() {
  chooseCodeFolder(displayName(), [this](const QString& path) { setCodeFolder(path); });
}

void AddAppSheet::goTo(Step step) {
  step_ = step;
  // Only the step's own page takes room: the sheet has the height of the step it shows.
  for (std::size_t i = 0; i < pages_.size(); ++i)
    pages_[i]->setVisible(i == static_cast<std::size_t>(step));
  const StepWords& words = kSteps[static_cast<int>(step)];
  setHeading(QString::fromUtf8(words.title), QString::fromUtf8(words.subtitle));
  refresh();
  adjustSize();
  // The step's first field takes the keyboard, so typing can start at once.
  if (step == Step::app) name_->setFocus();
  if (step == Step::platforms) ios_->setFocus();
  if (step == Step::about) profile_.about->setFocus();
  if (step == Step::code) folderButton_->setFocus();
  if (step == Step::ready) confirmButton()->setFocus();
}

void AddAppSheet::refresh() {
  const bool last = step_ == Step::ready;
  stepCounter_->setText(tr("Step %1 of %2").arg(static_cast<int>(step_) + 1).arg(stepCount));
  back_->setVisible(step_ != Step::app);
  back_->setEnabled(!working_);
  confirmButton()->setText(last ? tr("Add App") : tr("Continue"));
  confirmButton()->setIcon(last ? symbolIcon(u"plus", palette().color(QPalette::ButtonText))
                                : QIcon());
  setCanConfirm(canContinue());

  linkHint_->setText(trimmed(link_->text()).isEmpty()
                         ? QStringLiteral("Not on the App Store yet? Just the name is enough.")
                         : QStringLiteral("We’ll look the link up when you continue."));
  foundLine_->setVisible(found_.has_value());
  if (found_) {
    foundText_->setText(QStringLiteral("Found on the App Store — ") +
                        QString::fromStdString(found_->info.stringAt("developer").value_or("")));
  }

  ios_->setChecked(platforms_.count(DeviceOS::ios) > 0);
  android_->setChecked(platforms_.count(DeviceOS::android) > 0);

  if (codeFolder_) {
    folderTitle_->setText(folderName(*codeFolder_));
    folderDetail_->setText(*codeFolder_);
    folderButton_->setText(tr("Change…"));
  } else {
    folderTitle_->setText(QStringLiteral("Choose the app’s folder…"));
    folderDetail_->setText(QStringLiteral("The folder that holds its source code"));
    folderButton_->setText(tr("Choose…"));
  }
  disconnect_->setVisible(codeFolder_.has_value());
  aiNotice_->setText(platformWords(
      aiAvailable_.value_or(false)
          ? QStringLiteral(
                "After adding the app you’ll pick an AI on this Mac, choose which of the app’s "
                "screens to make, and it builds them from this folder — with your own AI plan. "
                "It only reads the code; it never changes it.")
          : QStringLiteral("Install Claude Code, Codex CLI or Gemini CLI to have screenshots "
                           "built from this folder. You can still connect the folder now.")));

  readyName_->setText(displayName());
  readyStore_->setText(found_ ? QStringLiteral("From the App Store")
                              : QStringLiteral("Not on the App Store yet"));
  QStringList platforms;
  for (DeviceOS os : platforms_)
    platforms << platformName(os);
  readyPlatforms_->setText(platforms.join(QStringLiteral(", ")));
  readyFolder_->setText(codeFolder_ ? folderName(*codeFolder_) : QStringLiteral("Not connected"));
  QStringList about;
  for (const QString& text : {trimmed(profile_.about->text()), trimmed(profile_.audience->text()),
                              profile_.categoryText()}) {
    if (!text.isEmpty()) about << text;
  }
  readyProfile_->setText(about.isEmpty() ? QStringLiteral("—") : about.join(QStringLiteral(" · ")));
}

}  // namespace vells::app
