#include "models/api_client.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <memory>

#include "backend/test_support.h"
#include "backend/url_request.h"
#include "models/fake_transport.h"
#include "models/manual_clock.h"
#include "models/model_library.h"

namespace vells::testing {
namespace {

using models::APIClient;
using models::APIError;
using models::APIResult;
using models::Done;
using models::TriState;

// Collects what one call answered, and on which thread.
template <class T>
struct Answer {
  std::optional<APIResult<T>> result;
  int calls = 0;
  bool onMainThread = false;

  models::Reply<T> reply() {
    return [this](APIResult<T> r) {
      ++calls;
      onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
      result.emplace(std::move(r));
    };
  }
  bool wait() {
    return spinUntil([this] { return calls > 0; });
  }
};

struct ClientTest : ::testing::Test {
  FakeTransport fake;
  ManualClock clock;
  std::unique_ptr<APIClient> client = std::make_unique<APIClient>(fake.transport(), clock);

  JSONValue lastBody() { return JSONValue::parse(fake.requests().back().body); }
};

TEST(APIClientURL, QueryIsSortedAbsentItemsDropAndTheCLIReadsItBack) {
  EXPECT_EQ(APIClient::url("/api/texts", {{"set", "a"}, {"x", std::nullopt}}),
            "vells://local/api/texts?set=a");
  EXPECT_EQ(APIClient::url("/api/config"), "vells://local/api/config");
  EXPECT_EQ(APIClient::url("/x", {{"set", "s"}, {"os", "ios"}, {"page", "p"}}),
            "vells://local/x?os=ios&page=p&set=s");
  EXPECT_FALSE(APIClient::url("api/config"));
  EXPECT_FALSE(APIClient::url(""));

  // What the client writes, the dispatch reads back unchanged: the one pair of rules.
  const std::string odd = "a b&c=d/ü?#%";
  auto url = APIClient::url("/api/my set", {{"set", odd}, {"k&y", "1"}});
  ASSERT_TRUE(url);
  backend::Request r = backend::requestFromURL(*url);
  EXPECT_EQ(r.path, "/api/my set");
  EXPECT_EQ(r.param("set"), odd);
  EXPECT_EQ(r.param("k&y"), "1");
}

TEST(APIClientErrors, WordsForPeople) {
  EXPECT_STREQ(APIError::http(500, "  \n Nope \t").what(), "Nope");
  EXPECT_STREQ(APIError::http(500, " \n").what(), "The request failed (500).");
  EXPECT_STREQ(APIError::notAnImage("").what(), "No image came back.");
  EXPECT_STREQ(APIError::notAnImage("bad").what(), "bad");
  EXPECT_STREQ(APIError::noServer().what(), "The library isn’t open.");
  EXPECT_EQ(APIError::http(404, "x").status(), 404);
}

TEST_F(ClientTest, BodiesCarryTheThreeStatesAndTheRoundedSizes) {
  Answer<Done> a1, a2, a3, a4;
  client->updateSet("s1", std::nullopt, {}, std::vector<std::string>{"en", "de"}, nullptr,
                    a1.reply());
  ASSERT_TRUE(a1.wait());
  EXPECT_EQ(fake.requests().back().method, "PATCH");
  EXPECT_EQ(fake.requests().back().contentType, "application/json");
  EXPECT_EQ(lastBody(), JSONValue::parse(R"({"id":"s1","locales":["en","de"]})"));

  client->updateSet("s1", "New", TriState<std::string>::null(),
                    TriState<std::vector<std::string>>::null(), nullptr, a2.reply());
  ASSERT_TRUE(a2.wait());
  EXPECT_EQ(lastBody(),
            JSONValue::parse(R"({"id":"s1","name":"New","appId":null,"locales":null})"));

  client->updateApp("app", std::nullopt, "Dev", "/icon.png", true, JSONValue::Object{}, nullptr,
                    a3.reply());
  ASSERT_TRUE(a3.wait());
  EXPECT_EQ(lastBody(),
            JSONValue::parse(R"({"appId":"app","developer":"Dev","icon":null,"profile":{}})"));

  Answer<std::string> layer;
  fake.setAnswer([](auto&) { return backend::Response::json(JSONValue::Object{{"asset", "a"}}); });
  client->renderLayerHTML("s", "<b>", 100.4, 99.5, nullptr, layer.reply());
  ASSERT_TRUE(layer.wait());
  EXPECT_EQ(layer.result->value(), "a");
  EXPECT_EQ(lastBody(), JSONValue::parse(R"({"html":"<b>","width":100,"height":100})"));

  client->warm("s", DeviceOS::ios, ThemeName::dark, false, nullptr, a4.reply());
  ASSERT_TRUE(a4.wait());
  EXPECT_EQ(fake.requests().back().query.count("priority"), 0u);
  EXPECT_TRUE(fake.requests().back().body.empty());
  EXPECT_TRUE(fake.requests().back().contentType.empty());
}

TEST_F(ClientTest, ApplicationFailuresBecomeOneKindOfError) {
  fake.setAnswer([](const backend::Request& r) {
    if (r.path == "/api/pages")
      return backend::Response::json(JSONValue::Object{{"error", "Full"}});
    if (r.path == "/api/config") return backend::Response::text("  Broken library \n", 500);
    if (r.path == "/api/texts") return backend::Response::text("not json");
    return backend::Response::json(JSONValue::Object{});
  });
  Answer<std::string> sticker, link;
  Answer<Done> save;
  Answer<AppConfig> config;
  Answer<TextsDocument> texts;
  Answer<APIClient::LookedUpApp> lookup;
  client->placeSticker("s", "p", "f.png", nullptr, sticker.reply());
  client->savePages("s", {}, nullptr, save.reply());
  client->config(nullptr, config.reply());
  client->texts("s", nullptr, texts.reply());
  client->lookupApp("https://x", nullptr, lookup.reply());
  client->linkApp("a", "https://x", nullptr, link.reply());
  for (auto* wait :
       {&sticker.calls, &save.calls, &config.calls, &texts.calls, &lookup.calls, &link.calls}) {
    ASSERT_TRUE(spinUntil([wait] { return *wait > 0; }));
  }
  EXPECT_EQ(sticker.result->error().status(), 404);
  EXPECT_STREQ(sticker.result->error().what(), "Sticker not found");
  EXPECT_EQ(save.result->error().status(), 400);
  EXPECT_STREQ(save.result->error().what(), "Full");
  EXPECT_EQ(config.result->error().status(), 500);
  EXPECT_STREQ(config.result->error().what(), "Broken library");
  EXPECT_EQ(texts.result->error().kind(), APIError::Kind::badReply);
  EXPECT_STREQ(lookup.result->error().what(), "The App Store had nothing for that link.");
  EXPECT_STREQ(link.result->error().what(), "The app wasn’t linked.");
}

TEST_F(ClientTest, RawUploadsAndDownloadsKeepBytesAndTypes) {
  const std::string png("\x89PNG\r\n\x1a\n\0\0", 10);
  fake.setAnswer([](const backend::Request& r) {
    if (r.method == "GET") {
      backend::Response out;
      out.mime = "image/png";
      out.body = std::string("\x89PNG", 4);
      return out;
    }
    return backend::Response::json(JSONValue::Object{{"icon", "/api/orvo/app-icon/x.png"}});
  });
  Answer<std::string> icon;
  client->uploadAppIcon(png, "image/png", nullptr, icon.reply());
  ASSERT_TRUE(icon.wait());
  EXPECT_EQ(icon.result->value(), "/api/orvo/app-icon/x.png");
  EXPECT_EQ(fake.requests().back().body, png);
  EXPECT_EQ(fake.requests().back().contentType, "image/png");

  Answer<APIClient::Download> dl;
  client->download(*APIClient::url("/composite", {{"set", "s"}}), nullptr, dl.reply());
  ASSERT_TRUE(dl.wait());
  EXPECT_EQ(dl.result->value().mime, "image/png");
  EXPECT_EQ(dl.result->value().bytes.size(), 4u);
  EXPECT_TRUE(dl.onMainThread);
}

TEST_F(ClientTest, NoMoreThanTwelveRunAtOnceAndAllAnswerOnTheMainThread) {
  fake.hold();
  constexpr int n = 40;
  std::vector<Answer<JSONValue>> answers(n);
  for (auto& a : answers)
    client->getJSON("/api/config", {}, nullptr, a.reply());
  ASSERT_TRUE(spinUntil([&] { return fake.running() == APIClient::maxConcurrent; }));
  QThread::msleep(50);  // a thirteenth would have started by now
  EXPECT_EQ(fake.running(), APIClient::maxConcurrent);
  fake.release();
  ASSERT_TRUE(spinUntil([&] {
    return std::all_of(answers.begin(), answers.end(), [](auto& a) { return a.calls == 1; });
  }));
  EXPECT_EQ(fake.maxRunning(), APIClient::maxConcurrent);
  EXPECT_TRUE(std::all_of(answers.begin(), answers.end(), [](auto& a) { return a.onMainThread; }));
  EXPECT_EQ(client->pendingCalls(), 0);
}

TEST_F(ClientTest, AReceiverThatIsGoneIsNeverCalledBack) {
  fake.hold();
  int called = 0;
  Answer<JSONValue> survivor;
  {
    auto receiver = std::make_unique<QObject>();
    for (int i = 0; i < 5; ++i)
      client->getJSON("/api/config", {}, receiver.get(), [&](auto) { ++called; });
    client->getJSON("/api/config", {}, nullptr, survivor.reply());
  }
  fake.release();
  ASSERT_TRUE(survivor.wait());
  ASSERT_TRUE(spinUntil([&] { return client->pendingCalls() == 0; }));
  EXPECT_EQ(called, 0);
}

TEST_F(ClientTest, AnAnswerAfterSixtySecondsIsDroppedForTheTimeOut) {
  fake.hold();
  Answer<JSONValue> a;
  client->getJSON("/api/config", {}, nullptr, a.reply());
  clock.advance(std::chrono::seconds(59));
  QCoreApplication::processEvents();
  EXPECT_EQ(a.calls, 0);
  clock.advance(std::chrono::seconds(1));
  ASSERT_EQ(a.calls, 1);
  EXPECT_EQ(a.result->error().kind(), APIError::Kind::timedOut);
  fake.release();
  ASSERT_TRUE(spinUntil([&] { return fake.running() == 0; }));
  QThread::msleep(20);
  QCoreApplication::processEvents();
  EXPECT_EQ(a.calls, 1);
  EXPECT_EQ(clock.scheduled(), 0u);
}

TEST_F(ClientTest, DestroyingTheClientWithCallsRunningDeliversNothing) {
  fake.hold();
  int called = 0;
  for (int i = 0; i < 20; ++i)
    client->getJSON("/api/config", {}, nullptr, [&](auto) { ++called; });
  ASSERT_TRUE(spinUntil([&] { return fake.running() > 0; }));
  std::thread releaser([&] {
    QThread::msleep(30);
    fake.release();
  });
  client.reset();
  releaser.join();
  QCoreApplication::processEvents();
  EXPECT_EQ(called, 0);
}

// The real road: a library folder, its database and the routes.
TEST(APIClientLibrary, RoundTripsThroughTheBackend) {
  ModelLibrary lib;
  backend::LocalBackend& b = *lib.backend;
  ManualClock clock;
  APIClient client(models::APITransport::local(b), clock);

  Answer<Done> opened;
  client.open(nullptr, opened.reply());
  ASSERT_TRUE(opened.wait());
  ASSERT_TRUE(opened.result->ok());

  Answer<VellSet> created;
  client.createSet("Launch", std::nullopt, std::vector<std::string>{"en", "de"}, nullptr,
                   created.reply());
  ASSERT_TRUE(created.wait());
  ASSERT_TRUE(created.result->ok()) << created.result->error().what();
  const std::string id = created.result->value().id;

  Answer<Done> saved;
  client.savePages(id, {{"a", "A", PageSource::upload, {}}, {"b", "B", PageSource::html, {}}},
                   nullptr, saved.reply());
  ASSERT_TRUE(saved.wait());
  ASSERT_TRUE(saved.result->ok()) << saved.result->error().what();

  Answer<std::vector<SetPage>> pages;
  client.pages(id, nullptr, pages.reply());
  ASSERT_TRUE(pages.wait());
  ASSERT_TRUE(pages.result->ok()) << pages.result->error().what();
  ASSERT_EQ(pages.result->value().size(), 2u);
  EXPECT_EQ(pages.result->value()[1].source, PageSource::html);

  Answer<AppConfig> config;
  client.config(nullptr, config.reply());
  ASSERT_TRUE(config.wait());
  ASSERT_TRUE(config.result->ok()) << config.result->error().what();
  auto& sets = config.result->value().sets;
  auto it = std::find_if(sets.begin(), sets.end(), [&](auto& s) { return s.id == id; });
  ASSERT_NE(it, sets.end());
  EXPECT_EQ(it->locales, (std::vector<std::string>{"en", "de"}));

  Answer<bool> has;
  client.hasScreen(id, "a", DeviceOS::ios, "en", std::nullopt, nullptr, has.reply());
  ASSERT_TRUE(has.wait());
  ASSERT_TRUE(has.result->ok()) << has.result->error().what();
  EXPECT_FALSE(has.result->value());

  Answer<Done> gone;
  client.deleteSet("no-such-set", nullptr, gone.reply());
  ASSERT_TRUE(gone.wait());
  EXPECT_FALSE(gone.result->ok());
  EXPECT_EQ(gone.result->error().kind(), APIError::Kind::http);
}

TEST(APIClientLibrary, AnUnusableLibrarySaysWhatIsWrong) {
  TempDir dir;
  writeFile(dir.path() / "lib" / "orvo-tools.sqlite", "this is not a database");
  backend::LocalBackend b(backend::LocalLibrary(dir.path() / "lib"), std::make_shared<FakeCore>());
  ManualClock clock;
  APIClient client(models::APITransport::local(b), clock);
  Answer<Done> opened;
  client.open(nullptr, opened.reply());
  ASSERT_TRUE(opened.wait());
  ASSERT_FALSE(opened.result->ok());
  const std::string words = opened.result->error().what();
  EXPECT_FALSE(words.empty());
  EXPECT_NE(words.find(' '), std::string::npos) << words;  // a sentence, not a code
}

}  // namespace
}  // namespace vells::testing
