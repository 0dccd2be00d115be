#pragma once

#include <QListWidget>
#include <string>
#include <vector>

#include "app/inspector_context.h"

namespace vells::app {

// The page's objects front first: the title, then the paint order reversed
// (the phone among the layers). A click selects; dragging a row restacks;
// a layer's context menu renames, duplicates, arranges and deletes.
class LayersSection : public QListWidget {
  Q_OBJECT

 public:
  // The data role that holds a row's id: "title", "phone" or a layer id.
  static constexpr int idRole = Qt::UserRole + 1;

  LayersSection(const InspectorContext& context, QWidget* parent = nullptr);

  void refresh();
  // The row of an object, or -1.
  int rowOf(const std::string& id) const;
  // Asks for a new name in the "Rename layer" dialog.
  void rename(const std::string& id);

 protected:
  void contextMenuEvent(QContextMenuEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void restackFromRows();
  void showSelection();

  InspectorContext context_;
  // What the rows show, to rebuild only when it changes.
  std::vector<std::pair<std::string, QString>> shown_;
  bool rebuilding_ = false;
};

}  // namespace vells::app
