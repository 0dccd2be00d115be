#include "document/vell_layer.h"

#include <gtest/gtest.h>

#include "document/print_json.h"

namespace vells {
namespace {

std::optional<VellLayer> layer(std::string_view text) {
  return VellLayer::fromJSON(JSONValue::parse(text));
}

TEST(VellLayerTest, RequiredMembersDecideWhetherItReads) {
  for (const char* bad :
       {R"({"id":"a","kind":"text","x":1,"y":2})",  // no w
        R"({"id":"a","kind":"video","x":1,"y":2,"w":3})", R"({"id":"a","x":1,"y":2,"w":3})",
        R"({"id":7,"kind":"text","x":1,"y":2,"w":3})",
        R"({"id":"a","kind":"text","x":"1","y":2,"w":3})",
        R"({"id":"a","kind":"text","x":null,"y":2,"w":3})",
        R"([{"id":"a","kind":"text","x":1,"y":2,"w":3}])", "null"})
    EXPECT_FALSE(layer(bad)) << bad;

  const char* minimal = R"({"id":"a","kind":"image","x":1,"y":2,"w":3})";
  const VellLayer m = *layer(minimal);
  EXPECT_EQ(m.rotate, 0);
  EXPECT_EQ(m.opacity, 1);
  EXPECT_TRUE(m.front && !m.sticker && !m.flip && !m.size && !m.text && m.extra.empty());
  // A layer at its defaults writes back to exactly what it was read from.
  EXPECT_EQ(layer(minimal)->json(), JSONValue::parse(minimal));
}

TEST(VellLayerTest, OptionalMembersOfTheWrongKindFallBackAndBooleansAreNumbers) {
  // Modelled keys never end up in extra, whatever they held.
  EXPECT_EQ(layer(R"({"id":"a","kind":"text","x":1,"y":2,"w":3,
      "rotate":"45","opacity":"half","sticker":1,"flip":"yes","text":5,"size":"big",
      "z":7,"name":null,"align":["left"]})"),
            layer(R"({"id":"a","kind":"text","x":1,"y":2,"w":3})"));
  EXPECT_EQ(layer(R"({"id":"a","kind":"text","x":true,"y":false,"w":3,"rotate":true,
      "opacity":false,"size":true})"),
            layer(R"({"id":"a","kind":"text","x":1,"y":0,"w":3,"rotate":1,"opacity":0,"size":1})"));
}

TEST(VellLayerTest, DepthIsBackOnlyWhenSaidSo) {
  auto front = layer(R"({"id":"a","kind":"text","x":1,"y":2,"w":3,"z":"front"})");
  EXPECT_TRUE(front->front);
  EXPECT_EQ(front->json().find("z"), nullptr);
  auto back = layer(R"({"id":"a","kind":"text","x":1,"y":2,"w":3,"z":"back"})");
  EXPECT_FALSE(back->front);
  EXPECT_EQ(back->json().stringAt("z"), "back");
}

TEST(VellLayerTest, UnknownKeysTravelThroughButModelledFieldsWin) {
  auto l = layer(
      R"({"id":"a","kind":"image","x":1,"y":2,"w":3,"glow":{"radius":4},"blend":"multiply"})");
  ASSERT_TRUE(l);
  l->x = 50;
  JSONValue out = l->json();
  EXPECT_EQ(out, JSONValue::parse(R"({"id":"a","kind":"image","x":50,"y":2,"w":3,
                                      "glow":{"radius":4},"blend":"multiply"})"));
  EXPECT_EQ(VellLayer::fromJSON(out), l);

  l->extra["id"] = "other";
  l->extra["z"] = "back";
  l->extra["rotate"] = 90;
  out = l->json();
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
  EXPECT_EQ(l.json(), JSONValue::parse(R"({"id":"a","kind":"image","x":10,"y":11,"w":-3,
                                          "rotate":15,"opacity":0.333,"size":17.25})"));
  EXPECT_EQ(l.x, 10.4);  // memory keeps the precise values; only the document is whole
}

TEST(VellLayerTest, ListsDropWhatDoesntReadAndKeepOrder) {
  auto layers = VellLayer::list(JSONValue::parse(R"([
    {"id":"a","kind":"text","x":1,"y":2,"w":3}, {"id":"b","kind":"sticker","x":1,"y":2,"w":3},
    7, {"id":"c","kind":"image","x":1,"y":2,"w":3}
  ])"));
  ASSERT_EQ(layers.size(), 2u);
  EXPECT_EQ(layers[0].id, "a");
  EXPECT_EQ(layers[1].id, "c");
  EXPECT_EQ(VellLayer::list(VellLayer::jsonOf(layers)), layers);
  EXPECT_TRUE(VellLayer::list(JSONValue::parse(R"({"id":"a"})")).empty());
  EXPECT_TRUE(VellLayer::list(JSONValue()).empty());
  EXPECT_EQ(VellLayer::jsonOf({}), JSONValue::array());
}

}  // namespace
}  // namespace vells
