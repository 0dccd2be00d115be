#include "app/text_design_panel.h"

#include <QComboBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalBlocker>

#include "app/color_input.h"
#include "app/inspector_header.h"
#include "app/inspector_look.h"
#include "app/inspector_section.h"
#include "models/canvas_model.h"

namespace vells::app {
namespace {

// What a text layer shows for a value it doesn't set.
constexpr double kLayerSize = 40;
constexpr double kLayerLineHeight = 1.1;
constexpr double kLayerLetterSpacing = -0.02;

bool usesOwnScript(const std::string& locale) {
  return locale == "fa" || locale == "ar";
}

}  // namespace

std::vector<int> TextDesignPanel::weights(const std::string& font) {
  if (font == "nunito") return {200, 300, 400, 500, 600, 700, 800, 900, 1000};
  if (font == "openrunde") return {400, 500, 600, 700};
  return {400, 700, 1000};
}

QString TextDesignPanel::weightLabel(int weight) {
  if (weight <= 249) return tr("Extra Light");
  if (weight < 350) return tr("Light");
  if (weight < 450) return tr("Regular");
  if (weight < 550) return tr("Medium");
  if (weight < 650) return tr("Semibold");
  if (weight < 750) return tr("Bold");
  if (weight < 850) return tr("Extra Bold");
  if (weight < 950) return tr("Black");
  return tr("Heavy");
}

std::optional<VellLayer> TextDesignPanel::layer() const {
  return layerId_ ? context_.canvas.layer(*layerId_) : std::nullopt;
}

TextDesignPanel::TextDesignPanel(const InspectorContext& context,
                                 std::optional<std::string> layerId, QWidget* parent)
    : InspectorPanel(context, parent), layerId_(std::move(layerId)), content_(new QPlainTextEdit) {
  const bool isTitle = !layerId_;
  const std::string id = layerId_.value_or(std::string());
  InspectorHeader* head = addHeader(QStringLiteral("textformat"), tr("Title"));
  if (!isTitle) {
    head->setSubtitle(tr("Text box"));
    whenRefreshed([this, head] {
      const auto l = layer();
      const QString name =
          l && l->name && !l->name->empty() ? QString::fromStdString(*l->name) : tr("Text");
      head->setTitle(name);
    });
    addLayerActions(id);
  }

  // --- Content ---
  InspectorSection* contentSection = addSection(tr("Content"));
  content_->setParent(this);
  content_->setPlaceholderText(tr("Type here"));
  content_->setToolTip(tr(
      "Double-click the text on the canvas to type in place; *asterisks* mark highlighted words"));
  content_->setAccessibleName(tr("Text"));
  content_->setTabChangesFocus(true);
  content_->setFixedHeight(72);
  contentSection->addWide(content_);
  connect(content_, &QPlainTextEdit::textChanged, this, [this, id] {
    const std::string text = content_->toPlainText().toStdString();
    if (!layerId_) {
      if (text == context_.editor.title()) return;
      context_.editor.setTitleText(text);
      context_.editor.scheduleTextSave(context_.app);
      return;
    }
    const auto l = layer();
    if (!l || l->text.value_or(std::string()) == text) return;
    editLayer(id, true, [&](VellLayer& edited) { edited.text = text; });
  });
  whenRefreshed([this] {
    const QString text =
        QString::fromStdString(layerId_ ? layer().value_or(VellLayer{}).text.value_or(std::string())
                                        : context_.editor.title());
    if (content_->toPlainText() != text) {
      const QSignalBlocker quiet(content_);
      content_->setPlainText(text);
    }
  });

  // --- Position ---
  InspectorSection* position = addSection(tr("Position"));
  const QString widthTip = tr("Width of the text box — the text wraps inside it");
  if (isTitle) {
    position->addPair(tr("Offset"), styleNumber(StyleField::titleOffsetX, "X", {-2000, 2000}, 1),
                      styleNumber(StyleField::titleOffsetY, "Y", {-2000, 3000}, 1));
    addNumberRow(position, tr("Width"), styleNumber(StyleField::titleWidth, {}, {40, 2000}, 1),
                 widthTip);
    auto* side = segments(
        {{"top", tr("Top"), {}}, {"bottom", tr("Bottom"), {}}},
        [this] { return QString::fromStdString(context_.style().textPos); },
        [this](const QString& v) {
          context_.checkpoint(false);
          context_.writeStyle(StyleField::textPos, JSONValue(v.toStdString()));
        });
    position->addRow(tr("Side"), side, tr("Title above or below the phone"));
  } else {
    position->addPair(tr("Offset"),
                      layerNumber(
                          id, [](const VellLayer& l) { return l.x; },
                          [](VellLayer& l, double v) { l.x = v; }, "X", {-2000, 2000}, 1),
                      layerNumber(
                          id, [](const VellLayer& l) { return l.y; },
                          [](VellLayer& l, double v) { l.y = v; }, "Y", {-2000, 3000}, 1));
    addNumberRow(position, tr("Width"),
                 layerNumber(
                     id, [](const VellLayer& l) { return l.w; },
                     [](VellLayer& l, double v) { l.w = v; }, {}, {40, 2000}, 1),
                 widthTip);
    addNumberRow(position, tr("Rotation"),
                 layerNumber(
                     id, [](const VellLayer& l) { return l.rotate; },
                     [](VellLayer& l, double v) { l.rotate = v; }, {}, {-180, 180}, 1, 1, "°"));
  }

  // --- Text ---
  InspectorSection* text = addSection(tr("Text"));
  const auto fontOf = [this]() -> std::string {
    if (const auto l = layer(); l && l->font) return *l->font;
    return context_.style().titleFont;
  };
  const auto weightOf = [this]() -> double {
    if (const auto l = layer(); l && l->weight) return *l->weight;
    return context_.style().titleWeight;
  };
  font_ = menu(
      {{"nunito", QStringLiteral("Nunito")}, {"openrunde", QStringLiteral("Open Runde")}},
      [fontOf] { return QString::fromStdString(fontOf()); },
      [this, id](const QString& v) {
        // The weight stays as it stands: a new face keeps the text's heft.
        if (layerId_)
          editLayer(id, false, [&](VellLayer& l) { l.font = v.toStdString(); });
        else {
          context_.checkpoint(false);
          context_.writeStyle(StyleField::titleFont, JSONValue(v.toStdString()));
        }
      });
  text->addRow(tr("Font"), font_);
  weight_ = new QComboBox(this);
  weight_->setFixedHeight(24);
  connect(weight_, &QComboBox::activated, this, [this, id](int index) {
    const double w = weight_->itemData(index).toDouble();
    if (layerId_)
      editLayer(id, false, [&](VellLayer& l) { l.weight = w; });
    else {
      context_.checkpoint(false);
      context_.writeStyle(StyleField::titleWeight, JSONValue(w));
    }
  });
  whenRefreshed([this, fontOf, weightOf] {
    const QSignalBlocker quiet(weight_);
    weight_->clear();
    const int current = weightOf() > 0 ? static_cast<int>(weightOf()) : 1000;
    bool found = false;
    for (int w : weights(fontOf())) {
      weight_->addItem(weightLabel(w), w);
      found = found || w == current;
    }
    if (!found) weight_->addItem(weightLabel(current), current);
    weight_->setCurrentIndex(weight_->findData(current));
  });
  text->addRow(tr("Weight"), weight_);
  auto* align = segments(
      {{"left", tr("Left"), {}}, {"center", tr("Centre"), {}}, {"right", tr("Right"), {}}},
      [this] {
        if (const auto l = layer()) return QString::fromStdString(l->align.value_or("center"));
        return QString::fromStdString(context_.style().titleAlign);
      },
      [this, id](const QString& v) {
        if (layerId_)
          editLayer(id, false, [&](VellLayer& l) { l.align = v.toStdString(); });
        else {
          context_.checkpoint(false);
          context_.writeStyle(StyleField::titleAlign, JSONValue(v.toStdString()));
        }
      });
  text->addRow(tr("Align"), align);
  NumberInput* size = nullptr;
  NumberInput* lineHeight = nullptr;
  NumberInput* spacing = nullptr;
  if (isTitle) {
    size = styleNumber(StyleField::titleSize, {}, {8, 240}, 1, 1, "px");
    lineHeight = styleNumber(StyleField::titleLineHeight, {}, {60, 250}, 1, 100, "%");
    spacing = styleNumber(StyleField::titleLetterSpacing, {}, {-15, 40}, 0.5, 100);
  } else {
    size = layerNumber(
        id, [](const VellLayer& l) { return l.size.value_or(kLayerSize); },
        [](VellLayer& l, double v) { l.size = v; }, {}, {8, 240}, 1, 1, "px");
    lineHeight = layerNumber(
        id, [](const VellLayer& l) { return l.lineHeight.value_or(kLayerLineHeight); },
        [](VellLayer& l, double v) { l.lineHeight = v; }, {}, {60, 250}, 1, 100, "%");
    spacing = layerNumber(
        id, [](const VellLayer& l) { return l.letterSpacing.value_or(kLayerLetterSpacing); },
        [](VellLayer& l, double v) { l.letterSpacing = v; }, {}, {-15, 40}, 0.5, 100);
  }
  addNumberRow(text, tr("Size"), size);
  addNumberRow(text, tr("Line height"), lineHeight);
  addNumberRow(text, tr("Letter spacing"), spacing);
  if (usesOwnScript(context_.app.activeLocale())) {
    for (QWidget* w : {static_cast<QWidget*>(font_), static_cast<QWidget*>(weight_),
                       static_cast<QWidget*>(spacing)})
      w->setEnabled(false);
    text->addWide(noteLabel(tr("This language uses its own script's typeface, so font, weight and "
                               "letter spacing don't apply."),
                            this));
  }

  // --- Fill ---
  InspectorSection* fill = addSection(tr("Fill"));
  if (isTitle) {
    fill->addRow(tr("Text"), styleColor(StyleField::titleColor, tr("Text colour")));
  } else {
    fill->addRow(
        tr("Text"),
        color(
            tr("Text colour"),
            [this] {
              const auto l = layer();
              return QString::fromStdString(l && l->color ? *l->color : context_.style().titleColor)
                  .toUpper();
            },
            [this, id](const QString& hex, bool) {
              editLayer(id, true, [&](VellLayer& l) { l.color = hex.toStdString(); });
            }));
  }
  fill->addRow(tr("Highlight"), styleColor(StyleField::accentColor, tr("Highlight colour")),
               tr("Colour of highlighted words — shared by every text on this page"));
  if (isTitle) {
    auto* stroke = styleNumber(StyleField::titleStroke, {}, {0, 20}, 1, 1, "px");
    QLabel* name = fill->addPair(tr("Outline"), stroke,
                                 styleColor(StyleField::titleStrokeColor, tr("Outline colour")));
    stroke->addDragHandle(name);
  }
  refresh();
}

}  // namespace vells::app
