#include "app/inspector_view.h"

#include <QLabel>
#include <QMenu>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/fill_row.h"
#include "app/image_layer_panel.h"
#include "app/inspector_header.h"
#include "app/inspector_look.h"
#include "app/inspector_section.h"
#include "app/language_scope_toggle.h"
#include "app/layers_section.h"
#include "app/page_panel.h"
#include "app/phone_panel.h"
#include "app/platform_words.h"
#include "app/sticker_picker.h"
#include "app/symbol_icon.h"
#include "app/text_design_panel.h"

namespace vells::app {

InspectorView::InspectorView(models::EditorModel& editor, models::AppModel& app,
                             models::CanvasModel& canvas, models::ImageStore& images,
                             QSettings& settings, QWidget* parent)
    : QWidget(parent),
      context_{editor, app, canvas, images, settings},
      states_(new QStackedWidget(this)),
      messageIcon_(new QLabel),
      messageTitle_(new QLabel),
      messageText_(new QLabel),
      scope_(new LanguageScopeToggle(context_)),
      scroll_(new QScrollArea),
      body_(new QWidget) {
  setMinimumWidth(260);
  setAutoFillBackground(true);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->addWidget(states_);

  auto* message = new QWidget;
  auto* words = new QVBoxLayout(message);
  words->setContentsMargins(24, 24, 24, 24);
  words->setSpacing(8);
  words->addStretch(1);
  messageIcon_->setAlignment(Qt::AlignCenter);
  QFont bold = messageTitle_->font();
  bold.setBold(true);
  messageTitle_->setFont(bold);
  for (QLabel* l : {messageTitle_, messageText_}) {
    l->setAlignment(Qt::AlignCenter);
    l->setWordWrap(true);
  }
  messageText_->setForegroundRole(QPalette::PlaceholderText);
  words->addWidget(messageIcon_);
  words->addWidget(messageTitle_);
  words->addWidget(messageText_);
  words->addStretch(2);
  states_->addWidget(message);

  auto* editing = new QWidget;
  auto* editingColumn = new QVBoxLayout(editing);
  editingColumn->setContentsMargins(0, 0, 0, 0);
  editingColumn->setSpacing(0);
  editingColumn->addWidget(scope_);
  editingColumn->addWidget(scroll_, 1);
  scroll_->setWidgetResizable(true);
  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setWidget(body_);
  auto* stack = new QVBoxLayout(body_);
  stack->setContentsMargins(0, 0, 0, 16);
  stack->setSpacing(0);
  stack->addStretch(1);
  states_->addWidget(editing);

  const auto later = [this] { sync(); };
  connect(&editor, &models::EditorModel::stylesChanged, this, later);
  connect(&editor, &models::EditorModel::titleChanged, this, later);
  connect(&editor, &models::EditorModel::screenValuesChanged, this, later);
  connect(&editor, &models::EditorModel::pageStateChanged, this, later);
  connect(&editor, &models::EditorModel::textsChanged, this, later);
  connect(&editor, &models::EditorModel::styleScopeChanged, this, later);
  connect(&canvas, &models::CanvasModel::selectionChanged, this, later);
  connect(&app, &models::AppModel::activeSetChanged, this, later);
  connect(&app, &models::AppModel::activePageChanged, this, later);
  connect(&app, &models::AppModel::activeLocaleChanged, this, later);
  connect(&app, &models::AppModel::pagesChanged, this, later);
  connect(&app, &models::AppModel::osChanged, this, later);
  connect(&app, &models::AppModel::themeChanged, this, later);
  connect(&app, &models::AppModel::configChanged, this, later);
  sync();
}

QSize InspectorView::sizeHint() const {
  return {kInspectorWidth, 640};
}

StickerPicker* InspectorView::stickerPicker() const {
  return picker_;
}

void InspectorView::showMessage(const QString& symbol, const QString& title,
                                const QString& message) {
  messageIcon_->setPixmap(
      symbolIcon(symbol, mutedColor(this)).pixmap(QSize(32, 32), devicePixelRatioF()));
  messageTitle_->setText(title);
  messageText_->setText(message);
  states_->setCurrentIndex(0);
}

QString InspectorView::panelKey() const {
  const auto& app = context_.app;
  QString key = QString::fromStdString(
      app.activeSet() + "|" + app.activePage().value_or(std::string()) + "|" + app.activeLocale() +
      "|" + std::string(rawValue(app.os())) + "|" + std::string(rawValue(app.theme())));
  for (const SetPage& p : app.pages())
    if (app.activePage() && p.id == *app.activePage())
      key += QStringLiteral("|") + QString::fromUtf8(rawValue(p.source).data());
  const auto& sel = context_.canvas.selection();
  if (!sel) return key + QStringLiteral("|page");
  switch (sel->kind) {
    case models::CanvasSelection::Kind::phone:
      return key + QStringLiteral("|phone");
    case models::CanvasSelection::Kind::title:
      return key + QStringLiteral("|title");
    case models::CanvasSelection::Kind::layer: {
      const auto l = context_.canvas.layer(sel->layerId);
      if (!l) return key + QStringLiteral("|page");
      return key + QStringLiteral("|layer:%1:%2:%3")
                       .arg(QString::fromStdString(l->id),
                            QString::fromUtf8(rawValue(l->kind).data()),
                            l->sticker ? QStringLiteral("sticker") : QString());
    }
  }
  return key;
}

void InspectorView::sync() {
  const auto& app = context_.app;
  if (app.activeSet() == models::AppModel::appStoreSet) {
    const std::string name = [&] {
      for (const auto& a : app.apps())
        if (app.activeApp() && a.appId == *app.activeApp()) return a.name;
      return std::string("Unassigned");
    }();
    state_ = QStringLiteral("locked");
    key_.clear();
    showMessage(
        QStringLiteral("lock.fill"), tr("The App Store set can’t be edited"),
        tr("It mirrors what “%1” shows in the store now.").arg(QString::fromStdString(name)));
    return;
  }
  if (!app.activePage()) {
    state_ = QStringLiteral("empty");
    key_.clear();
    showMessage(QStringLiteral("sidebar.left"), tr("Pick a page"),
                tr("Choose one from the sidebar to edit its copy and style."));
    return;
  }
  if (!context_.editor.styles()) {
    state_ = QStringLiteral("loading");
    key_.clear();
    showMessage(QStringLiteral("progress.indicator"), tr("Loading the page’s style…"), {});
    return;
  }
  state_ = QStringLiteral("panel");
  states_->setCurrentIndex(1);
  scope_->refresh();
  const QString key = panelKey();
  if (key != key_) {
    key_ = key;
    rebuild();
  } else {
    panel_->refresh();
    layers_->refresh();
  }
}

void InspectorView::rebuild() {
  auto* stack = static_cast<QVBoxLayout*>(body_->layout());
  // Only the panel changes: the layers group keeps its fold.
  if (panel_) {
    panel_->hide();
    panel_->deleteLater();
    panel_ = nullptr;
  }

  const auto& sel = context_.canvas.selection();
  if (!sel) {
    panel_ = new PagePanel(context_, body_);
  } else if (sel->kind == models::CanvasSelection::Kind::phone) {
    panel_ = new PhonePanel(context_, body_);
  } else if (sel->kind == models::CanvasSelection::Kind::title) {
    panel_ = new TextDesignPanel(context_, std::nullopt, body_);
  } else if (const auto l = context_.canvas.layer(sel->layerId)) {
    if (l->kind == VellLayer::Kind::text)
      panel_ = new TextDesignPanel(context_, l->id, body_);
    else
      panel_ = new ImageLayerPanel(context_, l->id, body_);
  } else {
    panel_ = new PagePanel(context_, body_);
  }
  if (sel && panel_->header()) {
    auto* deselect = panel_->header()->addButton(QStringLiteral("xmark"), tr("Deselect"));
    connect(deselect, &QToolButton::clicked, this,
            [this] { context_.canvas.select(std::nullopt); });
  }
  stack->insertWidget(0, panel_);

  if (!layersGroup_) {
    layersGroup_ = new InspectorSection(tr("Layers"), body_);
    auto* add = iconButton(QStringLiteral("plus"), tr("Add a text or a sticker"), layersGroup_);
    add->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(add);
    menu->addAction(symbolIcon(u"textformat", palette().color(QPalette::Text)),
                    platformWords(u"Text (⌥⌘T)"), this, [this] { context_.canvas.addTextLayer(); });
    menu->addAction(symbolIcon(u"face.smiling", palette().color(QPalette::Text)),
                    platformWords(u"Sticker… (⌥⌘K)"), this, &InspectorView::showStickers);
    add->setMenu(menu);
    layersGroup_->addHeaderButton(add);
    layers_ = new LayersSection(context_, layersGroup_);
    layersGroup_->addWide(layers_);
    stack->insertWidget(1, layersGroup_);
  }
  layers_->refresh();
  orderTabs();
  openDebugFill();
}

void InspectorView::orderTabs() {
  // A new panel is made after the layers group, so Tab would otherwise visit
  // the layers first: the chain runs down the column as it reads.
  std::vector<QWidget*> chain;
  const auto collect = [&chain](QWidget* root) {
    for (QWidget* w : root->findChildren<QWidget*>()) {
      if ((w->focusPolicy() & Qt::TabFocus) && !w->focusProxy()) chain.push_back(w);
    }
  };
  collect(scope_);
  collect(panel_);
  collect(layersGroup_);
  for (std::size_t i = 1; i < chain.size(); ++i)
    QWidget::setTabOrder(chain[i - 1], chain[i]);
}

void InspectorView::openDebugFill() {
  if (debugFillDone_ || !isVisible() ||
      !context_.settings.value(QStringLiteral("debug.fill"), false).toBool())
    return;
  // Opens after the layout of this event has settled, so it stands under the row.
  QTimer::singleShot(0, this, [this] {
    if (auto* page = qobject_cast<PagePanel*>(panel_); page && isVisible() && !debugFillDone_) {
      debugFillDone_ = true;
      page->fillRow()->openPopover();
    }
  });
}

void InspectorView::showStickers() {
  if (state_ != QLatin1String("panel")) return;
  if (!picker_) {
    picker_ = new StickerPicker(context_, this);
    picker_->setWindowFlags(Qt::Tool);
  }
  picker_->open();
  picker_->move(mapToGlobal(QPoint(-picker_->width() - 8, 48)));
  picker_->show();
  picker_->raise();
}

void InspectorView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  openDebugFill();
}

}  // namespace vells::app
