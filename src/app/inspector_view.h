#pragma once

#include <QPointer>
#include <QSettings>
#include <QWidget>

#include "app/inspector_context.h"

class QLabel;
class QScrollArea;
class QStackedWidget;
class QToolButton;

namespace vells::app {

class InspectorPanel;
class InspectorSection;
class LanguageScopeToggle;
class LayersSection;
class StickerPicker;

// The style inspector column beside the canvas: the panel for what is
// selected (the page's background, the phone, the title, a text layer or an
// image layer), the page's layers, and the sticker picker. It follows the
// selection and the active page by itself; every edit goes through the
// editor model. The app-store set shows a locked state, no page an empty one.
class InspectorView : public QWidget {
  Q_OBJECT

 public:
  InspectorView(models::EditorModel& editor, models::AppModel& app, models::CanvasModel& canvas,
                models::ImageStore& images, QSettings& settings, QWidget* parent = nullptr);

  QSize sizeHint() const override;

  InspectorPanel* panel() const { return panel_; }
  LayersSection* layers() const { return layers_; }
  LanguageScopeToggle* scopeToggle() const { return scope_; }
  StickerPicker* stickerPicker() const;
  // "locked", "empty", "loading" or "panel": what the column shows.
  QString state() const { return state_; }

 public slots:
  // Opens the sticker picker beside the column (Insert > Sticker…).
  void showStickers();
  // Reads the models again; rebuilds the panel when the selection's kind or
  // the page changed.
  void sync();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QString panelKey() const;
  void rebuild();
  void orderTabs();
  // debug.fill: the fill popover opens by itself once, on the page's panel.
  void openDebugFill();
  void showMessage(const QString& symbol, const QString& title, const QString& message);

  InspectorContext context_;
  QStackedWidget* states_;
  QLabel* messageIcon_;
  QLabel* messageTitle_;
  QLabel* messageText_;
  LanguageScopeToggle* scope_;
  QScrollArea* scroll_;
  QWidget* body_;
  InspectorPanel* panel_ = nullptr;
  InspectorSection* layersGroup_ = nullptr;
  LayersSection* layers_ = nullptr;
  QPointer<StickerPicker> picker_;
  QString key_;
  QString state_;
  bool debugFillDone_ = false;
};

}  // namespace vells::app
