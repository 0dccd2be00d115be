#include "app/main_window.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QSettings>
#include <QSplitter>
#include <QStackedWidget>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/app_look.h"
#include "app/connection_view.h"
#include "app/editor_view.h"
#include "app/segmented_control.h"
#include "app/shell_commands.h"
#include "app/shell_state.h"
#include "app/sidebar_view.h"
#include "app/symbol_icon.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/gallery_model.h"

namespace vells::app {

using models::AppModel;
using models::Workspace;

namespace {

constexpr int kSidebarWidth = 260;

QWidget* galleryPlaceholder(QWidget* parent) {
  auto* label = new QLabel(QStringLiteral("Gallery"), parent);
  label->setAlignment(Qt::AlignCenter);
  label->setAutoFillBackground(true);
  QPalette p = label->palette();
  p.setColor(QPalette::Window, AppLook::backdrop(p));
  p.setColor(QPalette::WindowText, AppLook::secondaryText(p));
  label->setPalette(p);
  return label;
}

QWidget* spacer(QWidget* parent, int width = -1) {
  auto* w = new QWidget(parent);
  if (width < 0) {
    w->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  } else {
    w->setFixedWidth(width);
  }
  return w;
}

QToolButton* toolbarButton(QWidget* parent) {
  auto* button = new QToolButton(parent);
  button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  button->setAutoRaise(true);
  button->setFocusPolicy(Qt::TabFocus);
  return button;
}

}  // namespace

MainWindow::MainWindow(AppModel& app, models::EditorModel& editor, models::CanvasModel& canvas,
                       models::GalleryModel& gallery, models::ImageStore& images,
                       QSettings& settings, QWidget* parent)
    : QMainWindow(parent),
      app_(app),
      editor_(editor),
      canvas_(canvas),
      gallery_(gallery),
      commands_(new ShellCommands(app, editor, canvas, gallery, this)),
      sidebar_(new SidebarView(app, editor, gallery, images, this)),
      split_(new QSplitter(Qt::Horizontal, this)),
      detail_(new QStackedWidget(this)),
      connection_(new ConnectionView(app, this)),
      workspaces_(new QStackedWidget(this)),
      editorView_(new EditorView(app, editor, canvas, settings, this)) {
  setMinimumSize(minimumWindowSize);
  resize(defaultWindowSize);
  setUnifiedTitleAndToolBarOnMac(true);
  commands_->fillMenuBar(menuBar());
  buildToolbar();

  galleryView_ = galleryPlaceholder(workspaces_);
  workspaces_->addWidget(galleryView_);
  workspaces_->addWidget(editorView_);
  detail_->addWidget(connection_);
  detail_->addWidget(workspaces_);
  split_->addWidget(sidebar_);
  split_->addWidget(detail_);
  split_->setChildrenCollapsible(false);
  split_->setStretchFactor(0, 0);
  split_->setStretchFactor(1, 1);
  split_->setSizes({kSidebarWidth, defaultWindowSize.width() - kSidebarWidth});
  sidebar_->setMaximumWidth(360);
  setCentralWidget(split_);

  connect(connection_, &ConnectionView::settingsRequested, this, &MainWindow::settingsRequested);
  connect(commands_, &ShellCommands::settingsRequested, this, &MainWindow::settingsRequested);
  connect(commands_->toggleSidebar(), &QAction::toggled, sidebar_, &QWidget::setVisible);
  connect(editorView_, &EditorView::inspectorShownChanged, this, &MainWindow::followState);
  for (auto signal : {&AppModel::connectionChanged, &AppModel::workspaceChanged}) {
    connect(&app_, signal, this, &MainWindow::follow);
  }
  connect(&app_, &AppModel::activeSetChanged, this, &MainWindow::follow);
  onShellStateChange(app_, editor_, canvas_, gallery_, this, [this] { followState(); });
  follow();
}

void MainWindow::buildToolbar() {
  auto* bar = addToolBar(QStringLiteral("Toolbar"));
  bar->setObjectName(QStringLiteral("mainToolbar"));
  bar->setMovable(false);
  bar->setFloatable(false);
  bar->toggleViewAction()->setEnabled(false);
  bar->setContextMenuPolicy(Qt::PreventContextMenu);
  bar->setIconSize(QSize(16, 16));
  bar->setStyleSheet(QStringLiteral("QToolBar { padding: 6px 8px; spacing: 8px; border: 0; }"));

  // The window's title and subtitle, where a desktop design tool keeps them.
  auto* titles = new QWidget(bar);
  auto* column = new QVBoxLayout(titles);
  column->setContentsMargins(8, 0, 8, 0);
  column->setSpacing(0);
  title_ = new QLabel(titles);
  QFont bold = title_->font();
  bold.setWeight(QFont::DemiBold);
  title_->setFont(bold);
  subtitle_ = new QLabel(titles);
  AppLook::quiet(subtitle_, 0.88);
  column->addWidget(title_);
  column->addWidget(subtitle_);
  titles->setMinimumWidth(220);
  bar->addWidget(titles);
  bar->addWidget(spacer(bar));

  workspaceSwitch_ = new SegmentedControl({QStringLiteral("Gallery"), QStringLiteral("Editor")},
                                          QStringLiteral("Workspace"), bar);
  osSwitch_ = new SegmentedControl({QStringLiteral("iOS"), QStringLiteral("Android")},
                                   QStringLiteral("Platform"), bar);
  themeSwitch_ = new SegmentedControl({QStringLiteral("Dark"), QStringLiteral("Light")},
                                      QStringLiteral("Theme"), bar);
  bar->addWidget(workspaceSwitch_);
  bar->addWidget(spacer(bar, 16));
  bar->addWidget(osSwitch_);
  bar->addWidget(themeSwitch_);
  bar->addWidget(spacer(bar));
  export_ = toolbarButton(bar);
  second_ = toolbarButton(bar);
  bar->addWidget(export_);
  bar->addWidget(second_);

  connect(workspaceSwitch_, &SegmentedControl::chosen, this,
          [this](int i) { app_.setWorkspace(i == 0 ? Workspace::gallery : Workspace::editor); });
  connect(osSwitch_, &SegmentedControl::chosen, this,
          [this](int i) { app_.setOs(i == 0 ? DeviceOS::ios : DeviceOS::android); });
  connect(themeSwitch_, &SegmentedControl::chosen, this,
          [this](int i) { app_.setTheme(i == 0 ? ThemeName::dark : ThemeName::light); });
  connect(export_, &QToolButton::clicked, this, [this] {
    if (ShellState::of(app_, editor_, canvas_, gallery_).exportDisabled()) return;
    if (app_.workspace() == Workspace::editor) {
      editor_.downloadPNG(app_);
    } else {
      gallery_.exportZip(std::nullopt);
    }
  });
  connect(second_, &QToolButton::clicked, this, [this] {
    if (!ShellState::of(app_, editor_, canvas_, gallery_).secondButtonEnabled()) return;
    if (app_.workspace() == Workspace::editor) {
      editorView_->setInspectorShown(!editorView_->inspectorShown());
    } else {
      gallery_.regenerate();
    }
  });
}

QWidget* MainWindow::visibleDetail() const {
  if (detail_->currentWidget() == connection_) return connection_;
  return workspaces_->currentWidget();
}

QString MainWindow::subtitle() const {
  return subtitle_->text();
}

void MainWindow::setGallery(QWidget* gallery) {
  const bool wasCurrent = workspaces_->currentWidget() == galleryView_;
  delete galleryView_.data();
  galleryView_ = gallery;
  workspaces_->insertWidget(0, gallery);
  if (wasCurrent) workspaces_->setCurrentWidget(gallery);
}

void MainWindow::follow() {
  const bool online = app_.connection().kind == models::ConnectionState::Kind::online;
  detail_->setCurrentWidget(online ? static_cast<QWidget*>(workspaces_) : connection_);
  const bool inEditor = app_.workspace() == Workspace::editor;
  // The hidden workspace keeps its state and takes no input.
  workspaces_->setCurrentWidget(inEditor ? static_cast<QWidget*>(editorView_)
                                         : galleryView_.data());
  gallery_.setShowing(online);
  followState();
}

void MainWindow::followState() {
  const ShellState s = ShellState::of(app_, editor_, canvas_, gallery_);
  const QString name = app_.activeSetNameText();
  const QString sub = windowSubtitle(app_);
  title_->setText(name);
  subtitle_->setText(sub);
  setWindowTitle(name + QStringLiteral(" — ") + sub);

  workspaceSwitch_->setCurrent(s.editorWorkspace ? 1 : 0);
  osSwitch_->setCurrent(app_.os() == DeviceOS::ios ? 0 : 1);
  themeSwitch_->setCurrent(app_.theme() == ThemeName::dark ? 0 : 1);
  workspaceSwitch_->setEnabled(s.canSwitchWorkspace());
  osSwitch_->setEnabled(s.canSwitchLook());
  themeSwitch_->setEnabled(s.canSwitchLook());

  const QColor ink = palette().color(QPalette::ButtonText);
  if (s.editorWorkspace) {
    export_->setText(QStringLiteral("Export PNG"));
    export_->setToolTip(QStringLiteral("This page, at store resolution"));
    second_->setText(QStringLiteral("Style"));
    second_->setToolTip(QStringLiteral("Show or hide the style inspector"));
    second_->setIcon(symbolIcon(u"sidebar.right", ink));
    second_->setCheckable(true);
    second_->setChecked(editorView_->inspectorShown());
  } else {
    export_->setText(QStringLiteral("Export All"));
    export_->setToolTip(
        QStringLiteral("Every page in every language, for the selected OS and theme"));
    second_->setText(QStringLiteral("Regenerate"));
    second_->setToolTip(QStringLiteral("Clear this combination’s cached renders and rebuild them"));
    second_->setIcon(symbolIcon(u"arrow.clockwise", ink));
    second_->setChecked(false);
    second_->setCheckable(false);
  }
  export_->setIcon(symbolIcon(u"square.and.arrow.up", ink));
  export_->setEnabled(!s.exportDisabled());
  second_->setEnabled(s.secondButtonEnabled());
}

}  // namespace vells::app
