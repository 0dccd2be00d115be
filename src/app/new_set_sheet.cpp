#include "app/new_set_sheet.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/sheet_rules.h"
#include "models/app_model.h"

namespace vells::app {

namespace {

struct Option {
  NewSetSheet::Start start;
  const char* symbol;
  const char* title;
  const char* detail;
};

constexpr Option kOptions[] = {
    {NewSetSheet::Start::generate, "wand.and.stars", "Generate with AI",
     "Pick the app’s screens and a style — your AI builds them from the code."},
    {NewSetSheet::Start::update, "arrow.triangle.2.circlepath", "Update an existing set",
     "Same look — only the screens and components are redrawn from the latest code."},
    {NewSetSheet::Start::blank, "square.dashed", "Blank", "Five empty pages to fill yourself."},
};

}  // namespace

NewSetSheet::NewSetSheet(models::AppModel& app, QWidget* parent) : SheetDialog(parent), app_(app) {
  setObjectName(QStringLiteral("newSetSheet"));
  const auto& active = app_.activeApp();
  hasCode_ = active && app_.codeFolder(*active).has_value();
  sets_ = newestFirst(app_.setsInActiveApp());
  appName_ = QStringLiteral("Unassigned");
  if (active) {
    for (const AppSummary& summary : app_.apps()) {
      if (summary.appId == *active) appName_ = QString::fromStdString(summary.name);
    }
  }
  start_ = !hasCode_ ? Start::blank : sets_.empty() ? Start::generate : Start::update;
  setHeading(QStringLiteral("New Set"),
             QStringLiteral("A new version of ") + appName_ + QStringLiteral("’s screenshots."));

  QFormLayout* form = formLayout();
  name_ = new QLineEdit(this);
  name_->setObjectName(QStringLiteral("name"));
  name_->setPlaceholderText(defaultName());
  form->addRow(tr("Name"), name_);
  content()->addLayout(form);

  options_ = new QButtonGroup(this);
  auto* list = new QVBoxLayout;
  list->setSpacing(8);
  for (int i = 0; i < 3; ++i) {
    const Option& option = kOptions[i];
    QWidget* row = optionRow(QString::fromUtf8(option.symbol), QString::fromUtf8(option.title),
                             QString::fromUtf8(option.detail), &option_[i], this);
    list->addWidget(row);
    options_->addButton(option_[i], i);
    row->setVisible(isOffered(option.start));
  }
  content()->addLayout(list);
  connect(options_, &QButtonGroup::idClicked, this,
          [this](int id) { setStart(kOptions[id].start); });

  fromRow_ = new QWidget(this);
  auto* fromForm = formLayout();
  fromForm->setContentsMargins(0, 0, 0, 0);
  fromRow_->setLayout(fromForm);
  from_ = new QComboBox(fromRow_);
  from_->setObjectName(QStringLiteral("from"));
  for (const VellSet& set : sets_)
    from_->addItem(QString::fromStdString(set.name), QString::fromStdString(set.id));
  fromForm->addRow(tr("From"), from_);
  content()->addWidget(fromRow_);

  noCodeNote_ =
      symbolLine(QStringLiteral("info.circle"),
                 noteLabel(QStringLiteral(
                     "Connect the app’s code in Edit App to have your AI make or update screens.")),
                 this);
  noCodeNote_->setVisible(!hasCode_);
  content()->addWidget(noCodeNote_);

  connect(confirmButton(), &QPushButton::clicked, this, &NewSetSheet::create);
  name_->setFocus();
  refresh();
  refreshSymbols();
}

bool NewSetSheet::isOffered(Start start) const {
  switch (start) {
    case Start::generate:
      return hasCode_;
    case Start::update:
      return hasCode_ && !sets_.empty();
    case Start::blank:
      return true;
  }
  return false;
}

void NewSetSheet::setStart(Start start) {
  if (!isOffered(start)) return;
  start_ = start;
  refresh();
}

std::optional<std::string> NewSetSheet::source() const {
  if (from_->currentIndex() < 0) return std::nullopt;
  return from_->currentData().toString().toStdString();
}

void NewSetSheet::setSource(const std::string& setId) {
  const int index = from_->findData(QString::fromStdString(setId));
  if (index >= 0) from_->setCurrentIndex(index);
}

QString NewSetSheet::defaultName() const {
  return defaultSetName(appName_, sets_.size());
}

void NewSetSheet::create() {
  if (working_) return;
  const QString typed = trimmed(name_->text());
  const std::string name = (typed.isEmpty() ? defaultName() : typed).toStdString();
  if (start_ == Start::update && !source()) return;
  working_ = true;
  setError({});
  setBusy(true, start_ == Start::update ? tr("Copying the set…") : tr("Making the set…"));
  refresh();
  if (start_ == Start::update) {
    app_.duplicateSet(*source(), name, this, [this](models::APIResult<VellSet> r) {
      if (!r) return fail(r.error());
      working_ = false;
      setBusy(false);
      accept();
      emit updateRequested();
    });
    return;
  }
  const bool generate = start_ == Start::generate;
  app_.createBlankSet(name, this, [this, generate](models::APIResult<models::Done> r) {
    if (!r) return fail(r.error());
    working_ = false;
    setBusy(false);
    accept();
    if (generate) emit generateRequested();
  });
}

void NewSetSheet::fail(const models::APIError& error) {
  working_ = false;
  setBusy(false);
  setError(QString::fromStdString(error.sentence()));
  refresh();
}

void NewSetSheet::refresh() {
  for (int i = 0; i < 3; ++i)
    option_[i]->setChecked(kOptions[i].start == start_);
  fromRow_->setVisible(start_ == Start::update);
  confirmButton()->setText(start_ == Start::blank ? tr("Create") : tr("Continue"));
  setCanConfirm(start_ != Start::update || source().has_value());
  name_->setEnabled(!working_);
}

}  // namespace vells::app
