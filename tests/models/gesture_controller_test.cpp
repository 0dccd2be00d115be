#include "models/gesture_controller.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "models/canvas_model.h"
#include "models/editor_fixture.h"
#include "models/inline_markup.h"

namespace vells::testing {
namespace {

using models::CanvasBox;
using models::CanvasModel;
using models::CanvasRects;
using models::CanvasSelection;
using models::GestureController;
using models::InlineMarkup;
using models::KeyEvent;
using models::PointerEvent;
using models::ViewPoint;
using Key = KeyEvent::Key;

// An Android page (1389 high) shown 694.5 points high: half a point per pixel.
constexpr double viewW = 321;
constexpr double viewH = 694.5;

struct GestureStack : EditorStack {
  CanvasModel canvas{editor, app};
  GestureController gestures{canvas};

  GestureStack() {
    storeStyles(
        "a", R"({"home":{"layers":[)"
             R"({"id":"pic","kind":"image","asset":"p.png","x":200,"y":200,"w":100,"rotate":45},)"
             R"({"id":"txt","kind":"text","text":"Hi","x":300,"y":900,"w":200,"size":40}]}})");
    load();
    gestures.setViewSize(viewW, viewH);
    CanvasRects rects;
    rects.phone = CanvasBox{viewW / 2, 400, 180, 380, 0};
    rects.title = CanvasBox{viewW / 2, 80, 200, 40, 0};
    rects.layers = {{"pic", CanvasBox{100, 100, 50, 10, 45}},
                    {"txt", CanvasBox{150, 450, 100, 30, 0}}};
    canvas.setRects(rects);
  }
  ResolvedStyle style() { return editor.resolved("home", "en"); }
  void press(ViewPoint p) { gestures.pointer({PointerEvent::Kind::press, p, {}}); }
  void moveTo(ViewPoint p) { gestures.pointer({PointerEvent::Kind::move, p, {}}); }
  void release(ViewPoint p) { gestures.pointer({PointerEvent::Kind::release, p, {}}); }
  void drag(ViewPoint from, ViewPoint to) {
    press(from);
    moveTo(to);
    release(to);
  }
  bool key(Key k, bool ctrl = false, bool shift = false) {
    return gestures.key({k, {shift, ctrl}});
  }
  // The pointer at `degrees` from straight up around the phone's centre, as
  // far out as its rotate handle.
  ViewPoint aroundPhone(double degrees) {
    const double r = 380 / 2.0 + 22;
    const double a = degrees * M_PI / 180;
    return {viewW / 2 + r * std::sin(a), 400 - r * std::cos(a)};
  }
};

TEST(GestureHit, OrderAndRotatedBoxes) {
  GestureStack s;
  EXPECT_EQ(s.gestures.hitTest({viewW / 2, 80}), CanvasSelection::title());
  EXPECT_EQ(s.gestures.hitTest({150, 450}),
            CanvasSelection::layer("txt"));  // in front of the phone
  EXPECT_EQ(s.gestures.hitTest({viewW / 2, 300}), CanvasSelection::phone());
  // Along the turned box's axis: a hit. Inside the unturned box's corner: not.
  const double d = 20 / std::sqrt(2.0);
  EXPECT_EQ(s.gestures.hitTest({100 + d, 100 + d}), CanvasSelection::layer("pic"));
  EXPECT_EQ(s.gestures.hitTest({124, 104}), std::nullopt);
  // A thin box still takes a 12-point target.
  EXPECT_EQ(s.gestures.hitTest({100 - 4, 100 + 4}), CanvasSelection::layer("pic"));

  s.press({5, 5});  // the empty canvas clears the selection
  EXPECT_FALSE(s.canvas.selection());
  EXPECT_TRUE(s.gestures.canvasFocused());
}

TEST(GestureMove, SnapsToTheCentreWithinSixPointsAndStartsAfterTwo) {
  GestureStack s;
  models::CanvasRects rects = s.canvas.rects();
  rects.phone->cx = viewW / 2 + 5;
  s.canvas.setRects(rects);
  const ViewPoint p{viewW / 2 + 5, 400};
  s.press(p);
  s.moveTo({p.x, p.y + 1.9});
  EXPECT_FALSE(s.gestures.dragging());
  s.moveTo({p.x, p.y + 2});
  EXPECT_TRUE(s.gestures.dragging());
  EXPECT_TRUE(s.gestures.guideX());
  EXPECT_EQ(s.style().phoneOffsetX, -10);  // 5 points at half a point per pixel
  EXPECT_EQ(s.style().phoneOffsetY, 4);
  s.release(p);
  EXPECT_FALSE(s.gestures.guideX());

  rects.phone->cx = viewW / 2 + 6;
  s.canvas.setRects(rects);
  s.drag({viewW / 2 + 6, 400}, {viewW / 2 + 6, 410});
  EXPECT_EQ(s.style().phoneOffsetX, -10);  // no snap: unchanged from the start
  EXPECT_EQ(s.editor.undoDepth(), 2u);
}

TEST(GestureMove, ManySmallMovesEndWhereOneBigMoveEndsInOneStep) {
  GestureStack s;
  std::mt19937 random(7);
  std::uniform_real_distribution<double> jitter(-3, 3);
  const ViewPoint start{150, 450};
  const ViewPoint end{111.3, 512.7};
  s.press(start);
  ViewPoint p = start;
  for (int i = 0; i < 300; ++i) {
    p = {p.x + jitter(random), p.y + jitter(random)};
    s.moveTo(p);
  }
  s.moveTo(end);
  s.release(end);
  const VellLayer many = *s.canvas.layer("txt");
  EXPECT_EQ(s.editor.undoDepth(), 1u);

  s.editor.undo(s.app);
  s.drag(start, end);
  EXPECT_EQ(*s.canvas.layer("txt"), many);
  EXPECT_EQ(many.x, std::round(300 + (end.x - start.x) * 2));
  // Two moves to the same point write the same values.
  s.press(start);
  s.moveTo(end);
  const auto once = *s.editor.styles();
  s.moveTo(end);
  EXPECT_EQ(*s.editor.styles(), once);
}

TEST(GestureResize, CornersAndWidthsHoldTheirClamps) {
  GestureStack s;
  s.canvas.select(CanvasSelection::phone());
  const ViewPoint corner{viewW / 2 + 92, 400 + 192};  // bottom right, 2 points out
  ASSERT_TRUE(s.gestures.handleAt(corner));
  s.drag(corner, {corner.x + 1000, corner.y + 1000});
  EXPECT_EQ(s.style().phoneScale, 1.6);
  EXPECT_EQ(s.style().phoneOffsetY, -326);  // round((1.6 − 1) × 1085 × −0.5)
  s.drag(corner, {viewW / 2 + 1, 401});
  EXPECT_EQ(s.style().phoneScale, 0.4);
  // With the text below, the centre is kept with the other sign.
  s.editor.setStyle(StyleField::textPos, JSONValue("bottom"), s.app);
  s.editor.setStyle(StyleField::phoneScale, std::nullopt, s.app);
  s.editor.setStyle(StyleField::phoneOffsetY, std::nullopt, s.app);
  s.drag(corner, {viewW / 2 + 138, 400 + 288});  // 1.5 times as far from the centre
  EXPECT_EQ(s.style().phoneScale, 1.5);
  EXPECT_EQ(s.style().phoneOffsetY, 271);  // round(0.5 × 1085 × 0.5)

  // Title: sides only, never narrower than 120; its default column is 562.
  s.canvas.select(CanvasSelection::title());
  const ViewPoint right{viewW / 2 + 102, 80};
  ASSERT_TRUE(s.gestures.handleAt(right));
  s.drag(right, {right.x + 10, 80});
  EXPECT_EQ(s.style().titleWidth, 562 + 40);
  s.drag(right, {right.x - 500, 80});
  EXPECT_EQ(s.style().titleWidth, 120);

  // Text layer width at least 40; image layer width at least 16.
  s.canvas.select(CanvasSelection::layer("txt"));
  s.drag({150 + 52, 450}, {0, 450});
  EXPECT_EQ(s.canvas.layer("txt")->w, 40);
  s.canvas.select(CanvasSelection::layer("pic"));
  auto handles = s.gestures.handles();
  ASSERT_EQ(handles.size(), 5u);
  s.drag(handles[2].centre, {100, 100.5});
  EXPECT_EQ(s.canvas.layer("pic")->w, 16);
  EXPECT_EQ(s.canvas.layer("pic")->rotate, 45);
}

TEST(GestureRotate, SnapsNearFifteenClampsThePhoneAndLetsLayersWrapPast360) {
  GestureStack s;
  s.canvas.select(CanvasSelection::phone());
  const ViewPoint handle = s.aroundPhone(0);
  ASSERT_EQ(s.gestures.handleAt(handle)->kind, models::CanvasHandle::Kind::rotate);
  for (auto [degrees, expected] :
       {std::pair{14.0, 15.0}, {11.0, 11.0}, {40.0, 30.0}, {-40.0, -30.0}}) {
    s.editor.setStyle(StyleField::phoneRotateZ, std::nullopt, s.app);
    s.drag(handle, s.aroundPhone(degrees));
    EXPECT_EQ(s.style().phoneRotateZ, expected) << degrees;
  }

  s.canvas.updateLayer("pic", [](VellLayer& l) { l.rotate = 350; });
  models::CanvasRects rects = s.canvas.rects();
  rects.layers[0].box.rot = 350;
  s.canvas.setRects(rects);
  s.canvas.select(CanvasSelection::layer("pic"));
  auto h = s.gestures.handles().back();
  ASSERT_EQ(h.kind, models::CanvasHandle::Kind::rotate);
  // 20 degrees further round the layer's centre.
  const double a = 20 * M_PI / 180;
  const double vx = h.centre.x - 100, vy = h.centre.y - 100;
  s.drag(h.centre,
         {100 + vx * std::cos(a) - vy * std::sin(a), 100 + vx * std::sin(a) + vy * std::cos(a)});
  EXPECT_EQ(s.canvas.layer("pic")->rotate, 370);
}

TEST(GestureKeys, NudgesCommandsAndInPlaceEditing) {
  GestureStack s;
  s.press({150, 450});
  s.release({150, 450});
  for (int i = 0; i < 6; ++i) {
    EXPECT_TRUE(s.key(Key::right, false, true));
    s.clock.advance(std::chrono::milliseconds(500));
  }
  EXPECT_EQ(s.canvas.layer("txt")->x, 360);
  EXPECT_EQ(s.editor.undoDepth(), 1u);

  s.canvas.select(CanvasSelection::phone());
  EXPECT_FALSE(s.key(Key::enter));  // the phone has no text
  EXPECT_TRUE(s.key(Key::down));
  EXPECT_EQ(s.style().phoneOffsetY, 1);

  // Double-click on the title edits it in place; keys then go to the editor.
  s.gestures.pointer({PointerEvent::Kind::doubleClick, {viewW / 2, 80}, {}});
  EXPECT_EQ(s.canvas.editingKey(), "title");
  EXPECT_TRUE(s.gestures.handles().empty());
  s.canvas.select(CanvasSelection::layer("txt"));  // another object ends the edit
  EXPECT_FALSE(s.canvas.editingText());
  EXPECT_TRUE(s.key(Key::enter));
  EXPECT_EQ(s.canvas.editingKey(), "layer:txt");
  const auto before = *s.editor.styles();
  for (Key k : {Key::left, Key::backspace, Key::deleteForward, Key::d, Key::z, Key::escape})
    EXPECT_FALSE(s.key(k, k == Key::d || k == Key::z));
  EXPECT_EQ(*s.editor.styles(), before);
  s.canvas.setEditingText(std::nullopt);

  EXPECT_TRUE(s.key(Key::d, true));  // Ctrl-D duplicates
  EXPECT_EQ(s.canvas.layers().size(), 3u);
  EXPECT_TRUE(s.key(Key::deleteForward));
  EXPECT_EQ(s.canvas.layers().size(), 2u);
  EXPECT_TRUE(s.key(Key::z, true));
  EXPECT_EQ(s.canvas.layers().size(), 3u);
  EXPECT_TRUE(s.key(Key::z, true, true));
  EXPECT_EQ(s.canvas.layers().size(), 2u);

  // Double-click on the phone puts it back where the layout has it.
  s.drag({viewW / 2, 300}, {viewW / 2 + 40, 330});
  s.gestures.pointer({PointerEvent::Kind::doubleClick, {viewW / 2, 300}, {}});
  const VellStyle base = s.editor.pageStyle("home");
  EXPECT_FALSE(base.phoneOffsetX || base.phoneOffsetY || base.phoneScale || base.phoneRotateZ);
}

TEST(InlineMarkupText, StarsBecomeAccentAndBack) {
  auto accented = [](const QString& markup) {
    QString out;
    const auto t = InlineMarkup::attributed(markup);
    for (qsizetype i = 0; i < t.text.size(); ++i)
      out += t.accent[i] ? t.text[i].toUpper() : t.text[i];
    return out;
  };
  EXPECT_EQ(accented("a*b"), "a*b");
  EXPECT_EQ(accented("*a*"), "A");
  EXPECT_EQ(accented("*a"), "*a");
  EXPECT_EQ(accented("find *any thing* fast *x"), "find ANY THING fast *x");

  std::mt19937 random(3);
  const QString words[] = {"one", "two", "über", "日本", " ", "\n"};
  for (int round = 0; round < 200; ++round) {
    QString markup;
    bool marked = false;  // two marked words side by side would join into one run
    for (int i = 0; i < 8; ++i) {
      const QString w = words[random() % 6];
      marked = !marked && random() % 3 == 0 && w.trimmed() == w;
      markup += marked ? "*" + w + "*" : w;
    }
    EXPECT_EQ(InlineMarkup::serialize(InlineMarkup::attributed(markup)), markup);
  }

  auto text = InlineMarkup::attributed("one\ntwo three");
  EXPECT_FALSE(InlineMarkup::toggleHighlight(text, 2, 2));
  ASSERT_TRUE(InlineMarkup::toggleHighlight(text, 0, 7));
  EXPECT_EQ(InlineMarkup::serialize(text), "*one*\n*two* three");
  ASSERT_TRUE(InlineMarkup::toggleHighlight(text, 4, 7));  // all marked: cleared
  EXPECT_EQ(InlineMarkup::serialize(text), "*one*\ntwo three");
}

}  // namespace
}  // namespace vells::testing
