#include "models/image_store.h"

#include <gtest/gtest.h>

#include <QBuffer>

#include "models/api_client.h"
#include "models/fake_transport.h"
#include "models/manual_clock.h"

namespace vells::testing {
namespace {

using models::APIClient;
using models::ImageStore;

std::string encodePNG(int width, int height) {
  QImage image(width, height, QImage::Format_ARGB32);
  image.fill(Qt::red);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  return bytes.toStdString();
}

// Encoding a big picture takes long; each size is encoded once.
std::string png(int width, int height) {
  static std::mutex mutex;
  static std::map<std::pair<int, int>, std::string> made;
  std::lock_guard g(mutex);
  auto [it, fresh] = made.try_emplace({width, height});
  if (fresh) it->second = encodePNG(width, height);
  return it->second;
}

// Serves /img?w=..&h=.. as a PNG of that size, /broken as text.
backend::Response serve(const backend::Request& r) {
  if (r.path == "/broken") return backend::Response::text("not a picture");
  if (r.path == "/missing") return backend::Response::text("gone", 404);
  backend::Response out;
  out.mime = "image/png";
  out.body = png(std::stoi(r.param("w", "4")), std::stoi(r.param("h", "4")));
  return out;
}

struct ImageStoreTest : ::testing::Test {
  FakeTransport fake{serve};
  ManualClock clock;
  APIClient client{fake.transport(), clock};
  ImageStore store{client};

  std::string url(const std::string& path, int w = 4, int h = 4, int v = 0) {
    return *APIClient::url(
        path, {{"w", std::to_string(w)}, {"h", std::to_string(h)}, {"v", std::to_string(v)}});
  }
};

TEST_F(ImageStoreTest, FiftyViewsAskingAtOnceMakeOneFetch) {
  fake.hold();
  int answered = 0, withImage = 0;
  for (int i = 0; i < 50; ++i) {
    store.image(url("/img", 8, 6), nullptr, [&](std::optional<QImage> image) {
      ++answered;
      if (image && image->width() == 8) ++withImage;
    });
  }
  EXPECT_EQ(store.loading(), 1);
  fake.release();
  ASSERT_TRUE(spinUntil([&] { return answered == 50; }));
  EXPECT_EQ(withImage, 50);
  EXPECT_EQ(fake.count(), 1);
  EXPECT_EQ(store.totalCost(), 8 * 6 * 4);

  // From now on the cache answers at once, with no request.
  bool hit = false;
  store.image(url("/img", 8, 6), nullptr, [&](auto image) { hit = image.has_value(); });
  EXPECT_TRUE(hit);
  EXPECT_EQ(fake.count(), 1);
}

TEST_F(ImageStoreTest, FailuresAreNeverRememberedAndAGoneViewIsNotCalled) {
  for (const char* path : {"/broken", "/missing"}) {
    int answers = 0;
    for (int round = 0; round < 2; ++round) {
      store.image(*APIClient::url(path), nullptr, [&](std::optional<QImage> image) {
        EXPECT_FALSE(image);
        ++answers;
      });
      ASSERT_TRUE(spinUntil([&] { return answers == round + 1; }));
    }
    EXPECT_FALSE(store.cached(*APIClient::url(path)));
  }
  EXPECT_EQ(fake.count(), 4);

  int called = 0;
  {
    QObject view;
    store.image(url("/img", 3, 3), &view, [&](auto) { ++called; });
  }
  ASSERT_TRUE(spinUntil([&] { return store.loading() == 0; }));
  EXPECT_EQ(called, 0);
  EXPECT_TRUE(store.cached(url("/img", 3, 3)));  // the picture still lands for the next view
}

TEST_F(ImageStoreTest, TheCacheStaysUnderItsLimitDroppingTheLeastRecentlyUsed) {
  // 2048 × 2048 × 4 = 16 MiB each; fifteen would be 240 MiB.
  for (int i = 0; i < 15; ++i) {
    bool done = false;
    store.image(url("/img", 2048, 2048, i), nullptr, [&](auto) { done = true; });
    ASSERT_TRUE(spinUntil([&] { return done; }));
    if (i == 0) continue;
    ASSERT_TRUE(store.cached(url("/img", 2048, 2048, 0)));  // kept in use: never the oldest
    EXPECT_LE(store.totalCost(), ImageStore::costLimit);
  }
  EXPECT_EQ(store.totalCost(), 12LL * 16 * 1024 * 1024);
  EXPECT_FALSE(store.cached(url("/img", 2048, 2048, 1)));
  EXPECT_TRUE(store.cached(url("/img", 2048, 2048, 14)));
}

TEST_F(ImageStoreTest, ClearingForgetsEverythingAndLoadsFromBeforeAreNotKept) {
  bool done = false;
  store.image(url("/img"), nullptr, [&](auto) { done = true; });
  ASSERT_TRUE(spinUntil([&] { return done; }));
  fake.hold();
  bool late = false;
  store.image(url("/img", 5, 5), nullptr, [&](auto image) { late = image.has_value(); });
  store.clear();
  EXPECT_EQ(store.totalCost(), 0);
  EXPECT_FALSE(store.cached(url("/img")));
  fake.release();
  ASSERT_TRUE(spinUntil([&] { return late; }));
  EXPECT_FALSE(store.cached(url("/img", 5, 5)));
}

TEST(ImageStoreCost, ABitmapWithoutPixelsCountsItsLogicalSize) {
  EXPECT_EQ(ImageStore::bitmapBytes(QImage(10, 20, QImage::Format_ARGB32)), 800);
  EXPECT_EQ(ImageStore::bitmapBytes(QImage()), 0);
}

}  // namespace
}  // namespace vells::testing
