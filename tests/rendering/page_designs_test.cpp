// The built-in screens and the store image of the shipped core.js, drawn by the
// real headless browser. VELLS_PAGE_DESIGNS_OUT names a folder to keep the
// pictures in; VELLS_CONTACT_SHEET a file for the sample set's contact sheet.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <sstream>

#include "platform/base64.h"
#include "rendering/core_js.h"
#include "rendering/html_renderer.h"

namespace vells::rendering {
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kPages = {"home",     "habits", "detail",
                                         "insights", "focus",  "settings"};
const std::vector<std::string> kOses = {"ios", "android"};

CoreJS& core() {
  static CoreJS instance(fs::path(VELLS_SOURCE_RESOURCES));
  return instance;
}

const JSONValue& perOs(const std::string& key, const std::string& os) {
  return *core().catalog()->at(key).find(os);
}
CSSSize deviceSize(const std::string& os) {
  return {*perOs("devices", os).numberAt("width"), *perOs("devices", os).numberAt("height")};
}
CSSSize canvasSize(const std::string& os) {
  return {*perOs("compositeDims", os).numberAt("w"), *perOs("compositeDims", os).numberAt("h")};
}

std::optional<std::string> pageHtml(const std::string& page, const std::string& os,
                                    const std::string& theme, const std::string& locale,
                                    const std::string& texts = "{}",
                                    const std::string& function = "pageHtml") {
  return core().stringWithDocs(
      function, Documents(texts, "{}"),
      JSONValue::Object{
          {"page", page}, {"builtin", page}, {"os", os}, {"theme", theme}, {"locale", locale}});
}

struct StoreArgs {
  std::string page = "home", os = "ios", theme = "dark", locale = "en";
  std::string texts = "{}", styles = "{}";
  JSONValue phone = nullptr, hero = nullptr, layerUris = JSONValue::Object{};
};

std::string compositeHtml(const StoreArgs& a) {
  JSONValue args = JSONValue::Object{{"page", a.page}, {"pageLabel", a.page}, {"os", a.os}};
  args["theme"] = a.theme;
  args["locale"] = a.locale;
  for (const auto& [key, value] : JSONValue::Object{
           {"phone", a.phone}, {"hero", a.hero}, {"background", nullptr}, {"overlay", nullptr}})
    args[key] = value;
  args["layerUris"] = a.layerUris;
  auto html = core().stringWithDocs("compositeHtml", Documents(a.texts, a.styles), args);
  EXPECT_TRUE(html) << "compositeHtml gave no text";
  return html.value_or("");
}

JSONValue picture(const std::string& png) {
  return JSONValue::Object{{"mime", "image/png"}, {"base64", platform::base64Encode(png)}};
}

cv::Mat decode(const std::string& bytes) {
  cv::Mat raw(1, static_cast<int>(bytes.size()), CV_8UC1, const_cast<char*>(bytes.data()));
  return cv::imdecode(raw, cv::IMREAD_UNCHANGED);
}

std::string encodePNG(const cv::Mat& image) {
  std::vector<uchar> out;
  cv::imencode(".png", image, out, {cv::IMWRITE_PNG_COMPRESSION, 9});
  return std::string(out.begin(), out.end());
}

// Keeps a picture for people to look at when a folder is named.
void keep(const std::string& name, const std::string& png) {
  const char* dir = std::getenv("VELLS_PAGE_DESIGNS_OUT");
  if (!dir || !*dir) return;
  fs::create_directories(dir);
  std::ofstream(fs::path(dir) / name, std::ios::binary) << png;
}

double meanAbsDiff(const cv::Mat& a, const cv::Mat& b) {
  cv::Mat diff;
  cv::absdiff(a, b, diff);
  const cv::Scalar m = cv::mean(diff);
  return (m[0] + m[1] + m[2]) / 3.0;
}

cv::Rect toPixels(const JSONValue& box, double scale, const cv::Size& bounds) {
  auto v = [&](int i) { return *(*box.asArray())[i].asNumber() * scale; };
  return cv::Rect(std::floor(v(0)), std::floor(v(1)), std::ceil(v(2)), std::ceil(v(3))) &
         cv::Rect({}, bounds);
}

// Pixels of a BGR `image` within `tolerance` of an sRGB colour.
int countNear(const cv::Mat& image, cv::Vec3b rgb, int t) {
  cv::Mat mask;
  cv::inRange(image, cv::Scalar(rgb[2] - t, rgb[1] - t, rgb[0] - t),
              cv::Scalar(rgb[2] + t, rgb[1] + t, rgb[0] + t), mask);
  return cv::countNonZero(mask);
}

std::string titleTexts(const std::string& page, const std::string& locale,
                       const std::string& title) {
  return JSONValue(JSONValue::Object{
                       {page, JSONValue::Object{{locale, JSONValue::Object{{"title", title}}}}}})
      .dump();
}

std::string escapeHtml(const std::string& text) {
  static const std::map<char, std::string> entities = {
      {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};
  std::string out;
  for (char c : text) {
    auto it = entities.find(c);
    out += it == entities.end() ? std::string(1, c) : it->second;
  }
  return out;
}

class PageDesigns : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(2); }
  static void TearDownTestSuite() { renderer.reset(); }
  static std::unique_ptr<HTMLRenderer> renderer;

  static PhoneCapture phoneAndHero(const std::string& html, const std::string& os) {
    const auto& cat = *core().catalog();
    const std::pair<std::string, std::string> selectors{*cat.at("heroSelector").asString(),
                                                        *cat.at("heroHideSelector").asString()};
    return renderer->renderPhoneAndHero(html, deviceSize(os), 3, selectors,
                                        platform::Priority::interactive);
  }

  // Gives the store image the phone and hero pictures the composite pipeline captures.
  static void addPhone(StoreArgs& a) {
    PhoneCapture c = phoneAndHero(*pageHtml(a.page, a.os, a.theme, a.locale), a.os);
    a.phone = picture(c.phone);
    if (!c.hero || !c.heroRect) return;
    const Rect r = c.heroRect->rect;
    const cv::Mat h = decode(*c.hero);
    JSONValue rect = JSONValue::Object{{"x", r.x}, {"y", r.y}, {"width", r.width}};
    rect["height"] = r.height;
    rect["plate"] = c.heroRect->plate;
    a.hero = JSONValue::Object{{"rect", rect},
                               {"image", picture(*c.hero)},
                               {"aspect", static_cast<double>(h.cols) / h.rows}};
  }

  // The store image as the browser draws it, `scale` pixels per composite pixel.
  static cv::Mat capture(HTMLRenderer::Lease& slot, const std::string& os, double scale = 1) {
    const CSSSize size = canvasSize(os);
    return decode(slot->capturePNG({0, 0, size.width, size.height}, size.width * scale, true));
  }
};
std::unique_ptr<HTMLRenderer> PageDesigns::renderer;

// Every word a translator gives a screen reaches it, and an override replaces it.
TEST(ScreenMarkup, EveryScreenWordIsDrawnAndOverridable) {
  EXPECT_FALSE(pageHtml("no-such-page", "ios", "dark", "en"));
  EXPECT_FALSE(pageHtml("no-such-page", "ios", "dark", "en", "{}", "previewHtml"));
  // A key whose words stand only once on the page.
  const std::map<std::string, std::string> uniqueKey = {
      {"home", "greeting"}, {"habits", "summary"},   {"detail", "notes.body"},
      {"insights", "tip"},  {"focus", "break.next"}, {"settings", "pro.body"}};
  for (const auto& page : kPages) {
    for (const auto& os : kOses) {
      for (const std::string locale : {"en", "de", "ar"}) {
        const std::string where = page + " " + os + " " + locale;
        const auto words = core().callJSON(
            "screenTexts", JSONValue::Object{{"page", page}, {"locale", locale}, {"os", os}});
        ASSERT_TRUE(words && words->isArray());
        const std::string html = *pageHtml(page, os, "light", locale);
        const std::string key = uniqueKey.at(page);
        std::string original;
        for (const auto& entry : *words->asArray()) {
          const std::string value = *entry.stringAt("value");
          EXPECT_NE(html.find(escapeHtml(value)), std::string::npos)
              << where << " lacks " << *entry.stringAt("key");
          if (entry.stringAt("key") == key) original = value;
        }
        ASSERT_FALSE(original.empty()) << where << " " << key;
        JSONValue texts = JSONValue::Object{};
        texts[page][locale]["screen"][key] = "Zq <override> & more";
        const std::string changed = *pageHtml(page, os, "light", locale, texts.dump());
        EXPECT_NE(changed.find("Zq &lt;override&gt; &amp; more"), std::string::npos) << where;
        EXPECT_EQ(changed.find(escapeHtml(original)), std::string::npos) << where << " " << key;
      }
    }
  }
}

// Each screen fills exactly its device and no word runs out of its box.
TEST_F(PageDesigns, EveryScreenFitsItsDevice) {
  const std::string check = R"(
    const device = document.querySelector('#device');
    const r = device.getBoundingClientRect();
    const bad = [];
    for (const el of device.querySelectorAll('*')) {
      const hasText = [...el.childNodes].some(n => n.nodeType === 3 && n.textContent.trim());
      if (!hasText) continue;
      const cs = getComputedStyle(el);
      if (cs.visibility === 'hidden' || cs.display === 'none') continue;
      const b = el.getBoundingClientRect();
      const name = el.className + ' "' + el.textContent.trim().slice(0, 30) + '"';
      if (b.left < r.left - 0.5 || b.right > r.right + 0.5) bad.push('outside: ' + name);
      if (el.clientWidth > 0 && el.scrollWidth > el.clientWidth + 1) bad.push('cut: ' + name);
      if (el.clientHeight > 0 && cs.overflowY !== 'visible' && el.scrollHeight > el.clientHeight + 2 &&
          cs.webkitLineClamp === 'none') bad.push('cut below: ' + name);
    }
    return {box: [r.x, r.y, r.width, r.height], bad};
  )";
  auto slot = renderer->acquire(platform::Priority::interactive);
  for (const auto& page : kPages) {
    for (const auto& os : kOses) {
      for (const std::string theme : {"dark", "light"}) {
        for (const std::string locale : {"en", "de", "ja", "ar", "fa"}) {
          const CSSSize size = deviceSize(os);
          slot->load(*pageHtml(page, os, theme, locale), size);
          const JSONValue result = slot->run(check);
          const std::string where = page + " " + os + " " + theme + " " + locale;
          EXPECT_EQ(*result.find("box"),
                    JSONValue(JSONValue::Array{0.0, 0.0, size.width, size.height}))
              << where;
          for (const auto& problem : *result.find("bad")->asArray())
            ADD_FAILURE() << where << ": " << *problem.asString();
        }
      }
    }
  }
}

// The phone picture: the screen's own corners, transparent outside them, real
// content inside; a hero comes out as its own picture on its plate and leaves
// its place in the phone picture.
TEST_F(PageDesigns, PhonePicturesAndHeroes) {
  for (std::size_t turn = 0; turn < kPages.size(); ++turn) {
    const std::string& page = kPages[turn];
    const std::string os = kOses[turn % 2];
    const std::string theme = turn / 2 % 2 ? "light" : "dark";
    const std::string locale = std::vector<std::string>{"en", "de", "ja", "ar"}[turn % 4];
    const std::string where = page + "-" + os + "-" + theme + "-" + locale;
    const std::string html = *pageHtml(page, os, theme, locale);
    const CSSSize size = deviceSize(os);
    const std::string png = renderer->renderDevice(html, size, 3);
    keep("phone-" + where + ".png", png);
    const cv::Mat img = decode(png);
    ASSERT_EQ(img.channels(), 4);
    EXPECT_EQ(img.size(), cv::Size(size.width * 3, size.height * 3)) << where;
    const int in = static_cast<int>(*perOs("devices", os).numberAt("radius") * 3 * 0.25);
    const int right = img.cols - 1 - in, bottom = img.rows - 1 - in;
    for (const cv::Point corner :
         {cv::Point(in, in), cv::Point(right, in), cv::Point(in, bottom), cv::Point(right, bottom)})
      EXPECT_EQ(img.at<cv::Vec4b>(corner)[3], 0) << where << " corner " << corner;
    for (const cv::Point edge :
         {cv::Point(img.cols / 2, 1), cv::Point(1, img.rows / 2),
          cv::Point(img.cols - 2, img.rows / 2), cv::Point(img.cols / 2, img.rows - 2)})
      EXPECT_EQ(img.at<cv::Vec4b>(edge)[3], 255) << where << " edge " << edge;
    cv::Mat bgr;
    cv::cvtColor(img, bgr, cv::COLOR_BGRA2BGR);
    cv::Scalar mean, dev;
    cv::meanStdDev(bgr(cv::Rect(0, img.rows / 8, img.cols, img.rows * 3 / 4)), mean, dev);
    EXPECT_GT(dev[0] + dev[1] + dev[2], 30.0) << where << ": the screen is nearly blank";

    if (page != "home" && page != "detail" && page != "insights") continue;
    PhoneCapture c = phoneAndHero(html, os);
    ASSERT_TRUE(c.hero && c.heroRect) << where;
    keep("hero-" + where + ".png", *c.hero);
    const Rect r = c.heroRect->rect;
    EXPECT_TRUE(c.heroRect->plate) << where;
    EXPECT_TRUE(r.x >= 0 && r.x + r.width <= size.width) << where;
    EXPECT_GT(r.width, size.width * 0.6) << where << ": a hero is a sizeable card";
    EXPECT_GT(r.y, 90) << where << ": the hero stands below the bars";
    const cv::Mat hero = decode(*c.hero);
    ASSERT_EQ(hero.channels(), 4);
    EXPECT_EQ(hero.at<cv::Vec4b>(1, 1)[3], 0) << where << ": the plate has round corners";
    EXPECT_EQ(hero.at<cv::Vec4b>(hero.rows / 2, hero.cols / 2)[3], 255) << where;
    // Inside the hero's rectangle the phone picture lacks it; above it, the
    // phone picture is the plain screen.
    const cv::Mat cut = decode(c.phone);
    const cv::Rect inHero(static_cast<int>(r.x * 3), static_cast<int>(r.y * 3),
                          static_cast<int>(r.width * 3), static_cast<int>(r.height * 3));
    EXPECT_GT(meanAbsDiff(cut(inHero), img(inHero)), 8.0) << where;
    const cv::Rect top(0, 0, cut.cols, 80 * 3);
    EXPECT_LT(meanAbsDiff(cut(top), img(top)), 0.5) << where;
  }
}

const char* kMeasure = R"(
  const phone = document.querySelector('[data-vell-phone]').getBoundingClientRect();
  const title = document.querySelector('[data-vell-title]');
  const range = document.createRange();
  range.selectNodeContents(title);
  const ink = range.getBoundingClientRect();
  return {phone: [phone.x, phone.y, phone.width, phone.height],
          ink: [ink.x, ink.y, ink.width, ink.height],
          family: getComputedStyle(title).fontFamily, dir: title.dir};
)";

// The store image at its size: the title in its colours over the backdrop,
// and a phone that shows its screen.
TEST_F(PageDesigns, StoreImageShowsTitleAndPhone) {
  for (const auto& os : kOses) {
    StoreArgs a{.page = "insights", .os = os, .theme = "light"};
    a.texts = titleTexts("insights", "en", "See your *progress* grow");
    addPhone(a);
    auto slot = renderer->acquire(platform::Priority::interactive);
    slot->load(compositeHtml(a), canvasSize(os));
    const JSONValue m = slot->run(kMeasure);
    const cv::Mat img = capture(slot, os, 2);
    keep("store-insights-" + os + ".png", encodePNG(img));
    // The stores take only these sizes, and no alpha.
    EXPECT_EQ(img.size(), os == "ios" ? cv::Size(1242, 2688) : cv::Size(1284, 2778));
    EXPECT_EQ(img.channels(), 3);

    const cv::Mat ink = img(toPixels(*m.find("ink"), 2, img.size()));
    EXPECT_GT(countNear(ink, {255, 255, 255}, 10), ink.total() / 12) << os << ": white title";
    EXPECT_GT(countNear(ink, {255, 213, 74}, 14), ink.total() / 40) << os << ": yellow accent";

    // Hide the phone and see what it covered.
    const cv::Rect phoneBox = toPixels(*m.find("phone"), 2, img.size());
    slot->run("document.querySelector('[data-vell-phone]').style.visibility='hidden';");
    const cv::Mat bare = capture(slot, os, 2);
    EXPECT_GT(meanAbsDiff(img(phoneBox), bare(phoneBox)), 40.0) << os;
    const cv::Rect farCorner(0, 0, 40, 40);
    EXPECT_LT(meanAbsDiff(img(farCorner), bare(farCorner)), 1.0) << os;
  }
}

// Layers keep their side of the phone; text layers carry their id.
TEST_F(PageDesigns, LayersStackAroundThePhone) {
  cv::Mat dot(60, 60, CV_8UC4, cv::Scalar(40, 200, 40, 255));
  const JSONValue layers = JSONValue::parse(R"([
    {"id": "behind", "kind": "image", "asset": "dot.png", "x": 200, "y": 640, "w": 120, "z": "back"},
    {"id": "badge", "kind": "image", "asset": "dot.png", "x": 420, "y": 820, "w": 120, "sticker": true},
    {"id": "note", "kind": "text", "text": "New in *2.4*", "x": 310, "y": 900, "w": 300, "size": 40},
    {"id": "ghost", "kind": "image", "x": 100, "y": 100, "w": 50}])");
  StoreArgs a;
  a.styles = JSONValue(JSONValue::Object{{"home", JSONValue::Object{{"layers", layers}}}}).dump();
  a.layerUris = JSONValue::Object{
      {"dot.png", "data:image/png;base64," + platform::base64Encode(encodePNG(dot))}};
  auto slot = renderer->acquire(platform::Priority::interactive);
  slot->load(compositeHtml(a), canvasSize("ios"));
  const JSONValue r = slot->run(R"(
    const ids = [...document.querySelectorAll('[data-vell-layer]')].map(e => e.getAttribute('data-vell-layer') + ':' + e.tagName);
    const stackAt = (x, y) => document.elementsFromPoint(x, y)
        .map(e => e.getAttribute('data-vell-layer') || (e.hasAttribute('data-vell-phone') ? 'phone' : ''))
        .filter(s => s).join(' ');
    const note = document.querySelector('[data-vell-layer=note]');
    return {ids, behind: stackAt(200, 640), front: stackAt(420, 820), noteSize: getComputedStyle(note).fontSize,
            accent: note.querySelector('span') ? getComputedStyle(note.querySelector('span')).color : ''};
  )");
  EXPECT_EQ(*r.find("ids"), JSONValue::parse(R"(["behind:IMG", "badge:IMG", "note:DIV"])"));
  EXPECT_TRUE(r.stringAt("behind")->starts_with("phone ")) << *r.stringAt("behind");
  EXPECT_NE(r.stringAt("behind")->find(" behind"), std::string::npos) << *r.stringAt("behind");
  EXPECT_TRUE(r.stringAt("front")->starts_with("badge ")) << *r.stringAt("front");
  EXPECT_EQ(r.stringAt("noteSize"), "40px");
  EXPECT_EQ(r.stringAt("accent"), "rgb(255, 213, 74)");
}

// Words in every script are drawn with real glyphs, as store titles in their
// own face and direction and on the screen: private-use code points, which no
// installed face has, standing in for them look different.
TEST_F(PageDesigns, EveryScriptIsDrawnWithRealGlyphs) {
  struct Case {
    std::string locale, title, tofu, face;
  };
  const std::vector<Case> cases = {
      {"ar", "ابنِ عادات *تدوم*", "\uE000\uE001 \uE002\uE003 *\uE004*", "Estedad"},
      {"ja", "続く習慣を\n*毎日*", "\uE000\uE001\uE002\n*\uE003*", "Nunito"},
      {"de", "Übung für *Größe*", "\uE000bung f\uE001r *Gr\uE002\uE003e*", "Nunito"},
      {"en", "Grow 🌱 *daily*", "Grow \uE000 *daily*", "Nunito"}};
  auto slot = renderer->acquire(platform::Priority::interactive);
  for (const auto& c : cases) {
    JSONValue m;
    auto title = [&](const std::string& text) {
      StoreArgs a{.locale = c.locale, .texts = titleTexts("home", c.locale, text)};
      slot->load(compositeHtml(a), canvasSize("ios"));
      m = slot->run(kMeasure);
      const cv::Mat img = capture(slot, "ios");
      return img(cv::Rect(0, 0, img.cols, 428)).clone();
    };
    const cv::Mat real = title(c.title);
    keep("title-" + c.locale + ".png", encodePNG(real));
    EXPECT_EQ(m.stringAt("dir"), c.locale == "ar" ? "rtl" : "ltr");
    std::string first = m.stringAt("family")->substr(0, m.stringAt("family")->find(','));
    first.erase(std::remove(first.begin(), first.end(), '"'), first.end());
    EXPECT_EQ(first, c.face) << *m.stringAt("family");
    EXPECT_GT(meanAbsDiff(real, title(c.tofu)), 0.3) << c.locale << ": title has missing glyphs";

    auto greeting = [&](const std::string& text) {
      JSONValue texts = JSONValue::Object{};
      texts["home"][c.locale]["screen"]["greeting"] = text;
      slot->load(*pageHtml("home", "ios", "light", c.locale, texts.dump()), deviceSize("ios"));
      const JSONValue box = slot->run(R"(
        const r = document.querySelector('.hero-greet').getBoundingClientRect();
        return [r.x, r.y, r.width, r.height];)");
      const cv::Mat img = decode(slot->capturePNG({0, 0, 393, 852}, 393 * 2, true));
      return img(toPixels(box, 2, img.size())).clone();
    };
    const cv::Mat words = greeting("Hi " + c.title);
    const cv::Mat boxes = greeting("Hi " + c.tofu);
    ASSERT_EQ(words.size(), boxes.size()) << c.locale;
    EXPECT_GT(meanAbsDiff(words, boxes), 1.0) << c.locale << ": screen has missing glyphs";
  }
}

// Not a check but the maker of docs/contact-sheet.png: run it with
// --gtest_also_run_disabled_tests and VELLS_CONTACT_SHEET naming the file.
TEST_F(PageDesigns, DISABLED_ContactSheet) {
  const char* target = std::getenv("VELLS_CONTACT_SHEET");
  ASSERT_TRUE(target && *target) << "VELLS_CONTACT_SHEET names no file";
  // The ten themes of the inspector's grid, in its order: gradFrom, gradVia,
  // gradTo, gradAngle, titleColor, accentColor, strokeOpacity.
  const std::vector<std::string> themes = {"#07184a #0052cc #0093fd 160 #ffffff #ffd54a 0.25",
                                           "#0b0b12 #1c1c2e #3a3a5c 160 #ffffff #8ab4ff 0.2",
                                           "#3b0a45 #8e1b6a #ff5e8a 160 #ffffff #ffd54a 0.25",
                                           "#08331f #12674a #2fb37a 160 #ffffff #ffe27a 0.25",
                                           "#FFF3E0 #FFE0B8 #FFC98A 165 #1C1C1E #1B7F3B 0.7",
                                           "#F1F8E6 #DCF0C4 #BFE39A 165 #1C1C1E #1B7F3B 0.7",
                                           "#FFEDE6 #FFD3C4 #FFB59E 165 #1C1C1E #B3261E 0.7",
                                           "#FFFBE6 #FFF0B3 #FFE17A 165 #1C1C1E #1B7F3B 0.7",
                                           "#FAF3EA #F1E0CB #E6C9A6 165 #1C1C1E #8A4B14 0.7",
                                           "#FFFFFF #F2F4F8 #E3E8F0 165 #1C1C1E #0A84FF 0.8"};
  // A few cells show the layout's other choices.
  const std::map<int, std::string> variations = {
      {3, R"({"bgPattern": "hexagons", "bgPatternColor": "#000000"})"},
      {8, R"({"phoneRotateY": -12, "phoneRotateX": 4, "phoneScale": 0.92})"},
      {13, R"({"textPos": "bottom"})"},
      {17, R"({"bgPattern": "wiggle", "bgPatternColor": "#ffffff", "bgPatternOpacity": 0.1})"},
      {22, R"({"decor": "none", "titleFont": "openrunde"})"}};
  // Each page's title in the rows' languages: en, de, ja, ar.
  const std::vector<std::pair<std::string, std::vector<std::string>>> pages = {
      {"home",
       {"Build habits\nthat *stick*", "Gewohnheiten,\ndie *bleiben*", "続く習慣を\n*毎日*つくろう",
        "ابنِ عادات\n*تدوم*"}},
      {"habits",
       {"Every habit,\n*one glance*", "Jede Gewohnheit\n*im Blick*", "すべての習慣を\n*ひと目で*",
        "كل عاداتك\n*في لمحة*"}},
      {"detail",
       {"Streaks that\n*keep you going*", "Serien, die\n*motivieren*", "連続記録で\n*やる気*が続く",
        "سلاسل *تحفّزك*\nكل يوم"}},
      {"insights",
       {"See your\n*progress* grow", "Sieh deinen\n*Fortschritt*", "*成長*が\n見える",
        "شاهد *تقدّمك*\nينمو"}},
      {"focus",
       {"Focus *deeper*,\nstress less", "Tiefer\n*fokussieren*", "*深く*\n集中しよう",
        "ركّز\n*بعمق* أكثر"}},
      {"settings",
       {"Reminders that\n*fit your day*", "Erinnerungen,\ndie *passen*",
        "あなたに*合う*\nリマインダー", "تذكيرات\n*تناسب* يومك"}}};
  struct Row {
    std::string os, theme, locale;
  };
  const std::vector<Row> rows = {{"ios", "dark", "en"},
                                 {"android", "light", "de"},
                                 {"ios", "light", "ja"},
                                 {"android", "dark", "ar"}};
  const int thumbW = 200, thumbH = 433, gap = 14;
  cv::Mat sheet(gap + rows.size() * (thumbH + gap), gap + pages.size() * (thumbW + gap), CV_8UC3,
                cv::Scalar(246, 244, 242));
  for (std::size_t ri = 0; ri < rows.size(); ++ri) {
    const Row& row = rows[ri];
    for (std::size_t pi = 0; pi < pages.size(); ++pi) {
      const std::string& page = pages[pi].first;
      const int cell = static_cast<int>(ri * pages.size() + pi);
      std::istringstream theme(themes[(cell + ri) % themes.size()]);
      std::string from, via, to, title, accent;
      double angle, stroke;
      theme >> from >> via >> to >> angle >> title >> accent >> stroke;
      JSONValue style = JSONValue::Object{{"gradFrom", from},       {"gradVia", via},
                                          {"gradTo", to},           {"gradAngle", angle},
                                          {"titleColor", title},    {"accentColor", accent},
                                          {"strokeOpacity", stroke}};
      const JSONValue variation =
          JSONValue::parse(variations.count(cell) ? variations.at(cell) : "{}");
      for (const auto& [key, value] : *variation.asObject())
        style[key] = value;
      StoreArgs a{.page = page, .os = row.os, .theme = row.theme, .locale = row.locale};
      a.texts = titleTexts(page, row.locale, pages[pi].second[ri]);
      a.styles = JSONValue(JSONValue::Object{{page, style}}).dump();
      addPhone(a);
      auto slot = renderer->acquire(platform::Priority::interactive);
      slot->load(compositeHtml(a), canvasSize(row.os));
      const cv::Mat full = capture(slot, row.os, 2);
      keep("sheet-" + page + "-" + row.os + "-" + row.theme + "-" + row.locale + ".png",
           encodePNG(full));
      cv::Mat thumb;
      cv::resize(
          full, thumb,
          cv::Size(thumbW, static_cast<int>(std::lround(full.rows * thumbW / double(full.cols)))),
          0, 0, cv::INTER_AREA);
      const int h = std::min(thumb.rows, thumbH);
      thumb(cv::Rect(0, 0, thumbW, h))
          .copyTo(sheet(cv::Rect(gap + pi * (thumbW + gap), gap + ri * (thumbH + gap), thumbW, h)));
    }
  }
  std::ofstream(target, std::ios::binary) << encodePNG(sheet);
  EXPECT_TRUE(fs::exists(target));
}

}  // namespace
}  // namespace vells::rendering
