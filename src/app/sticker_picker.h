#pragma once

#include <QWidget>
#include <string>
#include <vector>

#include "app/inspector_context.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QTabBar;
class QToolButton;

namespace vells::app {

// Emoji, the library's sticker packs and the person's own stickers, one tab
// each. A click adds the sticker to the page and the picker stays open for
// more; the open tab is remembered in stickers.lastTab.
class StickerPicker : public QWidget {
  Q_OBJECT

 public:
  static constexpr const char* lastTabKey = "stickers.lastTab";
  // The emoji tab's id: no pack name can start with U+0001.
  static QString emojiTab() { return QStringLiteral("\u0001emoji"); }
  // The pack that keeps the person's own stickers.
  static constexpr const char* minePack = "my-stickers";

  StickerPicker(const InspectorContext& context, QWidget* parent = nullptr);

  // Loads the packs and opens the remembered tab.
  void open();
  QString currentTab() const;
  void selectTab(const QString& id);
  QTabBar* tabs() const { return tabs_; }
  QLineEdit* search() const { return search_; }
  QListWidget* items() const { return grid_; }
  QLabel* emptyNote() const { return empty_; }
  // Adds the item on a row of the grid, as a click does.
  void addItem(int row);
  // Uploads a file as a sticker, places it and keeps it in "My stickers".
  void addOwn(const QString& path);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 signals:
  // The tab's items have been listed.
  void itemsShown();

 private:
  struct Item {
    QString name;
    std::string file;  // empty for an emoji
  };
  void loadItems();
  void showItems();

  InspectorContext context_;
  QTabBar* tabs_;
  QLineEdit* search_;
  QListWidget* grid_;
  QLabel* empty_;
  QToolButton* upload_;
  std::vector<QString> tabIds_;
  std::vector<Item> all_;
  std::uint64_t loadToken_ = 0;
};

}  // namespace vells::app
