#include "app/add_page_sheet.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/sheet_rules.h"
#include "models/app_model.h"

namespace vells::app {

namespace {

struct Option {
  PageSource source;
  const char* symbol;
  const char* title;
  const char* detail;
};

constexpr Option kOptions[] = {
    {PageSource::builtin, "iphone", "App screen",
     "One of the app's own screens, drawn by the renderer."},
    {PageSource::upload, "photo", "Uploaded screenshot",
     "A screenshot you provide, composited into the device frame."},
    {PageSource::html, "chevron.left.forwardslash.chevron.right", "Your code",
     "Written in your own project through the MCP server. Not available yet."},
};

}  // namespace

AddPageSheet::AddPageSheet(models::AppModel& app, QWidget* parent)
    : SheetDialog(parent), app_(app) {
  setObjectName(QStringLiteral("addPageSheet"));
  setHeading(QStringLiteral("Add a page"),
             QStringLiteral("A page is one screenshot in the set. Its frame, background, title "
                            "and styling all work the same — only what fills the device "
                            "changes."));
  if (app_.config()) {
    for (const PageRef& ref : app_.config()->pages) {
      const bool had = std::any_of(app_.pages().begin(), app_.pages().end(),
                                   [&](const SetPage& p) { return p.id == ref.id; });
      if (!had) available_.push_back(ref);
    }
  }

  sources_ = new QButtonGroup(this);
  auto* list = new QVBoxLayout;
  list->setSpacing(8);
  for (int i = 0; i < 3; ++i) {
    const Option& option = kOptions[i];
    QWidget* row = optionRow(QString::fromUtf8(option.symbol), QString::fromUtf8(option.title),
                             QString::fromUtf8(option.detail), &option_[i], this);
    list->addWidget(row);
    sources_->addButton(option_[i], i);
    // What can't be chosen is shown faded, symbol and words alike.
    row->setEnabled(option.source == PageSource::upload ||
                    (option.source == PageSource::builtin && app_.canUseBuiltinPages()));
  }
  content()->addLayout(list);
  connect(sources_, &QButtonGroup::idClicked, this,
          [this](int id) { setSource(kOptions[id].source); });

  builtinBox_ = new QWidget(this);
  auto* builtinForm = formLayout();
  builtinForm->setContentsMargins(0, 0, 0, 0);
  builtinBox_->setLayout(builtinForm);
  builtin_ = new QComboBox(builtinBox_);
  builtin_->setObjectName(QStringLiteral("builtin"));
  for (const PageRef& ref : available_)
    builtin_->addItem(QString::fromStdString(ref.label.empty() ? ref.id : ref.label),
                      QString::fromStdString(ref.id));
  noneLeft_ = noteLabel(QStringLiteral("This set already has every coded screen."), builtinBox_);
  builtinForm->addRow(tr("Which screen"), builtin_);
  builtinForm->addRow(QString(), noneLeft_);
  builtinForm->setRowVisible(builtin_, !available_.empty());
  builtinForm->setRowVisible(noneLeft_, available_.empty());
  content()->addWidget(builtinBox_);

  uploadBox_ = new QWidget(this);
  auto* uploadForm = formLayout();
  uploadForm->setContentsMargins(0, 0, 0, 0);
  uploadBox_->setLayout(uploadForm);
  label_ = new QLineEdit(uploadBox_);
  label_->setObjectName(QStringLiteral("label"));
  label_->setPlaceholderText(QStringLiteral("Gift promo"));
  uploadForm->addRow(tr("Name"), label_);
  uploadForm->addRow(
      QString(),
      noteLabel(QStringLiteral("You upload the screenshot afterwards, in the editor's Images tab."),
                uploadBox_));
  content()->addWidget(uploadBox_);

  confirmButton()->setText(tr("Add Page"));
  connect(confirmButton(), &QPushButton::clicked, this, &AddPageSheet::add);
  connect(label_, &QLineEdit::textChanged, this, &AddPageSheet::refresh);
  connect(builtin_, &QComboBox::currentIndexChanged, this, &AddPageSheet::refresh);
  refresh();
  refreshSymbols();
  label_->setFocus();
}

void AddPageSheet::setSource(PageSource source) {
  if (source == PageSource::html) return;
  if (source == PageSource::builtin && !app_.canUseBuiltinPages()) return;
  source_ = source;
  refresh();
  if (source == PageSource::upload) label_->setFocus();
}

bool AddPageSheet::canAdd() const {
  switch (source_) {
    case PageSource::builtin:
      return builtin_->currentIndex() >= 0;
    case PageSource::upload:
      return !trimmed(label_->text()).isEmpty();
    default:
      return false;
  }
}

void AddPageSheet::add() {
  if (saving_ || !canAdd()) return;
  std::vector<SetPage> pages = app_.pages();
  if (source_ == PageSource::builtin) {
    const std::string id = builtin_->currentData().toString().toStdString();
    auto ref = std::find_if(available_.begin(), available_.end(),
                            [&](const PageRef& r) { return r.id == id; });
    if (ref == available_.end()) return;
    pages.push_back(SetPage{ref->id, ref->label, PageSource::builtin, ref->id});
  } else {
    std::vector<std::string> ids;
    for (const SetPage& page : pages)
      ids.push_back(page.id);
    const QString label = trimmed(label_->text());
    pages.push_back(
        SetPage{newPageID(label, ids), label.toStdString(), PageSource::upload, std::nullopt});
  }
  saving_ = true;
  setError({});
  setBusy(true, tr("Adding the page…"));
  refresh();
  QPointer<AddPageSheet> self(this);
  app_.client().savePages(app_.activeSet(), pages, this,
                          [this, self](models::APIResult<models::Done> r) {
                            if (!r) {
                              saving_ = false;
                              setBusy(false);
                              setError(QString::fromStdString(r.error().sentence()));
                              refresh();
                              return;
                            }
                            app_.loadPages([this, self] {
                              if (!self) return;
                              if (!app_.pages().empty()) app_.setActivePage(app_.pages().back().id);
                              saving_ = false;
                              setBusy(false);
                              accept();
                            });
                          });
}

void AddPageSheet::refresh() {
  for (int i = 0; i < 3; ++i)
    option_[i]->setChecked(kOptions[i].source == source_);
  builtinBox_->setVisible(source_ == PageSource::builtin);
  uploadBox_->setVisible(source_ == PageSource::upload);
  setCanConfirm(canAdd());
}

}  // namespace vells::app
