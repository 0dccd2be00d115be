#include "app/lightbox_view.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include "app/symbol_icon.h"
#include "models/image_store.h"

namespace vells::app {

namespace {

constexpr int kButton = 40;
constexpr int kMargin = 24;
constexpr int kCaptionHeight = 40;

QToolButton* roundButton(QWidget* parent, QStringView symbol, const QString& tip) {
  auto* button = new QToolButton(parent);
  button->setIcon(symbolIcon(symbol, Qt::white));
  button->setIconSize(QSize(20, 20));
  button->setFixedSize(kButton, kButton);
  button->setToolTip(tip);
  button->setAccessibleName(tip);
  button->setFocusPolicy(Qt::NoFocus);  // the keys belong to the lightbox itself
  button->setCursor(Qt::PointingHandCursor);
  button->setStyleSheet(QStringLiteral(
      "QToolButton { background: rgba(255,255,255,28); border: none; border-radius: 20px; }"
      "QToolButton:hover { background: rgba(255,255,255,56); }"
      "QToolButton:pressed { background: rgba(255,255,255,90); }"
      "QToolButton:disabled { background: rgba(255,255,255,10); }"));
  return button;
}

}  // namespace

LightboxView::LightboxView(models::ImageStore& images, QWidget* parent)
    : QWidget(parent),
      images_(images),
      caption_(new QLabel(this)),
      previous_(roundButton(this, u"chevron.left", tr("Previous page (Left arrow)"))),
      next_(roundButton(this, u"chevron.right", tr("Next page (Right arrow)"))),
      close_(roundButton(this, u"xmark", tr("Close (Esc)"))),
      export_(roundButton(this, u"square.and.arrow.up", tr("Export this screenshot"))) {
  setFocusPolicy(Qt::StrongFocus);
  setAccessibleName(tr("Lightbox"));
  caption_->setAlignment(Qt::AlignCenter);
  caption_->setStyleSheet(QStringLiteral("color: rgba(255,255,255,220);"));
  connect(previous_, &QToolButton::clicked, this, [this] { showIndex(index_ - 1); });
  connect(next_, &QToolButton::clicked, this, [this] { showIndex(index_ + 1); });
  connect(close_, &QToolButton::clicked, this, &LightboxView::close);
  connect(export_, &QToolButton::clicked, this, [this] { emit exportRequested(index_); });
  hide();
}

void LightboxView::open(std::vector<Item> items, int index) {
  if (items.empty()) return;
  items_ = std::move(items);
  index_ = -1;
  if (parentWidget()) setGeometry(parentWidget()->rect());
  show();
  raise();
  setFocus(Qt::OtherFocusReason);
  showIndex(std::clamp(index, 0, static_cast<int>(items_.size()) - 1));
}

void LightboxView::close() {
  if (!isVisible()) return;
  hide();
  items_.clear();
  full_.reset();
  placeholder_.reset();
  emit closed();
}

void LightboxView::showIndex(int index) {
  if (index < 0 || index >= static_cast<int>(items_.size()) || index == index_) return;
  index_ = index;
  previous_->setEnabled(index_ > 0);
  next_->setEnabled(index_ + 1 < static_cast<int>(items_.size()));
  caption_->setText(
      tr("%1 · %2 of %3").arg(items_[index_].caption).arg(index_ + 1).arg(items_.size()));
  load();
  emit indexChanged(index_);
}

void LightboxView::load() {
  const Item& item = items_[index_];
  full_.reset();
  failed_ = false;
  placeholder_ = item.placeholder ? images_.cached(*item.placeholder) : std::nullopt;
  place();
  images_.image(item.full, this,
                [this, wanted = index_, url = item.full](std::optional<QImage> image) {
                  // A late answer for a page no longer on show only warms the store.
                  if (wanted != index_ || items_.empty() || items_[index_].full != url) return;
                  full_ = std::move(image);
                  failed_ = !full_;
                  place();
                  update();
                });
  update();
}

QRect LightboxView::pictureRect() const {
  const QImage* image = full_ ? &*full_ : placeholder_ ? &*placeholder_ : nullptr;
  const QRect area = rect().adjusted(kMargin * 2 + kButton, kMargin * 2 + kButton / 2,
                                     -(kMargin * 2 + kButton), -(kMargin + kCaptionHeight));
  QSizeF size(621, 1344);
  if (image && !image->isNull()) size = image->size();
  size.scale(area.size(), Qt::KeepAspectRatio);
  return QRect(
      QPoint(area.center().x() - int(size.width()) / 2, area.center().y() - int(size.height()) / 2),
      size.toSize());
}

void LightboxView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.fillRect(rect(), QColor(12, 12, 14, 235));
  const QRect picture = pictureRect();
  QPainterPath path;
  path.addRoundedRect(picture, 10, 10);
  painter.fillPath(path, QColor(255, 255, 255, 18));
  const QImage* image = full_ ? &*full_ : placeholder_ ? &*placeholder_ : nullptr;
  if (image) {
    painter.save();
    painter.setClipPath(path);
    painter.drawImage(picture, *image);
    painter.restore();
  }
  painter.setPen(QColor(255, 255, 255, 190));
  if (failed_ && !image) {
    painter.drawText(picture.adjusted(16, 0, -16, 0), Qt::AlignCenter | Qt::TextWordWrap,
                     tr("This screenshot couldn’t be loaded. Try Regenerate, or open it in the "
                        "editor to see what fails."));
  } else if (!full_) {
    QRect note(picture.left(), picture.bottom() - 40, picture.width(), 32);
    painter.drawText(image ? note : picture, Qt::AlignCenter, tr("Rendering…"));
  }
}

void LightboxView::place() {
  const QRect picture = pictureRect();
  previous_->move(kMargin, height() / 2 - kButton / 2);
  next_->move(width() - kMargin - kButton, height() / 2 - kButton / 2);
  close_->move(width() - kMargin - kButton, kMargin);
  export_->move(width() - kMargin * 2 - kButton * 2, kMargin);
  caption_->setGeometry(kMargin, picture.bottom() + 8, width() - 2 * kMargin, kCaptionHeight - 8);
}

void LightboxView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  place();
}

void LightboxView::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Escape:
    case Qt::Key_Space:
      close();
      break;
    case Qt::Key_Left:
    case Qt::Key_Up:
      showIndex(index_ - 1);
      break;
    case Qt::Key_Right:
    case Qt::Key_Down:
      showIndex(index_ + 1);
      break;
    case Qt::Key_Home:
      showIndex(0);
      break;
    case Qt::Key_End:
      showIndex(static_cast<int>(items_.size()) - 1);
      break;
    default:
      return QWidget::keyPressEvent(event);
  }
  event->accept();
}

void LightboxView::mousePressEvent(QMouseEvent* event) {
  // A click beside the picture closes, as it does in a viewer.
  if (!pictureRect().contains(event->position().toPoint())) close();
  event->accept();
}

}  // namespace vells::app
