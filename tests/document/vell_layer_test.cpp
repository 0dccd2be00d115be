#include "document/vell_layer.h"

#include <gtest/gtest.h>

#include "document/print_json.h"

namespace vells {
namespace {

JSONValue parsed(std::string_view text) {
  return JSONValue::parse(text);
}
std::optional<VellLayer> layer(std::string_view text) {
  return VellLayer::fromJSON(parsed(text));
}

TEST(VellLayerTest, RequiredMembersDecideWhetherItReads) {
  EXPECT_FALSE(layer(R"({"id":"a","kind":"text","x":1,"y":2})"));  // no w
  EXPECT_FALSE(layer(R"({"id":"a","kind":"video","x":1,"y":2,"w":3})"));
  EXPECT_FALSE(layer(R"({"id":"a","x":1,"y":2,"w":3})"));
  EXPECT_FALSE(layer(R"({"id":7,"kind":"text","x":1,"y":2,"w":3})"));
  EXPECT_FALSE(layer(R"({"id":"a","kind":"text","x":"1","y":2,"w":3})"));
  EXPECT_FALSE(layer(R"({"id":"a","kind":"text","x":null,"y":2,"w":3})"));
  EXPECT_FALSE(layer(R"([{"id":"a","kind":"text","x":1,"y":2,"w":3}])"));
  EXPECT_FALSE(layer("null"));

  auto minimal = layer(R"({"id":"a","kind":"image","x":1,"y":2,"w":3})");
  ASSERT_TRUE(minimal);
  EXPECT_EQ(minimal->id, "a");
  EXPECT_EQ(minimal->kind, VellLayer::Kind::image);
  EXPECT_EQ(minimal->x, 1);
  EXPECT_EQ(minimal->y, 2);
  EXPECT_EQ(minimal->w, 3);
  EXPECT_EQ(minimal->rotate, 0);
  EXPECT_TRUE(minimal->front);
  EXPECT_FALSE(minimal->sticker);
  EXPECT_FALSE(minimal->flip);
  EXPECT_EQ(minimal->opacity, 1);
  EXPECT_FALSE(minimal->text || minimal->asset || minimal->size || minimal->name);
  EXPECT_TRUE(minimal->extra.empty());
  // A layer at its defaults writes back to exactly what it was read from.
  EXPECT_EQ(minimal->json(), parsed(R"({"id":"a","kind":"image","x":1,"y":2,"w":3})"));
}

TEST(VellLayerTest, BooleansCountAsNumbers) {
  auto l = layer(
      R"({"id":"a","kind":"text","x":true,"y":false,"w":3,"rotate":true,"opacity":false,
          "size":true})");
  ASSERT_TRUE(l);
  EXPECT_EQ(l->x, 1);
  EXPECT_EQ(l->y, 0);
  EXPECT_EQ(l->rotate, 1);
  EXPECT_EQ(l->opacity, 0);
  EXPECT_EQ(l->size, 1.0);
}

TEST(VellLayerTest, OptionalMembersOfTheWrongKindFallBack) {
  auto l = layer(R"({"id":"a","kind":"text","x":1,"y":2,"w":3,
      "rotate":"45","opacity":"half","sticker":1,"flip":"yes","text":5,"size":"big",
      "z":7,"name":null,"align":["left"]})");
  ASSERT_TRUE(l);
  EXPECT_EQ(l->rotate, 0);
  EXPECT_EQ(l->opacity, 1);
  EXPECT_FALSE(l->sticker);
  EXPECT_FALSE(l->flip);
  EXPECT_FALSE(l->text);
  EXPECT_FALSE(l->size);
  EXPECT_TRUE(l->front);
  EXPECT_FALSE(l->name);
  EXPECT_FALSE(l->align);
  // Modelled keys never end up in extra, whatever they held.
  EXPECT_TRUE(l->extra.empty());
}

TEST(VellLayerTest, DepthIsBackOnlyWhenSaidSo) {
  auto front = layer(R"({"id":"a","kind":"text","x":1,"y":2,"w":3,"z":"front"})");
  ASSERT_TRUE(front);
  EXPECT_TRUE(front->front);
  EXPECT_EQ(front->json().find("z"), nullptr);

  auto back = layer(R"({"id":"a","kind":"text","x":1,"y":2,"w":3,"z":"back"})");
  ASSERT_TRUE(back);
  EXPECT_FALSE(back->front);
  EXPECT_EQ(back->json().stringAt("z"), "back");
}

TEST(VellLayerTest, UnknownKeysTravelThrough) {
  auto l = layer(
      R"({"id":"a","kind":"image","x":1,"y":2,"w":3,"glow":{"radius":4},"blend":"multiply"})");
  ASSERT_TRUE(l);
  EXPECT_EQ(l->extra.size(), 2u);
  l->x = 50;
  JSONValue out = l->json();
  ASSERT_NE(out.find("glow"), nullptr);
  EXPECT_EQ(*out.find("glow"), parsed(R"({"radius":4})"));
  EXPECT_EQ(out.stringAt("blend"), "multiply");
  EXPECT_EQ(out.numberAt("x"), 50.0);
  EXPECT_EQ(VellLayer::fromJSON(out), l);
}

TEST(VellLayerTest, ModelledFieldsWinOverExtra) {
  VellLayer l = *layer(R"({"id":"a","kind":"image","x":1,"y":2,"w":3})");
  l.extra["id"] = "other";
  l.extra["z"] = "back";
  l.extra["rotate"] = 90;
  JSONValue out = l.json();
  EXPECT_EQ(out.stringAt("id"), "a");
  EXPECT_EQ(out.find("z"), nullptr);
  EXPECT_EQ(out.find("rotate"), nullptr);
}

TEST(VellLayerTest, CoordinatesAreWrittenWhole) {
  VellLayer l = *layer(R"({"id":"a","kind":"image","x":0,"y":0,"w":0})");
  l.x = 10.4;
  l.y = 10.5;
  l.w = -2.5;
  l.rotate = 14.6;
  l.opacity = 0.333;
  l.size = 17.25;
  JSONValue out = l.json();
  EXPECT_EQ(out.numberAt("x"), 10.0);
  EXPECT_EQ(out.numberAt("y"), 11.0);
  EXPECT_EQ(out.numberAt("w"), -3.0);
  EXPECT_EQ(out.numberAt("rotate"), 15.0);
  EXPECT_EQ(out.numberAt("opacity"), 0.333);
  EXPECT_EQ(out.numberAt("size"), 17.25);
  // Memory keeps the precise values; only the document is whole.
  EXPECT_EQ(l.x, 10.4);
}

TEST(VellLayerTest, ListsDropWhatDoesntReadAndKeepOrder) {
  auto layers = VellLayer::list(parsed(R"([
    {"id":"a","kind":"text","x":1,"y":2,"w":3},
    {"id":"b","kind":"sticker","x":1,"y":2,"w":3},
    7,
    {"id":"c","kind":"image","x":1,"y":2,"w":3}
  ])"));
  ASSERT_EQ(layers.size(), 2u);
  EXPECT_EQ(layers[0].id, "a");
  EXPECT_EQ(layers[1].id, "c");

  EXPECT_TRUE(VellLayer::list(parsed(R"({"id":"a"})")).empty());
  EXPECT_TRUE(VellLayer::list(JSONValue()).empty());
  EXPECT_EQ(VellLayer::jsonOf({}), JSONValue::array());

  JSONValue written = VellLayer::jsonOf(layers);
  ASSERT_TRUE(written.isArray());
  EXPECT_EQ(VellLayer::list(written), layers);
}

}  // namespace
}  // namespace vells
