#include "models/canvas_model.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>

#include "models/editor_fixture.h"

namespace vells::testing {
namespace {

using models::ArrangeMove;
using models::CanvasModel;
using models::CanvasSelection;
using models::StackItem;

struct CanvasStack : EditorStack {
  CanvasModel canvas{editor, app};

  std::vector<std::string> order() {
    std::vector<std::string> out;
    for (const StackItem& i : canvas.stack())
      out.push_back(i.isPhone() ? "phone" : *i.layerId);
    return out;
  }
  void withLayers(const std::string& key, const std::string& layersJSON) {
    storeStyles("a", R"({")" + key + R"(":{"layers":)" + layersJSON + "}}");
    load();
  }
};

const char* twoLayers =
    R"([{"id":"a","kind":"image","asset":"x.png","x":10,"y":20,"w":30,"z":"back"},)"
    R"({"id":"b","kind":"text","text":"*Big* news\nsecond","x":40,"y":50,"w":60,"glow":7}])";

TEST(CanvasStackOrder, ArrangeMovesThroughThePhoneAndRecordsOnlyRealMoves) {
  CanvasStack s;
  s.withLayers("home", twoLayers);
  EXPECT_EQ(s.order(), (std::vector<std::string>{"a", "phone", "b"}));

  s.canvas.arrange("b", ArrangeMove::forward);   // already last
  s.canvas.arrange("a", ArrangeMove::backward);  // already first
  s.canvas.arrange("nope", ArrangeMove::toFront);
  EXPECT_EQ(s.editor.undoDepth(), 0u);

  s.canvas.arrange("a", ArrangeMove::toFront);
  EXPECT_EQ(s.order(), (std::vector<std::string>{"phone", "b", "a"}));
  EXPECT_TRUE(s.canvas.layer("a")->front);
  s.canvas.arrange("b", ArrangeMove::toBack);
  EXPECT_EQ(s.order(), (std::vector<std::string>{"b", "phone", "a"}));
  // Just behind the phone, one step forward is just in front of it.
  s.canvas.arrange("b", ArrangeMove::forward);
  EXPECT_EQ(s.order(), (std::vector<std::string>{"phone", "b", "a"}));
  EXPECT_EQ(s.editor.undoDepth(), 3u);

  s.canvas.setStack({StackItem::layer("a"), StackItem::layer("b")});  // no phone: ignored
  EXPECT_EQ(s.order(), (std::vector<std::string>{"phone", "b", "a"}));
  // The unknown key of a layer survives every rewrite.
  s.wait(500);
  const JSONValue stored = *s.stored("styles", "a").find("home")->find("layers");
  EXPECT_EQ(stored.asArray()->at(0).numberAt("glow"), 7);
}

TEST(CanvasCommands, DuplicateDeleteRenameAndUndoOfTheSelection) {
  CanvasStack s;
  s.withLayers("home", twoLayers);
  s.canvas.duplicateLayer("b");
  const std::string first = s.canvas.selection()->layerId;
  s.canvas.duplicateLayer(first);
  const VellLayer second = *s.canvas.layer(s.canvas.selection()->layerId);
  EXPECT_EQ(second.x, 40 + 48);
  EXPECT_EQ(second.y, 50 + 48);
  EXPECT_EQ(second.extra.at("glow"), JSONValue(7));
  EXPECT_EQ(second.id.size(), 8u);

  s.canvas.select(CanvasSelection::layer("a"));
  s.canvas.deleteLayer("a");
  EXPECT_FALSE(s.canvas.selection());
  s.editor.undo(s.app);
  EXPECT_TRUE(s.canvas.layer("a"));
  EXPECT_FALSE(s.canvas.selection());  // the layer comes back, not the selection

  auto added = s.canvas.addTextLayer();
  ASSERT_TRUE(added);
  const VellLayer text = *s.canvas.layer(*added);
  EXPECT_EQ(text.text, "Your text");
  EXPECT_DOUBLE_EQ(text.x, 321);
  EXPECT_EQ(text.y, 417);  // 30% of the height, stored whole
  EXPECT_EQ(text.size, 44);
  EXPECT_EQ(text.color, "#ffffff");
  EXPECT_EQ(s.canvas.selection(), CanvasSelection::layer(*added));
  s.editor.undo(s.app);
  EXPECT_FALSE(s.canvas.selection());

  s.canvas.renameLayer("b", "  Headline \n");
  EXPECT_EQ(CanvasModel::displayName(*s.canvas.layer("b")), "Headline");
  s.canvas.renameLayer("b", "   ");
  EXPECT_EQ(CanvasModel::displayName(*s.canvas.layer("b")), "Big news");
  EXPECT_EQ(CanvasModel::displayName(*s.canvas.layer("a")), "Image");
}

TEST(CanvasCommands, LayersAreWrittenWhereTheyWereRead) {
  CanvasStack s;
  // The language's entry holds the layers: an edit in the "all" scope goes there.
  s.withLayers("home@en", twoLayers);
  s.canvas.updateLayer("b", [](VellLayer& l) { l.x = 99; });
  EXPECT_EQ(s.editor.undoDepth(), 0u);
  s.wait(500);
  JSONValue styles = s.stored("styles", "a");
  EXPECT_EQ(styles.find("home"), nullptr);
  EXPECT_EQ(styles.find("home@en")->find("layers")->asArray()->at(1).numberAt("x"), 99);

  // With one language in scope, a new layer goes to that language only.
  s.withLayers("stats", twoLayers);
  s.editor.setStyleScope(models::StyleScope::locale);
  s.app.setActivePage(std::string("stats"));
  s.load();
  s.canvas.addTextLayer();
  EXPECT_EQ(s.canvas.layers().size(), 3u);
  s.app.setActiveLocale("de");
  EXPECT_EQ(s.canvas.layers().size(), 2u);
}

TEST(CanvasCommands, StickersAndEmojiArePlacedOnlyWhenTheirPictureIsStored) {
  CanvasStack s;
  s.setIntercept([](const backend::Request& r) -> std::optional<backend::Response> {
    if (r.path == "/api/sticker-packs/place")
      return backend::Response::json(
          JSONValue::Object{{"ok", false}, {"error", "That sticker is no longer in the pack."}},
          404);
    return std::nullopt;
  });
  bool done = false;
  s.canvas.addPackSticker("fun", "star.png", [&] { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  EXPECT_TRUE(s.canvas.layers().empty());
  EXPECT_EQ(s.editor.undoDepth(), 0u);
  EXPECT_EQ(s.editor.status().text, "That sticker is no longer in the pack.");

  const std::string png = CanvasModel::renderEmoji("🎉");
  QImage image = QImage::fromData(QByteArray::fromStdString(png), "PNG");
  ASSERT_FALSE(image.isNull());
  EXPECT_EQ(image.size(), QSize(320, 320));
  EXPECT_GT(qAlpha(image.pixel(160, 160)), 0);  // something was drawn in the middle

  done = false;
  s.canvas.addEmoji("🎉", [&] { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  ASSERT_EQ(s.canvas.layers().size(), 1u);
  const VellLayer l = s.canvas.layers()[0];
  EXPECT_TRUE(l.sticker);
  EXPECT_EQ(l.name, "🎉");
  EXPECT_EQ(l.w, 150);
  EXPECT_EQ(l.y, 625);
  EXPECT_EQ(s.editor.undoDepth(), 1u);
}

TEST(CanvasImages, ImportedPicturesGoAsTheLibraryKeepsThemAndOthersChangeNothing) {
  CanvasStack s;
  bool done = false;
  s.canvas.importImage("%PDF-1.7 not a picture", "Brief.pdf", std::nullopt, [&] { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  EXPECT_TRUE(s.canvas.layers().empty());
  EXPECT_EQ(s.editor.undoDepth(), 0u);
  EXPECT_EQ(s.editor.status().text,
            "\u201cBrief.pdf\u201d isn\u2019t a picture. Drop a PNG, JPEG or WebP file to place "
            "it on the page.");
  EXPECT_EQ(s.posts("/api/layer-asset"), 0);

  // JPEG bytes travel untouched; a GIF becomes PNG on the way.
  auto encoded = [](const char* format) {
    QImage image(24, 12, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes.toStdString();
  };
  const std::string jpeg = encoded("JPG");
  done = false;
  s.canvas.importImage(jpeg, "Team photo.jpg", std::pair{100.0, 200.0}, [&] { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  ASSERT_EQ(s.canvas.layers().size(), 1u);
  VellLayer l = s.canvas.layers()[0];
  EXPECT_EQ(l.name, "Team photo");
  EXPECT_FALSE(l.sticker);
  EXPECT_EQ(l.x, 100);
  EXPECT_EQ(l.y, 200);
  ASSERT_TRUE(l.asset && l.asset->ends_with(".jpg"));
  EXPECT_EQ(s.editor.undoDepth(), 1u);  // placed and moved in one step

  done = false;
  s.canvas.importImage(encoded("BMP"), "logo.bmp", std::nullopt, [&] { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  ASSERT_EQ(s.canvas.layers().size(), 2u);
  l = s.canvas.layers()[1];
  EXPECT_TRUE(l.asset && l.asset->ends_with(".png"));
  EXPECT_EQ(l.x, 321);  // the page's middle without a point
}

}  // namespace
}  // namespace vells::testing
