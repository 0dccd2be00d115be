#include "app/shell_state.h"

#include <QStringList>
#include <algorithm>

#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/gallery_model.h"

namespace vells::app {

using models::AppModel;
using models::Workspace;

ShellState ShellState::of(AppModel& app, models::EditorModel& editor, models::CanvasModel& canvas,
                          models::GalleryModel& gallery) {
  ShellState s;
  s.online = app.connection().kind == models::ConnectionState::Kind::online;
  s.appStore = app.activeSet() == AppModel::appStoreSet;
  s.editorWorkspace = app.workspace() == Workspace::editor;
  s.hasPage = app.activePage().has_value();
  s.anythingSelected = canvas.selection().has_value();
  s.layerSelected = s.anythingSelected && canvas.selection()->isLayer();
  s.downloading = editor.isDownloading();
  s.exporting = gallery.exporting().has_value();
  s.regenerating = gallery.regenerating();
  return s;
}

bool ShellState::exportDisabled() const {
  if (appStore) return true;
  if (editorWorkspace) return downloading || !hasPage;
  return exporting || !online;
}

bool ShellState::secondButtonEnabled() const {
  if (appStore) return false;
  if (editorWorkspace) return true;
  return !regenerating && online;
}

void onShellStateChange(AppModel& app, models::EditorModel& editor, models::CanvasModel& canvas,
                        models::GalleryModel& gallery, QObject* context,
                        const std::function<void()>& changed) {
  for (auto signal :
       {&AppModel::connectionChanged, &AppModel::activeSetChanged, &AppModel::workspaceChanged,
        &AppModel::activePageChanged, &AppModel::pagesChanged, &AppModel::osChanged,
        &AppModel::themeChanged, &AppModel::activeLocaleChanged, &AppModel::configChanged}) {
    QObject::connect(&app, signal, context, changed);
  }
  QObject::connect(&canvas, &models::CanvasModel::selectionChanged, context, changed);
  QObject::connect(&editor, &models::EditorModel::downloadingChanged, context, changed);
  QObject::connect(&gallery, &models::GalleryModel::exportingChanged, context, changed);
  QObject::connect(&gallery, &models::GalleryModel::regeneratingChanged, context, changed);
}

QString windowSubtitle(const AppModel& app) {
  if (app.activeSet() == AppModel::appStoreSet) return QStringLiteral("Live listing");
  QStringList parts;
  if (app.workspace() == Workspace::editor) {
    const auto& pages = app.pages();
    auto page = std::find_if(pages.begin(), pages.end(),
                             [&](const SetPage& p) { return p.id == app.activePage(); });
    parts << (page != pages.end() ? QString::fromStdString(page->label) : QStringLiteral("—"));
    const std::string& code = app.activeLocale();
    QString language = QString::fromStdString(code);
    if (app.config()) {
      const auto& locales = app.config()->locales;
      auto found = std::find_if(locales.begin(), locales.end(),
                                [&](const LocaleRef& l) { return l.code == code; });
      if (found != locales.end()) {
        language = QString::fromStdString(found->flag + " " + found->nativeName);
      }
    }
    parts << language;
  }
  parts << (app.os() == DeviceOS::ios ? QStringLiteral("iOS") : QStringLiteral("Android"));
  parts << (app.theme() == ThemeName::dark ? QStringLiteral("Dark") : QStringLiteral("Light"));
  return parts.join(QStringLiteral(" · "));
}

QString countWords(int count, const QString& noun) {
  return QString::number(count) + QLatin1Char(' ') + noun +
         (count == 1 ? QString() : QStringLiteral("s"));
}

}  // namespace vells::app
