#pragma once

#include <QSettings>
#include <map>
#include <optional>

#include "document/json_value.h"
#include "document/vell_style.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/image_store.h"

namespace vells::app {

// What every part of the inspector reads and writes through: the models and
// the preferences. Every edit goes to the editor model, which keeps it
// undoable and saves it on its own timer.
struct InspectorContext {
  models::EditorModel& editor;
  models::AppModel& app;
  models::CanvasModel& canvas;
  models::ImageStore& images;
  QSettings& settings;

  // The active page's style in the active language, every level applied.
  ResolvedStyle style() const;
  // Before an edit: one undo step per call, or per burst while `continuous`.
  void checkpoint(bool continuous) const;
  // One field into the style of the current scope.
  void writeStyle(StyleField field, std::optional<JSONValue> value) const;
  // Several fields at once, into the style of the current scope.
  void writeFields(const std::map<StyleField, std::optional<JSONValue>>& fields) const;
  // A number shown at `scale` times its stored value, stored to two decimals.
  static double stored(double shown, double scale);
};

}  // namespace vells::app
