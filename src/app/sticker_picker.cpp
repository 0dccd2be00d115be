#include "app/sticker_picker.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeDatabase>
#include <QSignalBlocker>
#include <QTabBar>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/inspector_header.h"
#include "app/inspector_look.h"
#include "app/picture_file.h"

namespace vells::app {
namespace {

// The emoji tab: faces, hands, hearts, marks and things that suit a store
// screenshot's callouts.
const QStringList& emojis() {
  static const QStringList list = QString::fromUtf8(
                                      "😀 😍 🥳 😎 🤩 😂 🙌 👏 👍 ✌️ 👋 💪 ❤️ 🧡 💛 💚 💙 💜 ✨ "
                                      "⭐ "
                                      "🌟 "
                                      "🔥 "
                                      "⚡ 🎉 🎊 🎁 🏆 🥇 "
                                      "✅ ☑️ ❗ ❓ 💯 💡 📌 📍 🔔 💬 📈 📊 💰 💎 🚀 🎯 🕒 📅 📱 💻 🔒 🔑 🌈 ☀️ "
                                      "🌙 "
                                      "☕ "
                                      "🍕 "
                                      "🎵 "
                                      "📸 🛒 🏃 🧘 🐶 🐱 🌸 🍀")
                                      .split(' ', Qt::SkipEmptyParts);
  return list;
}

constexpr int kCell = 64;

}  // namespace

StickerPicker::StickerPicker(const InspectorContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context),
      tabs_(new QTabBar(this)),
      search_(new QLineEdit(this)),
      grid_(new QListWidget(this)),
      empty_(noteLabel({}, this)),
      upload_(
          iconButton(QStringLiteral("square.and.arrow.up"),
                     tr("Add your own image as a sticker — it is kept in “My stickers” for next "
                        "time"),
                     this)) {
  setWindowTitle(tr("Stickers"));
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(12, 12, 12, 12);
  column->setSpacing(kRowSpacing);
  tabs_->setExpanding(false);
  tabs_->setDrawBase(false);
  tabs_->setUsesScrollButtons(true);
  column->addWidget(tabs_);
  search_->setPlaceholderText(tr("Search"));
  search_->setAccessibleName(tr("Search"));
  search_->setClearButtonEnabled(true);
  column->addWidget(search_);
  grid_->setViewMode(QListView::IconMode);
  grid_->setResizeMode(QListView::Adjust);
  grid_->setMovement(QListView::Static);
  grid_->setUniformItemSizes(true);
  grid_->setGridSize(QSize(kCell, kCell));
  grid_->setIconSize(QSize(kCell - 16, kCell - 16));
  grid_->setFrameShape(QFrame::NoFrame);
  grid_->setMinimumHeight(3 * kCell + 8);
  grid_->setAccessibleName(tr("Stickers"));
  grid_->setMouseTracking(true);
  column->addWidget(grid_, 1);
  empty_->setAlignment(Qt::AlignCenter);
  column->addWidget(empty_);
  auto* foot = new QHBoxLayout;
  foot->addWidget(noteLabel(tr("Click to add · stays open for more"), this), 1);
  foot->addWidget(upload_);
  column->addLayout(foot);
  resize(300, 400);

  connect(tabs_, &QTabBar::currentChanged, this, [this](int index) {
    if (index < 0 || index >= static_cast<int>(tabIds_.size())) return;
    context_.settings.setValue(lastTabKey, tabIds_[index]);
    loadItems();
  });
  connect(search_, &QLineEdit::textChanged, this, &StickerPicker::showItems);
  connect(grid_, &QListWidget::itemActivated, this,
          [this](QListWidgetItem* item) { addItem(grid_->row(item)); });
  connect(grid_, &QListWidget::itemClicked, this,
          [this](QListWidgetItem* item) { addItem(grid_->row(item)); });
  connect(upload_, &QToolButton::clicked, this, [this] {
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Add a sticker"), {}, tr("Images (*.png *.jpg *.jpeg *.webp *.gif)"));
    if (!path.isEmpty()) addOwn(path);
  });
}

QString StickerPicker::currentTab() const {
  const int i = tabs_->currentIndex();
  return i >= 0 && i < static_cast<int>(tabIds_.size()) ? tabIds_[i] : QString();
}

void StickerPicker::selectTab(const QString& id) {
  for (std::size_t i = 0; i < tabIds_.size(); ++i)
    if (tabIds_[i] == id) tabs_->setCurrentIndex(static_cast<int>(i));
}

void StickerPicker::open() {
  context_.app.client().stickerPacks(this, [this](models::APIResult<std::vector<StickerPack>> r) {
    const QString wanted = context_.settings.value(lastTabKey).toString();
    {
      const QSignalBlocker quiet(tabs_);
      while (tabs_->count() > 0)
        tabs_->removeTab(0);
      tabIds_.clear();
      tabIds_.push_back(emojiTab());
      tabs_->addTab(tr("Emoji"));
      if (r) {
        for (const StickerPack& pack : r.value()) {
          if (pack.id == minePack) continue;
          tabIds_.push_back(QString::fromStdString(pack.id));
          tabs_->addTab(QString::fromStdString(pack.name));
        }
      } else {
        context_.editor.showError(r.error());
      }
      tabIds_.push_back(QString::fromLatin1(minePack));
      tabs_->addTab(tr("My stickers"));
      int at = 0;
      for (std::size_t i = 0; i < tabIds_.size(); ++i)
        if (tabIds_[i] == wanted) at = static_cast<int>(i);
      tabs_->setCurrentIndex(at);
    }
    loadItems();
  });
}

void StickerPicker::loadItems() {
  const QString tab = currentTab();
  const std::uint64_t token = ++loadToken_;
  all_.clear();
  if (tab == emojiTab()) {
    for (const QString& e : emojis())
      all_.push_back({e, {}});
    showItems();
    return;
  }
  grid_->clear();
  empty_->setText(tr("Loading…"));
  empty_->show();
  context_.app.client().stickerItems(
      tab.toStdString(), this, [this, token](models::APIResult<std::vector<StickerItem>> r) {
        if (token != loadToken_) return;
        // A pack that doesn't exist yet (nothing kept in "My stickers") is empty.
        if (r)
          for (const StickerItem& item : r.value())
            all_.push_back({QString::fromStdString(item.name), item.file});
        showItems();
      });
}

void StickerPicker::showItems() {
  grid_->clear();
  const QString query = search_->text().trimmed();
  const QString pack = currentTab();
  for (std::size_t i = 0; i < all_.size(); ++i) {
    const Item& item = all_[i];
    if (!query.isEmpty() && !item.name.contains(query, Qt::CaseInsensitive)) continue;
    auto* cell = new QListWidgetItem(grid_);
    cell->setData(Qt::UserRole, static_cast<int>(i));
    cell->setToolTip(item.name);
    cell->setSizeHint(QSize(kCell, kCell));
    if (item.file.empty()) {
      cell->setText(item.name);
      QFont f = cell->font();
      f.setPixelSize(32);
      cell->setFont(f);
      cell->setTextAlignment(Qt::AlignCenter);
    } else {
      const auto url = models::APIClient::url("/api/sticker-packs/image",
                                              {{"pack", pack.toStdString()}, {"file", item.file}});
      if (url)
        context_.images.image(*url, grid_,
                              [this, token = loadToken_, i](std::optional<QImage> image) {
                                // The grid may have been refilled meanwhile.
                                if (!image || token != loadToken_) return;
                                for (int r = 0; r < grid_->count(); ++r)
                                  if (grid_->item(r)->data(Qt::UserRole).toInt() == int(i))
                                    grid_->item(r)->setIcon(QIcon(QPixmap::fromImage(*image)));
                              });
    }
  }
  if (grid_->count() == 0) {
    empty_->setText(all_.empty() ? tr("This pack is empty.")
                                 : tr("Nothing matches “%1”").arg(query));
    empty_->show();
  } else {
    empty_->hide();
  }
  emit itemsShown();
}

void StickerPicker::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    close();
    return;
  }
  QWidget::keyPressEvent(event);
}

void StickerPicker::addItem(int row) {
  QListWidgetItem* cell = grid_->item(row);
  if (!cell) return;
  const Item& item = all_.at(cell->data(Qt::UserRole).toInt());
  if (item.file.empty())
    context_.canvas.addEmoji(item.name.toStdString());
  else
    context_.canvas.addPackSticker(currentTab().toStdString(), item.file);
}

void StickerPicker::addOwn(const QString& path) {
  auto picture = readPicture(path);
  if (auto* why = std::get_if<QString>(&picture)) {
    context_.editor.show(why->toStdString(), true);
    return;
  }
  const std::string bytes = std::get<PictureFile>(picture).bytes;
  const std::string mime = std::get<PictureFile>(picture).mime;
  const std::string name = QFileInfo(path).completeBaseName().toStdString();
  context_.app.client().uploadLayerAsset(
      context_.app.activeSet(), bytes, mime, this,
      [this, bytes, mime, name](models::APIResult<std::string> r) {
        if (!r) {
          context_.editor.showError(r.error());
          return;
        }
        context_.canvas.place(r.value(), true, name);
        context_.app.client().addToPack(minePack, name, bytes, mime, this,
                                        [this](models::APIResult<models::Done> kept) {
                                          if (!kept) context_.editor.showError(kept.error());
                                          if (currentTab() == QLatin1String(minePack)) loadItems();
                                        });
      });
}

}  // namespace vells::app
