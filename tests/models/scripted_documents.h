#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <mutex>

#include "models/api_client.h"
#include "models/fake_transport.h"
#include "models/manual_clock.h"
#include "models/text_fit.h"

namespace vells::testing {

// A transport that answers the measures from a script, in order, and keeps
// the documents the fitter writes.
struct Scripted {
  using Result = models::TextFit::Result;
  std::mutex mutex;
  std::deque<std::string> reports;
  std::string styles = "{}";
  std::string texts = "{}";
  FakeTransport fake{[this](const backend::Request& r) {
    std::lock_guard g(mutex);
    if (r.path == "/api/text-fit") {
      if (reports.empty()) return backend::Response::text("no report", 500);
      std::string next = reports.front();
      if (reports.size() > 1) reports.pop_front();
      return backend::Response::json(JSONValue::parse(next));
    }
    std::string& doc = r.path == "/api/styles" ? styles : texts;
    if (r.method == "POST") {
      doc = r.body;
      return backend::Response::json(JSONValue::Object{{"ok", true}});
    }
    return backend::Response::json(JSONValue::parse(doc));
  }};
  ManualClock clock;
  models::APIClient client{fake.transport(), clock};

  Result run() {
    std::optional<Result> result;
    models::TextFit::autoFit(client, "s", "home", DeviceOS::ios, ThemeName::dark, "de", nullptr,
                             [&](Result r) { result = std::move(r); });
    EXPECT_TRUE(spinUntil([&] { return result.has_value(); }));
    return result ? *result : Result{};
  }
  int posts() {
    int n = 0;
    for (const auto& r : fake.requests())
      n += r.method == "POST";
    return n;
  }
};

}  // namespace vells::testing
