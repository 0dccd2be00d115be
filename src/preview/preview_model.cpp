#include "preview/preview_model.h"

#include <cmath>

#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "preview/preview_engine.h"

namespace vells::preview {

using models::APIClient;
using models::AppModel;
using models::CanvasModel;
using models::EditorModel;

namespace {

// The page's height in a box of `box`, keeping the composite's proportions.
double fittedHeight(QSizeF box, DeviceOS os) {
  const CanvasSize comp = compositeSize(os);
  if (!(box.width() > 0) || !(box.height() > 0)) return 0;
  return std::floor(std::min(box.height(), box.width() * comp.height / comp.width));
}

}  // namespace

PreviewModel::PreviewModel(PreviewEngine& engine, CanvasModel& canvas, QObject* parent)
    : QObject(parent), engine_(engine), canvas_(canvas) {
  connect(&engine_, &PreviewEngine::frameChanged, this, &PreviewModel::frameChanged);
  connect(&engine_, &PreviewEngine::restartingChanged, this, &PreviewModel::restartingChanged);
  connect(&engine_, &PreviewEngine::rectsReported, this,
          [this](const models::CanvasRects& rects) { canvas_.setRects(rects); });
  EditorModel& editor = canvas_.editor();
  AppModel& app = canvas_.app();
  for (auto signal : {&EditorModel::stylesChanged, &EditorModel::titleChanged,
                      &EditorModel::pageStateChanged, &EditorModel::textsChanged}) {
    connect(&editor, signal, this, &PreviewModel::refresh);
  }
  for (auto signal :
       {&AppModel::activeSetChanged, &AppModel::activePageChanged, &AppModel::activeLocaleChanged,
        &AppModel::osChanged, &AppModel::themeChanged}) {
    connect(&app, signal, this, &PreviewModel::refresh);
  }
  connect(&app, &AppModel::osChanged, this, &PreviewModel::imageSizeChanged);
  connect(&canvas_, &CanvasModel::editingChanged, this, &PreviewModel::refresh);
}

QImage PreviewModel::frame() const {
  return engine_.frame();
}

bool PreviewModel::restarting() const {
  return engine_.restarting();
}

qreal PreviewModel::devicePixelRatio() const {
  return engine_.devicePixelRatio();
}

void PreviewModel::setBoxSize(QSizeF size) {
  if (size == box_) return;
  box_ = size;
  emit imageSizeChanged();
  refresh();
}

void PreviewModel::setDevicePixelRatio(qreal ratio) {
  engine_.setDevicePixelRatio(ratio);
}

QSizeF PreviewModel::imageSize() const {
  const DeviceOS os = canvas_.app().os();
  const double height = fittedHeight(box_, os);
  if (!(height > 0)) return {};
  const CanvasSize comp = compositeSize(os);
  return {std::round(comp.width * height / comp.height), height};
}

std::optional<PreviewState> PreviewModel::state() const {
  AppModel& app = canvas_.app();
  const EditorModel& editor = canvas_.editor();
  if (!app.activePage() || !editor.styles()) return std::nullopt;
  PreviewState s;
  s.set = app.activeSet();
  s.page = *app.activePage();
  s.os = app.os();
  s.theme = app.theme();
  s.locale = app.activeLocale();
  s.previewVersion = editor.previewVersion();
  s.style = editor.resolved(s.page, s.locale);
  s.title = editor.title();
  s.boxHeight = fittedHeight(box_, s.os);
  if (!(s.boxHeight > 0)) return std::nullopt;
  const std::string os(rawValue(s.os));
  s.hasBackground = editor.hasBackground();
  s.backgroundURL =
      APIClient::url("/api/background", {{"set", s.set},
                                         {"page", s.page},
                                         {"os", os},
                                         {"v", std::to_string(editor.backgroundVersion())}})
          .value_or("");
  s.hasOverlay = editor.hasOverlay();
  s.overlayURL = APIClient::url("/api/overlay", {{"set", s.set},
                                                 {"page", s.page},
                                                 {"os", os},
                                                 {"v", std::to_string(editor.overlayVersion())}})
                     .value_or("");
  s.editing = canvas_.editingKey();
  return s;
}

void PreviewModel::refresh() {
  if (auto s = state()) engine_.apply(*s);
}

}  // namespace vells::preview
