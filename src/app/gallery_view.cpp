#include "app/gallery_view.h"

#include <QDesktopServices>
#include <QEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QScrollBar>
#include <QUrl>
#include <QVBoxLayout>

#include "app/gallery_grid_view.h"
#include "app/lightbox_view.h"
#include "app/platform_words.h"
#include "app/screen_drop_target.h"
#include "app/symbol_icon.h"
#include "capture/screen_import_model.h"
#include "models/app_model.h"
#include "models/gallery_model.h"

namespace vells::app {

namespace {

QColor backdropOf(const QPalette& palette) {
  const QColor window = palette.color(QPalette::Window);
  return window.lightness() > 128 ? window.darker(106) : window.darker(130);
}

QColor tinted(const QColor& color, int alpha) {
  QColor out = color;
  out.setAlpha(alpha);
  return out;
}

QString rgba(const QColor& c) {
  return QStringLiteral("rgba(%1,%2,%3,%4)")
      .arg(c.red())
      .arg(c.green())
      .arg(c.blue())
      .arg(c.alpha());
}

}  // namespace

GalleryView::GalleryView(models::GalleryModel& gallery, models::AppModel& app,
                         models::ImageStore& images, capture::ScreenImportModel& importer,
                         QWidget* parent)
    : QWidget(parent),
      gallery_(gallery),
      app_(app),
      images_(images),
      importer_(importer),
      statusLine_(new QWidget(this)),
      progressBar_(new QProgressBar(statusLine_)),
      progress_(new QLabel(statusLine_)),
      busy_(new QProgressBar(statusLine_)),
      activity_(new QLabel(statusLine_)),
      noticeBar_(new QWidget(this)),
      noticeIcon_(new QLabel(noticeBar_)),
      notice_(new QLabel(noticeBar_)),
      reveal_(new QPushButton(platformWords(u"Show in Finder"), noticeBar_)),
      dismiss_(new QToolButton(noticeBar_)),
      banner_(new QWidget(this)),
      bannerText_(new QLabel(banner_)),
      bannerButton_(new QPushButton(banner_)),
      scroll_(new QScrollArea(this)),
      grid_(new GalleryGridView(gallery, app, images, scroll_)),
      empty_(new QLabel(this)),
      lightbox_(new LightboxView(images, this)),
      drop_(new ScreenDropTarget(app, importer, this)) {
  setAccessibleName(tr("Gallery"));

  auto* status = new QHBoxLayout(statusLine_);
  status->setContentsMargins(24, 8, 24, 8);
  status->setSpacing(8);
  progressBar_->setTextVisible(false);
  progressBar_->setFixedSize(120, 6);
  busy_->setTextVisible(false);
  busy_->setRange(0, 0);
  busy_->setFixedSize(96, 6);
  status->addWidget(progressBar_);
  status->addWidget(progress_);
  status->addStretch(1);
  status->addWidget(activity_);
  status->addWidget(busy_);
  statusLine_->setFixedHeight(40);

  auto* noticeRow = new QHBoxLayout(noticeBar_);
  noticeRow->setContentsMargins(24, 6, 16, 6);
  noticeRow->setSpacing(8);
  noticeIcon_->setFixedSize(16, 16);
  notice_->setWordWrap(true);
  notice_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  notice_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  dismiss_->setToolTip(tr("Dismiss"));
  dismiss_->setAccessibleName(tr("Dismiss"));
  dismiss_->setAutoRaise(true);
  dismiss_->setIconSize(QSize(14, 14));
  noticeRow->addWidget(noticeIcon_, 0, Qt::AlignVCenter);
  noticeRow->addWidget(notice_, 1);
  noticeRow->addWidget(reveal_);
  noticeRow->addWidget(dismiss_);
  noticeBar_->setAutoFillBackground(true);
  noticeBar_->hide();

  auto* bannerRow = new QHBoxLayout(banner_);
  bannerRow->setContentsMargins(24, 6, 16, 6);
  bannerRow->setSpacing(8);
  bannerText_->setWordWrap(true);
  bannerRow->addWidget(bannerText_, 1);
  bannerRow->addWidget(bannerButton_);
  banner_->setAutoFillBackground(true);
  banner_->hide();

  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setWidgetResizable(true);
  scroll_->setWidget(grid_);
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setFocusPolicy(Qt::NoFocus);
  setFocusProxy(grid_);

  empty_->setAlignment(Qt::AlignCenter);
  empty_->setWordWrap(true);
  empty_->setAutoFillBackground(true);
  empty_->hide();

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(statusLine_);
  column->addWidget(noticeBar_);
  column->addWidget(banner_);
  column->addWidget(scroll_, 1);
  column->addWidget(empty_, 1);

  connect(&gallery_, &models::GalleryModel::readyChanged, this, &GalleryView::refreshProgress);
  connect(&gallery_, &models::GalleryModel::exportingChanged, this, [this] {
    // A new export makes the last one's result old news.
    if (gallery_.exporting() || gallery_.exportingOne()) showNotice(NoticeKind::none, {});
    refreshActivity();
  });
  connect(&gallery_, &models::GalleryModel::regeneratingChanged, this,
          &GalleryView::refreshActivity);
  connect(&gallery_, &models::GalleryModel::errorMessageChanged, this, &GalleryView::refreshNotice);
  connect(&gallery_, &models::GalleryModel::exported, this, [this](const QString& path) {
    showNotice(NoticeKind::done, tr("Saved “%1”.").arg(QFileInfo(path).fileName()), path);
  });
  connect(&importer_, &capture::ScreenImportModel::importingChanged, this, [this] {
    if (!importer_.isImporting()) importProgress_.reset();
    refreshActivity();
  });
  connect(&importer_, &capture::ScreenImportModel::progress, this, [this](int done, int total) {
    importProgress_ = std::pair(done, total);
    refreshActivity();
  });
  connect(drop_, &ScreenDropTarget::reported, this,
          [this](const QString& sentence) { showNotice(NoticeKind::done, sentence); });
  connect(dismiss_, &QToolButton::clicked, this, &GalleryView::dismissNotice);
  connect(reveal_, &QPushButton::clicked, this, [this] {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(savedPath_).absolutePath()));
  });
  connect(bannerButton_, &QPushButton::clicked, this, [this] {
    if (elsewhere_) app_.setOs(*elsewhere_);
  });

  connect(grid_, &GalleryGridView::openRequested, this, &GalleryView::openLightbox);
  connect(grid_, &GalleryGridView::currentMoved, this, [this](const QRect& cell) {
    scroll_->ensureVisible(cell.center().x(), cell.center().y(), cell.width() / 2 + 16,
                           cell.height() / 2 + 16);
  });
  connect(lightbox_, &LightboxView::closed, this, [this] {
    lightboxLocale_.clear();
    grid_->setFocus(Qt::OtherFocusReason);
  });
  connect(lightbox_, &LightboxView::indexChanged, this, [this](int index) {
    const auto row = gallery_.row(lightboxLocale_.toStdString(), app_.pages());
    if (index < static_cast<int>(row.size()))
      grid_->setCurrent(lightboxLocale_.toStdString(), row[index]);
  });
  connect(lightbox_, &LightboxView::exportRequested, this, [this](int index) {
    const std::string locale = lightboxLocale_.toStdString();
    const auto row = gallery_.row(locale, app_.pages());
    if (index < static_cast<int>(row.size())) gallery_.exportOne(row[index], locale, index);
  });

  connect(&app_, &models::AppModel::workspaceChanged, this, [this] {
    if (app_.workspace() != models::Workspace::gallery) lightbox_->close();
  });
  for (auto signal : {&models::AppModel::pagesChanged, &models::AppModel::activeSetChanged,
                      &models::AppModel::osChanged, &models::AppModel::renderVersionChanged,
                      &models::AppModel::configChanged}) {
    connect(&app_, signal, this, [this] {
      refreshBanner();
      refreshEmpty();
    });
  }
  for (auto signal : {&models::AppModel::activeSetChanged, &models::AppModel::osChanged,
                      &models::AppModel::themeChanged}) {
    connect(&app_, signal, lightbox_, &LightboxView::close);
  }

  applyLook();
  refreshProgress();
  refreshActivity();
  refreshNotice();
  refreshEmpty();
}

GalleryView::~GalleryView() {
  gallery_.setShowing(false);
}

// --- running the model while on screen ---

void GalleryView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  gallery_.setShowing(true);
  refreshBanner();
}

void GalleryView::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  gallery_.setShowing(false);
}

void GalleryView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (lightbox_->isOpen()) lightbox_->setGeometry(rect());
}

void GalleryView::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) applyLook();
}

void GalleryView::applyLook() {
  const QPalette& pal = palette();
  QPalette backdrop = pal;
  backdrop.setColor(QPalette::Window, backdropOf(pal));
  scroll_->viewport()->setAutoFillBackground(true);
  scroll_->viewport()->setPalette(backdrop);
  empty_->setPalette(backdrop);
  QColor secondary = pal.color(QPalette::WindowText);
  secondary.setAlphaF(0.6);
  progress_->setStyleSheet(QStringLiteral("color: %1;").arg(rgba(secondary)));
  activity_->setStyleSheet(QStringLiteral("color: %1;").arg(rgba(secondary)));
  dismiss_->setIcon(symbolIcon(u"xmark", pal.color(QPalette::WindowText)));
  QPalette bannerPalette = pal;
  bannerPalette.setColor(QPalette::Window, tinted(pal.color(QPalette::Highlight), 30));
  banner_->setPalette(bannerPalette);
  refreshNotice();
}

// --- the lines ---

void GalleryView::refreshProgress() {
  const auto& ready = gallery_.ready();
  if (!ready) {
    progressBar_->hide();
    progress_->setText(tr("Checking what’s rendered…"));
    return;
  }
  const int done = static_cast<int>(ready->size());
  const int total = done + gallery_.pendingCount();
  progressBar_->setVisible(gallery_.pendingCount() > 0);
  progressBar_->setRange(0, std::max(1, total));
  progressBar_->setValue(done);
  progress_->setText(total == 0 ? QString() : tr("%1 of %2 ready").arg(done).arg(total));
}

QString GalleryView::activityText() const {
  return activity_->isVisible() || !activity_->isHidden() ? activity_->text() : QString();
}

void GalleryView::refreshActivity() {
  QString text;
  if (importer_.isImporting()) {
    text = importProgress_ ? tr("Importing screenshots… %1 of %2")
                                 .arg(importProgress_->first)
                                 .arg(importProgress_->second)
                           : tr("Importing screenshots…");
  } else if (const auto& locale = gallery_.exporting()) {
    QString name = QString::fromStdString(*locale);
    for (const LocaleRef& ref : app_.activeSetLocales()) {
      if (ref.code == *locale && !ref.nativeName.empty())
        name = QString::fromStdString(ref.nativeName);
    }
    text = *locale == "*" ? tr("Exporting all languages…") : tr("Exporting %1…").arg(name);
  } else if (const auto& one = gallery_.exportingOne()) {
    text = tr("Exporting %1…").arg(QString::fromStdString(*one));
  } else if (gallery_.regenerating()) {
    text = tr("Clearing cached renders…");
  }
  activity_->setText(text);
  activity_->setHidden(text.isEmpty());
  busy_->setHidden(text.isEmpty());
}

QString GalleryView::noticeText() const {
  return noticeBar_->isHidden() ? QString() : notice_->text();
}

void GalleryView::showNotice(NoticeKind kind, const QString& text, const QString& savedPath) {
  noticeKind_ = kind;
  noticeText_ = text;
  savedPath_ = savedPath;
  refreshNotice();
}

void GalleryView::dismissNotice() {
  noticeKind_ = NoticeKind::none;
  noticeText_.clear();
  savedPath_.clear();
  if (gallery_.errorMessage()) gallery_.dismissError();
  refreshNotice();
}

void GalleryView::refreshNotice() {
  const QPalette& pal = palette();
  NoticeKind kind = noticeKind_;
  QString text = noticeText_;
  if (const auto& error = gallery_.errorMessage()) {
    kind = NoticeKind::error;
    text = QString::fromStdString(*error);
  }
  noticeBar_->setVisible(kind != NoticeKind::none);
  if (kind == NoticeKind::none) return;
  const bool isError = kind == NoticeKind::error;
  const QColor tone = isError ? QColor(0xd9, 0x3f, 0x3f) : pal.color(QPalette::Highlight);
  QPalette bar = pal;
  bar.setColor(QPalette::Window, tinted(tone, isError ? 34 : 26));
  noticeBar_->setPalette(bar);
  noticeIcon_->setPixmap(
      symbolIcon(isError ? u"exclamationmark.triangle" : u"checkmark.circle", tone)
          .pixmap(QSize(16, 16), devicePixelRatioF()));
  notice_->setText(text);
  reveal_->setVisible(!isError && !savedPath_.isEmpty() && QFileInfo(savedPath_).isAbsolute());
}

void GalleryView::refreshBanner() {
  elsewhere_.reset();
  banner_->hide();
  if (!isVisible() || app_.activeSet() == models::AppModel::appStoreSet) return;
  const auto asked = std::tuple(app_.activeSet(), app_.os(), app_.renderVersion());
  app_.platformWithScreensElsewhere(this, [this, asked](std::optional<DeviceOS> os) {
    // An answer about an earlier set or platform says nothing about this one.
    if (asked != std::tuple(app_.activeSet(), app_.os(), app_.renderVersion()) || !os) return;
    elsewhere_ = os;
    bannerText_->setText(
        tr("This set's screens are for %1. Drop screenshots here to add %2 ones.")
            .arg(ScreenDropTarget::platformName(*os), ScreenDropTarget::platformName(app_.os())));
    bannerButton_->setText(tr("Show %1").arg(ScreenDropTarget::platformName(*os)));
    banner_->show();
  });
}

void GalleryView::refreshEmpty() {
  const bool nothing = app_.pages().empty() || app_.activeSetLocales().empty();
  if (nothing) {
    empty_->setText(QStringLiteral("<p style='font-size:15pt; font-weight:600'>%1</p><p>%2</p>")
                        .arg(tr("No pages in this set yet"),
                             tr("Add a page from the sidebar, or drop screenshots here.")));
  }
  empty_->setVisible(nothing);
  scroll_->setVisible(!nothing);
}

// --- the lightbox ---

void GalleryView::openLightbox(const QString& locale, int index) {
  const std::string code = locale.toStdString();
  const auto row = gallery_.row(code, app_.pages());
  if (index < 0 || index >= static_cast<int>(row.size())) return;
  QString language = locale;
  for (const LocaleRef& ref : app_.activeSetLocales()) {
    if (ref.code == code && !ref.nativeName.empty())
      language = QString::fromStdString(ref.nativeName);
  }
  std::vector<LightboxView::Item> items;
  for (const std::string& page : row) {
    const QString label = QString::fromStdString(app_.pageLabel(page));
    const auto full = gallery_.fullURL(code, page);
    if (!full) return;
    items.push_back(
        {*full, gallery_.thumbnailURL(code, page), label + QStringLiteral(" · ") + language});
  }
  lightboxLocale_ = locale;
  lightbox_->setGeometry(rect());
  lightbox_->open(std::move(items), index);
}

}  // namespace vells::app
