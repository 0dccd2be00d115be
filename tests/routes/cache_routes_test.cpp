// What a warm-up does with a page it can't render: nobody waits for its
// answer, so the failure goes to the backend's log, and the rest still runs.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>

#include "backend/test_support.h"
#include "routes/local_service.h"

namespace vells::testing {
namespace {

// Every page's layout fails the way a broken script does.
class BrokenLayoutCore : public FakeCore {
 public:
  std::optional<JSONValue> callJSON(const std::string& name, const JSONValue& args) override {
    if (name == "screenTexts") return FakeCore::callJSON(name, args);
    throw backend::CoreError::exception("layout is broken");
  }
};

TEST(CacheRoutes, AWarmUpLogsEachPageItCannotRender) {
  TempDir dir;
  // No page may reach the browser: the factory fails the test if one does.
  rendering::HTMLRenderer renderer(2, []() -> std::unique_ptr<rendering::RenderSlot> {
    ADD_FAILURE() << "a slot was acquired";
    throw rendering::RenderError::engine("no browser in this test");
  });
  backend::LocalBackend b(backend::LocalLibrary(dir.path()), std::make_shared<BrokenLayoutCore>(),
                          routes::renderingRoutes(renderer));
  std::mutex mutex;
  std::condition_variable logged;
  std::vector<std::string> lines;
  b.log().setHandler([&](platform::LogLevel level, std::string_view message) {
    EXPECT_EQ(level, platform::LogLevel::warning);
    std::lock_guard guard(mutex);
    lines.emplace_back(message);
    logged.notify_all();
  });

  ASSERT_EQ(call(b, "POST", "/api/orvo/apps/save", R"({"appId":"sample-app","info":{}})").status,
            200);
  const std::string set =
      *bodyJSON(call(b, "POST", "/api/sets", R"({"name":"S","appId":"sample-app"})"))
           .stringAt("id");
  ASSERT_EQ(call(b, "POST", "/api/pages?set=" + set,
                 R"({"pages":[{"id":"home","source":"builtin"},{"id":"stats","source":"builtin"}]})")
                .status,
            200);

  const JSONValue started = bodyJSON(call(b, "POST", "/api/warm?set=" + set + "&os=ios"));
  ASSERT_TRUE(started.find("started") && *started.find("started")->asBool()) << started.dump();
  ASSERT_EQ(started.numberAt("combinations"), 4);  // two pages in two locales

  std::unique_lock lock(mutex);
  ASSERT_TRUE(logged.wait_for(lock, std::chrono::seconds(20), [&] { return lines.size() == 4; }))
      << lines.size() << " lines";
  EXPECT_EQ(lines.front(),
            "Couldn't prepare home (en, ios, dark) of the set " + set +
                ": Renderer script failed: layout is broken");
}

}  // namespace
}  // namespace vells::testing
