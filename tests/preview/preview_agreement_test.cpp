// The preview must show what the export writes. For random styles, the boxes
// the page reports (divided by its scale) are the ones the text measure finds
// in the composite's own page, with the same title lines; and the preview
// drawn at the composite's size is the composite's picture.
#include <gtest/gtest.h>

#include <random>

#include "preview/preview_library.h"

namespace vells::testing {
namespace {

using preview::PreviewEngine;
using preview::PreviewState;

struct Agreement : ::testing::Test {
  PreviewLibrary lib;
  std::unique_ptr<PreviewEngine> engine;

  void SetUp() override {
    PreviewEngine::Options options;
    options.resourceDir = VELLS_SOURCE_RESOURCES;
    engine = std::make_unique<PreviewEngine>(lib.backend, options);
  }

  // Shows `s` and waits for the page to settle: the screen loaded, the fonts
  // in, the decoration drawn.
  bool settle(const PreviewState& s) {
    engine->apply(s);
    const bool shown = spinUntil(
        [&] {
          const auto& c = engine->coordinator();
          return c.applied() == s && !c.pending() && engine->frameSequence() >= c.lastSequence();
        },
        30000);
    spinFor(900);
    return shown;
  }

  void storeStyle(const std::string& key, const JSONValue& fields) {
    JSONValue styles = bodyJSON(call(lib.backend, "GET", "/api/styles?set=default"));
    if (!styles.isObject()) styles = JSONValue::Object{};
    JSONValue entry = styles.find(key) ? *styles.find(key) : JSONValue::Object{};
    for (const auto& [name, value] : *fields.asObject())
      entry[name] = value;
    styles[key] = entry;
    ASSERT_EQ(call(lib.backend, "POST", "/api/styles?set=default", styles.dump()).status, 200);
  }
};

// [left, top, width, height] of a report, as a centre box.
models::CanvasBox boxOf(const JSONValue* v) {
  const auto* a = v ? v->asArray() : nullptr;
  if (!a || a->size() != 4) return {};
  const double l = *(*a)[0].asNumber(), t = *(*a)[1].asNumber();
  const double w = *(*a)[2].asNumber(), h = *(*a)[3].asNumber();
  return {l + w / 2, t + h / 2, w, h, 0};
}

TEST_F(Agreement, ReportedBoxesAreTheTextMeasuresInEveryStyle) {
  std::mt19937 random(17);
  auto uniform = [&](double lo, double hi) {
    return std::round(std::uniform_real_distribution<double>(lo, hi)(random));
  };
  auto chance = [&](double p) { return std::bernoulli_distribution(p)(random); };
  const std::vector<std::string> pages{"home", "habits", "detail"};
  const std::vector<std::string> locales{"en", "de", "ja", "ar"};
  for (int i = 0; i < 20; ++i) {
    const std::string page = pages[i % pages.size()];
    // Arabic and Japanese come round every fourth style.
    const std::string locale = locales[i % locales.size()];
    const DeviceOS os = chance(0.3) ? DeviceOS::android : DeviceOS::ios;
    JSONValue fields = JSONValue::Object{{"phoneScale", uniform(60, 140) / 100},
                                         {"phoneOffsetY", uniform(-60, 60)},
                                         {"phoneOffsetX", uniform(-40, 40)},
                                         {"textPos", chance(0.3) ? "bottom" : "top"},
                                         {"titleWidth", chance(0.5) ? uniform(300, 540) : 0},
                                         {"titleOffsetX", uniform(-30, 30)},
                                         {"titleOffsetY", uniform(-20, 20)},
                                         {"titleSize", uniform(48, 84)},
                                         {"phoneRotateX", 0},
                                         {"phoneRotateY", 0},
                                         {"phoneRotateZ", chance(0.3) ? uniform(-12, 12) : 0}};
    storeStyle(page, fields);
    SCOPED_TRACE("style " + std::to_string(i) + " " + page + "@" + locale + " " + fields.dump());

    const std::string os_(rawValue(os));
    const JSONValue fit = bodyJSON(
        call(lib.backend, "GET",
             "/api/text-fit?set=default&page=" + page + "&os=" + os_ + "&locale=" + locale));
    ASSERT_TRUE(fit.find("title") && fit.find("phone")) << fit.dump();

    const double boxHeight = uniform(700, 1344);
    const PreviewState s = lib.state(page, locale, boxHeight, os);
    ASSERT_TRUE(settle(s));
    const JSONValue& report = engine->coordinator().lastReport();
    const double scale = boxHeight / compositeSize(os).height;
    auto near = [](double a, double b) { return std::abs(a - b) <= 2; };

    const models::CanvasBox phone = boxOf(fit.find("phone"));
    const JSONValue* p = report.find("phone");
    ASSERT_TRUE(p && p->isObject()) << report.dump();
    EXPECT_TRUE(near(*p->numberAt("cx") / scale, phone.cx)) << report.dump();
    EXPECT_TRUE(near(*p->numberAt("cy") / scale, phone.cy)) << report.dump();
    if (s.style.phoneRotateZ == 0) {
      // A turned phone's measured box is the bounds of the turned frame.
      EXPECT_TRUE(near(*p->numberAt("w") / scale, phone.w)) << report.dump();
      EXPECT_TRUE(near(*p->numberAt("h") / scale, phone.h)) << report.dump();
    }

    const JSONValue* fitTitle = fit.find("title");
    const models::CanvasBox title = boxOf(fitTitle->find("box"));
    const JSONValue* t = report.find("title");
    ASSERT_TRUE(t && t->isObject()) << report.dump();
    EXPECT_TRUE(near(*t->numberAt("cx") / scale, title.cx)) << report.dump() << fit.dump();
    EXPECT_TRUE(near(*t->numberAt("cy") / scale, title.cy)) << report.dump() << fit.dump();
    EXPECT_TRUE(near(*t->numberAt("w") / scale, title.w)) << report.dump() << fit.dump();
    EXPECT_TRUE(near(*t->numberAt("h") / scale, title.h)) << report.dump() << fit.dump();
    EXPECT_EQ(report.numberAt("titleLines"), fitTitle->numberAt("lines"));
  }
}

TEST_F(Agreement, ThePreviewAtTheCompositesSizeIsTheComposite) {
  engine->setDevicePixelRatio(2);
  storeStyle("home", JSONValue::Object{{"bgPattern", "wiggle"}, {"titleStroke", 3}});
  storeStyle("detail@ar", JSONValue::Object{{"phoneScale", 0.85}, {"phoneRotateZ", -6}});
  for (const auto& [page, locale] :
       std::vector<std::pair<std::string, std::string>>{{"home", "en"}, {"detail", "ar"}}) {
    SCOPED_TRACE(page + "@" + locale);
    // First the composite: its render leaves the lifted card the decoration shows.
    const backend::Response composite =
        call(lib.backend, "GET",
             "/composite?set=default&page=" + page + "&os=ios&theme=dark&locale=" + locale);
    ASSERT_EQ(composite.status, 200);
    const PreviewState s = lib.state(page, locale, compositeSize(DeviceOS::ios).height);
    ASSERT_TRUE(settle(s));
    // Until the screen, its fonts and the decoration are all in: no new frame for a second.
    QImage frame = engine->frame();
    for (int quiet = 0, waited = 0; quiet < 1000 && waited < 15000; waited += 100) {
      spinFor(100);
      quiet = engine->frame() == frame ? quiet + 100 : 0;
      frame = engine->frame();
    }
    const QImage png = QImage::fromData(reinterpret_cast<const uchar*>(composite.body.data()),
                                        static_cast<int>(composite.body.size()));
    ASSERT_EQ(frame.size(), png.size());
    EXPECT_EQ(frame.devicePixelRatio(), 2.0);
    if (const char* dir = std::getenv("VELLS_PREVIEW_FRAMES")) {
      frame.save(QString(dir) + "/agree-" + QString::fromStdString(page) + "-preview.png");
      png.save(QString(dir) + "/agree-" + QString::fromStdString(page) + "-composite.png");
    }
    EXPECT_LT(meanDifference(frame, png), 2.0);
  }
}

}  // namespace
}  // namespace vells::testing
