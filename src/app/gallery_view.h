#pragma once

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QString>
#include <QToolButton>
#include <QWidget>
#include <optional>

#include "document/records.h"

namespace vells::models {
class AppModel;
class GalleryModel;
class ImageStore;
}  // namespace vells::models
namespace vells::capture {
class ScreenImportModel;
}

namespace vells::app {

class GalleryGridView;
class LightboxView;
class ScreenDropTarget;

// The gallery workspace: every page of the set in every language for the
// chosen platform and theme, a progress line while the renders come in, the
// lightbox, and where exports, rebuilds and dropped screenshots report. It
// runs the gallery model while it is on screen.
class GalleryView : public QWidget {
  Q_OBJECT

 public:
  GalleryView(models::GalleryModel& gallery, models::AppModel& app, models::ImageStore& images,
              capture::ScreenImportModel& importer, QWidget* parent = nullptr);
  // The model stops polling with its view gone.
  ~GalleryView() override;

  GalleryGridView& grid() { return *grid_; }
  LightboxView& lightbox() { return *lightbox_; }
  ScreenDropTarget& dropTarget() { return *drop_; }

  // Opens the lightbox on a cell of a language's row.
  void openLightbox(const QString& locale, int index);

  // What the lines say now, as a person reads them.
  QString progressText() const { return progress_->text(); }
  QString activityText() const;
  QString noticeText() const;

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  enum class NoticeKind { none, error, done };

  void refreshProgress();
  void refreshActivity();
  void refreshNotice();
  void refreshBanner();
  void refreshEmpty();
  void showNotice(NoticeKind kind, const QString& text, const QString& savedPath = {});
  void dismissNotice();
  void applyLook();

  models::GalleryModel& gallery_;
  models::AppModel& app_;
  models::ImageStore& images_;
  capture::ScreenImportModel& importer_;

  QWidget* statusLine_;
  QProgressBar* progressBar_;
  QLabel* progress_;
  QProgressBar* busy_;
  QLabel* activity_;

  QWidget* noticeBar_;
  QLabel* noticeIcon_;
  QLabel* notice_;
  QPushButton* reveal_;
  QToolButton* dismiss_;

  QWidget* banner_;
  QLabel* bannerText_;
  QPushButton* bannerButton_;

  QScrollArea* scroll_;
  GalleryGridView* grid_;
  QLabel* empty_;
  LightboxView* lightbox_;
  ScreenDropTarget* drop_;

  // A notice of the view's own (an export's result, an import's line); the
  // model's error goes before it.
  NoticeKind noticeKind_ = NoticeKind::none;
  QString noticeText_;
  QString savedPath_;
  std::optional<DeviceOS> elsewhere_;
  std::optional<std::pair<int, int>> importProgress_;
  // The lightbox's language, so it can follow a reorder or close with the workspace.
  QString lightboxLocale_;
};

}  // namespace vells::app
