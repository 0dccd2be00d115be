#include "app/app_switcher.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>

#include "app/app_look.h"
#include "app/shell_state.h"
#include "app/symbol_icon.h"
#include "models/app_model.h"
#include "models/image_store.h"

namespace vells::app {

using models::AppModel;

namespace {
constexpr int kIconSize = 28;
}

AppSwitcher::AppSwitcher(AppModel& app, models::ImageStore& images, QWidget* parent)
    : QPushButton(parent),
      app_(app),
      images_(images),
      icon_(new QLabel(this)),
      name_(new QLabel(this)),
      count_(new QLabel(this)),
      chevron_(new QLabel(this)) {
  setFlat(true);
  setMinimumHeight(48);
  setAccessibleName(QStringLiteral("App"));
  setToolTip(QStringLiteral("Switch app"));
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(8, 6, 8, 6);
  row->setSpacing(8);
  icon_->setFixedSize(kIconSize, kIconSize);
  icon_->setAttribute(Qt::WA_TransparentForMouseEvents);
  row->addWidget(icon_);
  auto* words = new QVBoxLayout;
  words->setSpacing(0);
  QFont bold = name_->font();
  bold.setWeight(QFont::DemiBold);
  name_->setFont(bold);
  AppLook::quiet(count_, 0.88);
  for (QLabel* l : {name_, count_}) {
    l->setAttribute(Qt::WA_TransparentForMouseEvents);
    words->addWidget(l);
  }
  row->addLayout(words, 1);
  chevron_->setPixmap(
      symbolIcon(u"chevron.down", AppLook::secondaryText(palette())).pixmap(14, 14));
  chevron_->setAttribute(Qt::WA_TransparentForMouseEvents);
  row->addWidget(chevron_);

  connect(this, &QPushButton::clicked, this, &AppSwitcher::openList);
  connect(&app_, &AppModel::configChanged, this, &AppSwitcher::follow);
  connect(&app_, &AppModel::activeAppChanged, this, &AppSwitcher::follow);
  follow();
}

QString AppSwitcher::title() const {
  return name_->text();
}
QString AppSwitcher::subtitle() const {
  return count_->text();
}

void AppSwitcher::follow() {
  QString name = QStringLiteral("Unassigned");
  for (const AppSummary& a : app_.apps()) {
    if (a.appId == app_.activeApp()) name = QString::fromStdString(a.name);
  }
  name_->setText(name);
  count_->setText(
      countWords(static_cast<int>(app_.setsInActiveApp().size()), QStringLiteral("set")));
  const QIcon fallback =
      symbolIcon(app_.activeApp() ? u"macwindow" : u"tray", AppLook::secondaryText(palette()));
  icon_->setPixmap(fallback.pixmap(kIconSize - 6, kIconSize - 6));
  icon_->setAlignment(Qt::AlignCenter);
  if (app_.activeApp()) {
    loadIcon(*app_.activeApp(),
             [this](const QIcon& icon) { icon_->setPixmap(icon.pixmap(kIconSize, kIconSize)); });
  }
}

void AppSwitcher::loadIcon(const std::string& appId, std::function<void(const QIcon&)> use) {
  const auto apps = app_.apps();
  auto found =
      std::find_if(apps.begin(), apps.end(), [&](const AppSummary& a) { return a.appId == appId; });
  if (found == apps.end()) return;
  auto url = app_.iconURL(&*found);
  if (!url) return;
  images_.image(*url, this, [use = std::move(use)](std::optional<QImage> image) {
    if (!image || image->isNull()) return;
    // App icons are drawn with the store's rounded corners.
    QImage rounded(image->size(), QImage::Format_ARGB32_Premultiplied);
    rounded.fill(Qt::transparent);
    QPainter painter(&rounded);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath clip;
    const qreal r = image->width() * 0.22;
    clip.addRoundedRect(QRectF(QPointF(0, 0), QSizeF(image->size())), r, r);
    painter.setClipPath(clip);
    painter.drawImage(0, 0, *image);
    painter.end();
    use(QIcon(QPixmap::fromImage(rounded)));
  });
}

QMenu* AppSwitcher::buildMenu(QWidget* parent) {
  auto* menu = new QMenu(parent);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  const QColor ink = palette().color(QPalette::WindowText);
  // Every row acts once the list has closed, so that a sheet never opens
  // over a closing popup.
  auto choose = [this](QAction* action, std::function<void()> run) {
    connect(action, &QAction::triggered, this,
            [self = QPointer<AppSwitcher>(this), run] { QTimer::singleShot(0, self, run); });
  };
  for (const AppSummary& a : app_.apps()) {
    QAction* row = menu->addAction(QString::fromStdString(a.name));
    row->setCheckable(true);
    row->setChecked(a.appId == app_.activeApp());
    row->setIcon(symbolIcon(u"macwindow", ink));
    loadIcon(a.appId, [row = QPointer<QAction>(row)](const QIcon& icon) {
      if (row) row->setIcon(icon);
    });
    choose(row, [this, id = a.appId] { app_.selectApp(id); });
  }
  if (app_.hasUnassignedSets()) {
    QAction* row = menu->addAction(symbolIcon(u"tray", ink), QStringLiteral("Unassigned"));
    row->setCheckable(true);
    row->setChecked(!app_.activeApp());
    choose(row, [this] { app_.selectApp(std::nullopt); });
  }
  if (!menu->isEmpty()) menu->addSeparator();
  choose(menu->addAction(symbolIcon(u"plus", ink), QStringLiteral("Add App…")),
         [this] { app_.setAddingApp(true); });
  if (app_.activeApp()) {
    choose(menu->addAction(symbolIcon(u"pencil", ink), QStringLiteral("Edit App…")),
           [this, id = *app_.activeApp()] { app_.setEditingApp(id); });
  }
  return menu;
}

void AppSwitcher::openList() {
  QMenu* menu = buildMenu(this);
  menu->setMinimumWidth(width());
  menu->popup(mapToGlobal(QPoint(0, height())));
}

}  // namespace vells::app
