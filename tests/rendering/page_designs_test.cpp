// The built-in screens and the store image of the shipped core.js, drawn by
// the real headless browser: what each page lays out, whether its words fit
// and its glyphs exist, and whether the store image follows the geometry the
// live preview shares with it.
//
// With VELLS_PAGE_DESIGNS_OUT set to a folder the rendered pictures are kept
// there; with VELLS_CONTACT_SHEET set to a file name the store images of the
// sample set are laid out on one sheet there.

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
#include <set>
#include <sstream>

#include "platform/base64.h"
#include "rendering/core_js.h"
#include "rendering/html_renderer.h"

namespace vells::rendering {
namespace {

namespace fs = std::filesystem;

const fs::path kResources = fs::path(VELLS_SOURCE_RESOURCES);
const std::vector<std::string> kPages = {"home",     "habits", "detail",
                                         "insights", "focus",  "settings"};
const std::vector<std::string> kOses = {"ios", "android"};
const std::vector<std::string> kThemes = {"dark", "light"};
const std::vector<std::string> kLocales = {"en", "de", "ja", "ar"};

CoreJS& core() {
  static CoreJS instance(kResources);
  return instance;
}

const JSONValue::Object& catalogEntry(const std::string& key) {
  static const JSONValue::Object empty;
  const auto& cat = *core().catalog();
  auto it = cat.find(key);
  return it != cat.end() && it->second.isObject() ? *it->second.asObject() : empty;
}

CSSSize deviceSize(const std::string& os) {
  const JSONValue& d = catalogEntry("devices").at(os);
  return {*d.numberAt("width"), *d.numberAt("height")};
}

CSSSize canvasSize(const std::string& os) {
  const JSONValue& d = catalogEntry("compositeDims").at(os);
  return {*d.numberAt("w"), *d.numberAt("h")};
}

double deviceRadius(const std::string& os) {
  return *catalogEntry("devices").at(os).numberAt("radius");
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
  std::string page = "home";
  std::string os = "ios";
  std::string theme = "dark";
  std::string locale = "en";
  std::string texts = "{}";
  std::string styles = "{}";
  JSONValue phone = nullptr;
  JSONValue hero = nullptr;
  JSONValue layerUris = JSONValue::Object{};
};

std::string compositeHtml(const StoreArgs& a) {
  auto html = core().stringWithDocs("compositeHtml", Documents(a.texts, a.styles),
                                    JSONValue::Object{{"page", a.page},
                                                      {"os", a.os},
                                                      {"theme", a.theme},
                                                      {"locale", a.locale},
                                                      {"pageLabel", a.page},
                                                      {"phone", a.phone},
                                                      {"hero", a.hero},
                                                      {"background", nullptr},
                                                      {"overlay", nullptr},
                                                      {"layerUris", a.layerUris}});
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
  const auto& arr = *box.asArray();
  cv::Rect r(static_cast<int>(std::floor(*arr[0].asNumber() * scale)),
             static_cast<int>(std::floor(*arr[1].asNumber() * scale)),
             static_cast<int>(std::ceil(*arr[2].asNumber() * scale)),
             static_cast<int>(std::ceil(*arr[3].asNumber() * scale)));
  return r & cv::Rect(0, 0, bounds.width, bounds.height);
}

// Pixels of `image` (BGR or BGRA) within `tolerance` of an sRGB colour.
int countNear(const cv::Mat& image, cv::Vec3b rgb, int tolerance) {
  int n = 0;
  for (int y = 0; y < image.rows; ++y) {
    for (int x = 0; x < image.cols; ++x) {
      const uchar* p = image.ptr<uchar>(y) + x * image.channels();
      if (std::abs(p[2] - rgb[0]) <= tolerance && std::abs(p[1] - rgb[1]) <= tolerance &&
          std::abs(p[0] - rgb[2]) <= tolerance) {
        ++n;
      }
    }
  }
  return n;
}

std::string titleTexts(const std::string& page, const std::string& locale,
                       const std::string& title) {
  JSONValue texts = JSONValue::Object{};
  texts[page][locale]["title"] = title;
  return texts.dump();
}

class PageDesigns : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(2); }
  static void TearDownTestSuite() { renderer.reset(); }
  static std::unique_ptr<HTMLRenderer> renderer;

  // The screen's phone picture, as the composite pipeline captures it.
  static std::string phoneCapture(const std::string& page, const std::string& os,
                                  const std::string& theme, const std::string& locale,
                                  const std::string& texts = "{}") {
    auto html = pageHtml(page, os, theme, locale, texts);
    EXPECT_TRUE(html);
    return renderer->renderDevice(html.value_or(""), deviceSize(os), 3);
  }

  // The store image as the browser draws it, one pixel per composite pixel
  // unless told otherwise.
  static cv::Mat capture(HTMLRenderer::Lease& slot, const std::string& os, double scale = 1) {
    const CSSSize size = canvasSize(os);
    return decode(slot->capturePNG({0, 0, size.width, size.height}, size.width * scale, true));
  }
};
std::unique_ptr<HTMLRenderer> PageDesigns::renderer;

// ---------------------------------------------------------------------------
// The screens as text

TEST(ScreenMarkup, UnknownPagesHaveNoScreen) {
  EXPECT_FALSE(pageHtml("no-such-page", "ios", "dark", "en"));
  EXPECT_FALSE(pageHtml("no-such-page", "ios", "dark", "en", "{}", "previewHtml"));
  EXPECT_TRUE(pageHtml("home", "ios", "dark", "en"));
}

std::string escapeHtml(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

// Every word a translator gives a screen reaches it, and an override replaces it.
TEST(ScreenMarkup, EveryScreenWordIsDrawnAndOverridable) {
  for (const auto& page : kPages) {
    for (const auto& os : kOses) {
      for (const std::string locale : {"en", "de", "ar"}) {
        const auto words = core().callJSON(
            "screenTexts", JSONValue::Object{{"page", page}, {"locale", locale}, {"os", os}});
        ASSERT_TRUE(words && words->isArray());
        const std::string html = *pageHtml(page, os, "light", locale);
        for (const auto& entry : *words->asArray()) {
          const std::string value = *entry.stringAt("value");
          EXPECT_NE(html.find(escapeHtml(value)), std::string::npos)
              << page << " " << os << " " << locale << " lacks " << *entry.stringAt("key");
        }
        // A key whose words stand only once on the page.
        static const std::map<std::string, std::string> uniqueKey = {
            {"home", "greeting"}, {"habits", "summary"},   {"detail", "notes.body"},
            {"insights", "tip"},  {"focus", "break.next"}, {"settings", "pro.body"}};
        const std::string key = uniqueKey.at(page);
        std::string original;
        for (const auto& entry : *words->asArray())
          if (entry.stringAt("key") == key) original = *entry.stringAt("value");
        ASSERT_FALSE(original.empty()) << page << " " << key;
        JSONValue texts = JSONValue::Object{};
        texts[page][locale]["screen"][key] = "Zq <override> & more";
        const std::string changed = *pageHtml(page, os, "light", locale, texts.dump());
        EXPECT_NE(changed.find("Zq &lt;override&gt; &amp; more"), std::string::npos) << page;
        EXPECT_EQ(changed.find(escapeHtml(original)), std::string::npos) << page << " " << key;
      }
    }
  }
}

// ---------------------------------------------------------------------------
// The screens in the browser

// Each screen fills exactly its device and no word runs out of its box.
TEST_F(PageDesigns, EveryScreenFitsItsDevice) {
  const std::string check = R"(
    const device = document.querySelector('#device');
    const r = device.getBoundingClientRect();
    const W = r.width;
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
    return {x: r.x, y: r.y, w: r.width, h: r.height, bad};
  )";
  auto slot = renderer->acquire(false);
  std::vector<std::string> locales = kLocales;
  locales.push_back("fa");
  for (const auto& page : kPages) {
    for (const auto& os : kOses) {
      for (const auto& theme : kThemes) {
        for (const auto& locale : locales) {
          const CSSSize size = deviceSize(os);
          slot->load(*pageHtml(page, os, theme, locale), size);
          const JSONValue result = slot->run(check);
          const std::string where = page + " " + os + " " + theme + " " + locale;
          EXPECT_EQ(result.numberAt("x"), 0.0) << where;
          EXPECT_EQ(result.numberAt("y"), 0.0) << where;
          EXPECT_EQ(result.numberAt("w"), size.width) << where;
          EXPECT_EQ(result.numberAt("h"), size.height) << where;
          for (const auto& problem : *result.find("bad")->asArray()) {
            ADD_FAILURE() << where << ": " << *problem.asString();
          }
        }
      }
    }
  }
}

// The phone picture: the screen's own corners, transparent outside them,
// and real content inside.
TEST_F(PageDesigns, PhonePicturesHaveRoundCornersAndContent) {
  int turn = 0;
  for (const auto& page : kPages) {
    const std::string os = kOses[turn % 2];
    const std::string theme = kThemes[(turn / 2) % 2];
    const std::string locale = kLocales[turn % 4];
    ++turn;
    const std::string png = phoneCapture(page, os, theme, locale);
    keep("phone-" + page + "-" + os + "-" + theme + "-" + locale + ".png", png);
    const cv::Mat img = decode(png);
    const CSSSize size = deviceSize(os);
    ASSERT_EQ(img.channels(), 4);
    EXPECT_EQ(img.cols, size.width * 3);
    EXPECT_EQ(img.rows, size.height * 3);
    const int inset = static_cast<int>(deviceRadius(os) * 3 * 0.25);
    for (const cv::Point corner : {cv::Point(inset, inset), cv::Point(img.cols - 1 - inset, inset),
                                   cv::Point(inset, img.rows - 1 - inset),
                                   cv::Point(img.cols - 1 - inset, img.rows - 1 - inset)}) {
      EXPECT_EQ(img.at<cv::Vec4b>(corner)[3], 0) << page << " corner " << corner;
    }
    for (const cv::Point edge :
         {cv::Point(img.cols / 2, 1), cv::Point(1, img.rows / 2),
          cv::Point(img.cols - 2, img.rows / 2), cv::Point(img.cols / 2, img.rows - 2)}) {
      EXPECT_EQ(img.at<cv::Vec4b>(edge)[3], 255) << page << " edge " << edge;
    }
    cv::Mat bgr;
    cv::cvtColor(img, bgr, cv::COLOR_BGRA2BGR);
    cv::Scalar mean, dev;
    cv::meanStdDev(bgr(cv::Rect(0, img.rows / 8, img.cols, img.rows * 3 / 4)), mean, dev);
    EXPECT_GT(dev[0] + dev[1] + dev[2], 30.0) << page << ": the screen is nearly blank";
  }
}

// The hero comes out as its own picture on its plate and leaves its place in
// the phone picture.
TEST_F(PageDesigns, HeroPagesCutOutTheirHero) {
  const auto& cat = *core().catalog();
  const std::pair<std::string, std::string> selectors{*cat.at("heroSelector").asString(),
                                                      *cat.at("heroHideSelector").asString()};
  for (const std::string page : {"home", "detail", "insights"}) {
    for (const auto& os : kOses) {
      const std::string theme = os == "ios" ? "light" : "dark";
      const std::string html = *pageHtml(page, os, theme, "en");
      const CSSSize size = deviceSize(os);
      PhoneCapture c = renderer->renderPhoneAndHero(html, size, 3, selectors, false);
      ASSERT_TRUE(c.hero && c.heroRect) << page << " " << os;
      keep("hero-" + page + "-" + os + ".png", *c.hero);
      const Rect r = c.heroRect->rect;
      EXPECT_TRUE(c.heroRect->plate) << page;
      EXPECT_GE(r.x, 0);
      EXPECT_LE(r.x + r.width, size.width);
      EXPECT_GT(r.width, size.width * 0.6) << page << ": a hero is a sizeable card";
      EXPECT_GT(r.y, 90) << page << ": the hero stands below the bars";

      const cv::Mat hero = decode(*c.hero);
      ASSERT_EQ(hero.channels(), 4);
      EXPECT_EQ(hero.at<cv::Vec4b>(1, 1)[3], 0) << page << ": the plate has round corners";
      EXPECT_EQ(hero.at<cv::Vec4b>(hero.rows / 2, hero.cols / 2)[3], 255) << page;

      // Inside the hero's rectangle the phone picture lacks it; above it, the
      // phone picture is the plain screen.
      const cv::Mat cut = decode(c.phone);
      const cv::Mat whole = decode(renderer->renderDevice(html, size, 3));
      const cv::Rect inHero(static_cast<int>(r.x * 3), static_cast<int>(r.y * 3),
                            static_cast<int>(r.width * 3), static_cast<int>(r.height * 3));
      EXPECT_GT(meanAbsDiff(cut(inHero), whole(inHero)), 8.0) << page;
      const cv::Rect top(0, 0, cut.cols, 80 * 3);
      EXPECT_LT(meanAbsDiff(cut(top), whole(top)), 0.5) << page;
    }
  }
}

// Words in any script are drawn with real glyphs: a Japanese, Arabic or emoji
// greeting looks neither like nothing nor like missing-glyph boxes.
TEST_F(PageDesigns, ScreensDrawEveryScript) {
  const std::string probe = R"(
    const el = [...document.querySelectorAll('.hero-greet')][0];
    const r = el.getBoundingClientRect();
    return [r.x, r.y, r.width, r.height];
  )";
  struct Case {
    std::string locale, words;
  };
  const std::vector<Case> cases = {
      {"ja", "\xE3\x81\x93\xE3\x82\x93\xE3\x81\xB0\xE3\x82\x93\xE3\x81\xAF"},
      {"ar", "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7"},
      {"en", "\xF0\x9F\x8C\xB1\xF0\x9F\x8F\x83"}};
  for (const auto& c : cases) {
    auto draw = [&](const std::string& greeting) {
      JSONValue texts = JSONValue::Object{};
      texts["home"][c.locale]["screen"]["greeting"] = greeting;
      auto slot = renderer->acquire(false);
      slot->load(*pageHtml("home", "ios", "light", c.locale, texts.dump()), deviceSize("ios"));
      const JSONValue box = slot->run(probe);
      const cv::Mat img = decode(slot->capturePNG({0, 0, 393, 852}, 393 * 2, true));
      return img(toPixels(box, 2, img.size())).clone();
    };
    const cv::Mat real = draw("Hi " + c.words);
    // Private-use code points have no glyph in any installed face.
    const cv::Mat boxes = draw("Hi \xEE\x80\x80\xEE\x80\x81\xEE\x80\x82");
    const cv::Mat none = draw("Hi ");
    if (real.size() == boxes.size()) {
      EXPECT_GT(meanAbsDiff(real, boxes), 1.0) << c.locale << ": drawn as missing glyphs";
    }
    if (real.size() == none.size()) {
      EXPECT_GT(meanAbsDiff(real, none), 1.0) << c.locale << ": nothing drawn";
    }
  }
}

// ---------------------------------------------------------------------------
// The store image

const char* kMeasure = R"(
  const phone = document.querySelector('[data-vell-phone]').getBoundingClientRect();
  const title = document.querySelector('[data-vell-title]');
  const cs = getComputedStyle(title);
  const range = document.createRange();
  range.selectNodeContents(title);
  const ink = range.getBoundingClientRect();
  const band = document.querySelector('#textLayer').getBoundingClientRect();
  return {
    first: document.body.firstElementChild.id,
    canvas: [document.body.firstElementChild.offsetWidth, document.body.firstElementChild.offsetHeight],
    phone: [phone.x, phone.y, phone.width, phone.height],
    column: title.parentElement.clientWidth - parseFloat(cs.paddingLeft) - parseFloat(cs.paddingRight),
    clamp: cs.webkitLineClamp,
    lines: Math.round((title.scrollHeight - parseFloat(cs.paddingTop) - parseFloat(cs.paddingBottom)) / parseFloat(cs.lineHeight)),
    fontSize: parseFloat(cs.fontSize),
    family: cs.fontFamily,
    dir: title.dir,
    ink: [ink.x, ink.y, ink.width, ink.height],
    band: [band.x, band.y, band.width, band.height],
  };
)";

// The store image at its size: the title in its colours over the backdrop,
// and a phone that shows its screen.
TEST_F(PageDesigns, StoreImageShowsTitleAndPhone) {
  for (const auto& os : kOses) {
    StoreArgs a;
    a.os = os;
    a.page = "insights";
    a.theme = "light";
    a.texts = titleTexts("insights", "en", "See your *progress* grow");
    a.phone = picture(phoneCapture("insights", os, "light", "en"));
    const std::string html = compositeHtml(a);
    auto slot = renderer->acquire(false);
    const CSSSize comp = canvasSize(os);
    slot->load(html, comp);
    const JSONValue m = slot->run(kMeasure);
    const cv::Mat img = capture(slot, os, 2);
    keep("store-insights-" + os + ".png", encodePNG(img));
    EXPECT_EQ(img.cols, comp.width * 2);
    EXPECT_EQ(img.rows, comp.height * 2);
    EXPECT_EQ(img.channels(), 3);

    const cv::Mat ink = img(toPixels(*m.find("ink"), 2, img.size()));
    const int white = countNear(ink, {255, 255, 255}, 10);
    const int accent = countNear(ink, {255, 213, 74}, 14);
    EXPECT_GT(white, ink.total() / 12) << os << ": the title is white";
    EXPECT_GT(accent, ink.total() / 40) << os << ": the accent is yellow";

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
  const std::string uri = "data:image/png;base64," + platform::base64Encode(encodePNG(dot));
  JSONValue layers = JSONValue::Array{
      JSONValue::Object{{"id", "behind"},
                        {"kind", "image"},
                        {"asset", "dot.png"},
                        {"x", 200},
                        {"y", 640},
                        {"w", 120},
                        {"z", "back"}},
      JSONValue::Object{{"id", "badge"},
                        {"kind", "image"},
                        {"asset", "dot.png"},
                        {"x", 420},
                        {"y", 820},
                        {"w", 120},
                        {"sticker", true}},
      JSONValue::Object{{"id", "note"},
                        {"kind", "text"},
                        {"text", "New in *2.4*"},
                        {"x", 310},
                        {"y", 900},
                        {"w", 300},
                        {"size", 40}},
      JSONValue::Object{{"id", "ghost"}, {"kind", "image"}, {"x", 100}, {"y", 100}, {"w", 50}}};
  StoreArgs a;
  a.styles = JSONValue(JSONValue::Object{{"home", JSONValue::Object{{"layers", layers}}}}).dump();
  a.layerUris = JSONValue::Object{{"dot.png", uri}};
  auto slot = renderer->acquire(false);
  slot->load(compositeHtml(a), canvasSize("ios"));
  const JSONValue r = slot->run(R"(
    const ids = [...document.querySelectorAll('[data-vell-layer]')].map(e => e.getAttribute('data-vell-layer') + ':' + e.tagName);
    const stackAt = (x, y) => document.elementsFromPoint(x, y).map(e => e.getAttribute('data-vell-layer') || (e.hasAttribute('data-vell-phone') ? 'phone' : ''));
    const note = document.querySelector('[data-vell-layer=note]');
    return {ids, behind: stackAt(200, 640), front: stackAt(420, 820), noteSize: getComputedStyle(note).fontSize,
            accent: note.querySelector('span') ? getComputedStyle(note.querySelector('span')).color : ''};
  )");
  std::vector<std::string> ids;
  for (const auto& id : *r.find("ids")->asArray())
    ids.push_back(*id.asString());
  EXPECT_EQ(ids, (std::vector<std::string>{"behind:IMG", "badge:IMG", "note:DIV"}));
  auto order = [](const JSONValue& stack) {
    std::vector<std::string> out;
    for (const auto& e : *stack.asArray())
      if (!e.asString()->empty()) out.push_back(*e.asString());
    return out;
  };
  const auto behind = order(*r.find("behind"));
  const auto front = order(*r.find("front"));
  ASSERT_GE(behind.size(), 2u);
  EXPECT_EQ(behind[0], "phone");
  EXPECT_NE(std::find(behind.begin(), behind.end(), "behind"), behind.end());
  ASSERT_GE(front.size(), 2u);
  EXPECT_EQ(front[0], "badge");
  EXPECT_EQ(r.stringAt("noteSize"), "40px");
  EXPECT_EQ(r.stringAt("accent"), "rgb(255, 213, 74)");
}

// Titles in right-to-left and CJK languages: their faces, their direction,
// and glyphs that are really there.
TEST_F(PageDesigns, StoreTitlesInEveryScript) {
  struct Case {
    std::string locale, title, tofu, face;
  };
  const std::vector<Case> cases = {
      {"ar",
       "\xD8\xA7\xD8\xA8\xD9\x86\xD9\x90 \xD8\xB9\xD8\xA7\xD8\xAF\xD8\xA7\xD8\xAA "
       "*\xD8\xAA\xD8\xAF\xD9\x88\xD9\x85*",
       "\xEE\x80\x80\xEE\x80\x81 \xEE\x80\x82\xEE\x80\x83 *\xEE\x80\x84*", "Estedad"},
      {"ja",
       "\xE7\xB6\x9A\xE3\x81\x8F\xE7\xBF\x92\xE6\x85\xA3\xE3\x82\x92\n*\xE6\xAF\x8E\xE6\x97\xA5*",
       "\xEE\x80\x80\xEE\x80\x81\xEE\x80\x82\n*\xEE\x80\x83*", "Nunito"},
      {"en", "Grow \xF0\x9F\x8C\xB1 *daily*", "Grow \xEE\x80\x80 *daily*", "Nunito"}};
  auto slot = renderer->acquire(false);
  for (const auto& c : cases) {
    auto draw = [&](const std::string& title, JSONValue* measured) {
      StoreArgs a;
      a.locale = c.locale;
      a.texts = titleTexts("home", c.locale, title);
      slot->load(compositeHtml(a), canvasSize("ios"));
      if (measured) *measured = slot->run(kMeasure);
      const cv::Mat img = capture(slot, "ios");
      return img(cv::Rect(0, 0, img.cols, 428)).clone();
    };
    JSONValue m;
    const cv::Mat real = draw(c.title, &m);
    keep("title-" + c.locale + ".png", encodePNG(real));
    EXPECT_EQ(m.stringAt("dir"), c.locale == "ar" ? "rtl" : "ltr");
    std::string first = m.stringAt("family")->substr(0, m.stringAt("family")->find(','));
    first.erase(std::remove(first.begin(), first.end(), '"'), first.end());
    EXPECT_EQ(first, c.face) << *m.stringAt("family");
    if (c.locale == "ar") {
      const JSONValue loaded = slot->run(
          "return document.fonts.check('900 60px Estedad', '\xD8\xAA\xD8\xAF\xD9\x88\xD9\x85');");
      EXPECT_TRUE(loaded.asBool() && *loaded.asBool());
    }
    const cv::Mat boxes = draw(c.tofu, nullptr);
    EXPECT_GT(meanAbsDiff(real, boxes), 0.3) << c.locale << ": drawn as missing glyphs";
  }
}

// ---------------------------------------------------------------------------
// The contact sheet of the sample set's store images

struct SheetPage {
  std::string page;
  std::map<std::string, std::string> titles;
};

// Not a check but the maker of docs/contact-sheet.png: run it with
// --gtest_also_run_disabled_tests and VELLS_CONTACT_SHEET naming the file.
TEST_F(PageDesigns, DISABLED_ContactSheet) {
  const char* target = std::getenv("VELLS_CONTACT_SHEET");
  ASSERT_TRUE(target && *target) << "VELLS_CONTACT_SHEET names no file";
  const auto theme = [](const char* from, const char* via, const char* to, double angle,
                        const char* title, const char* accent, double stroke) {
    return JSONValue(JSONValue::Object{{"gradFrom", from},
                                       {"gradVia", via},
                                       {"gradTo", to},
                                       {"gradAngle", angle},
                                       {"titleColor", title},
                                       {"accentColor", accent},
                                       {"strokeOpacity", stroke}});
  };
  // The ten themes of the inspector's grid, in its order.
  const std::vector<JSONValue> themes = {
      theme("#07184a", "#0052cc", "#0093fd", 160, "#ffffff", "#ffd54a", 0.25),
      theme("#0b0b12", "#1c1c2e", "#3a3a5c", 160, "#ffffff", "#8ab4ff", 0.2),
      theme("#3b0a45", "#8e1b6a", "#ff5e8a", 160, "#ffffff", "#ffd54a", 0.25),
      theme("#08331f", "#12674a", "#2fb37a", 160, "#ffffff", "#ffe27a", 0.25),
      theme("#FFF3E0", "#FFE0B8", "#FFC98A", 165, "#1C1C1E", "#1B7F3B", 0.7),
      theme("#F1F8E6", "#DCF0C4", "#BFE39A", 165, "#1C1C1E", "#1B7F3B", 0.7),
      theme("#FFEDE6", "#FFD3C4", "#FFB59E", 165, "#1C1C1E", "#B3261E", 0.7),
      theme("#FFFBE6", "#FFF0B3", "#FFE17A", 165, "#1C1C1E", "#1B7F3B", 0.7),
      theme("#FAF3EA", "#F1E0CB", "#E6C9A6", 165, "#1C1C1E", "#8A4B14", 0.7),
      theme("#FFFFFF", "#F2F4F8", "#E3E8F0", 165, "#1C1C1E", "#0A84FF", 0.8)};
  // A few cells show the layout's other choices.
  const std::map<int, JSONValue> variations = {
      {3, JSONValue::Object{{"bgPattern", "hexagons"}, {"bgPatternColor", "#000000"}}},
      {8, JSONValue::Object{{"phoneRotateY", -12}, {"phoneRotateX", 4}, {"phoneScale", 0.92}}},
      {13, JSONValue::Object{{"textPos", "bottom"}}},
      {17,
       JSONValue::Object{
           {"bgPattern", "wiggle"}, {"bgPatternColor", "#ffffff"}, {"bgPatternOpacity", 0.1}}},
      {22, JSONValue::Object{{"decor", "none"}, {"titleFont", "openrunde"}}}};
  std::vector<SheetPage> pages = {
      {
          "home",
          {{"en", "Build habits\nthat *stick*"},
           {"de", "Gewohnheiten,\ndie *bleiben*"},
           {"ja",
            "\xE7\xB6\x9A\xE3\x81\x8F\xE7\xBF\x92\xE6\x85\xA3\xE3\x82\x92\n*"
            "\xE6\xAF\x8E\xE6\x97\xA5*\xE3\x81\xA4\xE3\x81\x8F\xE3\x82\x8D\xE3\x81\x86"},
           {"ar",
            "\xD8\xA7\xD8\xA8\xD9\x86\xD9\x90 "
            "\xD8\xB9\xD8\xA7\xD8\xAF\xD8\xA7\xD8\xAA\n*\xD8\xAA\xD8\xAF\xD9\x88\xD9\x85*"}},
      },
      {
          "habits",
          {{"en", "Every habit,\n*one glance*"},
           {"de", "Jede Gewohnheit\n*im Blick*"},
           {"ja",
            "\xE3\x81\x99\xE3\x81\xB9\xE3\x81\xA6\xE3\x81\xAE\xE7\xBF\x92\xE6\x85\xA3\xE3\x82\x92\n"
            "*\xE3\x81\xB2\xE3\x81\xA8\xE7\x9B\xAE\xE3\x81\xA7*"},
           {"ar",
            "\xD9\x83\xD9\x84 \xD8\xB9\xD8\xA7\xD8\xAF\xD8\xA7\xD8\xAA\xD9\x83\n*\xD9\x81\xD9\x8A "
            "\xD9\x84\xD9\x85\xD8\xAD\xD8\xA9*"}},
      },
      {
          "detail",
          {{"en", "Streaks that\n*keep you going*"},
           {"de", "Serien, die\n*motivieren*"},
           {"ja",
            "\xE9\x80\xA3\xE7\xB6\x9A\xE8\xA8\x98\xE9\x8C\xB2\xE3\x81\xA7\n*"
            "\xE3\x82\x84\xE3\x82\x8B\xE6\xB0\x97*\xE3\x81\x8C\xE7\xB6\x9A\xE3\x81\x8F"},
           {"ar",
            "\xD8\xB3\xD9\x84\xD8\xA7\xD8\xB3\xD9\x84 "
            "*\xD8\xAA\xD8\xAD\xD9\x81\xD9\x91\xD8\xB2\xD9\x83*\n\xD9\x83\xD9\x84 "
            "\xD9\x8A\xD9\x88\xD9\x85"}},
      },
      {
          "insights",
          {{"en", "See your\n*progress* grow"},
           {"de", "Sieh deinen\n*Fortschritt*"},
           {"ja", "*\xE6\x88\x90\xE9\x95\xB7*\xE3\x81\x8C\n\xE8\xA6\x8B\xE3\x81\x88\xE3\x82\x8B"},
           {"ar",
            "\xD8\xB4\xD8\xA7\xD9\x87\xD8\xAF "
            "*\xD8\xAA\xD9\x82\xD8\xAF\xD9\x91\xD9\x85\xD9\x83*"
            "\n\xD9\x8A\xD9\x86\xD9\x85\xD9\x88"}},
      },
      {
          "focus",
          {{"en", "Focus *deeper*,\nstress less"},
           {"de", "Tiefer\n*fokussieren*"},
           {"ja",
            "*\xE6\xB7\xB1\xE3\x81\x8F*"
            "\n\xE9\x9B\x86\xE4\xB8\xAD\xE3\x81\x97\xE3\x82\x88\xE3\x81\x86"},
           {"ar",
            "\xD8\xB1\xD9\x83\xD9\x91\xD8\xB2\n*\xD8\xA8\xD8\xB9\xD9\x85\xD9\x82* "
            "\xD8\xA3\xD9\x83\xD8\xAB\xD8\xB1"}},
      },
      {
          "settings",
          {{"en", "Reminders that\n*fit your day*"},
           {"de", "Erinnerungen,\ndie *passen*"},
           {"ja",
            "\xE3\x81\x82\xE3\x81\xAA\xE3\x81\x9F\xE3\x81\xAB*\xE5\x90\x88\xE3\x81\x86*"
            "\n\xE3\x83\xAA\xE3\x83\x9E\xE3\x82\xA4\xE3\x83\xB3\xE3\x83\x80\xE3\x83\xBC"},
           {"ar",
            "\xD8\xAA\xD8\xB0\xD9\x83\xD9\x8A\xD8\xB1\xD8\xA7\xD8\xAA\n*"
            "\xD8\xAA\xD9\x86\xD8\xA7\xD8\xB3\xD8\xA8* \xD9\x8A\xD9\x88\xD9\x85\xD9\x83"}},
      },
  };
  struct Row {
    std::string os, theme, locale;
  };
  const std::vector<Row> rows = {{"ios", "dark", "en"},
                                 {"android", "light", "de"},
                                 {"ios", "light", "ja"},
                                 {"android", "dark", "ar"}};
  const auto& cat = *core().catalog();
  const std::pair<std::string, std::string> selectors{*cat.at("heroSelector").asString(),
                                                      *cat.at("heroHideSelector").asString()};
  const int thumbW = 200;
  const int thumbH = 433;
  const int gap = 14;
  cv::Mat sheet(gap + rows.size() * (thumbH + gap), gap + pages.size() * (thumbW + gap), CV_8UC3,
                cv::Scalar(246, 244, 242));
  for (std::size_t ri = 0; ri < rows.size(); ++ri) {
    const Row& row = rows[ri];
    for (std::size_t pi = 0; pi < pages.size(); ++pi) {
      const SheetPage& p = pages[pi];
      JSONValue texts = JSONValue::Object{};
      texts[p.page][row.locale]["title"] = p.titles.at(row.locale);
      const int cell = static_cast<int>(ri * pages.size() + pi);
      JSONValue style = themes[(cell + ri) % themes.size()];
      if (auto v = variations.find(cell); v != variations.end()) {
        for (const auto& [key, value] : *v->second.asObject())
          style[key] = value;
      }
      JSONValue styles = JSONValue::Object{};
      styles[p.page] = style;
      const std::string html = *pageHtml(p.page, row.os, row.theme, row.locale);
      PhoneCapture c = renderer->renderPhoneAndHero(html, deviceSize(row.os), 3, selectors, false);
      StoreArgs a;
      a.page = p.page;
      a.os = row.os;
      a.theme = row.theme;
      a.locale = row.locale;
      a.texts = texts.dump();
      a.styles = styles.dump();
      a.phone = picture(c.phone);
      if (c.hero && c.heroRect) {
        const Rect r = c.heroRect->rect;
        const cv::Mat h = decode(*c.hero);
        a.hero = JSONValue::Object{{"rect", JSONValue::Object{{"x", r.x},
                                                              {"y", r.y},
                                                              {"width", r.width},
                                                              {"height", r.height},
                                                              {"plate", c.heroRect->plate}}},
                                   {"image", picture(*c.hero)},
                                   {"aspect", static_cast<double>(h.cols) / h.rows}};
      }
      auto slot = renderer->acquire(false);
      slot->load(compositeHtml(a), canvasSize(row.os));
      const cv::Mat full = capture(slot, row.os, 2);
      keep("sheet-" + p.page + "-" + row.os + "-" + row.theme + "-" + row.locale + ".png",
           encodePNG(full));
      cv::Mat thumb;
      cv::resize(
          full, thumb,
          cv::Size(thumbW, static_cast<int>(std::lround(full.rows * thumbW / double(full.cols)))),
          0, 0, cv::INTER_AREA);
      const int y0 = gap + ri * (thumbH + gap);
      const int x0 = gap + pi * (thumbW + gap);
      const int h = std::min(thumb.rows, thumbH);
      thumb(cv::Rect(0, 0, thumbW, h)).copyTo(sheet(cv::Rect(x0, y0, thumbW, h)));
    }
  }
  std::ofstream(target, std::ios::binary) << encodePNG(sheet);
  EXPECT_TRUE(fs::exists(target));
}

}  // namespace
}  // namespace vells::rendering
