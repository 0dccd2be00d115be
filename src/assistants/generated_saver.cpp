#include "assistants/generated_saver.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QUuid>
#include <algorithm>

#include "capture/screen_import.h"
#include "document/vell_style.h"
#include "document/vell_text.h"
#include "models/api_client.h"
#include "models/app_model.h"
#include "models/style_layout.h"
#include "models/text_fit.h"

namespace vells::assistants {

using models::APIClient;
using models::APIResult;
using models::Done;

struct SaveState {
  GeneratedSaver::SaveRequest request;
  std::vector<QString> pages;  // the result's pages, in the map's order
  std::map<QString, std::vector<GeneratedSaver::PlacedSticker>> stickers;
  std::vector<std::pair<std::string, std::string>> fits;  // page, locale
  std::function<void()> done;
};

namespace {

constexpr double kIOSWidth = 621;
constexpr double kIOSHeight = 1344;

std::string utf8(const QString& text) {
  return text.toStdString();
}

QString capitalised(const QString& word) {
  return word.isEmpty() ? word : word.left(1).toUpper() + word.mid(1);
}

std::string newLayerId() {
  return QUuid::createUuid().toString(QUuid::WithoutBraces).toLower().left(8).toStdString();
}

// Phone placement and title size by direction; `position` tilts the playful
// pages one way and the other.
void placePhone(VellStyle& style, StyleDirection direction, int position) {
  double scale = 1;
  double offset = 0;
  double rotate = 0;
  switch (direction) {
    case StyleDirection::minimal:
    case StyleDirection::minimalStickers:
      break;
    case StyleDirection::callouts:
      scale = 0.9;
      offset = 20;
      break;
    case StyleDirection::socialProof:
      scale = 0.86;
      offset = 90;
      break;
    case StyleDirection::boldText:
      scale = 0.8;
      offset = 220;
      style.titleSize = 84;
      break;
    case StyleDirection::playful:
      offset = 10;
      rotate = position % 2 == 0 ? -5 : 5;
      break;
  }
  style.phoneScale = scale;
  style.phoneOffsetY = offset;
  style.phoneRotateZ = rotate;
}

void applyBackground(VellStyle& style, const std::map<QString, QString>& background) {
  for (const char* name : {"gradFrom", "gradVia", "gradTo", "titleColor", "accentColor"}) {
    const auto it = background.find(QString::fromLatin1(name));
    if (it == background.end() || !it->second.startsWith(QLatin1Char('#'))) continue;
    style.set(*styleFieldFromRaw(name), JSONValue(utf8(it->second)));
  }
  if (const auto it = background.find(QStringLiteral("gradAngle")); it != background.end()) {
    bool ok = false;
    const double angle = it->second.trimmed().toDouble(&ok);
    if (ok) style.gradAngle = angle;
  }
}

int slotRank(const ScreenSlot& slot) {
  int rank = slot.os == "ios" ? 0 : 10;
  if (!slot.locale) {
    rank += 1;
  } else if (*slot.locale != "en") {
    rank += 2;
  }
  return rank;
}

bool writeFile(const QString& path, const std::string& bytes) {
  QFile file(path);
  return file.open(QIODevice::WriteOnly) &&
         file.write(bytes.data(), static_cast<qint64>(bytes.size())) ==
             static_cast<qint64>(bytes.size());
}

}  // namespace

const QStringList& GeneratedSaver::componentRoles() {
  static const QStringList roles{QStringLiteral("Callout"), QStringLiteral("Badge"),
                                 QStringLiteral("Review")};
  return roles;
}

GeneratedSaver::GeneratedSaver(APIClient& client, QSettings& defaults, QObject* parent)
    : QObject(parent), client_(client), defaults_(defaults) {}

void GeneratedSaver::preparePages(const std::string& set, const std::vector<FoundScreen>& screens,
                                  std::function<void(std::optional<QString>)> done) {
  std::vector<SetPage> pages;
  for (const FoundScreen& screen : screens)
    pages.push_back({utf8(screen.id), utf8(screen.name), PageSource::upload, std::nullopt});
  client_.savePages(set, pages, this, [this, set, screens, done](APIResult<Done> saved) {
    if (!saved) {
      done(QString::fromUtf8(saved.error().what()));
      return;
    }
    const QString key = models::AppModel::generatedFilesKey(set);
    const QVariant stored = defaults_.value(key);
    QVariantMap files = stored.canConvert<QVariantMap>() ? stored.toMap() : QVariantMap();
    for (const FoundScreen& screen : screens) {
      if (!screen.file.isEmpty()) files[screen.id] = screen.file;
    }
    defaults_.setValue(key, files);
    done(std::nullopt);
  });
}

std::vector<VellLayer> GeneratedSaver::layout(const std::vector<PlacedSticker>& stickers,
                                              const std::vector<MadeLayer>& made, int position,
                                              DeviceOS os) {
  const CanvasSize canvas = compositeSize(os);
  const double sx = canvas.width / kIOSWidth;
  const double sy = canvas.height / kIOSHeight;
  std::vector<VellLayer> layers;
  const auto places =
      models::StyleLayout::stickers(static_cast<int>(stickers.size()), position, canvas);
  for (std::size_t i = 0; i < stickers.size() && i < places.size(); ++i) {
    VellLayer layer;
    layer.id = newLayerId();
    layer.kind = VellLayer::Kind::image;
    layer.asset = utf8(stickers[i].asset);
    layer.x = places[i].x;
    layer.y = places[i].y;
    layer.w = places[i].w;
    layer.rotate = places[i].rotate;
    layer.front = true;
    layer.sticker = true;
    layer.opacity = 1;
    layer.name = utf8(capitalised(QFileInfo(stickers[i].name).completeBaseName()));
    layers.push_back(std::move(layer));
  }

  // Made layers by role, in the order each role first appears.
  std::vector<QString> roles;
  for (const MadeLayer& m : made) {
    if (std::find(roles.begin(), roles.end(), m.role) == roles.end()) roles.push_back(m.role);
  }
  const auto shapeSlots = models::StyleLayout::stickers(6, position, compositeSize(DeviceOS::ios));
  for (const QString& role : roles) {
    std::vector<const MadeLayer*> group;
    for (const MadeLayer& m : made) {
      if (m.role == role) group.push_back(&m);
    }
    const int n = static_cast<int>(group.size());
    for (int i = 0; i < n; ++i) {
      const double width = group[static_cast<std::size_t>(i)]->width;
      double x = 0;
      double y = 0;
      double w = 0;
      if (role == QStringLiteral("review")) {
        w = std::clamp(width, 340.0, 480.0);
        x = 310.5;
        y = 520;
      } else if (role == QStringLiteral("badge")) {
        w = std::clamp(width, 140.0, 220.0);
        x = 310.5 - (n - 1) * 105.0 + i * 210.0;
        y = 470;
      } else if (role == QStringLiteral("shape")) {
        w = std::clamp(width, 70.0, 130.0);
        if (!shapeSlots.empty()) {
          const auto& slot = shapeSlots[static_cast<std::size_t>(i) % shapeSlots.size()];
          x = slot.x;
          y = slot.y;
        }
      } else {
        w = std::clamp(width, 240.0, 400.0);
        const bool left = (position % 2) == (i % 2);
        x = left ? w * 0.5 + 68 - 40 : 553 - w * 0.5 + 40;
        y = i == 0 ? 720 : 1000;
      }
      VellLayer layer;
      layer.id = newLayerId();
      layer.kind = VellLayer::Kind::image;
      layer.asset = utf8(group[static_cast<std::size_t>(i)]->asset);
      layer.x = x * sx;
      layer.y = y * sy;
      layer.w = w * sx;
      layer.rotate = 0;
      layer.opacity = 1;
      layer.front = true;
      layer.name = utf8(capitalised(role));
      layers.push_back(std::move(layer));
    }
  }
  return layers;
}

void GeneratedSaver::saveGenerated(SaveRequest request, std::function<void()> done) {
  if (request.results.empty() || request.set.empty()) {
    done();
    return;
  }
  auto state = std::make_shared<SaveState>();
  state->request = std::move(request);
  state->done = std::move(done);
  for (const auto& [page, result] : state->request.results)
    state->pages.push_back(page);
  uploadStickers(state, 0, 0);
}

// Stickers go up one at a time before anything is written, so that a failed
// read of the documents writes nothing at all.
void GeneratedSaver::uploadStickers(std::shared_ptr<SaveState> state, std::size_t page,
                                    std::size_t index) {
  if (page >= state->pages.size()) {
    writeDocuments(state);
    return;
  }
  const QString id = state->pages[page];
  const QStringList& paths = state->request.results.at(id).stickers;
  if (index >= static_cast<std::size_t>(paths.size())) {
    uploadStickers(state, page + 1, 0);
    return;
  }
  const QString path = paths[static_cast<qsizetype>(index)];
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    uploadStickers(state, page, index + 1);
    return;
  }
  const QByteArray bytes = file.readAll();
  const std::string mime = capture::screen_import::mime(path.toStdString());
  client_.uploadLayerAsset(state->request.set, bytes.toStdString(), mime, this,
                           [this, state, page, index, id, path](APIResult<std::string> asset) {
                             if (asset) {
                               state->stickers[id].push_back({QString::fromStdString(asset.value()),
                                                              QFileInfo(path).fileName()});
                             }
                             uploadStickers(state, page, index + 1);
                           });
}

void GeneratedSaver::writeDocuments(std::shared_ptr<SaveState> state) {
  for (const QString& page : state->pages) {
    for (const std::string& locale : state->request.locales)
      state->fits.emplace_back(utf8(page), locale);
  }
  const std::string set = state->request.set;
  auto afterWriting = [this, state] { fitText(state, 0); };
  client_.texts(set, this, [this, state, set, afterWriting](APIResult<TextsDocument> texts) {
    if (!texts) return afterWriting();
    client_.styles(
        set, this, [this, state, set, texts, afterWriting](APIResult<StylesDocument> styles) {
          if (!styles) return afterWriting();
          TextsDocument newTexts = texts.value();
          StylesDocument newStyles = styles.value();
          const SaveRequest& r = state->request;
          for (const auto& [page, result] : r.results) {
            const std::string id = utf8(page);
            for (const auto& [locale, title] : result.titles) {
              if (title.isEmpty()) continue;
              newTexts[id][utf8(locale)].title = utf8(title);
            }
            VellStyle& style = newStyles[styleKey(id)];
            applyBackground(style, result.background);
            style.bgPattern = "none";
            if (r.font) style.titleFont = utf8(*r.font);
            const qsizetype at = r.order.indexOf(page);
            const int position = at < 0 ? 0 : static_cast<int>(at);
            placePhone(style, r.direction, position);
            const auto it = state->stickers.find(page);
            const std::vector<PlacedSticker> stickers =
                it == state->stickers.end() ? std::vector<PlacedSticker>{} : it->second;
            style.layers = VellLayer::jsonOf(layout(stickers, result.made, position, r.os));
          }
          client_.saveTexts(set, newTexts, this,
                            [this, set, newStyles, afterWriting](APIResult<Done> savedTexts) {
                              if (!savedTexts) return afterWriting();
                              client_.saveStyles(
                                  set, newStyles, this,
                                  [afterWriting](APIResult<Done>) { afterWriting(); });
                            });
        });
  });
}

void GeneratedSaver::fitText(std::shared_ptr<SaveState> state, std::size_t index) {
  if (index >= state->fits.size()) {
    state->done();
    return;
  }
  const auto& [page, locale] = state->fits[index];
  models::TextFit::autoFit(
      client_, state->request.set, page, DeviceOS::ios, state->request.theme, locale, this,
      [this, state, index](models::TextFit::Result) { fitText(state, index + 1); });
}

// --- update ---

void GeneratedSaver::updatePages(
    const std::string& set, const QString& folder,
    std::function<void(std::vector<UpdatePage>, std::optional<QString>)> done) {
  client_.pages(set, this, [this, set, folder, done](APIResult<std::vector<SetPage>> pages) {
    if (!pages) return done({}, QString::fromUtf8(pages.error().what()));
    client_.screenSlots(
        set, this, [this, set, folder, done, pages](APIResult<std::vector<ScreenSlot>> slotKeys) {
          if (!slotKeys) return done({}, QString::fromUtf8(slotKeys.error().what()));
          client_.styles(
              set, this,
              [this, set, folder, done, pages, slotKeys](APIResult<StylesDocument> styles) {
                if (!styles) return done({}, QString::fromUtf8(styles.error().what()));
                QDir(folder).removeRecursively();
                if (!QDir().mkpath(folder)) {
                  return done({}, QStringLiteral("Couldn’t make the folder ") + folder +
                                      QStringLiteral(" for the current screens."));
                }
                const QVariant stored = defaults_.value(models::AppModel::generatedFilesKey(set));
                const QVariantMap files =
                    stored.canConvert<QVariantMap>() ? stored.toMap() : QVariantMap();

                struct Work {
                  std::vector<UpdatePage> pages;
                  // Per page: the component assets still to fetch.
                  std::vector<std::vector<QString>> assets;
                };
                auto work = std::make_shared<Work>();
                for (const SetPage& page : pages.value()) {
                  if (page.source != PageSource::upload) continue;
                  std::vector<ScreenSlot> own;
                  for (const ScreenSlot& slot : slotKeys.value()) {
                    if (slot.page == page.id) own.push_back(slot);
                  }
                  if (own.empty()) continue;
                  std::stable_sort(own.begin(), own.end(),
                                   [](const ScreenSlot& a, const ScreenSlot& b) {
                                     return slotRank(a) < slotRank(b);
                                   });
                  UpdatePage target;
                  target.id = QString::fromStdString(page.id);
                  target.name = QString::fromStdString(page.label.empty() ? page.id : page.label);
                  if (files.contains(target.id)) target.file = files.value(target.id).toString();
                  for (const ScreenSlot& slot : own) {
                    ScreenSlotKey key;
                    key.os = deviceOSFromRaw(slot.os).value_or(DeviceOS::ios);
                    if (slot.locale) key.locale = QString::fromStdString(*slot.locale);
                    if (slot.appearance) key.appearance = QString::fromStdString(*slot.appearance);
                    target.slotKeys.push_back(key);
                  }
                  std::vector<QString> assets;
                  for (const auto& [key, style] : styles.value()) {
                    if (key != page.id && !key.starts_with(page.id + "@")) continue;
                    if (!style.layers) continue;
                    for (const VellLayer& layer : VellLayer::list(*style.layers)) {
                      if (!layer.asset || !layer.name) continue;
                      if (!componentRoles().contains(QString::fromStdString(*layer.name))) continue;
                      const QString asset = QString::fromStdString(*layer.asset);
                      if (std::find(assets.begin(), assets.end(), asset) == assets.end())
                        assets.push_back(asset);
                    }
                  }
                  work->pages.push_back(std::move(target));
                  work->assets.push_back(std::move(assets));
                }

                // One fetch after the other: the reference of each page, then its components.
                auto step = std::make_shared<std::function<void(std::size_t, int)>>();
                // Each answer holds the next step; the step looks at itself weakly,
                // so the chain ends with the last answer.
                *step = [this, set, folder, done, work, weak = std::weak_ptr(step)](std::size_t p,
                                                                                    int c) {
                  if (p >= work->pages.size()) {
                    done(std::move(work->pages), std::nullopt);
                    return;
                  }
                  auto next = weak.lock();
                  UpdatePage& page = work->pages[p];
                  if (c < 0) {
                    const ScreenSlotKey& slot = page.slotKeys.front();
                    APIClient::Query query{
                        {"set", set},
                        {"page", utf8(page.id)},
                        {"os", std::string(rawValue(slot.os))},
                        {"v", std::to_string(QDateTime::currentSecsSinceEpoch())}};
                    if (slot.locale) query["locale"] = utf8(*slot.locale);
                    if (slot.appearance) query["appearance"] = utf8(*slot.appearance);
                    const QString path =
                        folder + QLatin1Char('/') + page.id + QStringLiteral("-screen.png");
                    client_.download(*APIClient::url("/api/screen", query), this,
                                     [next, work, p, path](APIResult<APIClient::Download> picture) {
                                       if (picture && writeFile(path, picture.value().bytes))
                                         work->pages[p].reference = path;
                                       (*next)(p, 0);
                                     });
                    return;
                  }
                  const auto& assets = work->assets[p];
                  if (static_cast<std::size_t>(c) >= assets.size()) return (*next)(p + 1, -1);
                  const QString asset = assets[static_cast<std::size_t>(c)];
                  const auto address =
                      APIClient::url("/api/layer-asset", {{"set", set}, {"asset", utf8(asset)}});
                  const QString path = folder + QLatin1Char('/') + QFileInfo(asset).fileName();
                  client_.download(
                      *address, this,
                      [next, work, p, c, asset, path](APIResult<APIClient::Download> picture) {
                        if (picture) {
                          const QImage image = QImage::fromData(
                              reinterpret_cast<const uchar*>(picture.value().bytes.data()),
                              static_cast<int>(picture.value().bytes.size()));
                          if (!image.isNull() && writeFile(path, picture.value().bytes)) {
                            auto half = [](int side) { return side <= 15 ? 8 : side / 2; };
                            work->pages[p].components.push_back(
                                {asset, path, half(image.width()), half(image.height())});
                          }
                        }
                        (*next)(p, c + 1);
                      });
                };
                (*step)(0, -1);
              });
        });
  });
}

void GeneratedSaver::applyUpdated(const std::string& set,
                                  const std::map<QString, ScreenResult>& results,
                                  std::function<void()> done) {
  std::map<std::string, std::string> replaced;
  for (const auto& [page, result] : results) {
    for (const auto& [old, now] : result.replaced)
      replaced[utf8(old)] = utf8(now);
  }
  if (replaced.empty()) {
    done();
    return;
  }
  client_.styles(set, this, [this, set, replaced, done](APIResult<StylesDocument> styles) {
    if (!styles) return done();
    StylesDocument changed = styles.value();
    for (auto& [key, style] : changed) {
      if (!style.layers) continue;
      std::vector<VellLayer> layers = VellLayer::list(*style.layers);
      bool any = false;
      for (VellLayer& layer : layers) {
        if (!layer.asset) continue;
        const auto it = replaced.find(*layer.asset);
        if (it == replaced.end()) continue;
        layer.asset = it->second;
        any = true;
      }
      if (any) style.layers = VellLayer::jsonOf(layers);
    }
    client_.saveStyles(set, changed, this, [done](APIResult<Done>) { done(); });
  });
}

}  // namespace vells::assistants
