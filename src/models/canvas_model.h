#pragma once

#include <QObject>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "document/vell_layer.h"
#include "models/canvas_geometry.h"

namespace vells::models {

class AppModel;
class EditorModel;

// One entry of the paint order: a layer, or the phone between the back and
// the front layers.
struct StackItem {
  std::optional<std::string> layerId;  // nothing for the phone

  static StackItem phone() { return {}; }
  static StackItem layer(std::string id) { return {std::move(id)}; }
  bool isPhone() const { return !layerId; }
  friend bool operator==(const StackItem&, const StackItem&) = default;
};

enum class ArrangeMove { forward, backward, toFront, toBack };

// The page as objects on a canvas — phone, title, free layers: which one is
// selected, where each stands (as the preview reports), how they stack, and
// the commands on layers. Layer commands write the whole list through the
// editor's setStyle, so they are saved and undone like any style edit.
class CanvasModel : public QObject {
  Q_OBJECT

 public:
  CanvasModel(EditorModel& editor, AppModel& app, QObject* parent = nullptr);

  EditorModel& editor() { return editor_; }
  AppModel& app() { return app_; }

  const std::optional<CanvasSelection>& selection() const { return selection_; }
  // Ends an in-place edit of another object first.
  void select(std::optional<CanvasSelection> target);
  const std::optional<CanvasSelection>& editingText() const { return editingText_; }
  void setEditingText(std::optional<CanvasSelection> target);
  // "title" or "layer:<id>" while that text is edited in place: the preview
  // hides the element the editor covers.
  std::optional<std::string> editingKey() const;

  const CanvasRects& rects() const { return rects_; }
  // What the preview posts after each layout.
  void setRects(CanvasRects rects);

  // --- layers of the active page and language ---
  std::vector<VellLayer> layers() const;
  std::optional<VellLayer> layer(const std::string& id) const;
  std::vector<StackItem> stack() const;
  void setStack(const std::vector<StackItem>& items);
  void arrange(const std::string& id, ArrangeMove move);
  // The new layer's id, or nothing when no styles are loaded.
  std::optional<std::string> addTextLayer();
  void duplicateLayer(const std::string& id);
  void deleteLayer(const std::string& id);
  void renameLayer(const std::string& id, const std::string& name);
  // Copies a pack's picture into the set and places it; `done` runs at the end.
  void addPackSticker(const std::string& pack, const std::string& file,
                      std::function<void()> done = {});
  void addEmoji(const std::string& emoji, std::function<void()> done = {});
  // An uploaded image placed on the page (the toolbar's image import).
  void place(const std::string& asset, bool sticker, const std::string& name);
  // A picture file's bytes uploaded into the set and placed, centred on `at`
  // (composite pixels) when given, named after the file. PNG, JPEG and WebP go
  // as they are; another format Qt can read goes as PNG; anything else puts a
  // sentence in the status and changes nothing. `done` runs at the end.
  void importImage(std::string bytes, const std::string& fileName,
                   std::optional<std::pair<double, double>> at = std::nullopt,
                   std::function<void()> done = {});
  // Changes one layer in place, without an undo step: the caller decides.
  void updateLayer(const std::string& id, const std::function<void(VellLayer&)>& change);
  // Writes the whole list into the style the layers are read from.
  void writeLayers(const std::vector<VellLayer>& list);

  static std::string displayName(const VellLayer& layer);
  // The first 8 characters of a random UUID, lower case.
  static std::string newLayerId();
  // The emoji drawn into a 320 by 320 PNG; empty when it can't be drawn.
  static std::string renderEmoji(const std::string& emoji);

 signals:
  void selectionChanged();
  void editingChanged();
  void rectsChanged();

 private:
  void dropStaleSelection();

  EditorModel& editor_;
  AppModel& app_;
  std::optional<CanvasSelection> selection_;
  std::optional<CanvasSelection> editingText_;
  CanvasRects rects_;
};

}  // namespace vells::models
