#include "app/inspector_context.h"

#include <cmath>

namespace vells::app {

ResolvedStyle InspectorContext::style() const {
  return editor.resolved(app.activePage().value_or(std::string()), app.activeLocale());
}

void InspectorContext::checkpoint(bool continuous) const {
  if (continuous)
    editor.checkpointIfIdle();
  else
    editor.checkpoint();
}

void InspectorContext::writeStyle(StyleField field, std::optional<JSONValue> value) const {
  editor.setStyle(field, std::move(value), app);
}

void InspectorContext::writeFields(
    const std::map<StyleField, std::optional<JSONValue>>& fields) const {
  const auto target = editor.styleScope() == models::StyleScope::locale
                          ? models::StyleTarget::locale
                          : models::StyleTarget::page;
  editor.setStyleFields(fields, target, app);
}

double InspectorContext::stored(double shown, double scale) {
  return std::round(shown / scale * 100) / 100;
}

}  // namespace vells::app
