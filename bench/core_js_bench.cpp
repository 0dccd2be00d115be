// What a gallery status costs in the core script: pagePlan and compositeName
// for every page in every locale of a set, through the real host and the
// shipped core script; and what loading that script costs.
// One iteration is one whole gallery (39 locales x 10 pages, 780 calls).
#include <benchmark/benchmark.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "document/json_value.h"
#include "rendering/core_js.h"

namespace {

using vells::JSONValue;
using vells::rendering::CoreJS;
using vells::rendering::Documents;

struct Gallery {
  std::vector<std::string> locales;
  std::vector<std::string> pages;
  std::string texts;
  std::string styles;
};

// A set as people make them: six built-in screens and four uploads, a title
// and subtitle per page and locale, some screen overrides, a look per page,
// a few languages with their own title size, and layers on some pages.
Gallery realisticGallery(CoreJS& core) {
  Gallery g;
  for (const auto& code : *core.catalog()->at("storeLocaleCodes").asArray()) {
    if (g.locales.size() < 39) g.locales.push_back(*code.asString());
  }
  g.pages = {"home",     "habits",   "detail",   "insights", "focus",
             "settings", "upload-1", "upload-2", "upload-3", "upload-4"};

  JSONValue texts = JSONValue::Object{};
  JSONValue styles = JSONValue::Object{};
  const char* gradients[][3] = {{"#07184a", "#0052cc", "#0093fd"},
                                {"#2b0a3d", "#7b2ff7", "#f107a3"},
                                {"#0f2027", "#203a43", "#2c5364"},
                                {"#ff512f", "#f09819", "#ffd54a"},
                                {"#134e5e", "#3aa17e", "#71b280"}};
  for (std::size_t p = 0; p < g.pages.size(); ++p) {
    const std::string& page = g.pages[p];
    for (std::size_t l = 0; l < g.locales.size(); ++l) {
      JSONValue entry = JSONValue::Object{
          {"title", "Build habits\nthat *stick* (" + g.locales[l] + ", " + page + ")"},
          {"subtitle", "Small steps, every day"},
          {"description", "Tempo helps you keep the habits that matter."}};
      if (p < 3 && l % 4 == 0) entry["screen"] = JSONValue::Object{{"greeting", "Hi Sam"}};
      texts[page][g.locales[l]] = entry;
    }
    const auto& grad = gradients[p % 5];
    JSONValue style = JSONValue::Object{{"gradFrom", grad[0]},
                                        {"gradVia", grad[1]},
                                        {"gradTo", grad[2]},
                                        {"titleSize", 60 + p},
                                        {"bgPattern", p % 2 ? "hexagons" : "wiggle"},
                                        {"phoneRotateY", p % 3 ? -8 : 0}};
    if (p % 3 == 0) {
      style["layers"] = JSONValue::Array{JSONValue::Object{{"id", "badge"},
                                                           {"kind", "image"},
                                                           {"asset", "badge.png"},
                                                           {"x", 40},
                                                           {"y", 900},
                                                           {"w", 160},
                                                           {"h", 160},
                                                           {"z", "front"}},
                                         JSONValue::Object{{"id", "note"},
                                                           {"kind", "text"},
                                                           {"text", "New in *2.4*"},
                                                           {"x", 60},
                                                           {"y", 1100},
                                                           {"size", 34},
                                                           {"z", "front"}}};
    }
    styles[page] = style;
    for (const char* locale : {"de", "fr", "ja", "ar", "fa"}) {
      styles[page + "@" + locale] = JSONValue::Object{{"titleSize", 52}};
    }
  }
  g.texts = texts.dump();
  g.styles = styles.dump();
  return g;
}

void runGallery(CoreJS& core, const Gallery& g, const Documents& docs,
                vells::platform::Priority priority = vells::platform::Priority::interactive) {
  for (const auto& locale : g.locales) {
    for (std::size_t p = 0; p < g.pages.size(); ++p) {
      JSONValue args =
          JSONValue::Object{{"set", "summer-1712"}, {"page", g.pages[p]}, {"os", "ios"},
                            {"theme", "dark"},      {"locale", locale},   {"isUploaded", p >= 6}};
      benchmark::DoNotOptimize(core.callWithDocs("pagePlan", docs, args, priority));
      args["hasBackground"] = p == 1;
      args["overlayMtimeMs"] = nullptr;
      args["screenMtimeMs"] = p >= 6 ? JSONValue(1715673600000.0) : JSONValue(nullptr);
      args["calloutAspect"] = p == 0 ? JSONValue(1.42) : JSONValue(nullptr);
      benchmark::DoNotOptimize(core.stringWithDocs("compositeName", docs, args, priority));
    }
  }
}

// The documents are already remembered by the script: the gallery's polling.
void BM_GalleryStatusWarm(benchmark::State& state) {
  CoreJS core{CoreJS::resourceDir()};
  const Gallery g = realisticGallery(core);
  const Documents docs(g.texts, g.styles);
  runGallery(core, g, docs);
  for (auto _ : state)
    runGallery(core, g, docs);
  state.counters["calls"] = 2.0 * g.locales.size() * g.pages.size();
}
BENCHMARK(BM_GalleryStatusWarm)->Unit(benchmark::kMillisecond);

// Each batch after an edit: new document content, so the script parses it
// and works out every style and name afresh.
void BM_GalleryStatusAfterEdit(benchmark::State& state) {
  CoreJS core{CoreJS::resourceDir()};
  const Gallery g = realisticGallery(core);
  int edit = 0;
  for (auto _ : state) {
    const Documents docs(g.texts, g.styles + std::string(++edit % 64, ' '));
    runGallery(core, g, docs);
  }
  state.counters["calls"] = 2.0 * g.locales.size() * g.pages.size();
}
BENCHMARK(BM_GalleryStatusAfterEdit)->Unit(benchmark::kMillisecond);

// One call of a live preview while a warm-up keeps the script busy drawing
// store images, each call with a 4 MB picture inlined: with the warm-up as
// background work (argument 1) it runs in the other context; as interactive
// work (0) the two share one, as every call did before there were two.
void BM_PreviewCallBesideAWarmUp(benchmark::State& state) {
  using vells::platform::Priority;
  CoreJS core{CoreJS::resourceDir()};
  const Gallery g = realisticGallery(core);
  const Documents docs(g.texts, g.styles);
  const Priority warmUp = state.range(0) ? Priority::background : Priority::interactive;
  JSONValue storeImage = JSONValue::Object{
      {"set", "summer-1712"},
      {"page", "home"},
      {"os", "ios"},
      {"theme", "dark"},
      {"locale", "de"},
      {"pageLabel", "Home"},
      {"phone", JSONValue::Object{{"mime", "image/png"}, {"base64", std::string(4 << 20, 'A')}}}};
  std::jthread busy([&](std::stop_token stop) {
    while (!stop.stop_requested())
      benchmark::DoNotOptimize(core.callWithDocs("compositeHtml", docs, storeImage, warmUp));
  });
  const JSONValue preview =
      JSONValue::Object{{"set", "summer-1712"}, {"page", "home"}, {"os", "ios"},
                        {"theme", "dark"},      {"locale", "en"}, {"isUploaded", false}};
  for (auto _ : state) {
    // Spaced as keystrokes are, so a call finds the warm-up inside the script
    // as often as chance has it, not just after the lock came free.
    state.PauseTiming();
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    state.ResumeTiming();
    benchmark::DoNotOptimize(core.callWithDocs("pagePlan", docs, preview));
  }
}
BENCHMARK(BM_PreviewCallBesideAWarmUp)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(300);

// What the first call of a run pays: reading the script's parts, evaluating
// them in one context, and building the catalogue.
void BM_LoadAndCatalog(benchmark::State& state) {
  for (auto _ : state) {
    CoreJS core{CoreJS::resourceDir()};
    benchmark::DoNotOptimize(core.catalog());
  }
}
BENCHMARK(BM_LoadAndCatalog)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
