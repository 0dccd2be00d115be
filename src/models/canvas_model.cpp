#include "models/canvas_model.h"

#include <QBuffer>
#include <QFileInfo>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QMimeDatabase>
#include <QPainter>
#include <QPointer>
#include <QUuid>
#include <algorithm>

#include "models/app_model.h"
#include "models/editor_model.h"

namespace vells::models {

namespace {

std::optional<CanvasBox> boxOf(const JSONValue* value) {
  if (!value || !value->isObject()) return std::nullopt;
  auto cx = value->numberAt("cx");
  auto cy = value->numberAt("cy");
  auto w = value->numberAt("w");
  auto h = value->numberAt("h");
  if (!cx || !cy || !w || !h) return std::nullopt;
  return CanvasBox{*cx, *cy, *w, *h, value->numberAt("rot").value_or(0)};
}

void call(const std::function<void()>& f) {
  if (f) f();
}

}  // namespace

CanvasRects CanvasRects::decode(const JSONValue& value) {
  CanvasRects rects;
  rects.phone = boxOf(value.find("phone"));
  rects.title = boxOf(value.find("title"));
  if (const JSONValue* layers = value.find("layers"); layers && layers->isArray()) {
    for (const JSONValue& l : *layers->asArray()) {
      auto id = l.stringAt("id");
      auto box = boxOf(&l);
      if (id && box) rects.layers.push_back({*id, *box});
    }
  }
  return rects;
}

std::optional<CanvasBox> CanvasRects::box(const CanvasSelection& selection) const {
  switch (selection.kind) {
    case CanvasSelection::Kind::phone:
      return phone;
    case CanvasSelection::Kind::title:
      return title;
    case CanvasSelection::Kind::layer:
      for (const LayerBox& l : layers) {
        if (l.id == selection.layerId) return l.box;
      }
      return std::nullopt;
  }
  return std::nullopt;
}

CanvasModel::CanvasModel(EditorModel& editor, AppModel& app, QObject* parent)
    : QObject(parent), editor_(editor), app_(app) {
  connect(&editor_, &EditorModel::historyApplied, this, &CanvasModel::dropStaleSelection);
  connect(&app_, &AppModel::workspaceChanged, this, [this] {
    if (app_.workspace() != Workspace::editor) return;
    if (editor_.inspectorMode() == InspectorMode::chat) select(std::nullopt);
    editor_.setInspectorMode(InspectorMode::chat);
  });
}

void CanvasModel::select(std::optional<CanvasSelection> target) {
  if (editingText_ && editingText_ != target) setEditingText(std::nullopt);
  if (selection_ == target) return;
  selection_ = std::move(target);
  emit selectionChanged();
}

void CanvasModel::setEditingText(std::optional<CanvasSelection> target) {
  if (editingText_ == target) return;
  editingText_ = std::move(target);
  emit editingChanged();
}

std::optional<std::string> CanvasModel::editingKey() const {
  if (!editingText_) return std::nullopt;
  if (editingText_->kind == CanvasSelection::Kind::title) return "title";
  if (editingText_->isLayer()) return "layer:" + editingText_->layerId;
  return std::nullopt;
}

void CanvasModel::setRects(CanvasRects rects) {
  if (rects_ == rects) return;
  rects_ = std::move(rects);
  emit rectsChanged();
}

// --- layers ---

std::vector<VellLayer> CanvasModel::layers() const {
  if (!app_.activePage()) return {};
  return VellLayer::list(editor_.resolved(*app_.activePage(), app_.activeLocale()).layers);
}

std::optional<VellLayer> CanvasModel::layer(const std::string& id) const {
  for (VellLayer& l : layers()) {
    if (l.id == id) return std::move(l);
  }
  return std::nullopt;
}

void CanvasModel::writeLayers(const std::vector<VellLayer>& list) {
  editor_.setStyle(StyleField::layers, VellLayer::jsonOf(list), app_);
}

std::vector<StackItem> CanvasModel::stack() const {
  std::vector<StackItem> out;
  const auto list = layers();
  for (const VellLayer& l : list) {
    if (!l.front) out.push_back(StackItem::layer(l.id));
  }
  out.push_back(StackItem::phone());
  for (const VellLayer& l : list) {
    if (l.front) out.push_back(StackItem::layer(l.id));
  }
  return out;
}

void CanvasModel::setStack(const std::vector<StackItem>& items) {
  if (std::none_of(items.begin(), items.end(), [](const StackItem& i) { return i.isPhone(); }))
    return;
  const auto list = layers();
  std::vector<VellLayer> out;
  bool front = false;
  for (const StackItem& item : items) {
    if (item.isPhone()) {
      front = true;
      continue;
    }
    auto it = std::find_if(list.begin(), list.end(),
                           [&](const VellLayer& l) { return l.id == *item.layerId; });
    if (it == list.end()) continue;
    VellLayer l = *it;
    l.front = front;
    out.push_back(std::move(l));
  }
  writeLayers(out);
}

void CanvasModel::arrange(const std::string& id, ArrangeMove move) {
  auto items = stack();
  const auto found = std::find(items.begin(), items.end(), StackItem::layer(id));
  if (found == items.end()) return;
  const auto i = static_cast<std::ptrdiff_t>(found - items.begin());
  const auto last = static_cast<std::ptrdiff_t>(items.size()) - 1;
  std::ptrdiff_t to = i;
  switch (move) {
    case ArrangeMove::forward:
      to = std::min(i + 1, last);
      break;
    case ArrangeMove::backward:
      to = std::max<std::ptrdiff_t>(i - 1, 0);
      break;
    case ArrangeMove::toFront:
      to = last;
      break;
    case ArrangeMove::toBack:
      to = 0;
      break;
  }
  if (to == i) return;
  editor_.checkpoint();
  StackItem item = *found;
  items.erase(found);
  items.insert(items.begin() + to, std::move(item));
  setStack(items);
}

std::optional<std::string> CanvasModel::addTextLayer() {
  if (!app_.activePage() || !editor_.styles()) return std::nullopt;
  const CanvasSize canvas = compositeSize(app_.os());
  VellLayer l;
  l.id = newLayerId();
  l.kind = VellLayer::Kind::text;
  l.text = "Your text";
  l.x = canvas.width / 2;
  l.y = canvas.height * 0.3;
  l.w = canvas.width * 0.6;
  l.size = 44;
  l.opacity = 1;
  l.color = editor_.resolved(*app_.activePage(), app_.activeLocale()).titleColor;
  editor_.checkpoint();
  auto list = layers();
  list.push_back(l);
  writeLayers(list);
  select(CanvasSelection::layer(l.id));
  return l.id;
}

void CanvasModel::place(const std::string& asset, bool sticker, const std::string& name) {
  if (!app_.activePage() || !editor_.styles()) return;
  const CanvasSize canvas = compositeSize(app_.os());
  VellLayer l;
  l.id = newLayerId();
  l.kind = VellLayer::Kind::image;
  l.asset = asset;
  l.x = canvas.width / 2;
  l.y = canvas.height * 0.45;
  l.w = sticker ? 150 : canvas.width / 2;
  l.opacity = 1;
  l.sticker = sticker;
  if (!name.empty()) l.name = name;
  editor_.checkpoint();
  auto list = layers();
  list.push_back(l);
  writeLayers(list);
  select(CanvasSelection::layer(l.id));
}

void CanvasModel::importImage(std::string bytes, const std::string& fileName,
                              std::optional<std::pair<double, double>> at,
                              std::function<void()> done) {
  const QString file = QString::fromStdString(fileName);
  const QByteArray data =
      QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
  std::string mime = QMimeDatabase().mimeTypeForData(data).name().toStdString();
  const bool kept = mime == "image/png" || mime == "image/jpeg" || mime == "image/webp" ||
                    mime == "image/heif" || mime == "image/heic";
  if (!kept) {
    // GIF, BMP, TIFF, SVG…: the library keeps PNG, JPEG, WebP and HEIC only.
    const QImage image = QImage::fromData(data);
    if (image.isNull()) {
      editor_.show("\u201c" + QFileInfo(file).fileName().toStdString() +
                       "\u201d isn\u2019t a picture. Drop a PNG, JPEG or WebP file to place it "
                       "on the page.",
                   true);
      return call(done);
    }
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    image.save(&out, "PNG");
    bytes = out.data().toStdString();
    mime = "image/png";
  }
  const std::string name = QFileInfo(file).completeBaseName().toStdString();
  app_.client().uploadLayerAsset(
      app_.activeSet(), std::move(bytes), mime, this,
      [this, name, at, done = std::move(done)](APIResult<std::string> r) {
        if (!r) {
          editor_.showError(r.error());
          return call(done);
        }
        const auto before = selection_;
        place(r.value(), false, name);
        // place() selects what it added; an unchanged selection means it
        // added nothing (no page or no styles) and there is nothing to move.
        if (at && selection_ != before && selection_ && selection_->isLayer()) {
          updateLayer(selection_->layerId, [&](VellLayer& l) {
            l.x = at->first;
            l.y = at->second;
          });
        }
        call(done);
      });
}

void CanvasModel::duplicateLayer(const std::string& id) {
  auto source = layer(id);
  if (!source) return;
  editor_.checkpoint();
  VellLayer copy = *source;
  copy.id = newLayerId();
  copy.x += 24;
  copy.y += 24;
  auto list = layers();
  list.push_back(copy);
  writeLayers(list);
  select(CanvasSelection::layer(copy.id));
}

void CanvasModel::deleteLayer(const std::string& id) {
  auto list = layers();
  auto it = std::find_if(list.begin(), list.end(), [&](const VellLayer& l) { return l.id == id; });
  if (it == list.end()) return;
  editor_.checkpoint();
  list.erase(it);
  writeLayers(list);
  select(std::nullopt);
}

void CanvasModel::renameLayer(const std::string& id, const std::string& name) {
  auto list = layers();
  auto it = std::find_if(list.begin(), list.end(), [&](const VellLayer& l) { return l.id == id; });
  if (it == list.end()) return;
  editor_.checkpoint();
  const std::string trimmed = QString::fromStdString(name).trimmed().toStdString();
  it->name = trimmed.empty() ? std::nullopt : std::optional(trimmed);
  writeLayers(list);
}

void CanvasModel::updateLayer(const std::string& id,
                              const std::function<void(VellLayer&)>& change) {
  auto list = layers();
  auto it = std::find_if(list.begin(), list.end(), [&](const VellLayer& l) { return l.id == id; });
  if (it == list.end()) return;
  change(*it);
  writeLayers(list);
}

void CanvasModel::addPackSticker(const std::string& pack, const std::string& file,
                                 std::function<void()> done) {
  QString name = QString::fromStdString(file);
  if (int dot = name.lastIndexOf('.'); dot > 0) name.truncate(dot);
  if (!name.isEmpty()) name[0] = name[0].toUpper();
  app_.client().placeSticker(app_.activeSet(), pack, file, this,
                             [this, name = name.toStdString(), done](APIResult<std::string> r) {
                               if (r)
                                 place(r.value(), true, name);
                               else
                                 editor_.showError(r.error());
                               call(done);
                             });
}

void CanvasModel::addEmoji(const std::string& emoji, std::function<void()> done) {
  std::string png = renderEmoji(emoji);
  if (png.empty()) return call(done);
  app_.client().uploadLayerAsset(app_.activeSet(), std::move(png), "image/png", this,
                                 [this, emoji, done](APIResult<std::string> r) {
                                   if (r)
                                     place(r.value(), true, emoji);
                                   else
                                     editor_.showError(r.error());
                                   call(done);
                                 });
}

void CanvasModel::dropStaleSelection() {
  if (!selection_ || !selection_->isLayer()) return;
  if (!layer(selection_->layerId)) select(std::nullopt);
}

std::string CanvasModel::displayName(const VellLayer& layer) {
  if (layer.name && !layer.name->empty()) return *layer.name;
  if (layer.kind == VellLayer::Kind::text) {
    QString text = QString::fromStdString(layer.text.value_or("")).remove('*');
    text = text.section('\n', 0, 0).trimmed();
    return text.isEmpty() ? "Text" : text.toStdString();
  }
  return layer.sticker ? "Sticker" : "Image";
}

std::string CanvasModel::newLayerId() {
  return QUuid::createUuid().toString(QUuid::WithoutBraces).left(8).toLower().toStdString();
}

std::string CanvasModel::renderEmoji(const std::string& emoji) {
  // Drawing text needs the GUI side of Qt.
  if (emoji.empty() || !qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return {};
  constexpr int side = 320;
  QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  {
    QPainter painter(&image);
    QFont font(QStringLiteral("Noto Color Emoji"));
    font.setPixelSize(static_cast<int>(side * 0.8));
    painter.setFont(font);
    painter.drawText(QRect(0, 0, side, side), Qt::AlignCenter, QString::fromStdString(emoji));
  }
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  if (!image.save(&buffer, "PNG")) return {};
  return bytes.toStdString();
}

}  // namespace vells::models
