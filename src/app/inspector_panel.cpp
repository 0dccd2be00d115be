#include "app/inspector_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/color_input.h"
#include "app/inspector_header.h"
#include "app/inspector_section.h"
#include "app/platform_words.h"

namespace vells::app {

InspectorPanel::InspectorPanel(const InspectorContext& context, QWidget* parent)
    : QWidget(parent), context_(context), column_(new QVBoxLayout(this)) {
  column_->setContentsMargins(0, 0, 0, 0);
  column_->setSpacing(0);
}

void InspectorPanel::refresh() {
  for (const auto& show : refreshers_)
    show();
}

InspectorSection* InspectorPanel::section(const QString& title) const {
  for (auto* s : sections_)
    if (s->title() == title) return s;
  return nullptr;
}

InspectorHeader* InspectorPanel::addHeader(const QString& symbol, const QString& title) {
  header_ = new InspectorHeader(symbol, title, this);
  column_->addWidget(header_);
  return header_;
}

InspectorSection* InspectorPanel::addSection(const QString& title) {
  auto* s = new InspectorSection(title, this);
  sections_.push_back(s);
  column_->addWidget(s);
  return s;
}

void InspectorPanel::addWidget(QWidget* widget) {
  column_->addWidget(widget);
}

void InspectorPanel::whenRefreshed(std::function<void()> show) {
  show();
  refreshers_.push_back(std::move(show));
}

NumberInput* InspectorPanel::number(QString axis, NumberInput::Range range, double step,
                                    QString unit, std::function<double()> read,
                                    std::function<void(double, bool)> write) {
  auto* input = new NumberInput(std::move(axis), range, step, std::move(unit), this);
  connect(input, &NumberInput::edited, this,
          [write = std::move(write)](double v, bool continuous) { write(v, continuous); });
  whenRefreshed([input, read = std::move(read)] { input->setValue(read()); });
  return input;
}

NumberInput* InspectorPanel::styleNumber(StyleField field, QString axis, NumberInput::Range range,
                                         double step, double scale, QString unit) {
  return number(
      std::move(axis), range, step, std::move(unit),
      [this, field, scale] {
        const JSONValue v = context_.style()[field];
        return v.asNumber() ? *v.asNumber() * scale : 0.0;
      },
      [this, field, scale](double shown, bool continuous) {
        context_.checkpoint(continuous);
        context_.writeStyle(field, JSONValue(InspectorContext::stored(shown, scale)));
      });
}

void InspectorPanel::addNumberRow(InspectorSection* section, const QString& label,
                                  NumberInput* input, const QString& tip) {
  QLabel* name = section->addPair(label, input, nullptr, tip);
  input->addDragHandle(name);
  input->setAccessibleName(label);
  input->field()->setAccessibleName(label);
}

ColorInput* InspectorPanel::color(QString help, std::function<QString()> read,
                                  std::function<void(const QString&, bool)> write) {
  auto* input = new ColorInput(std::move(help), this);
  connect(
      input, &ColorInput::edited, this,
      [write = std::move(write)](const QString& hex, bool continuous) { write(hex, continuous); });
  whenRefreshed([input, read = std::move(read)] { input->setHex(read()); });
  return input;
}

ColorInput* InspectorPanel::styleColor(StyleField field, QString help) {
  return color(
      std::move(help),
      [this, field] {
        const JSONValue v = context_.style()[field];
        return v.asString() ? QString::fromStdString(*v.asString()).toUpper() : QString();
      },
      [this, field](const QString& hex, bool) {
        // A colour well fires as it is dragged and typed: one step per burst.
        context_.checkpoint(true);
        context_.writeStyle(field, JSONValue(hex.toStdString()));
      });
}

QComboBox* InspectorPanel::menu(std::vector<std::pair<QString, QString>> options,
                                std::function<QString()> read,
                                std::function<void(const QString&)> write) {
  auto* box = new QComboBox(this);
  box->setFixedHeight(24);
  for (const auto& [value, label] : options)
    box->addItem(label, value);
  connect(box, &QComboBox::activated, this,
          [box, write = std::move(write)](int index) { write(box->itemData(index).toString()); });
  whenRefreshed([box, read = std::move(read)] {
    const QSignalBlocker quiet(box);
    const QString value = read();
    int at = box->findData(value);
    if (at < 0) {
      // A value the menu doesn't offer is shown as it stands.
      box->addItem(value, value);
      at = box->count() - 1;
    }
    box->setCurrentIndex(at);
  });
  return box;
}

SegmentedInput* InspectorPanel::segments(std::vector<SegmentedInput::Option> options,
                                         std::function<QString()> read,
                                         std::function<void(const QString&)> write) {
  auto* input = new SegmentedInput(std::move(options), this);
  connect(input, &SegmentedInput::chosen, this,
          [write = std::move(write)](const QString& v) { write(v); });
  whenRefreshed([input, read = std::move(read)] { input->setSelection(read()); });
  return input;
}

QCheckBox* InspectorPanel::toggle(std::function<bool()> read, std::function<void(bool)> write) {
  auto* box = new QCheckBox(this);
  box->setCursor(Qt::PointingHandCursor);
  connect(box, &QCheckBox::clicked, this, [write = std::move(write)](bool on) { write(on); });
  whenRefreshed([box, read = std::move(read)] {
    const QSignalBlocker quiet(box);
    box->setChecked(read());
  });
  return box;
}

void InspectorPanel::editLayer(const std::string& id, bool continuous,
                               const std::function<void(VellLayer&)>& change) {
  if (!context_.canvas.layer(id)) return;
  context_.checkpoint(continuous);
  context_.canvas.updateLayer(id, change);
}

NumberInput* InspectorPanel::layerNumber(const std::string& id,
                                         std::function<double(const VellLayer&)> read,
                                         std::function<void(VellLayer&, double)> write,
                                         QString axis, NumberInput::Range range, double step,
                                         double scale, QString unit) {
  return number(
      std::move(axis), range, step, std::move(unit),
      [this, id, read = std::move(read), scale] {
        const auto l = context_.canvas.layer(id);
        return l ? read(*l) * scale : 0.0;
      },
      [this, id, write = std::move(write), scale](double shown, bool continuous) {
        const double v = InspectorContext::stored(shown, scale);
        editLayer(id, continuous, [&](VellLayer& l) { write(l, v); });
      });
}

void InspectorPanel::addLayerActions(const std::string& id) {
  auto* duplicate =
      header_->addButton(QStringLiteral("square.on.square"), platformWords(u"Duplicate (⌘D)"));
  connect(duplicate, &QToolButton::clicked, this,
          [this, id] { context_.canvas.duplicateLayer(id); });
  auto* remove = header_->addButton(QStringLiteral("trash"), tr("Delete (⌫)"));
  connect(remove, &QToolButton::clicked, this, [this, id] { context_.canvas.deleteLayer(id); });

  InspectorSection* layer = addSection(tr("Layer"));
  auto* row = new QWidget(this);
  auto* buttons = new QHBoxLayout(row);
  buttons->setContentsMargins(0, 0, 0, 0);
  buttons->setSpacing(4);
  const std::pair<models::ArrangeMove, std::pair<const char*, const char16_t*>> moves[] = {
      {models::ArrangeMove::toFront, {"square.3.layers.3d.top.filled", u"Bring to Front (⇧⌘])"}},
      {models::ArrangeMove::forward, {"arrow.up", u"Bring Forward (⌘])"}},
      {models::ArrangeMove::backward, {"arrow.down", u"Send Backward (⌘[)"}},
      {models::ArrangeMove::toBack, {"square.3.layers.3d.bottom.filled", u"Send to Back (⇧⌘[)"}},
  };
  for (const auto& [move, look] : moves) {
    auto* b = iconButton(QString::fromLatin1(look.first),
                         platformWords(QString::fromUtf16(look.second)), row);
    buttons->addWidget(b);
    connect(b, &QToolButton::clicked, this,
            [this, id, move = move] { context_.canvas.arrange(id, move); });
  }
  buttons->addStretch(1);
  layer->addRow(tr("Order"), row);
}

}  // namespace vells::app
