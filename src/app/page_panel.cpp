#include "app/page_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QPainter>
#include <QToolButton>

#include "app/color_input.h"
#include "app/fill_row.h"
#include "app/inspector_header.h"
#include "app/inspector_look.h"
#include "app/inspector_section.h"
#include "models/style_theme.h"

namespace vells::app {
namespace {

QIcon themeChip(const models::StyleTheme& theme, QColor edge) {
  QPixmap chip = gradientChip(QSize(72, 40), theme.gradFrom, theme.gradVia, theme.gradTo, edge, 2);
  QPainter p(&chip);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QColor(QString::fromStdString(theme.titleColor)));
  QFont f;
  f.setBold(true);
  f.setPixelSize(15);
  p.setFont(f);
  p.drawText(QRectF(0, 0, 72, 40), Qt::AlignCenter, QStringLiteral("Aa"));
  p.setBrush(QColor(QString::fromStdString(theme.accentColor)));
  p.setPen(Qt::NoPen);
  p.drawEllipse(QPointF(62, 10), 4, 4);
  return QIcon(chip);
}

}  // namespace

PagePanel::PagePanel(const InspectorContext& context, QWidget* parent)
    : InspectorPanel(context, parent), fill_(new FillRow(context, this)) {
  addHeader(QStringLiteral("paintbrush"), tr("Background"));

  InspectorSection* fill = addSection(tr("Fill"));
  fill->addWide(fill_);
  whenRefreshed([this] { fill_->refresh(); });

  InspectorSection* effects = addSection(tr("Effects"));
  auto* glow = toggle([this] { return context_.style().decor == "playful"; },
                      [this](bool on) {
                        context_.checkpoint(false);
                        context_.writeStyle(StyleField::decor, JSONValue(on ? "playful" : "none"));
                      });
  effects->addRow(tr("Glow"), glow, tr("Light behind the phone and decoration around it"));
  auto* texture = menu(
      {{"none", tr("None")},
       {"wiggle", tr("Wiggle")},
       {"links", tr("Links")},
       {"hexagons", tr("Hexagons")},
       {"tic-tac-toe", tr("Tic-tac-toe")}},
      [this] { return QString::fromStdString(context_.style().bgPattern); },
      [this](const QString& v) {
        context_.checkpoint(false);
        context_.writeStyle(StyleField::bgPattern, JSONValue(v.toStdString()));
      });
  effects->addRow(tr("Texture"), texture, tr("A repeating pattern over the fill"));
  auto* opacity = styleNumber(StyleField::bgPatternOpacity, {}, {0, 40}, 1, 100, "%");
  addNumberRow(effects, tr("Opacity"), opacity);
  auto* scale = styleNumber(StyleField::bgPatternScale, {}, {50, 400}, 1, 100, "%");
  addNumberRow(effects, tr("Scale"), scale);
  auto* patternColor = styleColor(StyleField::bgPatternColor, tr("Texture colour"));
  effects->addRow(tr("Texture colour"), patternColor);
  whenRefreshed([this, effects, opacity, scale, patternColor] {
    const bool textured = context_.style().bgPattern != "none";
    for (QWidget* w : {static_cast<QWidget*>(opacity), static_cast<QWidget*>(scale),
                       static_cast<QWidget*>(patternColor)})
      effects->setRowVisible(w, textured);
  });

  InspectorSection* examples = addSection(tr("Examples"));
  auto* grid = new QWidget(this);
  auto* cells = new QGridLayout(grid);
  cells->setContentsMargins(0, 0, 0, 0);
  cells->setSpacing(kRowSpacing);
  const auto& themes = models::StyleTheme::all();
  for (std::size_t i = 0; i < themes.size(); ++i) {
    const models::StyleTheme& theme = themes[i];
    auto* cell = new QToolButton(grid);
    cell->setCheckable(true);
    cell->setAutoRaise(true);
    cell->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    cell->setText(QString::fromStdString(theme.label));
    cell->setToolTip(QString::fromStdString(theme.label));
    cell->setIcon(themeChip(theme, palette().color(QPalette::Mid)));
    cell->setIconSize(QSize(72, 40));
    cell->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    cell->setCursor(Qt::PointingHandCursor);
    cells->addWidget(cell, static_cast<int>(i / 3), static_cast<int>(i % 3));
    connect(cell, &QToolButton::clicked, this, [this, theme] {
      context_.checkpoint(false);
      std::map<StyleField, std::optional<JSONValue>> fields;
      for (auto& [field, value] : theme.values())
        fields[field] = value;
      context_.writeFields(fields);
    });
    whenRefreshed([this, cell, theme] { cell->setChecked(theme.matches(context_.style())); });
  }
  examples->addWide(grid);
  refresh();
}

}  // namespace vells::app
