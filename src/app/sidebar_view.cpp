#include "app/sidebar_view.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/app_look.h"
#include "app/app_switcher.h"
#include "app/shell_state.h"
#include "app/sidebar_row_delegate.h"
#include "app/symbol_icon.h"
#include "models/app_model.h"
#include "models/editor_model.h"
#include "models/gallery_model.h"
#include "models/image_store.h"

namespace vells::app {

using models::APIError;
using models::APIResult;
using models::AppModel;
using models::Done;
using Row = SidebarRowDelegate;

namespace {

constexpr int kThumb = 20;

QString q(const std::string& s) {
  return QString::fromStdString(s);
}

QLabel* sectionTitle(const QString& words, QWidget* parent) {
  auto* label = new QLabel(words, parent);
  AppLook::quiet(label, 0.88, true);
  return label;
}

QListWidget* rowList(QWidget* parent, const QString& name) {
  auto* list = new QListWidget(parent);
  list->setAccessibleName(name);
  list->setItemDelegate(new SidebarRowDelegate(list));
  list->setFrameShape(QFrame::NoFrame);
  list->setContextMenuPolicy(Qt::CustomContextMenu);
  list->setMouseTracking(true);
  list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list->setUniformItemSizes(false);
  QPalette p = list->palette();
  p.setColor(QPalette::Base, p.color(QPalette::Window));
  list->setPalette(p);
  return list;
}

// A dialog with one "Name" field; `done` gets the trimmed text on confirm.
void askName(QWidget* parent, const QString& title, const QString& text,
             std::function<void(QString)> done) {
  auto* dialog = new QDialog(parent);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(title);
  dialog->setObjectName(QStringLiteral("nameDialog"));
  auto* form = new QFormLayout(dialog);
  form->setContentsMargins(16, 16, 16, 16);
  form->setSpacing(8);
  auto* field = new QLineEdit(text, dialog);
  field->setMinimumWidth(280);
  field->selectAll();
  form->addRow(QStringLiteral("Name"), field);
  auto* buttons = new QDialogButtonBox(dialog);
  buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
  QPushButton* confirm = buttons->addButton(QStringLiteral("Rename"), QDialogButtonBox::AcceptRole);
  confirm->setDefault(true);
  form->addRow(buttons);
  QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, [dialog, field, done] {
    const QString name = field->text().trimmed();
    dialog->accept();
    if (!name.isEmpty()) done(name);
  });
  dialog->setWindowModality(Qt::WindowModal);
  dialog->open();
}

}  // namespace

SidebarView::SidebarView(AppModel& app, models::EditorModel& editor, models::GalleryModel& gallery,
                         models::ImageStore& images, QWidget* parent)
    : QWidget(parent),
      app_(app),
      editor_(editor),
      gallery_(gallery),
      images_(images),
      switcher_(new AppSwitcher(app, images, this)),
      newSetButton_(new QToolButton(this)),
      sets_(rowList(this, QStringLiteral("Sets"))),
      noSets_(new QWidget(this)),
      pagesSection_(new QWidget(this)),
      addPage_(new QPushButton(QStringLiteral("Add Page"), this)),
      pages_(rowList(this, QStringLiteral("Pages"))) {
  setMinimumWidth(220);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(8, 8, 8, 8);
  column->setSpacing(4);
  column->addWidget(switcher_);
  column->addSpacing(8);

  auto* setsHead = new QHBoxLayout;
  setsHead->setContentsMargins(8, 0, 0, 0);
  setsHead->addWidget(sectionTitle(QStringLiteral("Sets"), this));
  setsHead->addStretch(1);
  newSetButton_->setAutoRaise(true);
  newSetButton_->setIcon(symbolIcon(u"plus", palette().color(QPalette::WindowText)));
  newSetButton_->setAccessibleName(QStringLiteral("New Set"));
  setsHead->addWidget(newSetButton_);
  column->addLayout(setsHead);
  column->addWidget(sets_);

  auto* noSetsColumn = new QVBoxLayout(noSets_);
  noSetsColumn->setContentsMargins(8, 4, 8, 8);
  auto* noSetsWords = new QLabel(QStringLiteral("No sets yet."), noSets_);
  AppLook::quiet(noSetsWords);
  auto* newSet = new QPushButton(QStringLiteral("New Set"), noSets_);
  noSetsColumn->addWidget(noSetsWords);
  noSetsColumn->addWidget(newSet, 0, Qt::AlignLeft);
  column->addWidget(noSets_);

  auto* pagesColumn = new QVBoxLayout(pagesSection_);
  pagesColumn->setContentsMargins(0, 8, 0, 0);
  pagesColumn->setSpacing(4);
  auto* pagesHead = new QHBoxLayout;
  pagesHead->setContentsMargins(8, 0, 0, 0);
  pagesHead->addWidget(sectionTitle(QStringLiteral("Pages"), pagesSection_));
  pagesHead->addStretch(1);
  addPage_->setFlat(true);
  addPage_->setIcon(symbolIcon(u"plus", palette().color(QPalette::WindowText)));
  pagesHead->addWidget(addPage_);
  pagesColumn->addLayout(pagesHead);
  pagesColumn->addWidget(pages_, 1);
  column->addWidget(pagesSection_, 1);
  sets_->setSizeAdjustPolicy(QAbstractScrollArea::AdjustToContents);
  sets_->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);

  connect(newSetButton_, &QToolButton::clicked, this, [this] { app_.setCreatingSet(true); });
  connect(newSet, &QPushButton::clicked, this, [this] { app_.setCreatingSet(true); });
  connect(addPage_, &QPushButton::clicked, this, [this] { app_.setAddingPage(true); });
  connect(sets_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
    if (item && !following_) app_.setActiveSet(item->data(Row::idRole).toString().toStdString());
  });
  connect(pages_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
    if (item && !following_) {
      app_.setActivePage(item->data(Row::idRole).toString().toStdString());
    }
  });
  connect(sets_, &QListWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    QListWidgetItem* item = sets_->itemAt(at);
    if (!item) return;
    const std::string id = item->data(Row::idRole).toString().toStdString();
    if (id == AppModel::appStoreSet) return;
    QMenu* menu = setMenu(id, this);
    menu->popup(sets_->viewport()->mapToGlobal(at));
  });
  connect(pages_, &QListWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    QListWidgetItem* item = pages_->itemAt(at);
    if (!item) return;
    QMenu* menu = pageMenu(item->data(Row::idRole).toString().toStdString(), this);
    menu->popup(pages_->viewport()->mapToGlobal(at));
  });

  for (auto signal :
       {&AppModel::configChanged, &AppModel::activeAppChanged, &AppModel::activeSetChanged}) {
    connect(&app_, signal, this, &SidebarView::followSets);
  }
  for (auto signal : {&AppModel::pagesChanged, &AppModel::activePageChanged,
                      &AppModel::activeSetChanged, &AppModel::activeLocaleChanged}) {
    connect(&app_, signal, this, &SidebarView::followPages);
  }
  connect(&gallery_, &models::GalleryModel::readyChanged, this, &SidebarView::followPages);
  // Sets and pages can only be changed in an open library.
  auto followConnection = [this] {
    const bool online = app_.connection().kind == models::ConnectionState::Kind::online;
    for (QWidget* w : {static_cast<QWidget*>(sets_), noSets_, pagesSection_})
      w->setEnabled(online);
    newSetButton_->setEnabled(online);
  };
  connect(&app_, &AppModel::connectionChanged, this, followConnection);
  followConnection();
  followSets();
  followPages();
}

void SidebarView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (shownOnce_) return;
  shownOnce_ = true;
  if (debugAddAppStep_ != 0) app_.setAddingApp(true, debugAddAppStep_);
}

bool SidebarView::pagesShown() const {
  return !pagesSection_->isHidden();
}

void SidebarView::followSets() {
  following_ = true;
  sets_->clear();
  const QColor ink = palette().color(QPalette::WindowText);
  const auto apps = app_.apps();
  auto active = std::find_if(apps.begin(), apps.end(),
                             [&](const AppSummary& a) { return a.appId == app_.activeApp(); });
  // A listed app has a live store listing to mirror.
  const bool onStore = active != apps.end() && !active->unlisted.value_or(false);
  if (onStore) {
    auto* store = new QListWidgetItem(symbolIcon(u"lock.fill", ink), QStringLiteral("App Store"));
    store->setData(Row::subtitleRole, countWords(static_cast<int>(active->screenshots.size()),
                                                 QStringLiteral("screenshot")));
    store->setData(Row::idRole, q(std::string(AppModel::appStoreSet)));
    store->setToolTip(QStringLiteral("What this app currently ships on the App Store. Read-only."));
    sets_->addItem(store);
  }
  const auto sets = app_.setsInActiveApp();
  for (const VellSet& set : sets) {
    const bool isActive = set.id == app_.activeSet();
    auto* item = new QListWidgetItem(
        symbolIcon(isActive ? u"square.stack.3d.up.fill" : u"square.stack.3d.up", ink),
        q(set.name));
    const int languages =
        app_.config() ? static_cast<int>(app_.config()->localesForSet(set.id).size()) : 0;
    item->setData(Row::subtitleRole, countWords(languages, QStringLiteral("language")));
    item->setData(Row::idRole, q(set.id));
    sets_->addItem(item);
  }
  for (int i = 0; i < sets_->count(); ++i) {
    if (sets_->item(i)->data(Row::idRole).toString().toStdString() == app_.activeSet()) {
      sets_->setCurrentRow(i);
    }
  }
  sets_->setVisible(sets_->count() > 0);
  noSets_->setVisible(sets.empty() && !onStore);
  QString owner = QStringLiteral("Unassigned");
  if (active != apps.end()) owner = q(active->name);
  newSetButton_->setToolTip(QStringLiteral("New set in ") + owner);
  following_ = false;
}

void SidebarView::followPages() {
  following_ = true;
  const bool store = app_.activeSet() == AppModel::appStoreSet;
  pagesSection_->setVisible(!store);
  addPage_->setToolTip(QStringLiteral("Add a page to “") + q(app_.activeSetName()) +
                       QStringLiteral("”"));
  pages_->clear();
  const QColor ink = AppLook::secondaryText(palette());
  for (const SetPage& page : app_.pages()) {
    auto* item = new QListWidgetItem(q(page.label.empty() ? page.id : page.label));
    item->setData(Row::idRole, q(page.id));
    QIcon icon;
    switch (page.source) {
      case PageSource::upload:
        item->setData(Row::subtitleRole, QStringLiteral("Uploaded screenshot"));
        icon = symbolIcon(u"photo", ink);
        break;
      case PageSource::html:
        item->setData(Row::subtitleRole, QStringLiteral("Your code (MCP)"));
        icon = symbolIcon(u"chevron.left.forwardslash.chevron.right", ink);
        break;
      case PageSource::builtin:
        icon = symbolIcon(u"iphone", ink);
        break;
    }
    item->setIcon(icon);
    pages_->addItem(item);
    // A finished render stands in for the symbol once it exists.
    if (gallery_.isReady(app_.activeLocale(), page.id)) {
      if (auto url = gallery_.thumbnailURL(app_.activeLocale(), page.id)) {
        images_.image(*url, pages_, [list = pages_, id = q(page.id)](std::optional<QImage> image) {
          if (!image) return;
          for (int i = 0; i < list->count(); ++i) {
            QListWidgetItem* row = list->item(i);
            if (row->data(Row::idRole).toString() != id) continue;
            row->setIcon(QIcon(QPixmap::fromImage(image->scaled(
                kThumb * 2, kThumb * 2, Qt::KeepAspectRatio, Qt::SmoothTransformation))));
          }
        });
      }
    }
    if (page.id == app_.activePage()) pages_->setCurrentItem(item);
  }
  following_ = false;
}

QMenu* SidebarView::setMenu(const std::string& setId, QWidget* parent) {
  auto* menu = new QMenu(parent);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  const QString id = q(setId);
  connect(menu->addAction(QStringLiteral("Rename…")), &QAction::triggered, this,
          [this, setId] { renameSet(setId); });
  connect(menu->addAction(QStringLiteral("Languages…")), &QAction::triggered, this,
          [this, id] { emit languagesRequested(id); });
  QMenu* move = menu->addMenu(QStringLiteral("Move to App"));
  std::optional<std::string> owner;
  if (app_.config()) {
    for (const VellSet& s : app_.config()->sets) {
      if (s.id == setId) owner = s.appId;
    }
  }
  for (const AppSummary& a : app_.apps()) {
    QAction* to = move->addAction(q(a.name));
    to->setEnabled(owner != a.appId);
    connect(to, &QAction::triggered, this,
            [this, setId, appId = a.appId] { moveSet(setId, appId); });
  }
  QAction* unassigned = move->addAction(QStringLiteral("Unassigned"));
  unassigned->setEnabled(owner.has_value());
  connect(unassigned, &QAction::triggered, this, [this, setId] { moveSet(setId, std::nullopt); });
  menu->addSeparator();
  connect(menu->addAction(QStringLiteral("Delete…")), &QAction::triggered, this,
          [this, setId] { deleteSet(setId); });
  return menu;
}

QMenu* SidebarView::pageMenu(const std::string& pageId, QWidget* parent) {
  auto* menu = new QMenu(parent);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  connect(menu->addAction(QStringLiteral("Rename…")), &QAction::triggered, this,
          [this, pageId] { renamePage(pageId); });
  connect(menu->addAction(QStringLiteral("Use This Background on All Pages")), &QAction::triggered,
          this, [this, pageId] { editor_.copyBackgroundToAllPages(pageId, app_); });
  if (app_.pages().size() >= 2) {
    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("Remove from Set")), &QAction::triggered, this,
            [this, pageId] { removePage(pageId); });
  }
  return menu;
}

void SidebarView::renameSet(const std::string& setId) {
  QString name;
  if (app_.config()) {
    for (const VellSet& s : app_.config()->sets) {
      if (s.id == setId) name = q(s.name);
    }
  }
  askName(this, QStringLiteral("Rename set"), name,
          [self = QPointer<SidebarView>(this), setId](const QString& text) {
            if (!self) return;
            self->app_.client().updateSet(setId, text.toStdString(), {}, {}, self,
                                          [self](APIResult<Done> done) {
                                            if (!done) return self->failed(done.error());
                                            self->app_.refreshConfig();
                                          });
          });
}

void SidebarView::moveSet(const std::string& setId, std::optional<std::string> appId) {
  // The empty value files the set under no app.
  app_.client().updateSet(setId, std::nullopt, models::TriState<std::string>(appId.value_or("")),
                          {}, this, [this](APIResult<Done> done) {
                            if (!done) return failed(done.error());
                            app_.refreshConfig();
                          });
}

void SidebarView::deleteSet(const std::string& setId) {
  QString name = q(setId);
  if (app_.config()) {
    for (const VellSet& s : app_.config()->sets) {
      if (s.id == setId) name = q(s.name);
    }
  }
  auto* box = new QMessageBox(
      QMessageBox::Warning, QStringLiteral("Delete “") + name + QStringLiteral("”?"),
      QStringLiteral("Delete “") + name + QStringLiteral("”?"), QMessageBox::NoButton, this);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setInformativeText(
      QStringLiteral("Its copy, styles, page order and uploaded images go with "
                     "it. Rendered files on disk are not touched."));
  box->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
  QPushButton* remove = box->addButton(QStringLiteral("Delete"), QMessageBox::DestructiveRole);
  connect(remove, &QPushButton::clicked, this, [this, setId] {
    app_.deleteSet(setId, this, [this](APIResult<Done> done) {
      if (!done) failed(done.error());
    });
  });
  box->setWindowModality(Qt::WindowModal);
  box->open();
}

void SidebarView::renamePage(const std::string& pageId) {
  const auto& pages = app_.pages();
  auto page =
      std::find_if(pages.begin(), pages.end(), [&](const SetPage& p) { return p.id == pageId; });
  if (page == pages.end()) return;
  askName(this, QStringLiteral("Rename page"), q(page->label),
          [self = QPointer<SidebarView>(this), pageId](const QString& text) {
            if (!self) return;
            std::vector<SetPage> renamed = self->app_.pages();
            for (SetPage& p : renamed) {
              if (p.id == pageId) p.label = text.toStdString();
            }
            self->app_.client().savePages(self->app_.activeSet(), renamed, self,
                                          [self](APIResult<Done> done) {
                                            if (!done) return self->failed(done.error());
                                            self->app_.loadPages();
                                          });
          });
}

void SidebarView::removePage(const std::string& pageId) {
  std::vector<SetPage> kept;
  for (const SetPage& p : app_.pages()) {
    if (p.id != pageId) kept.push_back(p);
  }
  app_.client().savePages(app_.activeSet(), kept, this, [this](APIResult<Done> done) {
    if (!done) return failed(done.error());
    app_.loadPages();
  });
}

void SidebarView::failed(const APIError& error) {
  showError(QString::fromStdString(error.sentence()));
}

void SidebarView::showError(const QString& message) {
  auto* box = new QMessageBox(QMessageBox::Warning, QStringLiteral("Couldn’t do that"),
                              QStringLiteral("Couldn’t do that"), QMessageBox::Ok, this);
  box->setObjectName(QStringLiteral("failureDialog"));
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setInformativeText(message);
  box->setWindowModality(Qt::WindowModal);
  box->open();
}

}  // namespace vells::app
