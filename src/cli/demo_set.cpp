#include "cli/demo_set.h"

namespace vells::cli {

namespace {

JSONValue titles(const char* en, const char* de, const char* ja, const char* ar) {
  return JSONValue::Object{{"en", JSONValue::Object{{"title", en}}},
                           {"de", JSONValue::Object{{"title", de}}},
                           {"ja", JSONValue::Object{{"title", ja}}},
                           {"ar", JSONValue::Object{{"title", ar}}}};
}

JSONValue gradient(const char* from, const char* via, const char* to, double angle) {
  return JSONValue::Object{
      {"gradFrom", from}, {"gradVia", via}, {"gradTo", to}, {"gradAngle", angle}};
}

}  // namespace

JSONValue demoTexts() {
  return JSONValue::Object{
      {"home", titles("Build habits that *stick*", "Gewohnheiten, die *bleiben*",
                      "続く*習慣*を、毎日に", "ابنِ عادات *تدوم*")},
      {"habits", titles("Every habit, *one tap* away", "Jede Gewohnheit mit *einem Tipp*",
                        "すべての習慣を*ワンタップ*で", "كل عاداتك *بلمسة واحدة*")},
      {"detail", titles("Watch your *streaks* grow", "Sieh deine *Serien* wachsen",
                        "*連続記録*がどんどん伸びる", "شاهد *سلاسلك* تكبر")},
      {"insights", titles("Your *progress* at a glance", "Dein *Fortschritt* auf einen Blick",
                          "*成長*がひと目でわかる", "تقدّمك *بنظرة واحدة*")},
      {"focus", titles("Stay in the *zone*", "Bleib ganz im *Flow*", "*集中*を、もっと深く",
                       "ابقَ في *قمة تركيزك*")},
      {"settings", titles("Made *your* way", "Ganz nach *deinem* Stil", "*自分らしく*カスタマイズ",
                          "صمّمه *على طريقتك*")},
  };
}

JSONValue demoStyles() {
  JSONValue home = JSONValue::Object{};
  // A rating badge as a free text layer under the title: the kind of claim
  // listings lead with, and a layer for the archive to show. Layers aren't
  // translated, so it says nothing a reader of any locale has to read.
  home["layers"] = JSONValue::Array{JSONValue::Object{{"id", "rating"},
                                                      {"kind", "text"},
                                                      {"text", "★★★★★  4.9"},
                                                      {"x", 310},
                                                      {"y", 330},
                                                      {"w", 520},
                                                      {"size", 21},
                                                      {"weight", 800},
                                                      {"color", "#ffe79a"},
                                                      {"align", "center"},
                                                      {"front", true}}};

  JSONValue habits = gradient("#3b1261", "#a3306f", "#ff8a5c", 165);
  habits["bgPattern"] = "wiggle";
  habits["bgPatternColor"] = "#ffffff";
  habits["bgPatternOpacity"] = 0.07;

  JSONValue detail = gradient("#032b26", "#0b6e55", "#27b889", 155);
  detail["phoneRotateY"] = -14;
  detail["phoneRotateX"] = 4;

  JSONValue insights = gradient("#130f40", "#4834d4", "#7f6cf2", 170);
  insights["accentColor"] = "#7dffcb";

  JSONValue focus = gradient("#05060f", "#161a3a", "#2f2a78", 180);
  focus["bgPattern"] = "hexagons";
  focus["bgPatternColor"] = "#ffffff";
  focus["bgPatternOpacity"] = 0.05;

  JSONValue settings = gradient("#7a1f0c", "#d9482b", "#ff9a62", 160);
  settings["accentColor"] = "#ffe08a";

  return JSONValue::Object{{"home", home},         {"habits", habits}, {"detail", detail},
                           {"insights", insights}, {"focus", focus},   {"settings", settings}};
}

}  // namespace vells::cli
