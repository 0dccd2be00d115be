#include "app/screen_drop_target.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

#include "capture/screen_import.h"
#include "capture/screen_import_model.h"
#include "models/app_model.h"

namespace vells::app {

namespace {

QStringList localPaths(const QMimeData* data) {
  QStringList paths;
  if (!data || !data->hasUrls()) return paths;
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) paths << url.toLocalFile();
  }
  return paths;
}

}  // namespace

ScreenDropTarget::ScreenDropTarget(models::AppModel& app, capture::ScreenImportModel& importer,
                                   QWidget* target)
    : QObject(target),
      app_(app),
      importer_(importer),
      target_(target),
      highlight_(new QLabel(target)) {
  target->setAcceptDrops(true);
  target->installEventFilter(this);
  highlight_->setAlignment(Qt::AlignCenter);
  highlight_->setAttribute(Qt::WA_TransparentForMouseEvents);
  highlight_->setObjectName(QStringLiteral("dropHighlight"));
  highlight_->hide();
  connect(&importer_, &capture::ScreenImportModel::finished, this, [this](const QString& report) {
    if (!mine_) return;
    mine_ = false;
    app_.bumpRenderVersion();
    emit reported(report);
  });
}

QString ScreenDropTarget::platformName(DeviceOS os) {
  return os == DeviceOS::ios ? QStringLiteral("iOS") : QStringLiteral("Android");
}

bool ScreenDropTarget::accepting() const {
  return app_.connection().kind == models::ConnectionState::Kind::online &&
         app_.activeSet() != models::AppModel::appStoreSet;
}

void ScreenDropTarget::showHighlight(bool shown) {
  if (!shown || !target_) return highlight_->hide();
  const QPalette& palette = target_->palette();
  QColor accent = palette.color(QPalette::Highlight);
  QColor fill = accent;
  fill.setAlpha(36);
  highlight_->setText(tr("Drop screenshots for %1").arg(platformName(app_.os())));
  QFont font = highlight_->font();
  font.setPointSizeF(target_->font().pointSizeF() * 1.25);
  font.setWeight(QFont::DemiBold);
  highlight_->setFont(font);
  highlight_->setStyleSheet(QStringLiteral("QLabel#dropHighlight { background: rgba(%1,%2,%3,%4);"
                                           " border: 2px dashed %5; border-radius: 12px;"
                                           " color: %5; }")
                                .arg(fill.red())
                                .arg(fill.green())
                                .arg(fill.blue())
                                .arg(fill.alpha())
                                .arg(accent.name()));
  highlight_->setGeometry(target_->rect().adjusted(8, 8, -8, -8));
  highlight_->raise();
  highlight_->show();
}

void ScreenDropTarget::drop(const QStringList& paths) {
  if (importer_.isImporting()) {
    emit reported(tr("An import is still running. Drop again when it has finished."));
    return;
  }
  QStringList pictures;
  QStringList others;
  for (const QString& path : paths) {
    const QFileInfo info(path);
    if (info.isDir() || capture::screen_import::isPicture(path.toStdString()))
      pictures << path;
    else
      others << info.fileName();
  }
  if (pictures.isEmpty()) {
    if (others.isEmpty()) return;
    const QString what = others.size() == 1
                             ? tr("“%1” isn’t a picture.").arg(others.front())
                             : tr("None of those %1 files is a picture.").arg(others.size());
    emit reported(what + u' ' +
                  tr("Drop PNG, JPEG, WebP or HEIC screenshots, or a folder of them."));
    return;
  }
  capture::ImportTarget target;
  target.set = app_.activeSet();
  target.os = app_.os();
  target.theme = app_.theme();
  target.pages = app_.pages();
  for (const LocaleRef& locale : app_.activeSetLocales())
    target.localeCodes.push_back(locale.code);
  mine_ = true;
  // The files beside the pictures stay in the drop: the import counts them as not used.
  importer_.importScreens(paths, target);
}

bool ScreenDropTarget::eventFilter(QObject* watched, QEvent* event) {
  if (watched != target_) return false;
  switch (event->type()) {
    case QEvent::DragEnter: {
      auto* drag = static_cast<QDragEnterEvent*>(event);
      if (!accepting() || localPaths(drag->mimeData()).isEmpty()) return false;
      drag->acceptProposedAction();
      showHighlight(true);
      return true;
    }
    case QEvent::DragMove: {
      auto* drag = static_cast<QDragMoveEvent*>(event);
      if (!accepting() || localPaths(drag->mimeData()).isEmpty()) return false;
      drag->acceptProposedAction();
      return true;
    }
    case QEvent::DragLeave:
      showHighlight(false);
      return false;
    case QEvent::Drop: {
      auto* dropped = static_cast<QDropEvent*>(event);
      showHighlight(false);
      const QStringList paths = localPaths(dropped->mimeData());
      if (!accepting() || paths.isEmpty()) return false;
      dropped->acceptProposedAction();
      drop(paths);
      return true;
    }
    case QEvent::Resize:
      if (!highlight_->isHidden()) highlight_->setGeometry(target_->rect().adjusted(8, 8, -8, -8));
      return false;
    default:
      return false;
  }
}

}  // namespace vells::app
