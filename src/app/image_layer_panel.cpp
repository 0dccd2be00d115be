#include "app/image_layer_panel.h"

#include <QCheckBox>
#include <QFile>
#include <QFileDialog>
#include <QMimeDatabase>
#include <QPushButton>
#include <QToolButton>

#include "app/inspector_header.h"
#include "app/inspector_section.h"
#include "app/picture_file.h"

namespace vells::app {

ImageLayerPanel::ImageLayerPanel(const InspectorContext& context, std::string layerId,
                                 QWidget* parent)
    : InspectorPanel(context, parent), id_(std::move(layerId)) {
  const auto layer = context_.canvas.layer(id_);
  const bool sticker = layer && layer->sticker;
  InspectorHeader* head =
      addHeader(sticker ? QStringLiteral("seal.fill") : QStringLiteral("photo"), {});
  whenRefreshed([this, head] {
    const auto l = context_.canvas.layer(id_);
    if (!l) return;
    head->setTitle(QString::fromStdString(models::CanvasModel::displayName(*l)));
    head->setSubtitle(l->front ? tr("in front of the phone") : tr("behind the phone"));
  });
  auto* replace = head->addButton(QStringLiteral("photo"), tr("Replace image…"));
  connect(replace, &QToolButton::clicked, this, [this] {
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Replace image…"), {}, tr("Images (*.png *.jpg *.jpeg *.webp *.gif)"));
    if (!path.isEmpty()) replaceWith(path);
  });
  addLayerActions(id_);

  const auto x = [](const VellLayer& l) { return l.x; };
  const auto y = [](const VellLayer& l) { return l.y; };
  InspectorSection* position = addSection(tr("Position"));
  position->addPair(tr("Offset"),
                    layerNumber(
                        id_, x, [](VellLayer& l, double v) { l.x = v; }, "X", {-2000, 2000}, 1),
                    layerNumber(
                        id_, y, [](VellLayer& l, double v) { l.y = v; }, "Y", {-2000, 3000}, 1));
  addNumberRow(position, tr("Width"),
               layerNumber(
                   id_, [](const VellLayer& l) { return l.w; },
                   [](VellLayer& l, double v) { l.w = v; }, {}, {8, 2400}, 1),
               tr("Width — the height follows the picture"));
  addNumberRow(position, tr("Rotation"),
               layerNumber(
                   id_, [](const VellLayer& l) { return l.rotate; },
                   [](VellLayer& l, double v) { l.rotate = v; }, {}, {-180, 180}, 1, 1, "°"));

  InspectorSection* look = addSection(tr("Appearance"));
  addNumberRow(look, tr("Opacity"),
               layerNumber(
                   id_, [](const VellLayer& l) { return l.opacity; },
                   [](VellLayer& l, double v) { l.opacity = v; }, {}, {0, 100}, 1, 100, "%"));
  look->addRow(
      tr("Sticker edge"),
      toggle([this] { return context_.canvas.layer(id_).value_or(VellLayer{}).sticker; },
             [this](bool on) { editLayer(id_, false, [&](VellLayer& l) { l.sticker = on; }); }),
      tr("White cut-out outline and a soft shadow"));
  look->addRow(
      tr("Flip"),
      toggle([this] { return context_.canvas.layer(id_).value_or(VellLayer{}).flip; },
             [this](bool on) { editLayer(id_, false, [&](VellLayer& l) { l.flip = on; }); }),
      tr("Mirror left to right"));
  refresh();
}

void ImageLayerPanel::replaceWith(const QString& path) {
  auto picture = readPicture(path);
  if (auto* why = std::get_if<QString>(&picture)) {
    context_.editor.show(why->toStdString(), true);
    return;
  }
  auto& file = std::get<PictureFile>(picture);
  context_.app.client().uploadLayerAsset(context_.app.activeSet(), std::move(file.bytes), file.mime,
                                         this, [this](models::APIResult<std::string> r) {
                                           if (!r) {
                                             context_.editor.showError(r.error());
                                             return;
                                           }
                                           editLayer(id_, false,
                                                     [&](VellLayer& l) { l.asset = r.value(); });
                                         });
}

}  // namespace vells::app
