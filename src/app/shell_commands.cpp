#include "app/shell_commands.h"

#include <QAbstractSpinBox>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QWidget>

#include "app/platform_words.h"
#include "app/shell_state.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/gallery_model.h"

namespace vells::app {

using models::AppModel;
using models::ArrangeMove;
using models::Workspace;

namespace {

// The text field that has the keyboard, when a text field has it: the
// editing commands go to it before they go to the document.
QLineEdit* focusedLine(QWidget* w) {
  if (auto* line = qobject_cast<QLineEdit*>(w)) return line;
  if (auto* combo = qobject_cast<QComboBox*>(w))
    return combo->isEditable() ? combo->lineEdit() : nullptr;
  if (auto* spin = qobject_cast<QAbstractSpinBox*>(w)) return spin->findChild<QLineEdit*>();
  return nullptr;
}

// Runs `action` on the focused text widget; false when the focus isn't in one.
template <class LineAction, class TextAction>
bool inTextField(LineAction onLine, TextAction onText) {
  QWidget* w = QApplication::focusWidget();
  if (!w) return false;
  if (QLineEdit* line = focusedLine(w)) {
    onLine(line);
    return true;
  }
  if (auto* text = qobject_cast<QTextEdit*>(w)) {
    onText(text);
    return true;
  }
  if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
    onText(plain);
    return true;
  }
  return false;
}

}  // namespace

ShellCommands::ShellCommands(AppModel& app, models::EditorModel& editor,
                             models::CanvasModel& canvas, models::GalleryModel& gallery,
                             QWidget* window)
    : QObject(window),
      app_(app),
      editorModel_(editor),
      canvas_(canvas),
      galleryModel_(gallery),
      window_(window) {
  newSet_ = make(QStringLiteral("New Set…"), QKeySequence(QStringLiteral("Ctrl+N")));
  settings_ = make(QStringLiteral("Settings…"), QKeySequence(QStringLiteral("Ctrl+,")));
  settings_->setMenuRole(QAction::PreferencesRole);
  quit_ = make(QStringLiteral("Quit"), QKeySequence(QStringLiteral("Ctrl+Q")));
  undo_ = make(QStringLiteral("Undo"), QKeySequence(QStringLiteral("Ctrl+Z")));
  redo_ = make(QStringLiteral("Redo"), QKeySequence(QStringLiteral("Ctrl+Shift+Z")));
  cut_ = make(QStringLiteral("Cut"), QKeySequence::Cut);
  copy_ = make(QStringLiteral("Copy"), QKeySequence::Copy);
  paste_ = make(QStringLiteral("Paste"), QKeySequence::Paste);
  selectAll_ = make(QStringLiteral("Select All"), QKeySequence::SelectAll);
  duplicate_ = make(QStringLiteral("Duplicate"), QKeySequence(QStringLiteral("Ctrl+D")));
  deleteLayer_ = make(QStringLiteral("Delete Layer"), {});
  deselect_ = make(QStringLiteral("Deselect"), {});
  insertText_ = make(QStringLiteral("Text"), QKeySequence(QStringLiteral("Ctrl+Alt+T")));
  insertSticker_ = make(QStringLiteral("Sticker…"), QKeySequence(QStringLiteral("Ctrl+Alt+K")));
  insertImage_ = make(QStringLiteral("Image…"), QKeySequence(QStringLiteral("Ctrl+Alt+I")));
  bringForward_ = make(QStringLiteral("Bring Forward"), QKeySequence(QStringLiteral("Ctrl+]")));
  sendBackward_ = make(QStringLiteral("Send Backward"), QKeySequence(QStringLiteral("Ctrl+[")));
  bringToFront_ =
      make(QStringLiteral("Bring to Front"), QKeySequence(QStringLiteral("Ctrl+Shift+]")));
  sendToBack_ = make(QStringLiteral("Send to Back"), QKeySequence(QStringLiteral("Ctrl+Shift+[")));
  // Shift with a bracket types a brace on most layouts; both spellings work.
  bringToFront_->setShortcuts(
      {QKeySequence(QStringLiteral("Ctrl+Shift+]")), QKeySequence(QStringLiteral("Ctrl+}"))});
  sendToBack_->setShortcuts(
      {QKeySequence(QStringLiteral("Ctrl+Shift+[")), QKeySequence(QStringLiteral("Ctrl+{"))});
  toggleSidebar_ = make(QStringLiteral("Show Sidebar"), QKeySequence(QStringLiteral("Ctrl+Alt+S")));
  toggleSidebar_->setCheckable(true);
  toggleSidebar_->setChecked(true);
  gallery_ = make(QStringLiteral("Gallery"), QKeySequence(QStringLiteral("Ctrl+1")));
  editor_ = make(QStringLiteral("Editor"), QKeySequence(QStringLiteral("Ctrl+2")));
  switchOS_ =
      make(QStringLiteral("Switch to Android"), QKeySequence(QStringLiteral("Ctrl+Shift+D")));
  switchTheme_ =
      make(QStringLiteral("Switch to Light"), QKeySequence(QStringLiteral("Ctrl+Shift+L")));

  connect(newSet_, &QAction::triggered, this, [this] { app_.setCreatingSet(true); });
  connect(settings_, &QAction::triggered, this, &ShellCommands::settingsRequested);
  connect(quit_, &QAction::triggered, window_, &QWidget::close);
  connect(undo_, &QAction::triggered, this, [this] { undoOrRedo(false); });
  connect(redo_, &QAction::triggered, this, [this] { undoOrRedo(true); });
  connect(cut_, &QAction::triggered, this,
          [] { inTextField([](QLineEdit* l) { l->cut(); }, [](auto* t) { t->cut(); }); });
  connect(copy_, &QAction::triggered, this,
          [] { inTextField([](QLineEdit* l) { l->copy(); }, [](auto* t) { t->copy(); }); });
  connect(paste_, &QAction::triggered, this,
          [] { inTextField([](QLineEdit* l) { l->paste(); }, [](auto* t) { t->paste(); }); });
  connect(selectAll_, &QAction::triggered, this, [] {
    inTextField([](QLineEdit* l) { l->selectAll(); }, [](auto* t) { t->selectAll(); });
  });
  connect(duplicate_, &QAction::triggered, this, [this] {
    if (auto s = canvas_.selection(); s && s->isLayer()) canvas_.duplicateLayer(s->layerId);
  });
  connect(deleteLayer_, &QAction::triggered, this, [this] {
    if (auto s = canvas_.selection(); s && s->isLayer()) canvas_.deleteLayer(s->layerId);
  });
  connect(deselect_, &QAction::triggered, this, [this] { canvas_.select(std::nullopt); });
  connect(insertText_, &QAction::triggered, this, [this] { canvas_.addTextLayer(); });
  connect(insertSticker_, &QAction::triggered, this, &ShellCommands::stickersRequested);
  connect(insertImage_, &QAction::triggered, this, &ShellCommands::imageRequested);
  connect(bringForward_, &QAction::triggered, this, [this] { arrange(ArrangeMove::forward); });
  connect(sendBackward_, &QAction::triggered, this, [this] { arrange(ArrangeMove::backward); });
  connect(bringToFront_, &QAction::triggered, this, [this] { arrange(ArrangeMove::toFront); });
  connect(sendToBack_, &QAction::triggered, this, [this] { arrange(ArrangeMove::toBack); });
  connect(gallery_, &QAction::triggered, this, [this] { app_.setWorkspace(Workspace::gallery); });
  connect(editor_, &QAction::triggered, this, [this] { app_.setWorkspace(Workspace::editor); });
  connect(switchOS_, &QAction::triggered, this,
          [this] { app_.setOs(app_.os() == DeviceOS::ios ? DeviceOS::android : DeviceOS::ios); });
  connect(switchTheme_, &QAction::triggered, this, [this] {
    app_.setTheme(app_.theme() == ThemeName::dark ? ThemeName::light : ThemeName::dark);
  });

  onShellStateChange(app_, editorModel_, canvas_, galleryModel_, this, [this] { refresh(); });
  refresh();
}

QAction* ShellCommands::make(const QString& title, const QKeySequence& key) {
  auto* action = new QAction(title, window_);
  if (!key.isEmpty()) action->setShortcut(key);
  action->setShortcutContext(Qt::WindowShortcut);
  window_->addAction(action);
  return action;
}

void ShellCommands::fillMenuBar(QMenuBar* bar) {
  QMenu* file = bar->addMenu(QStringLiteral("&File"));
  file->addAction(newSet_);
  file->addSeparator();
  file->addAction(settings_);
  file->addSeparator();
  file->addAction(quit_);

  QMenu* edit = bar->addMenu(QStringLiteral("&Edit"));
  edit->addAction(undo_);
  edit->addAction(redo_);
  edit->addSeparator();
  edit->addAction(cut_);
  edit->addAction(copy_);
  edit->addAction(paste_);
  edit->addAction(selectAll_);
  edit->addSeparator();
  edit->addAction(duplicate_);
  edit->addAction(deleteLayer_);
  edit->addAction(deselect_);

  QMenu* insert = bar->addMenu(QStringLiteral("&Insert"));
  insert->addAction(insertText_);
  insert->addAction(insertSticker_);
  insert->addAction(insertImage_);

  QMenu* arrange = bar->addMenu(QStringLiteral("&Arrange"));
  arrange->addAction(bringForward_);
  arrange->addAction(sendBackward_);
  arrange->addAction(bringToFront_);
  arrange->addAction(sendToBack_);

  QMenu* view = bar->addMenu(QStringLiteral("&View"));
  view->addAction(toggleSidebar_);
  view->addSeparator();
  view->addAction(gallery_);
  view->addAction(editor_);
  view->addAction(switchOS_);
  view->addAction(switchTheme_);
}

void ShellCommands::refresh() {
  const ShellState s = ShellState::of(app_, editorModel_, canvas_, galleryModel_);
  newSet_->setEnabled(s.canCreateSet());
  const bool editing = s.inEditor();
  for (QAction* a : {insertText_, insertSticker_, insertImage_})
    a->setEnabled(editing);
  for (QAction* a :
       {duplicate_, deleteLayer_, bringForward_, sendBackward_, bringToFront_, sendToBack_}) {
    a->setEnabled(editing && s.layerSelected);
  }
  deselect_->setEnabled(editing && s.anythingSelected);
  switchOS_->setText(app_.os() == DeviceOS::ios ? QStringLiteral("Switch to Android")
                                                : QStringLiteral("Switch to iOS"));
  switchTheme_->setText(app_.theme() == ThemeName::dark ? QStringLiteral("Switch to Light")
                                                        : QStringLiteral("Switch to Dark"));
}

void ShellCommands::undoOrRedo(bool redo) {
  const bool typed = inTextField([redo](QLineEdit* l) { redo ? l->redo() : l->undo(); },
                                 [redo](auto* t) { redo ? t->redo() : t->undo(); });
  if (typed) return;
  redo ? editorModel_.redo(app_) : editorModel_.undo(app_);
}

void ShellCommands::arrange(ArrangeMove move) {
  if (auto s = canvas_.selection(); s && s->isLayer()) {
    canvas_.arrange(s->layerId, move);
  }
}

}  // namespace vells::app
