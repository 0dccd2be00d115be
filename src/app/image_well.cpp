#include "app/image_well.h"

#include <QDragEnterEvent>
#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QImageReader>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QMimeDatabase>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/inspector_look.h"
#include "app/picture_file.h"
#include "app/symbol_icon.h"

namespace vells::app {
namespace {}  // namespace

ImageWell::ImageWell(const QString& title, const QString& hint, Pick pick, Remove remove,
                     QWidget* parent)
    : QWidget(parent),
      pick_(std::move(pick)),
      remove_(std::move(remove)),
      title_(new QLabel(title, this)),
      prompt_(new QLabel(this)),
      hint_(noteLabel(hint, this)),
      replace_(new QPushButton(tr("Replace"), this)),
      removeButton_(new QPushButton(tr("Remove"), this)) {
  setAcceptDrops(true);
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::PointingHandCursor);
  setAccessibleName(title);
  setToolTip(hint);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(12, 12, 12, 12);
  column->setSpacing(6);
  QFont bold = title_->font();
  bold.setBold(true);
  title_->setFont(bold);
  column->addWidget(title_);
  prompt_->setAlignment(Qt::AlignCenter);
  column->addWidget(prompt_);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(replace_);
  buttons->addWidget(removeButton_);
  buttons->addStretch(1);
  column->addLayout(buttons);
  column->addWidget(hint_);
  connect(replace_, &QPushButton::clicked, this, &ImageWell::choose);
  connect(removeButton_, &QPushButton::clicked, this, [this] {
    if (busy_ || !remove_) return;
    setBusy(true);
    remove_([self = QPointer<ImageWell>(this)] {
      if (self) self->setBusy(false);
    });
  });
  showState();
}

void ImageWell::setIsSet(bool isSet) {
  isSet_ = isSet;
  showState();
}

void ImageWell::showState() {
  if (busy_)
    prompt_->setText(tr("Working…"));
  else if (targeted_)
    prompt_->setText(tr("Drop to upload"));
  else if (isSet_)
    prompt_->setText(tr("An image is set"));
  else
    prompt_->setText(tr("Drag an image, or click"));
  replace_->setVisible(isSet_);
  removeButton_->setVisible(isSet_);
  replace_->setEnabled(!busy_);
  removeButton_->setEnabled(!busy_);
  update();
}

void ImageWell::setBusy(bool busy) {
  busy_ = busy;
  showState();
}

void ImageWell::choose() {
  if (busy_) return;
  const QString path = QFileDialog::getOpenFileName(
      this, title_->text(), {}, tr("Images (*.png *.jpg *.jpeg *.webp *.gif *.heic)"));
  if (!path.isEmpty()) takeFile(path);
}

void ImageWell::takeFile(const QString& path) {
  auto picture = readPicture(path);
  if (auto* why = std::get_if<QString>(&picture)) {
    emit failed(*why);
    return;
  }
  auto& file = std::get<PictureFile>(picture);
  takeData(std::move(file.bytes), std::move(file.mime));
}

void ImageWell::takeData(std::string bytes, std::string mime) {
  if (busy_ || !pick_) return;
  setBusy(true);
  pick_(std::move(bytes), mime.empty() ? std::string("image/png") : std::move(mime),
        [self = QPointer<ImageWell>(this)] {
          if (self) self->setBusy(false);
        });
}

void ImageWell::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  QColor edge = targeted_ || hasFocus() ? palette().color(QPalette::Highlight)
                                        : palette().color(QPalette::Mid);
  QPen pen(edge, 1.5, isSet_ ? Qt::SolidLine : Qt::DashLine);
  p.setPen(pen);
  QColor fill = palette().color(QPalette::Base);
  if (targeted_) fill = palette().color(QPalette::Highlight).lighter(180);
  if (underMouse() && !targeted_) fill = fill.darker(103);
  p.setBrush(fill);
  p.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 8, 8);
  if (targeted_) {
    const QIcon icon = symbolIcon(u"arrow.down.circle.fill", palette().color(QPalette::Highlight));
    icon.paint(&p, QRect(width() - 32, 10, 20, 20));
  }
}

void ImageWell::mouseReleaseEvent(QMouseEvent*) {
  if (!isSet_) choose();
}

void ImageWell::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Space || event->key() == Qt::Key_Return) {
    choose();
    return;
  }
  QWidget::keyPressEvent(event);
}

void ImageWell::dragEnterEvent(QDragEnterEvent* event) {
  const QMimeData* data = event->mimeData();
  if (busy_ || !(data->hasImage() || data->hasUrls())) return;
  event->acceptProposedAction();
  targeted_ = true;
  showState();
}

void ImageWell::dragLeaveEvent(QDragLeaveEvent*) {
  targeted_ = false;
  showState();
}

void ImageWell::dropEvent(QDropEvent* event) {
  targeted_ = false;
  showState();
  const QMimeData* data = event->mimeData();
  for (const QString& format : data->formats()) {
    if (format.startsWith(QLatin1String("image/"))) {
      takeData(data->data(format).toStdString(), format.toStdString());
      event->acceptProposedAction();
      return;
    }
  }
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) {
      takeFile(url.toLocalFile());
      event->acceptProposedAction();
      return;
    }
  }
  emit failed(tr("Only pictures can be dropped here."));
}

}  // namespace vells::app
