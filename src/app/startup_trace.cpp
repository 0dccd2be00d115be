#include "app/startup_trace.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>
#include <QWindow>
#include <cstdio>

#include "models/app_model.h"
#include "models/gallery_model.h"
#include "models/image_store.h"

namespace vells::app {

StartupTrace::StartupTrace(QWidget& window, models::AppModel& app, models::GalleryModel& gallery,
                           models::ImageStore& images, bool exitAfter)
    : QObject(nullptr),
      window_(&window),
      app_(app),
      gallery_(gallery),
      images_(images),
      exitAfter_(exitAfter) {
  window.installEventFilter(this);
  connect(&gallery_, &models::GalleryModel::readyChanged, this, &StartupTrace::checkCells);
}

bool StartupTrace::eventFilter(QObject* watched, QEvent* event) {
  // The platform window exists once the widget is shown; its first expose is
  // the first moment the window can be seen.
  if (watched == window_ && event->type() == QEvent::Show && window_->windowHandle()) {
    window_->windowHandle()->installEventFilter(this);
  }
  if (!shown_ && window_ && watched == window_->windowHandle() && event->type() == QEvent::Expose) {
    shown_ = true;
    std::fputs("vellora: window shown\n", stderr);
    std::fflush(stderr);
  }
  return QObject::eventFilter(watched, event);
}

void StartupTrace::checkCells() {
  if (asked_ || !gallery_.ready()) return;
  const auto& pages = app_.pages();
  const std::string& locale = app_.activeLocale();
  for (const SetPage& page : pages) {
    if (!gallery_.isReady(locale, page.id)) continue;
    auto url = gallery_.thumbnailURL(locale, page.id);
    if (!url) continue;
    asked_ = true;
    images_.image(*url, this, [this](std::optional<QImage> image) {
      std::fputs(image ? "vellora: first cell\n" : "vellora: first cell failed\n", stderr);
      std::fflush(stderr);
      if (exitAfter_) QCoreApplication::exit(image ? 0 : 1);
    });
    return;
  }
}

}  // namespace vells::app
