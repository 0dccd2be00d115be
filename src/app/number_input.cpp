#include "app/number_input.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "app/inspector_look.h"

namespace vells::app {
namespace {

// Room for "-2000" and a unit in a 320-px column split into a label and a
// control column, or two fields on one row.
constexpr int kFieldHeight = 24;

}  // namespace

NumberInput::NumberInput(const QString& axis, Range range, double step, const QString& unit,
                         QWidget* parent)
    : QWidget(parent),
      range_(range),
      step_(step > 0 ? step : 1),
      field_(new QLineEdit(this)),
      axis_(new QLabel(axis, this)),
      unit_(new QLabel(unit, this)) {
  setAttribute(Qt::WA_Hover);
  setFixedHeight(kFieldHeight);
  setMinimumWidth(64);
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(8, 0, 8, 0);
  row->setSpacing(4);
  row->addWidget(axis_);
  row->addWidget(field_, 1);
  row->addWidget(unit_);
  axis_->setVisible(!axis.isEmpty());
  unit_->setVisible(!unit.isEmpty());
  for (QLabel* dim : {axis_, unit_})
    dim->setForegroundRole(QPalette::PlaceholderText);
  field_->setFrame(false);
  field_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  field_->setAttribute(Qt::WA_MacShowFocusRect, false);
  field_->setStyleSheet(QStringLiteral("QLineEdit{background:transparent;padding:0;}"));
  field_->installEventFilter(this);
  setFocusProxy(field_);
  addDragHandle(axis_);
  connect(field_, &QLineEdit::returnPressed, this, &NumberInput::commit);
  connect(field_, &QLineEdit::editingFinished, this, [this] {
    if (field_->isModified()) commit();
  });
  field_->setText(format(value_, step_));
}

void NumberInput::setValue(double value) {
  const bool changed = value != value_;
  value_ = value;
  if (changed || !field_->hasFocus() || !field_->isModified()) {
    field_->setText(format(value_, step_));
    field_->setModified(false);
  }
}

void NumberInput::addDragHandle(QWidget* handle) {
  handle->installEventFilter(this);
  handle->setCursor(Qt::SizeHorCursor);
}

QString NumberInput::format(double value, double step) {
  if (step < 1) return QString::asprintf("%.1f", value);
  const double whole = std::round(value);
  return QString::number(static_cast<long long>(whole == 0 ? 0 : whole));
}

std::optional<double> NumberInput::parse(const QString& text) {
  QString decimal = text;
  decimal.replace(',', '.');
  QString kept;
  for (QChar c : decimal) {
    if (QStringLiteral("0123456789.-").contains(c)) kept += c;
  }
  bool ok = false;
  const double v = kept.toDouble(&ok);
  if (!ok || !std::isfinite(v)) return std::nullopt;
  return v;
}

double NumberInput::clamp(double value) const {
  return std::clamp(value, range_.min, range_.max);
}

void NumberInput::commit() {
  const auto parsed = parse(field_->text());
  field_->setModified(false);
  if (!parsed) {
    field_->setText(format(value_, step_));
    return;
  }
  const double v = clamp(*parsed);
  // The model answers with setValue; until then (or if it ignores the value)
  // the field shows what was accepted.
  field_->setText(format(v, step_));
  emit edited(v, false);
}

bool NumberInput::eventFilter(QObject* watched, QEvent* event) {
  if (watched == field_) {
    if (event->type() == QEvent::KeyPress) {
      auto* key = static_cast<QKeyEvent*>(event);
      if (key->key() == Qt::Key_Escape && field_->isModified()) {
        field_->setText(format(value_, step_));
        field_->setModified(false);
        return true;
      }
      if (key->key() == Qt::Key_Up || key->key() == Qt::Key_Down) {
        const double dir = key->key() == Qt::Key_Up ? 1 : -1;
        const double big = key->modifiers() & Qt::ShiftModifier ? 10 : 1;
        emit edited(clamp(value_ + dir * big * step_), true);
        return true;
      }
    }
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) update();
    return QWidget::eventFilter(watched, event);
  }
  auto* handle = qobject_cast<QWidget*>(watched);
  if (!handle || !isEnabled()) return QWidget::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::MouseButtonPress: {
      auto* mouse = static_cast<QMouseEvent*>(event);
      if (mouse->button() != Qt::LeftButton) break;
      pressAt_ = mouse->globalPosition().toPoint();
      return true;
    }
    case QEvent::MouseMove: {
      auto* mouse = static_cast<QMouseEvent*>(event);
      if (!pressAt_) break;
      const double dx = mouse->globalPosition().x() - pressAt_->x();
      if (!dragStart_ && std::abs(dx) < 1) return true;
      if (!dragStart_) dragStart_ = value_;
      const double v = clamp(step_ * std::round((*dragStart_ + step_ * (dx * 0.5)) / step_));
      if (v != value_) {
        field_->setText(format(v, step_));
        emit edited(v, true);
      }
      return true;
    }
    case QEvent::MouseButtonRelease:
      if (!pressAt_) break;
      pressAt_.reset();
      dragStart_.reset();
      return true;
    default:
      break;
  }
  return QWidget::eventFilter(watched, event);
}

void NumberInput::paintEvent(QPaintEvent*) {
  paintFieldFrame(this, field_->hasFocus());
}

void NumberInput::changeEvent(QEvent* event) {
  if (event->type() == QEvent::EnabledChange || event->type() == QEvent::PaletteChange) update();
  QWidget::changeEvent(event);
}

}  // namespace vells::app
