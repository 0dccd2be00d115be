#include "app/canvas_view.h"

#include <QBuffer>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>
#include <QToolButton>
#include <QToolTip>
#include <QWindow>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "app/platform_words.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/text_fonts.h"

namespace vells::app {

using models::CanvasBox;
using models::CanvasHandle;
using models::CanvasSelection;
using models::KeyEvent;
using models::PointerEvent;
using models::ViewPoint;

namespace {

const QColor selectionColour(0x0a, 0x84, 0xff);
const QColor guideColour(0xff, 0x2d, 0x92);
constexpr double outlineGrowth = 4;
// A dropped file larger than this is refused before it is read.
constexpr qint64 maxDroppedBytes = qint64{32} * 1024 * 1024;

// The page's colours as CSS writes them: "#rgb", "#rrggbb", "#rrggbbaa",
// "rgb(…)", "rgba(…)" or a colour name.
QColor cssColour(const std::optional<std::string>& text, QColor fallback) {
  if (!text) return fallback;
  const QString s = QString::fromStdString(*text).trimmed();
  static const QRegularExpression rgb(QStringLiteral(
      R"(^rgba?\(\s*([\d.]+)\s*,\s*([\d.]+)\s*,\s*([\d.]+)\s*(?:,\s*([\d.]+)\s*)?\)$)"));
  if (auto m = rgb.match(s); m.hasMatch()) {
    QColor c(std::clamp(m.captured(1).toInt(), 0, 255), std::clamp(m.captured(2).toInt(), 0, 255),
             std::clamp(m.captured(3).toInt(), 0, 255));
    if (!m.captured(4).isEmpty())
      c.setAlphaF(static_cast<float>(std::clamp(m.captured(4).toDouble(), 0.0, 1.0)));
    return c;
  }
  if (s.startsWith(QLatin1Char('#')) && s.size() == 9) {
    // CSS puts the alpha last; Qt's eight-digit form puts it first.
    QColor c = QColor::fromString(s.left(7));
    bool ok = false;
    const int alpha = s.right(2).toInt(&ok, 16);
    if (c.isValid() && ok) c.setAlpha(alpha);
    return c.isValid() ? c : fallback;
  }
  const QColor c = QColor::fromString(s);
  return c.isValid() ? c : fallback;
}

// The languages the page sets right to left.
bool rightToLeftLocale(const std::string& locale) {
  return locale == "ar" || locale == "fa";
}

QPointF turned(double x, double y, double degrees) {
  const double a = degrees * std::numbers::pi / 180;
  return {x * std::cos(a) - y * std::sin(a), x * std::sin(a) + y * std::cos(a)};
}

// The box's outline (grown by `grow`) in widget coordinates.
QPolygonF outlineOf(const CanvasBox& box, QPointF origin, double grow) {
  const double hw = box.w / 2 + grow;
  const double hh = box.h / 2 + grow;
  QPolygonF poly;
  for (const QPointF& corner :
       {QPointF(-hw, -hh), QPointF(hw, -hh), QPointF(hw, hh), QPointF(-hw, hh)})
    poly << origin + QPointF(box.cx, box.cy) + turned(corner.x(), corner.y(), box.rot);
  return poly;
}

// A resize cursor along the axis at `degrees` (0 is horizontal), to the
// nearest of the four the platform has.
Qt::CursorShape axisCursor(double degrees) {
  double a = std::fmod(degrees, 180);
  if (a < 0) a += 180;
  const int step = static_cast<int>(std::lround(a / 45)) % 4;
  constexpr Qt::CursorShape shapes[] = {Qt::SizeHorCursor, Qt::SizeFDiagCursor, Qt::SizeVerCursor,
                                        Qt::SizeBDiagCursor};
  return shapes[step];
}

// A round arrow: the platform has no cursor for turning things.
QCursor makeRotateCursor() {
  constexpr int side = 24;
  constexpr qreal ratio = 2;
  QPixmap pixmap(QSize(side, side) * ratio);
  pixmap.setDevicePixelRatio(ratio);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF arc(5, 5, 14, 14);
  QPainterPath path;
  path.arcMoveTo(arc, 200);
  path.arcTo(arc, 200, -250);
  const QPointF tip = path.currentPosition();
  QPainterPath head;
  head.moveTo(tip + QPointF(-4.5, -1.5));
  head.lineTo(tip + QPointF(1, 0.5));
  head.lineTo(tip + QPointF(-1.5, 5));
  for (const auto& [colour, width] :
       {std::pair{QColor(Qt::white), 4.0}, {QColor(Qt::black), 1.6}}) {
    p.setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(path);
    p.drawPath(head);
  }
  return QCursor(pixmap, side / 2, side / 2);
}

}  // namespace

CanvasView::CanvasView(models::CanvasModel& canvas, models::GestureController& gestures,
                       models::EditorModel& editor, models::TextFonts& fonts, QWidget* parent)
    : QWidget(parent),
      canvas_(canvas),
      gestures_(gestures),
      editor_(editor),
      fonts_(fonts),
      rotateCursor_(makeRotateCursor()),
      contextBar_(canvas, this),
      textEditor_(this),
      inlineBar_(this),
      highlight_(inlineBar_.addButton(u"highlighter", tr("Highlight"),
                                      tr("Colour the selected words with the highlight colour"))),
      done_(inlineBar_.addButton(u"checkmark", tr("Done"),
                                 platformWords(u"Finish editing (⌘↩ or Esc)"))) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setAcceptDrops(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setAccessibleName(tr("Canvas"));

  connect(&gestures_, &models::GestureController::changed, this, &CanvasView::refresh);
  connect(&canvas_, &models::CanvasModel::selectionChanged, this, &CanvasView::refresh);
  connect(&canvas_, &models::CanvasModel::rectsChanged, this, &CanvasView::refresh);
  connect(&canvas_, &models::CanvasModel::editingChanged, this, &CanvasView::editingChanged);
  connect(&editor_, &models::EditorModel::stylesChanged, this, [this] {
    if (!editingKey_.isEmpty()) textEditor_.setLook(editorLook());
    refresh();
  });
  connect(&canvas_.app(), &models::AppModel::osChanged, this, &CanvasView::relayout);
  connect(&fonts_, &models::TextFonts::versionChanged, this, [this] {
    if (!editingKey_.isEmpty()) textEditor_.setLook(editorLook());
  });

  connect(&textEditor_, &InlineTextEditor::markupChanged, this, [this](const QString& markup) {
    const auto& target = canvas_.editingText();
    if (!target) return;
    if (target->kind == CanvasSelection::Kind::title) {
      editor_.setTitleText(markup.toStdString());
      editor_.scheduleTextSave(canvas_.app());
    } else if (target->isLayer()) {
      canvas_.updateLayer(target->layerId, [&](VellLayer& l) { l.text = markup.toStdString(); });
    }
    placeEditor();
  });
  auto finish = [this] {
    canvas_.setEditingText(std::nullopt);
    setFocus(Qt::OtherFocusReason);
  };
  connect(&textEditor_, &InlineTextEditor::finished, this, finish);
  connect(done_, &QToolButton::clicked, this, finish);
  connect(&textEditor_, &InlineTextEditor::focusLost, this,
          [this] { canvas_.setEditingText(std::nullopt); });
  connect(highlight_, &QToolButton::clicked, &textEditor_, &InlineTextEditor::toggleHighlight);
  relayout();
}

QSize CanvasView::sizeHint() const {
  return {520, 900};
}

QSize CanvasView::minimumSizeHint() const {
  return {240, 360};
}

QRect CanvasView::pageRect() const {
  return page_;
}

ViewPoint CanvasView::toView(QPointF at) const {
  return {at.x() - page_.left(), at.y() - page_.top()};
}

QPointF CanvasView::fromView(ViewPoint at) const {
  return {at.x + page_.left(), at.y + page_.top()};
}

// --- frames and the box ---

void CanvasView::setFrame(QImage frame) {
  frame_ = std::move(frame);
  fitted_ = QPixmap();
  update(page_);
}

void CanvasView::setRestarting(bool restarting) {
  if (restarting_ == restarting) return;
  restarting_ = restarting;
  refresh();
}

void CanvasView::relayout() {
  const CanvasSize composite = compositeSize(canvas_.app().os());
  const QRect room = rect().adjusted(margin, margin, -margin, -margin - hintHeight);
  // Whole pixels, so a frame made at the box size lands pixel for pixel.
  int h = std::max(1, room.height());
  int w = static_cast<int>(std::lround(h * composite.width / composite.height));
  if (w > room.width()) {
    w = std::max(1, room.width());
    h = static_cast<int>(std::lround(w * composite.height / composite.width));
  }
  page_ = QRect(room.left() + (room.width() - w) / 2, room.top() + (room.height() - h) / 2, w, h);
  gestures_.setViewSize(w, h);
  checkBox();
  if (!editingKey_.isEmpty()) {
    // The letters follow the page's new size.
    textEditor_.setLook(editorLook());
    placeEditor();
  }
  refresh();
}

void CanvasView::checkBox() {
  const qreal ratio = devicePixelRatioF();
  if (page_.size() == box_ && ratio == ratio_) return;
  box_ = page_.size();
  ratio_ = ratio;
  fitted_ = QPixmap();
  emit boxChanged(QSizeF(box_), ratio_);
}

void CanvasView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  relayout();
}

void CanvasView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (QWindow* window = this->window()->windowHandle()) {
    // Moving to a screen of another ratio needs frames of another size.
    connect(window, &QWindow::screenChanged, this, &CanvasView::checkBox, Qt::UniqueConnection);
  }
  checkBox();
}

bool CanvasView::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::ToolTip: {
      const auto* help = static_cast<QHelpEvent*>(event);
      const ViewPoint at = toView(help->pos());
      const bool onObject = gestures_.hovered() && !gestures_.handleAt(at);
      const std::string tip = onObject ? gestures_.tip() : std::string();
      if (tip.empty()) {
        QToolTip::hideText();
        event->ignore();
      } else {
        QToolTip::showText(help->globalPos(), platformWords(QString::fromStdString(tip)), this);
      }
      return true;
    }
    case QEvent::ShortcutOverride: {
      // Plain keys the canvas uses go to it before any menu shortcut.
      const auto* key = static_cast<QKeyEvent*>(event);
      const auto mapped = keyOf(*key);
      if (mapped && !mapped->modifiers.ctrl && mapped->key != KeyEvent::Key::other &&
          canvas_.selection() && !canvas_.editingText()) {
        event->accept();
        return true;
      }
      break;
    }
    case QEvent::ScreenChangeInternal:
      checkBox();
      break;
    default:
      break;
  }
  return QWidget::event(event);
}

// --- painting ---

void CanvasView::paintEvent(QPaintEvent*) {
  checkBox();
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  // A quiet grey, a little apart from the window, so the page is the only colour.
  const bool dark = palette().color(QPalette::Window).lightness() < 128;
  p.fillRect(rect(), dark ? QColor(0x1c, 0x1d, 0x21) : QColor(0xe3, 0xe4, 0xe8));
  paintFrame(p, page_);
  // Editing goes on while the preview restarts, so its marks stay.
  paintGuides(p, page_);
  paintSelection(p);
  paintHint(p, page_);
}

void CanvasView::paintFrame(QPainter& p, const QRect& page) {
  const bool dark = palette().color(QPalette::Window).lightness() < 128;
  if (frame_.isNull()) {
    p.fillRect(page, dark ? QColor(0x26, 0x27, 0x2c) : QColor(0xd6, 0xd7, 0xdc));
  } else {
    const QSize device = (QSizeF(page.size()) * ratio_).toSize();
    if (frame_.size() == device) {
      QImage exact = frame_;
      exact.setDevicePixelRatio(ratio_);
      p.drawImage(page.topLeft(), exact);
    } else {
      // A frame made for another box (the store image, or one from before a
      // resize) is brought to this one once, not on every paint.
      if (fitted_.isNull() || fitted_.size() != device) {
        fitted_ = QPixmap::fromImage(
            frame_.scaled(device, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
      }
      fitted_.setDevicePixelRatio(ratio_);
      p.drawPixmap(page.topLeft(), fitted_);
    }
  }
  if (dropping_) {
    p.setPen(QPen(selectionColour, 3));
    p.setBrush(Qt::NoBrush);
    p.drawRect(QRectF(page).adjusted(1.5, 1.5, -1.5, -1.5));
  }
  if (frame_.isNull() || restarting_) {
    if (!frame_.isNull())
      p.fillRect(page, dark ? QColor(0, 0, 0, 140) : QColor(255, 255, 255, 150));
    const QString text = restarting_ ? tr("Preview restarting…") : tr("Preparing the preview…");
    QFont font = this->font();
    font.setWeight(QFont::DemiBold);
    p.setFont(font);
    const QRect label = p.fontMetrics().boundingRect(text).adjusted(-14, -8, 14, 8);
    QRectF pill(QPointF(0, 0), QSizeF(label.size()));
    pill.moveCenter(QRectF(page).center());
    p.setPen(Qt::NoPen);
    p.setBrush(palette().color(QPalette::Window));
    p.drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
    p.setPen(palette().color(QPalette::WindowText));
    p.drawText(pill, Qt::AlignCenter, text);
  }
}

void CanvasView::paintGuides(QPainter& p, const QRect& page) {
  // On the pixel grid: a guide is a crisp line, not a blurred pair.
  p.save();
  p.setRenderHint(QPainter::Antialiasing, false);
  p.setPen(QPen(guideColour, 1));
  const int x = page.left() + page.width() / 2;
  const int y = page.top() + page.height() / 2;
  if (gestures_.guideX()) p.drawLine(x, page.top(), x, page.bottom());
  if (gestures_.guideY()) p.drawLine(page.left(), y, page.right(), y);
  p.restore();
}

void CanvasView::paintSelection(QPainter& p) {
  if (canvas_.editingText()) return;
  const QPointF origin = page_.topLeft();
  const auto& selection = canvas_.selection();
  const auto& hovered = gestures_.hovered();
  if (hovered && hovered != selection && !gestures_.dragging()) {
    if (auto box = canvas_.rects().box(*hovered)) {
      QPen dashed(selectionColour, 1, Qt::DashLine);
      dashed.setDashPattern({4, 3});
      p.setPen(dashed);
      p.setBrush(Qt::NoBrush);
      p.drawPolygon(outlineOf(*box, origin, outlineGrowth));
    }
  }
  if (!selection) return;
  auto box = canvas_.rects().box(*selection);
  if (!box) return;
  p.setPen(QPen(selectionColour, 1.5));
  p.setBrush(Qt::NoBrush);
  p.drawPolygon(outlineOf(*box, origin, outlineGrowth));
  for (const CanvasHandle& h : gestures_.handles()) {
    const QPointF centre = origin + QPointF(h.centre.x, h.centre.y);
    p.save();
    p.translate(centre);
    p.rotate(h.rot);
    const QRectF body(-h.w / 2, -h.h / 2, h.w, h.h);
    p.setPen(QPen(selectionColour, 1.5));
    p.setBrush(Qt::white);
    switch (h.kind) {
      case CanvasHandle::Kind::corner:
        p.drawRect(body);
        break;
      case CanvasHandle::Kind::side:
        p.drawRoundedRect(body, h.w / 2, h.w / 2);
        break;
      case CanvasHandle::Kind::rotate: {
        // A stem ties the knob to the box it turns.
        p.drawLine(QPointF(0, h.h / 2), QPointF(0, 22 - outlineGrowth - 0.75));
        p.drawEllipse(body);
        const QRectF arc = body.adjusted(4.5, 4.5, -4.5, -4.5);
        p.setPen(QPen(selectionColour, 1.3, Qt::SolidLine, Qt::RoundCap));
        p.setBrush(Qt::NoBrush);
        p.drawArc(arc, 100 * 16, 260 * 16);
        break;
      }
    }
    p.restore();
  }
}

void CanvasView::paintHint(QPainter& p, const QRect& page) {
  if (canvas_.selection()) return;
  const QString hint =
      platformWords(u"Click anything to select it · double-click text to edit · ⌘Z to undo");
  QFont font = this->font();
  p.setFont(font);
  p.setPen(palette().color(QPalette::PlaceholderText));
  const QRect line(rect().left() + 8, page.bottom() + 1, rect().width() - 16,
                   hintHeight + margin / 2);
  p.drawText(line, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextSingleLine,
             p.fontMetrics().elidedText(hint, Qt::ElideRight, line.width()));
}

// --- bars, editor, state ---

void CanvasView::refresh() {
  placeBars();
  update();
}

void CanvasView::placeBars() {
  const auto& selection = canvas_.selection();
  const auto anchor = gestures_.contextBarAnchor();
  const bool showContext = selection && anchor && !canvas_.editingText() && !gestures_.dragging();
  if (!showContext) {
    contextBar_.hide();
  } else {
    if (contextBar_.target() != selection) contextBar_.setTarget(selection);
    const auto box = *canvas_.rects().box(*selection);
    // Keep clear of the outline and the handles the bar would cover.
    QRectF clear = outlineOf(box, QPointF(), outlineGrowth).boundingRect();
    for (const CanvasHandle& h : gestures_.handles())
      clear |= outlineOf({h.centre.x, h.centre.y, h.w, h.h, h.rot}, QPointF(), 0).boundingRect();
    const double half = contextBar_.sizeHint().height() / 2.0 - 4;
    double y = anchor->y;
    if (anchor->y < box.cy)
      y = std::min(y, clear.top() - 6 - half);
    else
      y = std::max(y, clear.bottom() + 6 + half);
    contextBar_.placeAt(fromView({anchor->x, y}));
  }

  if (canvas_.editingText() && editBox_) {
    const double width = page_.width();
    const double x = width > 180 ? std::clamp(editBox_->cx, 90.0, width - 90) : width / 2;
    const double top = editBox_->cy - std::max<double>(editBox_->h, textEditor_.height()) / 2;
    // Held from the top of the widget, not the page: over a title near the
    // page's top edge, the bar goes into the room above it.
    const QPointF at = fromView({x, top - 34});
    inlineBar_.placeAt({at.x(), std::max(16.0 + inlineBar_.sizeHint().height() / 2.0 - 4, at.y())});
  } else {
    inlineBar_.hide();
  }
}

void CanvasView::editingChanged() {
  const auto& target = canvas_.editingText();
  const QString key = QString::fromStdString(canvas_.editingKey().value_or(std::string()));
  if (!target) {
    editBox_.reset();
    const bool hadFocus = textEditor_.hasFocus();
    textEditor_.hide();
    if (hadFocus) setFocus(Qt::OtherFocusReason);
  } else {
    editBox_ = canvas_.rects().box(*target);
    QString markup;
    if (target->kind == CanvasSelection::Kind::title) {
      markup = QString::fromStdString(editor_.title());
    } else if (auto l = canvas_.layer(target->layerId)) {
      markup = QString::fromStdString(l->text.value_or(std::string()));
    }
    textEditor_.start(markup, editorLook());
    placeEditor();
    textEditor_.show();
    textEditor_.raise();
    textEditor_.setFocus(Qt::OtherFocusReason);
  }
  if (key != editingKey_) {
    editingKey_ = key;
    emit inlineEditingChanged(editingKey_);
  }
  refresh();
}

InlineTextEditor::Look CanvasView::editorLook() const {
  InlineTextEditor::Look look;
  const auto& target = canvas_.editingText();
  const models::AppModel& app = canvas_.app();
  if (!target || !app.activePage()) return look;
  const ResolvedStyle style = editor_.resolved(*app.activePage(), app.activeLocale());
  const double scale = gestures_.scale();
  auto alignOf = [](const std::string& a) {
    if (a == "left") return Qt::Alignment(Qt::AlignLeft);
    if (a == "right") return Qt::Alignment(Qt::AlignRight);
    return Qt::Alignment(Qt::AlignHCenter);
  };
  look.rightToLeft = rightToLeftLocale(app.activeLocale());
  look.accent = cssColour(style.accentColor, QColor(0xff, 0xd5, 0x4a));
  if (target->kind == CanvasSelection::Kind::title) {
    look.font = fonts_.font(style.titleFont, style.titleWeight, style.titleSize * scale);
    look.color = cssColour(style.titleColor, Qt::white);
    look.align = alignOf(style.titleAlign);
    look.lineHeight = style.titleLineHeight;
    look.letterSpacing = style.titleLetterSpacing;
  } else if (auto l = canvas_.layer(target->layerId)) {
    look.font = fonts_.font(l->font.value_or("nunito"), l->weight.value_or(0),
                            l->size.value_or(40) * scale);
    look.color = cssColour(l->color, Qt::white);
    look.align = alignOf(l->align.value_or("center"));
    look.lineHeight = l->lineHeight.value_or(1.1);
    look.letterSpacing = l->letterSpacing.value_or(-0.02);
  }
  return look;
}

void CanvasView::placeEditor() {
  const auto& target = canvas_.editingText();
  const models::AppModel& app = canvas_.app();
  if (!target || !app.activePage()) return;
  if (auto box = canvas_.rects().box(*target)) editBox_ = box;
  const CanvasSize composite = compositeSize(app.os());
  const double scale = gestures_.scale();
  double column = 0;
  double centreX = 0;
  if (target->kind == CanvasSelection::Kind::title) {
    const ResolvedStyle style = editor_.resolved(*app.activePage(), app.activeLocale());
    column = style.titleWidth > 0 ? style.titleWidth : composite.width - 80;
    centreX = composite.width / 2 + style.titleOffsetX;
  } else if (auto l = canvas_.layer(target->layerId)) {
    column = l->w;
    centreX = l->x;
  }
  const int width = std::max(40, static_cast<int>(std::lround(column * scale)));
  textEditor_.setFixedWidth(width);
  const int height = std::max(textEditor_.fittingHeight(), textEditor_.fontMetrics().height()) + 2;
  textEditor_.setFixedHeight(height);
  const double cy = editBox_ ? editBox_->cy : page_.height() * 0.1;
  const QPointF centre = fromView({centreX * scale, cy});
  textEditor_.move(static_cast<int>(std::lround(centre.x() - width / 2.0)),
                   static_cast<int>(std::lround(centre.y() - height / 2.0)));
  placeBars();
}

// --- pointer ---

void CanvasView::updateCursor(QPointF at) {
  const ViewPoint p = toView(at);
  if (auto handle = gestures_.handleAt(p)) {
    switch (handle->kind) {
      case CanvasHandle::Kind::corner: {
        using C = CanvasHandle::Corner;
        const bool falling = handle->corner == C::topLeft || handle->corner == C::bottomRight;
        return setCursor(axisCursor((falling ? 45 : 135) + handle->rot));
      }
      case CanvasHandle::Kind::side:
        return setCursor(axisCursor(handle->rot));
      case CanvasHandle::Kind::rotate:
        return setCursor(rotateCursor_);
    }
  }
  if (gestures_.hitTest(p)) return setCursor(Qt::SizeAllCursor);
  unsetCursor();
}

void CanvasView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  setFocus(Qt::MouseFocusReason);
  gestures_.pointer({PointerEvent::Kind::press, toView(event->position()), {}});
  event->accept();
}

void CanvasView::mouseMoveEvent(QMouseEvent* event) {
  const bool pressed = event->buttons() & Qt::LeftButton;
  gestures_.pointer({pressed ? PointerEvent::Kind::move : PointerEvent::Kind::hover,
                     toView(event->position()),
                     {}});
  // The shape chosen at the press holds for the whole drag.
  if (!pressed) updateCursor(event->position());
  event->accept();
}

void CanvasView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mouseReleaseEvent(event);
  gestures_.pointer({PointerEvent::Kind::release, toView(event->position()), {}});
  updateCursor(event->position());
  event->accept();
}

void CanvasView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mouseDoubleClickEvent(event);
  gestures_.pointer({PointerEvent::Kind::doubleClick, toView(event->position()), {}});
  event->accept();
}

void CanvasView::leaveEvent(QEvent* event) {
  gestures_.pointer({PointerEvent::Kind::leave, {}, {}});
  QWidget::leaveEvent(event);
}

// --- keyboard ---

std::optional<KeyEvent> CanvasView::keyOf(const QKeyEvent& event) const {
  using Key = KeyEvent::Key;
  Key key = Key::other;
  switch (event.key()) {
    case Qt::Key_Z:
      key = Key::z;
      break;
    case Qt::Key_D:
      key = Key::d;
      break;
    case Qt::Key_Escape:
      key = Key::escape;
      break;
    case Qt::Key_Backspace:
      key = Key::backspace;
      break;
    case Qt::Key_Delete:
      key = Key::deleteForward;
      break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      key = Key::enter;
      break;
    case Qt::Key_Left:
      key = Key::left;
      break;
    case Qt::Key_Right:
      key = Key::right;
      break;
    case Qt::Key_Up:
      key = Key::up;
      break;
    case Qt::Key_Down:
      key = Key::down;
      break;
    default:
      return std::nullopt;
  }
  return KeyEvent{
      key,
      {bool(event.modifiers() & Qt::ShiftModifier), bool(event.modifiers() & Qt::ControlModifier)}};
}

void CanvasView::keyPressEvent(QKeyEvent* event) {
  if (auto key = keyOf(*event); key && gestures_.key(*key)) {
    event->accept();
    update();
    return;
  }
  QWidget::keyPressEvent(event);
}

void CanvasView::focusInEvent(QFocusEvent* event) {
  gestures_.setCanvasFocused(true);
  QWidget::focusInEvent(event);
}

void CanvasView::focusOutEvent(QFocusEvent* event) {
  gestures_.setCanvasFocused(false);
  QWidget::focusOutEvent(event);
}

// --- drops ---

void CanvasView::dragEnterEvent(QDragEnterEvent* event) {
  const QMimeData* data = event->mimeData();
  if (!data->hasUrls() && !data->hasImage()) return event->ignore();
  // Every file is taken, so a non-picture can be told why it isn't placed.
  dropping_ = true;
  event->acceptProposedAction();
  update(page_);
}

void CanvasView::dragMoveEvent(QDragMoveEvent* event) {
  event->acceptProposedAction();
}

void CanvasView::dragLeaveEvent(QDragLeaveEvent* event) {
  dropping_ = false;
  update(page_);
  QWidget::dragLeaveEvent(event);
}

void CanvasView::dropEvent(QDropEvent* event) {
  dropping_ = false;
  update(page_);
  const QMimeData* data = event->mimeData();
  std::optional<std::pair<double, double>> at;
  if (page_.contains(event->position().toPoint())) {
    const ViewPoint p = toView(event->position());
    const double scale = gestures_.scale();
    at = std::pair{p.x / scale, p.y / scale};
  }
  event->acceptProposedAction();
  if (data->hasUrls()) {
    for (const QUrl& url : data->urls()) {
      const QString path = url.toLocalFile();
      const QString name = QFileInfo(path).fileName();
      QFile file(path);
      if (path.isEmpty() || !QFileInfo(path).isFile()) {
        editor_.show(tr("Only files can be dropped here: “%1” isn’t a file on this computer.")
                         .arg(path.isEmpty() ? url.toDisplayString() : name)
                         .toStdString(),
                     true);
        continue;
      }
      if (file.size() > maxDroppedBytes) {
        editor_.show(
            tr("“%1” is larger than 32 MB. Use a smaller picture.").arg(name).toStdString(), true);
        continue;
      }
      if (!file.open(QIODevice::ReadOnly)) {
        editor_.show(tr("“%1” couldn’t be read: %2.").arg(name, file.errorString()).toStdString(),
                     true);
        continue;
      }
      canvas_.importImage(file.readAll().toStdString(), name.toStdString(), at);
    }
    return;
  }
  // A picture dragged out of another program, without a file behind it.
  const QImage image = qvariant_cast<QImage>(data->imageData());
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  if (!image.isNull()) image.save(&buffer, "PNG");
  canvas_.importImage(png.toStdString(), tr("Image").toStdString() + ".png", at);
}

}  // namespace vells::app
