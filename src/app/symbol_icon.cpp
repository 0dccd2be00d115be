#include "app/symbol_icon.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <array>
#include <memory>
#include <utility>

// The drawings are compiled into this static library, whose resource
// registration the linker would drop as unreferenced; registering by hand
// keeps it. Qt ignores a second registration of the same data.
static void registerSymbolDrawings() {
  Q_INIT_RESOURCE(icons);
}

namespace vells::app {
namespace {

// The design's symbol names on the left; the outline set's file names on the
// right. Several names may share one drawing where the set has no closer one.
constexpr auto kSymbols = std::to_array<std::pair<const char*, const char*>>({
    {"arrow.clockwise", "rotate-cw"},
    {"arrow.counterclockwise", "rotate-ccw"},
    {"arrow.down.circle.fill", "circle-arrow-down"},
    {"arrow.left.arrow.right", "arrow-left-right"},
    {"arrow.triangle.2.circlepath", "refresh-cw"},
    {"arrow.up.right", "arrow-up-right"},
    {"arrow.uturn.backward", "undo-2"},
    {"arrow.uturn.forward", "redo-2"},
    {"bolt.horizontal.circle", "unplug"},
    {"camera.viewfinder", "scan"},
    {"camera", "camera"},
    {"character.bubble", "languages"},
    {"checkmark.circle", "circle-check"},
    {"checkmark.circle.fill", "circle-check-big"},
    {"chevron.left.forwardslash.chevron.right", "code-xml"},
    {"doc.text", "file-text"},
    {"exclamationmark.triangle", "triangle-alert"},
    {"exclamationmark.triangle.fill", "triangle-alert"},
    {"exclamationmark.circle", "circle-alert"},
    {"eye", "eye"},
    {"eye.slash", "eye-off"},
    {"eyedropper", "pipette"},
    {"gearshape", "settings"},
    {"globe", "globe"},
    {"info.circle", "info"},
    {"iphone", "smartphone"},
    {"lock.fill", "lock"},
    {"lock.open", "lock-open"},
    {"paintbrush", "paintbrush"},
    {"paintpalette", "palette"},
    {"pencil", "pencil"},
    {"plus", "plus"},
    {"minus", "minus"},
    {"seal.fill", "badge-check"},
    {"sidebar.left", "panel-left"},
    {"sidebar.right", "panel-right"},
    {"sparkles", "sparkles"},
    {"square.and.arrow.up", "share"},
    {"square.and.arrow.down", "download"},
    {"arrow.up.doc", "upload"},
    {"square.dashed", "square-dashed"},
    {"square.stack.3d.up", "layers"},
    {"square.stack.3d.up.fill", "layers"},
    {"ruler", "ruler"},
    {"square.on.square", "copy"},
    {"square.grid.2x2", "layout-grid"},
    {"stop.circle", "circle-stop"},
    {"text.alignleft", "align-left"},
    {"textformat", "type"},
    {"tray", "inbox"},
    {"wand.and.stars", "wand-sparkles"},
    {"xmark", "x"},
    {"trash", "trash-2"},
    {"photo", "image"},
    {"face.smiling", "sticker"},
    {"chevron.down", "chevron-down"},
    {"chevron.right", "chevron-right"},
    {"chevron.left", "chevron-left"},
    {"chevron.up", "chevron-up"},
    {"ellipsis", "ellipsis"},
    {"folder", "folder"},
    {"folder.open", "folder-open"},
    {"arrow.up", "arrow-up"},
    {"arrow.down", "arrow-down"},
    {"square.3.layers.3d.top.filled", "bring-to-front"},
    {"square.3.layers.3d.bottom.filled", "send-to-back"},
    {"sun.max", "sun"},
    {"moon", "moon"},
    {"magnifyingglass", "search"},
    {"arrow.up.and.down.and.arrow.left.and.right", "move"},
    {"bubble.left", "message-circle"},
    {"paperplane", "send"},
    {"line.3.horizontal", "grip-vertical"},
    {"progress.indicator", "loader-circle"},
    {"macwindow", "app-window"},
    {"viewfinder", "frame"},
    {"checkmark", "circle-check"},
    {"arrow.clockwise.circle", "refresh-cw"},
    {"rectangle.portrait", "smartphone"},
    {"display", "app-window"},
    {"questionmark.circle", "circle-alert"},
    {"plus.square.on.square", "copy-plus"},
    {"square.3.layers.3d", "layers-3"},
    {"highlighter", "highlighter"},
    {"seal", "sticker"},
});

// Draws the outline at whatever size and pixel ratio the icon is asked for,
// so toolbar and menu icons stay sharp on a HiDPI screen.
class SymbolIconEngine final : public QIconEngine {
 public:
  explicit SymbolIconEngine(QByteArray svg) : svg_(std::move(svg)) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    QSvgRenderer renderer(svg_);
    painter->save();
    if (mode == QIcon::Disabled) painter->setOpacity(0.35);
    renderer.render(painter, rect);
    painter->restore();
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return scaledPixmap(size, mode, state, 1.0);
  }

  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                       qreal scale) override {
    // Qt hands over the size in device pixels already.
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    {
      QPainter painter(&pixmap);
      painter.setRenderHint(QPainter::Antialiasing);
      paint(&painter, QRect(QPoint(0, 0), pixmap.size()), mode, state);
    }
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
  }

  QIconEngine* clone() const override { return std::make_unique<SymbolIconEngine>(svg_).release(); }

 private:
  QByteArray svg_;
};

}  // namespace

QString symbolPath(QStringView symbol) {
  static const bool registered = (registerSymbolDrawings(), true);
  Q_UNUSED(registered);
  for (const auto& [name, file] : kSymbols) {
    if (symbol == QLatin1String(name))
      return QStringLiteral(":/icons/%1.svg").arg(QLatin1String(file));
  }
  return {};
}

QIcon symbolIcon(QStringView symbol, const QColor& color) {
  const QString path = symbolPath(symbol);
  if (path.isEmpty()) return {};
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return {};
  QByteArray svg = file.readAll();
  svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
  // QIcon takes ownership of the engine it is given.
  return QIcon(std::make_unique<SymbolIconEngine>(std::move(svg)).release());
}

}  // namespace vells::app
