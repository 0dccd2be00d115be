// A whole editing session on a real library page, headless: titles in two
// languages, the phone moved and scaled, a text layer and a sticker added and
// moved, all undone and redone; then text fit repairs the German title. The
// boxes the preview would report come from the real measuring route.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QSettings>

#include "backend/test_support.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_fixture.h"
#include "models/editor_model.h"
#include "models/fake_transport.h"
#include "models/gesture_controller.h"
#include "models/image_store.h"
#include "models/layout_follow.h"
#include "models/manual_clock.h"
#include "models/text_fit.h"
#include "routes/local_service.h"

namespace vells::testing {
namespace {

using namespace models;

constexpr double viewW = 310.5;
constexpr double viewH = 672;  // half a point per composite pixel on iOS

struct Session {
  TempDir dir;
  routes::LocalService service = routes::makeLocalService(
      {backend::LocalLibrary(dir.path() / "lib"), fs::path(VELLS_SOURCE_RESOURCES), 1});
  backend::LocalBackend& b = *service.backend;
  ManualClock clock;
  APIClient client{APITransport::local(b), clock};
  ImageStore images{client};
  QSettings settings{QString::fromStdString((dir.path() / "vellora.conf").string()),
                     QSettings::IniFormat};
  AppModel app{client, images, settings};
  KeptFiles kept;
  EditorModel editor{clock, kept};
  CanvasModel canvas{editor, app};
  GestureController gestures{canvas};

  Session() {
    b.start();
    b.db().savePages("default", {{"home", "Home", "builtin", std::nullopt}});
    app.reconnect();
    settle();
    app.setOs(DeviceOS::ios);
    app.setActivePage(std::string("home"));
    settle();
    gestures.setViewSize(viewW, viewH);
  }
  void settle() {
    ASSERT_TRUE(spinUntil([&] { return client.pendingCalls() == 0; }, 60000));
  }
  void wait(int ms) {
    for (int t = 0; t < ms; t += 50) {
      clock.advance(std::chrono::milliseconds(50));
      settle();
    }
  }
  void loadPage() {
    bool done = false;
    editor.loadSet(app, [&] { editor.loadPage(app, [&] { done = true; }); });
    ASSERT_TRUE(spinUntil([&] { return done; }, 60000));
  }
  void type(const std::string& text) {
    std::string typed;
    for (char c : text) {
      typed += c;
      editor.setTitleText(typed);
      editor.scheduleTextSave(app);
      clock.advance(std::chrono::milliseconds(80));
    }
    wait(700);
  }
  // What the preview would report: the measured boxes, in view points.
  void measureRects() {
    wait(500);  // the style save lands first
    std::optional<std::optional<LayoutFollow::Snapshot>> snap;
    LayoutFollow::measure(client, "default", "home", DeviceOS::ios, ThemeName::dark,
                          app.activeLocale(), nullptr, [&](auto s) { snap = s; });
    ASSERT_TRUE(spinUntil([&] { return snap.has_value(); }, 60000));
    ASSERT_TRUE(*snap);
    const double k = viewH / 1344;
    auto box = [&](const LayoutFollow::Rect& r, double rot) {
      return CanvasBox{(r.left + r.width / 2) * k, (r.top + r.height / 2) * k, r.width * k,
                       r.height * k, rot};
    };
    CanvasRects rects;
    rects.phone = box((*snap)->phone, editor.resolved("home", app.activeLocale()).phoneRotateZ);
    for (const auto& [id, r] : (*snap)->layers)
      rects.layers.push_back({id, box(r, 0)});
    canvas.setRects(rects);
  }
  void drag(ViewPoint from, ViewPoint to) {
    gestures.pointer({PointerEvent::Kind::press, from, {}});
    for (int i = 1; i <= 10; ++i) {
      gestures.pointer({PointerEvent::Kind::move,
                        {from.x + (to.x - from.x) * i / 10, from.y + (to.y - from.y) * i / 10},
                        {}});
    }
    gestures.pointer({PointerEvent::Kind::release, to, {}});
  }
  JSONValue stored(const std::string& what) {
    return bodyJSON(call(b, "GET", "/api/" + what + "?set=default"));
  }
};

TEST(EditorSession, ARealPageEditedUndoneRedoneAndFitted) {
  Session s;
  s.loadPage();
  s.type("Track every *habit*");
  s.app.setActiveLocale("de");
  s.loadPage();
  const std::string german =
      "Behalte jede Gewohnheit im Blick mit deinem persönlichen Fortschrittsprotokoll";
  s.type(german);
  EXPECT_EQ(s.stored("texts"), JSONValue::parse(R"({"home":{
      "en":{"title":"Track every *habit*","subtitle":"","description":""},
      "de":{"title":")" + german + R"(","subtitle":"","description":""}}})"));

  // The phone: moved by (20, 30) points, then its corner pulled to 1.2 times.
  s.measureRects();
  const CanvasBox phone = *s.canvas.rects().phone;
  s.drag({phone.cx, phone.cy}, {phone.cx + 20, phone.cy + 30});
  s.measureRects();
  const CanvasBox moved = *s.canvas.rects().phone;
  EXPECT_NEAR(moved.cx, phone.cx + 20, 0.5);
  s.canvas.select(CanvasSelection::phone());
  const ViewPoint corner{moved.cx + moved.w / 2 + 2, moved.cy + moved.h / 2 + 2};
  ASSERT_TRUE(s.gestures.handleAt(corner));
  s.drag(corner, {moved.cx + (corner.x - moved.cx) * 1.2, moved.cy + (corner.y - moved.cy) * 1.2});

  // A text layer, dragged; a sticker, nudged with the keyboard.
  const auto text = s.canvas.addTextLayer();
  ASSERT_TRUE(text);
  s.measureRects();
  const CanvasBox textBox = *s.canvas.rects().box(CanvasSelection::layer(*text));
  s.drag({textBox.cx, textBox.cy}, {textBox.cx + 10, textBox.cy - 20});
  bool placed = false;
  s.canvas.addEmoji("🎉", [&] { placed = true; });
  ASSERT_TRUE(spinUntil([&] { return placed; }));
  const std::string sticker = s.canvas.selection()->layerId;
  for (int i = 0; i < 2; ++i)
    EXPECT_TRUE(s.gestures.key({KeyEvent::Key::right, {true, false}}));
  s.wait(500);

  // The scope is the whole page and no language entry holds layers, so the
  // edits made while looking at German stand under the page key.
  const JSONValue expected = JSONValue::parse(R"({"home":{"phoneOffsetX":40,"phoneOffsetY":-45,
      "phoneScale":1.2,"layers":[
      {"id":")" + *text + R"(","kind":"text","text":"Your text","x":331,"y":363,"w":373,
       "size":44,"color":"#ffffff"},
      {"id":")" + sticker + R"(","kind":"image","asset":")" +
                                              *s.canvas.layer(sticker)->asset +
                                              R"(","x":331,"y":605,
       "w":150,"sticker":true,"name":"🎉"}]}})");
  EXPECT_EQ(s.stored("styles"), expected);
  const std::size_t steps = s.editor.undoDepth();
  EXPECT_EQ(steps, 6u);  // move, resize, add, drag, add, one row of nudges

  for (std::size_t i = 0; i < steps; ++i)
    s.editor.undo(s.app);
  s.wait(500);
  EXPECT_EQ(s.stored("styles"), JSONValue::object());
  for (std::size_t i = 0; i < steps; ++i)
    s.editor.redo(s.app);
  s.wait(500);
  EXPECT_EQ(s.stored("styles"), expected);

  // The German title doesn't fit as it stands; text fit repairs it.
  std::optional<TextFit::Result> fit;
  TextFit::autoFit(s.client, "default", "home", DeviceOS::ios, ThemeName::dark, "de", nullptr,
                   [&](TextFit::Result r) { fit = std::move(r); });
  ASSERT_TRUE(spinUntil([&] { return fit.has_value(); }, 120000));
  for (const auto& c : fit->changes)
    std::cout << "  change: " << c << "\n";
  ASSERT_TRUE(fit->remaining);
  EXPECT_THAT(
      fit->changes,
      ::testing::Contains(::testing::MatchesRegex("Title size 66 → [0-9]+px in de so it fits")));
  const double size = *s.stored("styles").find("home@de")->numberAt("titleSize");
  EXPECT_TRUE(!fit->remaining->titleDoesNotFit() || size == TextFit::lastFloor) << size;
  // The English page and the layers are untouched by the German repair.
  EXPECT_EQ(*s.stored("texts").find("home")->find("en")->stringAt("title"), "Track every *habit*");
  EXPECT_EQ(*s.stored("styles").find("home"), *expected.find("home"));
}

}  // namespace
}  // namespace vells::testing
