#include "rendering/export_service.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "backend/file_io.h"
#include "backend/sets.h"
#include "rendering/composite.h"
#include "rendering/zip_writer.h"

namespace vells::rendering {

using backend::LocalBackend;
using platform::Priority;

std::string exportEntryName(const std::string& folder, std::size_t place, const std::string& page) {
  char number[24];
  std::snprintf(number, sizeof number, "%02zu", place);
  return folder + number + "-" + page + ".png";
}

namespace {

// The page order a locale's entry of the order document asks for; anything
// the script can't turn into a list of ids keeps the set's own order.
std::vector<std::string> orderFor(LocalBackend& b, const JSONValue& orderDoc,
                                  const JSONValue::Array& all, const std::string& locale) {
  const JSONValue* stored = orderDoc.find(locale);
  auto answer = b.core().callJSON(
      "orderedPages", JSONValue::Object{{"all", all}, {"stored", stored ? *stored : JSONValue()}});
  if (answer && answer->isArray()) {
    std::vector<std::string> ids;
    for (const auto& id : *answer->asArray()) {
      if (!id.isString()) break;
      ids.push_back(*id.asString());
    }
    if (ids.size() == answer->asArray()->size()) return ids;
  }
  std::vector<std::string> ids;
  for (const auto& id : all)
    ids.push_back(*id.asString());
  return ids;
}

struct Entry {
  std::string locale, page, name;
  std::size_t place = 0;
};

// A rendered entry waiting for its turn in the archive.
struct Rendered {
  std::optional<std::string> bytes;  // absent: nothing to add
  std::chrono::milliseconds took{0};
};

// The renders of one export, shared by the caller and the executor's tasks.
// Entries are claimed in archive order, so the caller, waiting for the next
// entry to add, finds it rendered, under way, or unclaimed; while any is
// unclaimed it renders one itself rather than wait. The export so needs no
// free worker to progress, and only the images not added yet are held.
struct Renders {
  std::vector<Entry> entries;
  std::function<std::optional<std::string>(const Entry&)> render;

  std::mutex mutex;
  std::condition_variable_any changed;
  std::vector<std::optional<Rendered>> done;
  std::size_t next = 0, running = 0;
  std::exception_ptr error;
  std::size_t failed = 0;  // the entry of `error`
  bool over = false;       // no claims any more

  // Renders the next unclaimed entry; false when there is none to take.
  bool renderNext() {
    std::size_t i = 0;
    {
      std::lock_guard lock(mutex);
      if (over || error || next == entries.size()) return false;
      i = next++;
      ++running;
    }
    Rendered result;
    std::exception_ptr thrown;
    const auto started = std::chrono::steady_clock::now();
    try {
      result.bytes = render(entries[i]);
    } catch (...) {
      thrown = std::current_exception();
    }
    result.took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - started);
    {
      std::lock_guard lock(mutex);
      if (thrown && !error) error = thrown, failed = i;
      done[i] = std::move(result);
      --running;
    }
    changed.notify_all();
    return true;
  }

  // No more claims; waits for the renders under way, which still use what
  // the caller's frame holds.
  void end() {
    std::unique_lock lock(mutex);
    over = true;
    changed.wait(lock, [&] { return running == 0; });
  }
};

}  // namespace

ExportService::ExportService(LocalBackend& backend, HTMLRenderer& renderer)
    : backend_(backend), renderer_(renderer) {}

ExportArchive ExportService::run(const ExportRequest& request, const Progress& progress,
                                 const std::stop_token& stop) {
  ZipWriter zip;
  write(
      request, [&zip](const ExportImage& image) { zip.add(image.name, image.bytes); }, progress,
      stop);
  const std::string base =
      request.locale.empty()
          ? request.set + "-" + request.os + "-" + request.theme
          : request.set + "-" + request.locale + "-" + request.os + "-" + request.theme;
  ExportArchive archive;
  archive.entries = zip.count();
  archive.bytes = zip.finish();
  archive.fileName = base + ".zip";
  return archive;
}

std::size_t ExportService::write(const ExportRequest& request, const Sink& sink,
                                 const Progress& progress, const std::stop_token& stop) {
  std::vector<std::string> locales = backend::localesOf(backend_, request.set);
  if (!request.locale.empty()) {
    if (std::find(locales.begin(), locales.end(), request.locale) == locales.end())
      throw ExportRefused("Unknown locale for this set");
    locales = {request.locale};
  }
  std::erase_if(locales, [&](const std::string& code) {
    return std::find(request.skipLocales.begin(), request.skipLocales.end(), code) !=
           request.skipLocales.end();
  });
  auto orderDoc = JSONValue::tryParse(
      backend_.db().document(backend::LocalDatabase::Document::order, request.set));
  if (!orderDoc || !orderDoc->isObject()) orderDoc = JSONValue::Object{};
  JSONValue::Array all;
  for (const auto& row : backend::pagesOf(backend_, request.set))
    all.emplace_back(row.id);

  auto renders = std::make_shared<Renders>();
  for (const auto& code : locales) {
    const std::string folder = request.locale.empty() ? code + "/" : "";
    const auto order = orderFor(backend_, *orderDoc, all, code);
    for (std::size_t i = 0; i < order.size(); ++i)
      renders->entries.push_back({code, order[i], exportEntryName(folder, i + 1, order[i]), i + 1});
  }
  renders->done.resize(renders->entries.size());
  if (stop.stop_requested()) throw ExportStopped();
  Compositor compositor(backend_, renderer_);
  CompositeRequest common;
  common.set = request.set;
  common.os = request.os;
  common.theme = request.theme;
  common.size = request.size;
  renders->render = [&compositor, &common](const Entry& e) -> std::optional<std::string> {
    CompositeRequest cr = common;
    cr.page = e.page;
    cr.locale = e.locale;
    auto result = compositor.composite(cr);
    if (!result) return std::nullopt;
    return backend::readFile(result->path);
  };
  // Ends the renders however this frame is left: they use its compositor.
  struct EndRenders {
    Renders& renders;
    ~EndRenders() { renders.end(); }
  } ending{*renders};

  // The caller renders too, so one slot fewer of helpers keeps them all busy.
  const std::size_t helpers = std::min<std::size_t>(
      renders->entries.size(), static_cast<std::size_t>(std::max(renderer_.maxSlots() - 1, 0)));
  for (std::size_t k = 0; k < helpers; ++k) {
    backend_.work().post(Priority::interactive, [renders](const std::stop_token& shutdown) {
      while (!shutdown.stop_requested() && renders->renderNext()) {
      }
    });
  }
  // A stop wakes the caller: taking the lock first means it can't slip in
  // between the caller's test and its wait.
  std::stop_callback wake(stop, [&r = *renders] {
    { std::lock_guard lock(r.mutex); }
    r.changed.notify_all();
  });

  std::size_t written = 0;
  const std::size_t total = renders->entries.size();
  for (std::size_t i = 0; i < total; ++i) {
    std::optional<Rendered> rendered;
    {
      std::unique_lock lock(renders->mutex);
      for (;;) {
        if (stop.stop_requested()) throw ExportStopped();
        if (renders->error) break;
        if (renders->done[i]) break;
        // Rather than wait, render whatever is unclaimed: the entry needed
        // next, or one after it, so the caller keeps a slot busy too.
        if (renders->next < total) {
          lock.unlock();
          renders->renderNext();
          lock.lock();
          continue;
        }
        renders->changed.wait(lock);
      }
      if (renders->error) {
        const Entry& e = renders->entries[renders->failed];
        std::string cause = "an unknown error";
        try {
          std::rethrow_exception(renders->error);
        } catch (const std::exception& error) {
          cause = error.what();
        } catch (...) {
        }
        throw ExportPageFailed(e.locale + " " + e.page + " " + request.os + " " + request.theme +
                                   " could not be rendered: " + cause,
                               renders->error);
      }
      rendered = std::move(renders->done[i]);
      renders->done[i].emplace();  // settled: keep the mark, drop the bytes
    }
    const Entry& e = renders->entries[i];
    if (rendered->bytes) {
      sink(ExportImage{e.locale, e.page, e.place, e.name, *rendered->bytes});
      ++written;
    }
    if (progress) {
      progress({i + 1, total, e.locale, e.page,
                rendered->bytes ? ExportProgress::Outcome::added : ExportProgress::Outcome::leftOut,
                rendered->took});
    }
  }
  if (stop.stop_requested()) throw ExportStopped();
  return written;
}

}  // namespace vells::rendering
