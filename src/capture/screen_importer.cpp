#include "capture/screen_importer.h"

#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <system_error>

#include "document/json_value.h"
#include "platform/error.h"

namespace vells::capture {

namespace fs = std::filesystem;

namespace {

std::string platformName(DeviceOS os) {
  return os == DeviceOS::ios ? "iOS" : "Android";
}

// The reason a refused request gives: its JSON "error", else its text.
std::string reasonOf(const backend::Response& response) {
  try {
    const JSONValue body = JSONValue::parse(response.body);
    if (const JSONValue* error = body.find("error"); error && error->isString()) {
      return *error->asString();
    }
  } catch (const std::exception&) {
    // Not JSON: the text itself is the reason.
  }
  return response.body.empty() ? "status " + std::to_string(response.status) : response.body;
}

backend::Request request(std::string method, std::string path,
                         std::map<std::string, std::string, std::less<>> query) {
  backend::Request r;
  r.method = std::move(method);
  r.path = std::move(path);
  r.query = std::move(query);
  return r;
}

JSONValue fetchJSON(const BackendCall& call, const backend::Request& get) {
  const backend::Response response = call(get);
  if (response.status != 200) {
    throw Error("The library couldn’t be read: " + reasonOf(response));
  }
  return JSONValue::parse(response.body);
}

}  // namespace

ImportTarget ImportTarget::load(const BackendCall& call, const std::string& set, DeviceOS os,
                                ThemeName theme) {
  const AppConfig config = AppConfig::decode(fetchJSON(call, request("GET", "/api/config", {})));
  bool known = false;
  for (const VellSet& each : config.sets)
    known = known || each.id == set;
  if (!known) {
    throw Error("There’s no set “" + set +
                "” in this library. 'vellora-cli request GET /api/sets' lists the sets.");
  }
  ImportTarget target{set, os, theme, {}, {}};
  const JSONValue pages = fetchJSON(call, request("GET", "/api/pages", {{"set", set}}));
  if (const JSONValue* list = pages.find("pages"); list && list->isArray()) {
    for (const JSONValue& page : *list->asArray())
      target.pages.push_back(SetPage::decode(page));
  }
  for (const LocaleRef& locale : config.localesForSet(set)) {
    target.localeCodes.push_back(locale.code);
  }
  return target;
}

std::string ImportReport::text() const {
  std::string out = summary;
  for (const std::string& problem : problems)
    out += "\n" + problem;
  return out;
}

std::string uploadScreen(const BackendCall& call, const std::string& set, const std::string& page,
                         DeviceOS os, const std::optional<std::string>& locale,
                         ThemeName appearance, std::string bytes, const std::string& contentType) {
  std::map<std::string, std::string, std::less<>> query = {
      {"set", set},
      {"page", page},
      {"os", std::string(rawValue(os))},
      {"appearance", std::string(rawValue(appearance))}};
  if (locale) query.emplace("locale", *locale);
  backend::Request post = request("POST", "/api/screen", std::move(query));
  post.body = std::move(bytes);
  post.contentType = contentType;
  const backend::Response response = call(post);
  return response.status == 200 ? std::string() : reasonOf(response);
}

std::string ScreenImporter::upload(const screen_import::Assignment& assignment,
                                   const ImportTarget& target) const {
  const std::string name = assignment.file.filename().string();
  if (screen_import::isHEIC(assignment.file)) {
    return name +
           " is a HEIC picture, which this computer can’t decode. Export it as PNG or JPEG "
           "and import that.";
  }
  std::error_code ec;
  const std::uintmax_t size = fs::file_size(assignment.file, ec);
  if (!ec && size > kMaxBytes) {
    return name + " is " + std::to_string(size / (std::uintmax_t{1024} * 1024)) +
           " MB, more than the 50 MB a screen may be. Is it the right file?";
  }
  std::ifstream in(assignment.file, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (ec || (!in.good() && !in.eof())) {
    return name + " couldn’t be read. Check that it still exists and that you may open it.";
  }
  const std::string reason =
      uploadScreen(call_, target.set, assignment.page.id, target.os, assignment.locale,
                   target.theme, std::move(bytes), screen_import::mime(assignment.file));
  return reason.empty() ? reason : name + " wasn’t stored: " + reason;
}

ImportReport ScreenImporter::run(const std::vector<fs::path>& dropped, const ImportTarget& target,
                                 const std::function<void(int, int)>& progress) const {
  const screen_import::Plan plan = screen_import::plan(dropped, target.pages, target.localeCodes);
  ImportReport report;
  report.unused = plan.unused;
  if (plan.assignments.empty()) {
    bool anyUpload = false;
    for (const SetPage& page : target.pages)
      anyUpload = anyUpload || page.source == PageSource::upload;
    report.summary = anyUpload ? "No images in that drop."
                               : "This set's pages are all built in — add an uploaded page first.";
    return report;
  }
  const int total = static_cast<int>(plan.assignments.size());
  for (const screen_import::Assignment& assignment : plan.assignments) {
    const std::string problem = upload(assignment, target);
    if (problem.empty()) {
      ++report.added;
    } else {
      ++report.failed;
      report.problems.push_back(problem);
    }
    if (progress) progress(report.added + report.failed, total);
  }
  report.summary = "Added " + std::to_string(report.added) + " screen" +
                   (report.added == 1 ? "" : "s") + " for " + platformName(target.os);
  if (report.failed > 0) report.summary += " — " + std::to_string(report.failed) + " failed";
  if (!report.unused.empty()) {
    report.summary += " — " + std::to_string(report.unused.size()) + " not used";
  }
  return report;
}

}  // namespace vells::capture
