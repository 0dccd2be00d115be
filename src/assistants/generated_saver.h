#pragma once

#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "assistants/discovery_reply.h"
#include "assistants/screen_result.h"
#include "assistants/style_direction.h"
#include "assistants/update_page.h"
#include "document/vell_layer.h"

namespace vells::models {
class APIClient;
}

namespace vells::assistants {

// Turns what a generation job made into the set's pages, texts and styles,
// and finds what an update job has to redraw. Works through the client
// only; every step waits for the one before it, on the main thread.
class GeneratedSaver : public QObject {
  Q_OBJECT

 public:
  // The layer names that mark a highlighted part of the app, which an update
  // redraws; stickers, shapes and other layers are left alone.
  static const QStringList& componentRoles();

  // `defaults` keeps which file each generated page was drawn from.
  GeneratedSaver(models::APIClient& client, QSettings& defaults, QObject* parent = nullptr);

  // The set's pages become one uploaded page per screen, in order. `done`
  // gets the failure's sentence, or nothing.
  void preparePages(const std::string& set, const std::vector<FoundScreen>& screens,
                    std::function<void(std::optional<QString>)> done);

  struct SaveRequest {
    std::string set;
    std::map<QString, ScreenResult> results;
    std::optional<QString> font;
    StyleDirection direction = StyleDirection::minimal;
    QStringList order;  // page ids in the order of the chosen screens
    DeviceOS os = DeviceOS::ios;
    ThemeName theme = ThemeName::light;
    std::vector<std::string> locales;  // the set's locale codes
  };
  // Titles, background, phone and layers of each page, then text fit for each
  // page in each locale. A failed read or save ends the writing there; text
  // fit still runs. `done` comes at the end either way.
  void saveGenerated(SaveRequest request, std::function<void()> done);

  // The pages of the set made from the code, with their stored screens, a
  // reference picture and their highlighted parts written into `folder`.
  void updatePages(const std::string& set, const QString& folder,
                   std::function<void(std::vector<UpdatePage>, std::optional<QString>)> done);
  // Each layer on an old asset that the update redrew moves to the new one;
  // nothing else changes.
  void applyUpdated(const std::string& set, const std::map<QString, ScreenResult>& results,
                    std::function<void()> done);

  // The layers of one page, placed for `os`'s canvas. Stickers come as
  // uploaded assets with their file names.
  struct PlacedSticker {
    QString asset;
    QString name;
  };
  static std::vector<VellLayer> layout(const std::vector<PlacedSticker>& stickers,
                                       const std::vector<MadeLayer>& made, int position,
                                       DeviceOS os);

 private:
  void uploadStickers(std::shared_ptr<struct SaveState> state, std::size_t page, std::size_t index);
  void writeDocuments(std::shared_ptr<struct SaveState> state);
  void fitText(std::shared_ptr<struct SaveState> state, std::size_t index);

  models::APIClient& client_;
  QSettings& defaults_;
};

}  // namespace vells::assistants
