#include "preview/preview_origin.h"

#include "backend/file_io.h"
#include "backend/local_backend.h"
#include "backend/url_request.h"
#include "platform/base64.h"
#include "preview/preview_error.h"
#include "rendering/core_js.h"

namespace vells::preview {

namespace {

std::string headerOf(const JSONValue* headers, std::string_view name) {
  if (!headers || !headers->isObject()) return {};
  for (const auto& [key, value] : *headers->asObject()) {
    if (key.size() != name.size()) continue;
    bool same = true;
    for (std::size_t i = 0; i < key.size() && same; ++i)
      same = std::tolower(static_cast<unsigned char>(key[i])) ==
             std::tolower(static_cast<unsigned char>(name[i]));
    if (same && value.isString()) return *value.asString();
  }
  return {};
}

JSONValue fulfill(const std::string& requestId, int status, const std::string& mime,
                  const std::string& body,
                  const std::map<std::string, std::string, std::less<>>& headers = {}) {
  JSONValue::Array list{JSONValue::Object{{"name", "Content-Type"}, {"value", mime}},
                        // The page reloads nothing by itself; a changed picture has a new address.
                        JSONValue::Object{{"name", "Cache-Control"}, {"value", "no-store"}}};
  for (const auto& [name, value] : headers) {
    if (name == "Cache-Control") continue;
    JSONValue::Object header;
    header["name"] = name;
    header["value"] = value;
    list.emplace_back(std::move(header));
  }
  return JSONValue::Object{{"requestId", requestId},
                           {"responseCode", status},
                           {"responseHeaders", std::move(list)},
                           {"body", platform::base64Encode(body)}};
}

}  // namespace

PreviewOrigin::PreviewOrigin(backend::LocalBackend& backend, std::string pageHTML,
                             std::string coreScript)
    : backend_(&backend), pageHTML_(std::move(pageHTML)), coreScript_(std::move(coreScript)) {}

PreviewOrigin PreviewOrigin::fromResources(backend::LocalBackend& backend,
                                           const std::filesystem::path& resourceDir) {
  auto page = backend::readFile(resourceDir / "preview" / "preview.html");
  if (!page) {
    throw PreviewError("The preview page is missing from " + (resourceDir / "preview").string() +
                       "; reinstall Vellora or set VELLS_RESOURCES.");
  }
  auto script = rendering::CoreJS::scriptSource(resourceDir);
  if (!script) {
    throw PreviewError("The core script is missing from " + resourceDir.string() +
                       "; reinstall Vellora or set VELLS_RESOURCES.");
  }
  return PreviewOrigin(backend, std::move(*page), std::move(*script));
}

PreviewOrigin::Command PreviewOrigin::answer(const JSONValue& paused,
                                             const std::optional<std::string>& postData) const {
  const std::string requestId = paused.stringAt("requestId").value_or("");
  const JSONValue* request = paused.find("request");
  const std::string url = request ? request->stringAt("url").value_or("") : "";
  const std::string prefix = std::string(origin) + "/";
  if (url.compare(0, prefix.size(), prefix) != 0) {
    // Nothing outside the library: no network, no files.
    return {"Fetch.failRequest",
            JSONValue::Object{{"requestId", requestId}, {"errorReason", "BlockedByClient"}}};
  }
  std::string target = url.substr(origin.size());
  if (auto hash = target.find('#'); hash != std::string::npos) target.resize(hash);
  if (target == pagePath) {
    return {"Fetch.fulfillRequest", fulfill(requestId, 200, "text/html; charset=utf-8", pageHTML_)};
  }
  if (target == scriptPath) {
    return {"Fetch.fulfillRequest",
            fulfill(requestId, 200, "text/javascript; charset=utf-8", coreScript_)};
  }
  const JSONValue* headers = request ? request->find("headers") : nullptr;
  std::string body = postData.value_or(request ? request->stringAt("postData").value_or("") : "");
  backend::Request r =
      backend::requestFromURL(target, request ? request->stringAt("method").value_or("GET") : "GET",
                              std::move(body), headerOf(headers, "Content-Type"));
  const backend::Response response = backend_->handle(r);
  return {"Fetch.fulfillRequest",
          fulfill(requestId, response.status, response.mime, response.body, response.headers)};
}

}  // namespace vells::preview
