#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "backend/test_support.h"
#include "rendering/core_js.h"

namespace vells::testing {
namespace {

using backend::CoreError;
using rendering::CoreJS;
using rendering::Documents;

// A resource folder with a hand-written script, so each host rule is tested
// against a script that exercises exactly it.
class Host : public ::testing::Test {
 protected:
  void script(const std::string& body) { writeFile(dir.path() / "core.js", body); }
  TempDir dir;
};

constexpr const char* kEcho = R"JS(
var calls = 0;
var VellsCore = {
  call(name, argsJson) {
    calls++;
    const args = JSON.parse(argsJson);
    switch (name) {
      case "echo": return JSON.stringify(args);
      case "nothing": return "null";
      case "undefined": return undefined;
      case "number": return "42";
      case "notJSON": return "{oops";
      case "throws": throw new TypeError("bad " + args.what);
      case "count": return JSON.stringify(calls);
      case "read": return JSON.stringify(__vellsHost.read(args.path, args.encoding));
      case "exists": return JSON.stringify(__vellsHost.exists(args.path));
      case "catalog": return JSON.stringify(globalThis.catalogValue ?? {});
      case "setCatalog": globalThis.catalogValue = args; return "null";
      default: throw new Error("Unknown function: " + name);
    }
  }
};
)JS";

TEST_F(Host, CallsAndResults) {
  script(kEcho);
  CoreJS core(dir.path());
  auto v = core.callJSON("echo", JSONValue::parse(R"({"a":[1,"\u00e9",null],"nul":"x\u0000y"})"));
  ASSERT_TRUE(v);
  EXPECT_EQ(*v, JSONValue::parse(R"({"a":[1,"\u00e9",null],"nul":"x\u0000y"})"));
  EXPECT_FALSE(core.callJSON("nothing", {}));
  EXPECT_FALSE(core.callJSON("undefined", {}));
  EXPECT_FALSE(core.string("number", {}));
  EXPECT_EQ(*core.callJSON("number", {}), JSONValue(42));
  EXPECT_THROW(core.callJSON("notJSON", {}), JSONParseError);

  try {
    core.callJSON("throws", JSONValue::Object{{"what", "input"}});
    FAIL();
  } catch (const CoreError& e) {
    EXPECT_EQ(e.kind(), CoreError::Kind::exception);
    EXPECT_EQ(std::string(e.what()), "Renderer script failed: TypeError: bad input");
  }
  // A throwing call fails only itself: the context keeps its state.
  EXPECT_EQ(*core.callJSON("count", {}), JSONValue(8));
}

TEST_F(Host, HostFunctionsStayInsideTheAssetsFolder) {
  script(kEcho);
  writeFile(dir.path() / "assets" / "fonts" / "a.ttf", "font\xff");
  writeFile(dir.path() / "secret", "secret");
  CoreJS core(dir.path());
  auto read = [&](const std::string& path, const std::string& encoding = "utf8") {
    return core.callJSON("read", JSONValue::Object{{"path", path}, {"encoding", encoding}})
        .value_or(JSONValue());
  };
  auto exists = [&](const std::string& path) {
    return *core.callJSON("exists", JSONValue::Object{{"path", path}})->asBool();
  };
  EXPECT_EQ(read("/core/assets/fonts/a.ttf"), JSONValue("font\xEF\xBF\xBD"));
  EXPECT_EQ(read("/core/assets//fonts//a.ttf"), JSONValue("font\xEF\xBF\xBD"));
  EXPECT_EQ(read("/core/assets/fonts/a.ttf", "base64"), JSONValue("Zm9udP8="));
  EXPECT_TRUE(exists("/core/assets/fonts/a.ttf"));
  EXPECT_TRUE(exists("/core/assets/./fonts"));
  for (const char* refused : {"/core/assets/../secret", "/core/assets/fonts/../../secret",
                              "/core/assetsx/a", "/core/secret", "core/assets/fonts/a.ttf", ""}) {
    EXPECT_TRUE(read(refused).isNull()) << refused;
    EXPECT_FALSE(exists(refused)) << refused;
  }
  EXPECT_TRUE(read("/core/assets/fonts/missing.ttf").isNull());
  EXPECT_FALSE(exists("/core/assets/fonts/missing.ttf"));
}

TEST_F(Host, FailedLoadIsKeptWithoutTouchingTheFileAgain) {
  script("var VellsCore = {}; throw new Error('broken at load');");
  CoreJS core(dir.path());
  auto expectLoadError = [&] {
    try {
      core.callJSON("echo", {});
      FAIL();
    } catch (const CoreError& e) {
      EXPECT_EQ(std::string(e.what()), "Renderer script failed: Error: broken at load");
    }
  };
  expectLoadError();
  script(kEcho);  // fixed on disk, but a failed load is final for the process
  expectLoadError();
  EXPECT_TRUE(core.catalog()->empty());
}

// The shipped script comes in parts that share one global scope, each under its
// own name, so a failure says which part and which line.
TEST_F(Host, PartsLoadInListedOrderAndErrorsNameTheirFileAndLine) {
  writeFile(dir.path() / "core.parts", "# load order\nbase/one.js\n\n  \nbase/two.js \n");
  writeFile(dir.path() / "base" / "one.js", "\"use strict\";\nconst GREETING = \"hi\";\n");
  writeFile(dir.path() / "base" / "two.js",
            "\"use strict\";\n"
            "var VellsCore = {\n"
            "  call(name) {\n"
            "    if (name === \"greet\") return JSON.stringify(GREETING);\n"
            "    throw new RangeError(\"no \" + name);\n"
            "  },\n"
            "};\n");
  script("var VellsCore = { call() { return '\"single\"'; } };");  // the list wins
  CoreJS core(dir.path());
  EXPECT_EQ(core.string("greet", {}), "hi");
  try {
    core.callJSON("wave", {});
    FAIL();
  } catch (const CoreError& e) {
    EXPECT_EQ(std::string(e.what()), "Renderer script failed: RangeError: no wave");
    EXPECT_EQ(e.where(), (dir.path() / "base" / "two.js").string() + ":5");
  }

  // A part that fails while loading names itself; the parts before it ran.
  TempDir broken;
  writeFile(broken.path() / "core.parts", "a.js\nb.js\n");
  writeFile(broken.path() / "a.js", "var VellsCore = {};\n");
  writeFile(broken.path() / "b.js", "\n\nlet x = ;\n");
  try {
    CoreJS(broken.path()).callJSON("x", {});
    FAIL();
  } catch (const CoreError& e) {
    EXPECT_EQ(e.kind(), CoreError::Kind::exception);
    EXPECT_EQ(e.where(), (broken.path() / "b.js").string() + ":3");
  }

  // A listed part that is missing is a missing script, not a half-loaded one.
  writeFile(broken.path() / "core.parts", "a.js\ngone.js\n");
  try {
    CoreJS(broken.path()).callJSON("x", {});
    FAIL();
  } catch (const CoreError& e) {
    EXPECT_EQ(e.kind(), CoreError::Kind::missingBundle);
  }
}

TEST_F(Host, MissingScriptOrFolder) {
  for (std::optional<fs::path> root :
       {std::optional<fs::path>(dir.path()), std::optional<fs::path>()}) {
    CoreJS core(root);
    try {
      core.string("x", {});
      FAIL();
    } catch (const CoreError& e) {
      EXPECT_EQ(e.kind(), CoreError::Kind::missingBundle);
      EXPECT_EQ(std::string(e.what()),
                "The core script (core.parts or core.js) is missing from the resources folder "
                "\u2014 set VELLS_RESOURCES to the folder that holds it, or reinstall Vellora.");
    }
    EXPECT_TRUE(core.catalog()->empty());
  }
  script("var VellsCore = 1; \xff");  // not UTF-8
  EXPECT_THROW(CoreJS(dir.path()).callJSON("x", {}), CoreError);
}

TEST_F(Host, CatalogueIsCachedOnlyWhenNotEmpty) {
  script(kEcho);
  CoreJS core(dir.path());
  EXPECT_TRUE(core.catalog()->empty());
  core.callJSON("setCatalog", JSONValue::Object{{"pages", JSONValue::Array{}}});
  auto first = core.catalog();
  EXPECT_EQ(first->size(), 1u);
  core.callJSON("setCatalog", JSONValue::Object{{"other", 1}});
  EXPECT_EQ(core.catalog(), first);  // the same cached object, not asked again
}

constexpr const char* kMemo = R"JS(
const memo = new Map();
var remembered = 0;
var VellsCore = {
  call(name, argsJson) {
    let args = JSON.parse(argsJson);
    if (name === "__rememberDocs") {
      remembered++;
      const parse = (t) => { try { const v = JSON.parse(t); return v && typeof v === "object" && !Array.isArray(v) ? v : {}; } catch { return {}; } };
      memo.set(args.key, { texts: parse(args.texts), styles: parse(args.styles) });
      return "null";
    }
    if (name === "forget") { memo.clear(); return "null"; }
    if (name === "remembered") return JSON.stringify(remembered);
    if (typeof args.__docs === "string") {
      const docs = memo.get(args.__docs);
      if (!docs) throw new Error("__vells_docs_missing__");
      const own = { ...args };
      delete own.__docs;
      args = { ...docs, ...own };
    }
    return JSON.stringify(args);
  }
};
)JS";

TEST_F(Host, DocumentsCrossTheBorderOncePerContent) {
  script(kMemo);
  CoreJS core(dir.path());
  const Documents docs(R"({"home":{"en":{"title":"Hi"}}})", "");
  auto v = core.callWithDocs("plan", docs, JSONValue::Object{{"page", "home"}, {"styles", 1}});
  EXPECT_EQ(
      *v, JSONValue::parse(R"({"page":"home","styles":1,"texts":{"home":{"en":{"title":"Hi"}}}})"));
  for (int i = 0; i < 5; ++i)
    core.callWithDocs("plan", docs, JSONValue::Object{});
  EXPECT_EQ(*core.callJSON("remembered", {}), JSONValue(1));
  core.callJSON("forget", {});
  EXPECT_EQ(*core.callWithDocs("plan", docs, JSONValue::Object{})->find("styles"),
            JSONValue::Object{});
  EXPECT_EQ(*core.callJSON("remembered", {}), JSONValue(2));
  EXPECT_NE(Documents("ab", "c").key(), Documents("a", "bc").key());
  EXPECT_EQ(Documents("a", "b").key(), Documents("a", "b").key());
}

// Large arguments make the engine collect garbage while a call is being set
// up; the call's name and arguments must survive that.
TEST_F(Host, LargeArgumentsSurviveCollection) {
  script(kEcho);
  CoreJS core(dir.path());
  const std::string big(700 * 1024, 'A');
  for (int i = 0; i < 60; ++i) {
    auto v = core.callJSON("echo", JSONValue::Object{{"big", big}, {"i", i}});
    ASSERT_TRUE(v);
    ASSERT_EQ(v->numberAt("i"), i);
    ASSERT_EQ(v->stringAt("big")->size(), big.size());
  }
}

TEST_F(Host, ManyThreadsShareOneContext) {
  script(kEcho);
  CoreJS core(dir.path());
  std::vector<std::thread> threads;
  std::atomic<int> ok{0};
  for (int t = 0; t < 6; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i) {
        auto v = core.callJSON("echo", JSONValue::Object{{"t", t}, {"i", i}});
        if (v && v->numberAt("t") == t && v->numberAt("i") == i) ++ok;
      }
    });
  }
  for (auto& th : threads)
    th.join();
  EXPECT_EQ(ok.load(), 300);
}

// The background call reads a named pipe the test holds: it stays inside the
// script until the test writes, and the test knows it is there because
// opening the pipe for writing succeeds only once the script has opened it.
TEST_F(Host, AnInteractiveCallIsNotHeldBehindABackgroundOne) {
  script(R"JS(
var VellsCore = {
  call(name, argsJson) {
    if (name === "wait") return JSON.stringify(__vellsHost.read("/core/assets/latch", "utf8"));
    if (name === "ping") return JSON.stringify("pong");
    throw new Error("Unknown function: " + name);
  }
};
)JS");
  const fs::path latch = dir.path() / "assets" / "latch";
  fs::create_directories(latch.parent_path());
  ASSERT_EQ(::mkfifo(latch.c_str(), 0600), 0);
  CoreJS core(dir.path());
  const Documents docs("{}", "{}");

  auto background = std::async(std::launch::async, [&] {
    return core.callWithDocs("wait", docs, JSONValue::Object{}, platform::Priority::background);
  });
  int writer = -1;
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (writer < 0 && std::chrono::steady_clock::now() < limit &&
         background.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) {
    writer = ::open(latch.c_str(), O_WRONLY | O_NONBLOCK);  // ENXIO until the script reads
  }
  ASSERT_GE(writer, 0) << "the background call never reached the latch";

  auto interactive = std::async(std::launch::async, [&] { return core.callJSON("ping", {}); });
  const bool answered = interactive.wait_for(std::chrono::seconds(60)) == std::future_status::ready;
  // Let the background call go either way, so a failure ends instead of hanging.
  EXPECT_EQ(::write(writer, "open", 4), 4);
  ::close(writer);
  EXPECT_TRUE(answered) << "the interactive call waited for the background one";
  EXPECT_EQ(interactive.get(), JSONValue("pong"));
  EXPECT_EQ(background.get(), JSONValue("open"));
}

}  // namespace
}  // namespace vells::testing
