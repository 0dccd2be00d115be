#include "app/editor_view.h"

#include <QEvent>

#include <QLabel>
#include <QSettings>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "app/app_look.h"
#include "app/empty_state_view.h"
#include "app/platform_words.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"

namespace vells::app {

using models::AppModel;
using models::CanvasSelection;

namespace {

constexpr const char* keyInspectorShown = "inspector.shown";
constexpr const char* keyInspectorWidth = "inspector.width";
constexpr int kInspectorDefaultWidth = 320;
constexpr int kInspectorMinWidth = 260;
constexpr int kChatDefaultWidth = 300;

// Stands where another view goes until it is handed in.
QWidget* placeholder(const QString& words, QWidget* parent, bool backdrop) {
  auto* label = new QLabel(words, parent);
  label->setAlignment(Qt::AlignCenter);
  label->setObjectName(QStringLiteral("placeholder"));
  QPalette p = label->palette();
  p.setColor(QPalette::WindowText, AppLook::secondaryText(p));
  if (backdrop) {
    p.setColor(QPalette::Window, AppLook::backdrop(p));
    label->setAutoFillBackground(true);
  }
  label->setPalette(p);
  return label;
}

// A column that holds exactly one child at a time.
QWidget* holder(QWidget* parent) {
  auto* w = new QWidget(parent);
  auto* layout = new QVBoxLayout(w);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  return w;
}

QString lockedMessage(const AppModel& app) {
  QString name = QStringLiteral("Unassigned");
  for (const AppSummary& a : app.apps()) {
    if (a.appId == app.activeApp()) name = QString::fromStdString(a.name);
  }
  return QStringLiteral("It mirrors what “") + name +
         QStringLiteral(
             "” ships on the App Store today. Pick one of your sets to edit its "
             "copy and style.");
}

}  // namespace

EditorView::EditorView(AppModel& app, models::EditorModel& editor, models::CanvasModel& canvas,
                       QSettings& settings, QWidget* parent)
    : QWidget(parent),
      app_(app),
      editor_(editor),
      canvas_(canvas),
      settings_(settings),
      stack_(new QStackedWidget(this)),
      locked_(new EmptyStateView(QStringLiteral("lock.fill"),
                                 QStringLiteral("The App Store set can’t be edited"), QString(),
                                 this)),
      empty_(new EmptyStateView(
          QStringLiteral("sidebar.left"), QStringLiteral("Pick a page"),
          QStringLiteral("Choose one from the sidebar to edit its copy and style."), this)),
      content_(new QSplitter(Qt::Horizontal, this)),
      canvasHolder_(holder(this)),
      chatHolder_(holder(this)),
      inspectorHolder_(holder(this)),
      tip_(new QLabel(platformWords(u"Click anything to select it · double-click text to edit · "
                                    u"⌘Z to undo"),
                      this)),
      status_(new QLabel(this)) {
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->addWidget(stack_);
  for (EmptyStateView* state : {locked_, empty_}) {
    QPalette p = state->palette();
    p.setColor(QPalette::Window, AppLook::backdrop(p));
    state->setAutoFillBackground(true);
    state->setPalette(p);
  }

  // The canvas column: the canvas on the backdrop, the tip and the status
  // line under it.
  auto* canvasColumn = new QWidget(this);
  canvasColumn->setAutoFillBackground(true);
  QPalette backdrop = canvasColumn->palette();
  backdrop.setColor(QPalette::Window, AppLook::backdrop(backdrop));
  canvasColumn->setPalette(backdrop);
  auto* column = new QVBoxLayout(canvasColumn);
  column->setContentsMargins(0, 0, 0, 8);
  column->setSpacing(4);
  column->addWidget(canvasHolder_, 1);
  AppLook::quiet(tip_);
  tip_->setAlignment(Qt::AlignCenter);
  status_->setAlignment(Qt::AlignCenter);
  status_->setObjectName(QStringLiteral("editorStatus"));
  column->addWidget(status_);
  column->addWidget(tip_);
  content_->addWidget(canvasColumn);
  content_->addWidget(chatHolder_);
  content_->addWidget(inspectorHolder_);
  content_->setChildrenCollapsible(false);
  content_->setStretchFactor(0, 1);
  content_->setStretchFactor(1, 0);
  content_->setStretchFactor(2, 0);
  chatHolder_->hide();
  inspectorHolder_->setMinimumWidth(kInspectorMinWidth);
  replace(canvasWidget_, placeholder(QStringLiteral("Canvas"), this, true), canvasHolder_);
  replace(inspectorWidget_, placeholder(QStringLiteral("Inspector"), this, false),
          inspectorHolder_);
  content_->installEventFilter(this);
  connect(content_, &QSplitter::splitterMoved, this, [this] {
    if (inspectorHolder_->isVisible()) {
      settings_.setValue(keyInspectorWidth, inspectorHolder_->width());
    }
  });
  inspectorShown_ = settings_.value(keyInspectorShown, true).toBool();
  inspectorHolder_->setVisible(inspectorShown_);

  stack_->addWidget(locked_);
  stack_->addWidget(empty_);
  stack_->addWidget(content_);

  connect(&app_, &AppModel::activeSetChanged, this, [this] {
    editor_.loadSet(app_);
    follow();
  });
  for (auto signal : {&AppModel::activePageChanged, &AppModel::activeLocaleChanged,
                      &AppModel::osChanged, &AppModel::themeChanged}) {
    connect(&app_, signal, this, &EditorView::loadPage);
  }
  connect(&app_, &AppModel::activePageChanged, this, &EditorView::follow);
  connect(&app_, &AppModel::configChanged, this, &EditorView::follow);
  connect(&app_, &AppModel::activeAppChanged, this, &EditorView::follow);
  connect(&app_, &AppModel::connectionChanged, this, [this] {
    // The first time the library is there, the documents of the stored
    // selection load; later reconnects reload them too.
    if (app_.connection().kind != models::ConnectionState::Kind::online) return;
    editor_.loadSet(app_);
    loadPage();
  });
  connect(&editor_, &models::EditorModel::statusChanged, this, &EditorView::followStatus);
  follow();
  followStatus();
}

void EditorView::replace(QPointer<QWidget>& slot, QWidget* with, QWidget* holder) {
  delete slot.data();
  slot = with;
  if (with) {
    with->setParent(holder);
    holder->layout()->addWidget(with);
    with->show();
  }
}

void EditorView::setCanvas(QWidget* canvas) {
  replace(canvasWidget_, canvas, canvasHolder_);
}

void EditorView::setInspector(QWidget* inspector) {
  replace(inspectorWidget_, inspector, inspectorHolder_);
}

void EditorView::setChatPanel(QWidget* chat) {
  replace(chatWidget_, chat, chatHolder_);
  chatHolder_->setVisible(chat != nullptr);
  columnsFitted_ = false;
  fitColumns();
}

bool EditorView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == content_ && event->type() == QEvent::Resize) fitColumns();
  return QWidget::eventFilter(watched, event);
}

void EditorView::fitColumns() {
  const int total = content_->width();
  if (columnsFitted_ || total <= 0 || !content_->isVisible()) return;
  const int inspector = std::max(settings_.value(keyInspectorWidth, kInspectorDefaultWidth).toInt(),
                                 kInspectorMinWidth);
  const int chat = chatHolder_->isVisibleTo(content_) ? kChatDefaultWidth : 0;
  content_->setSizes({std::max(0, total - chat - inspector), chat, inspector});
  columnsFitted_ = true;
}

void EditorView::setInspectorShown(bool shown) {
  settings_.setValue(keyInspectorShown, shown);
  if (inspectorShown_ == shown) return;
  inspectorShown_ = shown;
  inspectorHolder_->setVisible(shown);
  emit inspectorShownChanged(shown);
}

EditorView::State EditorView::state() const {
  if (stack_->currentWidget() == locked_) return State::locked;
  if (stack_->currentWidget() == empty_) return State::empty;
  return State::editing;
}

void EditorView::follow() {
  if (app_.activeSet() == AppModel::appStoreSet) {
    locked_->setMessage(lockedMessage(app_));
    stack_->setCurrentWidget(locked_);
  } else if (!app_.activePage()) {
    stack_->setCurrentWidget(empty_);
  } else {
    stack_->setCurrentWidget(content_);
  }
}

void EditorView::followStatus() {
  const models::StatusLine& line = editor_.status();
  status_->setText(QString::fromStdString(line.text));
  status_->setVisible(!line.text.empty());
  QPalette p = palette();
  p.setColor(QPalette::WindowText,
             line.isError ? QColor(0xd9, 0x3f, 0x3f) : AppLook::secondaryText(p));
  status_->setPalette(p);
}

void EditorView::loadPage() {
  if (app_.connection().kind != models::ConnectionState::Kind::online) return;
  if (app_.activeSet() == AppModel::appStoreSet || !app_.activePage()) return;
  editor_.loadPage(app_, [self = QPointer<EditorView>(this)] {
    if (self) self->applyDebugSelection();
  });
}

void EditorView::setDebugSelection(QString select, bool edit) {
  debugSelect_ = std::move(select);
  debugEdit_ = edit;
  debugApplied_ = debugSelect_.isEmpty();
}

std::optional<CanvasSelection> EditorView::debugTarget(const QString& select,
                                                       const models::CanvasModel& canvas) {
  if (select == QLatin1String("phone")) return CanvasSelection::phone();
  if (select == QLatin1String("title")) return CanvasSelection::title();
  const bool sticker = select == QLatin1String("sticker");
  const bool text = select == QLatin1String("text");
  const QString prefix = QStringLiteral("layer:");
  for (const VellLayer& layer : canvas.layers()) {
    if ((sticker && layer.kind == VellLayer::Kind::image) ||
        (text && layer.kind == VellLayer::Kind::text) ||
        (select.startsWith(prefix) && select.mid(prefix.size()).toStdString() == layer.id)) {
      return CanvasSelection::layer(layer.id);
    }
  }
  return std::nullopt;
}

void EditorView::applyDebugSelection() {
  if (debugApplied_ || !app_.activePage()) return;
  debugApplied_ = true;
  const auto target = debugTarget(debugSelect_, canvas_);
  canvas_.select(target);
  if (!target || !debugEdit_) return;
  bool isText = target->kind == CanvasSelection::Kind::title;
  if (target->isLayer()) {
    auto layer = canvas_.layer(target->layerId);
    isText = layer && layer->kind == VellLayer::Kind::text;
  }
  if (isText) canvas_.setEditingText(target);
}

}  // namespace vells::app
