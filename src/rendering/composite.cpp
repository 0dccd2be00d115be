#include "rendering/composite.h"

#include <cmath>

#include "backend/file_io.h"
#include "backend/ids.h"
#include "backend/images.h"
#include "backend/mime.h"
#include "backend/sets.h"
#include "document/records.h"
#include "platform/base64.h"
#include "rendering/browser_slot.h"
#include "rendering/effects.h"

namespace vells::rendering {

namespace fs = std::filesystem;
using backend::Documents;
using backend::LocalDatabase;
using backend::PageRow;

namespace {

JSONValue picture(const std::string& mime, const std::string& bytes) {
  return JSONValue::Object{{"mime", mime}, {"base64", platform::base64Encode(bytes)}};
}

// A hero record on disk: a non-empty object, else no hero.
std::optional<JSONValue> readHeroRecord(const fs::path& file) {
  auto text = backend::readFile(file);
  if (!text) return std::nullopt;
  auto value = JSONValue::tryParse(*text);
  if (!value || !value->isObject() || value->asObject()->empty()) return std::nullopt;
  return value;
}

bool fileThere(const fs::path& p) {
  std::error_code ec;
  return fs::exists(p, ec);
}

double numberOr(const JSONValue& v, const char* key, double fallback) {
  return v.numberAt(key).value_or(fallback);
}

std::string replaceAll(std::string s, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = s.find(from, at)) != std::string::npos; at += to.size()) {
    s.replace(at, from.size(), to);
  }
  return s;
}

// No thumbnail is no failure: the PNG stands in for it. The reason is still
// worth a line in the log.
template <typename Make>
std::string thumbnailOrNothing(const platform::Log& log, const std::string& name, Make make) {
  try {
    return make();
  } catch (const RenderError& e) {
    log.warning("No thumbnail for " + name + ": " + e.what());
    return {};
  }
}

}  // namespace

CaptureNames CaptureNames::of(const JSONValue& dict, const std::string& name) {
  CaptureNames names;
  const JSONValue* entry = dict.find(name);
  if (!entry || !entry->isObject()) return names;
  names.hero = entry->stringAt("hero").value_or("");
  names.heroRect = entry->stringAt("heroRect").value_or("");
  names.phone = entry->stringAt("phone").value_or("");
  return names;
}

Plan Plan::of(const std::optional<JSONValue>& answer, const std::string& set,
              const std::string& page) {
  Plan plan;
  plan.vell = set + "-" + page + ".png";
  if (!answer || !answer->isObject()) return plan;
  if (const JSONValue* style = answer->find("style"); style && style->isObject()) {
    plan.style = *style->asObject();
  }
  plan.title = answer->stringAt("title");
  plan.withHero = answer->boolAt("withHero").value_or(false);
  plan.captures = CaptureNames::of(*answer, "captures");
  plan.heroCaptures = CaptureNames::of(*answer, "heroCaptures");
  if (auto vell = answer->stringAt("vell")) plan.vell = *vell;
  return plan;
}

Compositor::Compositor(backend::LocalBackend& backend, HTMLRenderer& renderer)
    : backend_(backend), renderer_(renderer) {}

Documents Compositor::documents(const std::string& set) {
  return Documents(backend_.db().document(LocalDatabase::Document::texts, set),
                   backend_.db().document(LocalDatabase::Document::styles, set));
}

std::string Compositor::builtinOf(const std::optional<PageRow>& row, const std::string& page) {
  if (row && row->source == "builtin") return row->builtinId.value_or(row->id);
  return page;
}

JSONValue::Object Compositor::layerUris(const std::string& set,
                                        const JSONValue::Object& style) const {
  JSONValue::Object uris;
  auto layers = style.find("layers");
  if (layers == style.end() || !layers->second.isArray()) return uris;
  const fs::path folder = backend_.library().layers() / backend::setFolder(set);
  for (const JSONValue& layer : *layers->second.asArray()) {
    auto asset = layer.stringAt("asset");
    // Only a plain content name can be an asset; anything with a path in it is no file of ours.
    if (!asset || asset->empty() || backend::safeName(*asset) != *asset || *asset == "." ||
        *asset == "..") {
      continue;
    }
    auto bytes = backend::readFile(folder / *asset);
    if (!bytes) continue;
    uris[*asset] =
        "data:" + backend::sniffMime(*bytes, *asset) + ";base64," + platform::base64Encode(*bytes);
  }
  return uris;
}

CSSSize Compositor::deviceSize(const std::string& os) {
  const JSONValue devices = backend_.catalog().value("devices");
  const JSONValue* entry = devices.find(os);
  if (!entry) return {393, 852};
  auto w = entry->numberAt("width");
  auto h = entry->numberAt("height");
  if (!w || !h) return {393, 852};
  return {*w, *h};
}

CSSSize Compositor::canvasSize(const std::string& os) {
  const CanvasSize fallback = compositeSize(deviceOSFromRaw(os).value_or(DeviceOS::android));
  const JSONValue dims = backend_.catalog().value("compositeDims");
  const JSONValue* entry = dims.find(os);
  if (!entry) return {fallback.width, fallback.height};
  return {numberOr(*entry, "w", fallback.width), numberOr(*entry, "h", fallback.height)};
}

std::optional<CompositeResult> Compositor::composite(const CompositeRequest& r) {
  // Stage 0: what the page is.
  const Documents docs = documents(r.set);
  const auto row = backend::pageOf(backend_, r.set, r.page);
  const bool isUploaded = row && row->source == "upload";
  const auto screen =
      isUploaded ? backend::findScreen(backend_.library(), r.set, r.page, r.os, r.locale, r.theme)
                 : std::nullopt;
  const std::string builtin = builtinOf(row, r.page);
  const JSONValue::Object common{
      {"set", r.set},       {"page", r.page},           {"os", r.os},        {"theme", r.theme},
      {"locale", r.locale}, {"isUploaded", isUploaded}, {"builtin", builtin}};
  const Plan plan =
      Plan::of(backend_.core().callWithDocs("pagePlan", docs, common, r.priority), r.set, r.page);
  const fs::path output = backend_.library().output();
  const fs::path phonePath = output / plan.captures.phone;
  const fs::path heroPath = output / plan.captures.hero;
  const fs::path heroRectPath = output / plan.captures.heroRect;
  const backend::CatalogView catalog = backend_.catalog();

  // Stage 1: which captures are there.
  std::optional<JSONValue> heroRecord;
  std::optional<std::string> heroBytes;
  auto loadHero = [&] {
    heroRecord = readHeroRecord(heroRectPath);
    if (heroRecord) heroBytes = backend::readFile(heroPath);
  };
  bool capture = false;
  const bool heroRectThere = !plan.captures.heroRect.empty() && fileThere(heroRectPath);
  if (isUploaded) {
    if (r.check && plan.withHero && !heroRectThere) return std::nullopt;
    if (plan.withHero) loadHero();
  } else {
    const bool phoneThere = !plan.captures.phone.empty() && fileThere(phonePath);
    if (r.check && !(phoneThere && (!plan.withHero || heroRectThere))) return std::nullopt;
    if (r.fresh || !phoneThere || (plan.withHero && !heroRectThere)) {
      capture = true;
    } else if (plan.withHero) {
      loadHero();
    }
  }

  // Stage 2: the phone and hero pictures.
  if (capture) {
    JSONValue args = common;
    auto html = backend_.core().stringWithDocs("pageHtml", docs, args, r.priority);
    if (!html) throw backend::Failure(backend::Response::text("Unknown page", 404));
    std::optional<std::pair<std::string, std::string>> hero;
    if (plan.withHero) {
      hero = std::make_pair(catalog.value("heroSelector").isString()
                                ? *catalog.value("heroSelector").asString()
                                : std::string("[data-vell=\"hero\"]"),
                            catalog.value("heroHideSelector").isString()
                                ? *catalog.value("heroHideSelector").asString()
                                : std::string("[data-vell=\"hero\"],[data-vell-with-hero]"));
    }
    const JSONValue phoneScale = catalog.value("phoneScale");
    PhoneCapture shot = renderer_.renderPhoneAndHero(
        *html, deviceSize(r.os), phoneScale.isNumber() ? *phoneScale.asNumber() : 3.0, hero,
        r.priority);
    backend::writeFileAtomically(phonePath, shot.phone);
    if (plan.withHero && shot.hero) backend::writeFileAtomically(heroPath, *shot.hero);
    JSONValue record;
    if (shot.heroRect) {
      record = shot.heroRect->rect.json();
      record["plate"] = shot.heroRect->plate;
    }
    backend::writeFileAtomically(heroRectPath, record.dump());
    heroRecord.reset();
    heroBytes.reset();
    loadHero();
  }

  // Stage 3: the composite's name.
  const auto backgroundFile =
      backend::findImage(backend_.library().backgrounds(), r.set, r.page, r.os);
  const auto overlayFile = backend::findImage(backend_.library().overlays(), r.set, r.page, r.os);
  JSONValue nameArgs = common;
  nameArgs["hasBackground"] = backgroundFile.has_value();
  // Not only whether there is a background: which one, so a replaced picture renames the image.
  nameArgs["backgroundMtimeMs"] =
      backgroundFile ? JSONValue(backend::mtimeMs(*backgroundFile).value_or(0)) : JSONValue();
  nameArgs["overlayMtimeMs"] =
      overlayFile ? JSONValue(backend::mtimeMs(*overlayFile).value_or(0)) : JSONValue();
  nameArgs["screenMtimeMs"] =
      screen ? JSONValue(backend::mtimeMs(*screen).value_or(0)) : JSONValue();
  nameArgs["calloutAspect"] = heroBytes ? JSONValue(backend::pngAspect(*heroBytes)) : JSONValue();
  // A store size other than the cache's own is another picture with its own
  // name; the cache's own size is the very image the gallery already made.
  const CSSSize canvas = canvasSize(r.os);
  const JSONValue scaleValue = catalog.value("compositeScale");
  const double ownScale = scaleValue.isNumber() ? *scaleValue.asNumber() : 2.0;
  std::optional<StoreFit> fit;
  if (r.size && !(std::lround(canvas.width * ownScale) == r.size->width &&
                  std::lround(canvas.height * ownScale) == r.size->height)) {
    fit = storeFit(canvas, r.size->width, r.size->height);
    nameArgs["size"] = r.size->name();
  }
  auto name = backend_.core().stringWithDocs("compositeName", docs, nameArgs, r.priority);
  const std::string filename = name ? *name : "composite-" + r.set + "-" + r.page + ".png";
  CompositeResult result{output / filename, filename,
                         output / replaceAll(filename, ".png", ".thumb.jpg"), false};

  // Stage 4: what is still to make.
  if (r.check) {
    result.ready = fileThere(result.thumbPath);
    return result;
  }
  const bool needPng = !r.thumbOnly && (r.fresh || !fileThere(result.path));
  const bool needThumb = !fit && (r.fresh || !fileThere(result.thumbPath));
  if (!needPng && !needThumb) {
    result.ready = true;
    return result;
  }

  // Stage 5: the store image's HTML.
  JSONValue htmlArgs = common;
  const std::optional<fs::path> phoneFile =
      isUploaded ? screen : (plan.captures.phone.empty() ? std::nullopt : std::optional(phonePath));
  std::optional<std::string> phoneBytes = phoneFile ? backend::readFile(*phoneFile) : std::nullopt;
  htmlArgs["phone"] = phoneBytes
                          ? picture(backend::mimeForExtension(phoneFile->string()), *phoneBytes)
                          : JSONValue();
  if (heroRecord && heroBytes) {
    htmlArgs["hero"] = JSONValue::Object{{"rect", *heroRecord},
                                         {"image", picture("image/png", *heroBytes)},
                                         {"aspect", backend::pngAspect(*heroBytes)}};
  } else {
    htmlArgs["hero"] = JSONValue();
  }
  for (const auto& [key, file] :
       {std::pair{"background", backgroundFile}, {"overlay", overlayFile}}) {
    auto bytes = file ? backend::readFile(*file) : std::nullopt;
    htmlArgs[key] =
        bytes ? picture(backend::sniffMime(*bytes, file->string()), *bytes) : JSONValue();
  }
  htmlArgs["layerUris"] = layerUris(r.set, plan.style);
  htmlArgs["pageLabel"] = row ? row->label : r.page;
  htmlArgs["extend"] =
      fit ? JSONValue(JSONValue::Object{{"side", fit->side}, {"bottom", fit->bottom}})
          : JSONValue();
  const std::string html =
      backend_.core().stringWithDocs("compositeHtml", docs, htmlArgs, r.priority).value_or("");
  const CSSSize stage = fit ? fit->stage : canvas;

  // Stage 6: one load, one flattening, both outputs.
  const JSONValue thumbValue = catalog.value("thumbWidth");
  const double pngScale = needPng ? (fit ? fit->scale : ownScale) : 0;
  const double thumbW = needThumb ? (thumbValue.isNumber() ? *thumbValue.asNumber() : 400.0) : 0;
  std::string png, jpeg;
  {
    HTMLRenderer::Lease slot = renderer_.acquire(r.priority);
    slot->load(html, {stage.width + 2 * Effects::M, stage.height + 2 * Effects::M});
    Effects::flatten(*slot, stage, std::max(pngScale, thumbW / stage.width));
    const Rect area{Effects::M, Effects::M, stage.width, stage.height};
    if (needPng) png = slot->capturePNG(area, fit ? r.size->width : pngScale * canvas.width, true);
    // With the PNG in hand its reduction is the thumbnail: cheaper than a
    // second capture, and the two can't differ.
    if (needThumb && !needPng)
      jpeg = thumbnailOrNothing(backend_.log(), result.thumbPath.filename().string(),
                                [&] { return slot->captureJPEG(area, thumbW, 80); });
  }
  if (needThumb && needPng)
    jpeg = thumbnailOrNothing(backend_.log(), result.thumbPath.filename().string(), [&] {
      return thumbnailJPEG(png, static_cast<int>(std::lround(thumbW)), 80);
    });
  if (!png.empty()) backend::writeFileAtomically(result.path, png);
  if (!jpeg.empty()) backend::writeFileAtomically(result.thumbPath, jpeg);
  result.ready = true;
  return result;
}

}  // namespace vells::rendering
