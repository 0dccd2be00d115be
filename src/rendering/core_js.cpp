#include "rendering/core_js.h"

#include <cctype>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "backend/file_io.h"
#include "platform/base64.h"
#include "platform/script/js_context.h"
#include "platform/sha256.h"

namespace vells::rendering {

namespace fs = std::filesystem;
using backend::CoreError;

namespace {

constexpr std::string_view kAssetPrefix = "/core/assets/";
// The script's answer to a call that names documents it no longer holds.
constexpr std::string_view kDocsMissing = "__vells_docs_missing__";

// The shipped script is in parts that core.parts lists in load order; a single
// core.js (a test's own script, say) stands for the whole.
constexpr std::string_view kPartsList = "core.parts";
constexpr std::string_view kSingleScript = "core.js";

bool hasCoreScript(const fs::path& dir) {
  std::error_code ec;
  return fs::is_regular_file(dir / kPartsList, ec) || fs::is_regular_file(dir / kSingleScript, ec);
}

struct ScriptPart {
  fs::path file;
  std::string text;
};

// The script of `dir` in load order; absent when there is none, or a part is
// missing or not UTF-8. The list names one part per line, relative to `dir`;
// blank lines and lines starting with "#" don't count.
std::optional<std::vector<ScriptPart>> readScript(const fs::path& dir) {
  std::vector<fs::path> files;
  if (auto list = backend::readFile(dir / kPartsList)) {
    std::istringstream lines(*list);
    for (std::string line; std::getline(lines, line);) {
      while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
        line.pop_back();
      if (!line.empty() && line[0] != '#') files.push_back(dir / line);
    }
  } else {
    files.push_back(dir / kSingleScript);
  }
  if (files.empty()) return std::nullopt;
  std::vector<ScriptPart> parts;
  for (fs::path& file : files) {
    auto text = backend::readFile(file);
    if (!text || !isValidUTF8(*text)) return std::nullopt;
    parts.push_back({std::move(file), std::move(*text)});
  }
  return parts;
}

}  // namespace

std::optional<std::string> CoreJS::scriptSource(const fs::path& resourceDir) {
  auto parts = readScript(resourceDir);
  if (!parts) return std::nullopt;
  std::string text;
  for (const ScriptPart& part : *parts) {
    text += part.text;
    // A part may end without a newline or inside an expression statement.
    text += "\n;\n";
  }
  return text;
}

CoreJS::CoreJS(std::optional<fs::path> resourceDir) : resourceDir_(std::move(resourceDir)) {
  if (resourceDir_) assetsRoot_ = *resourceDir_ / "assets";
}

CoreJS::~CoreJS() = default;

std::optional<fs::path> CoreJS::resourceDir() {
  if (const char* env = std::getenv("VELLS_RESOURCES"); env && *env) {
    std::error_code ec;
    fs::path dir = fs::absolute(env, ec);
    return ec ? fs::path(env) : dir;
  }
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (!ec) {
    fs::path installed = exe.parent_path().parent_path() / "share" / "vellora";
    if (hasCoreScript(installed)) return installed;
  }
#ifdef VELLS_SOURCE_RESOURCES
  fs::path source(VELLS_SOURCE_RESOURCES);
  if (fs::is_directory(source, ec)) return source;
#endif
  return std::nullopt;
}

std::optional<fs::path> CoreJS::mapScriptPath(const std::string& path) const {
  if (!assetsRoot_ || path.compare(0, kAssetPrefix.size(), kAssetPrefix) != 0) return std::nullopt;
  const std::string rest = path.substr(kAssetPrefix.size());
  std::size_t start = 0;
  while (start <= rest.size()) {
    std::size_t end = rest.find('/', start);
    if (end == std::string::npos) end = rest.size();
    if (rest.compare(start, end - start, "..") == 0 && end - start == 2) return std::nullopt;
    start = end + 1;
  }
  return fs::path(assetsRoot_->string() + "/" + rest);
}

CoreJS::Lane& CoreJS::laneFor(platform::Priority priority) {
  return priority == platform::Priority::background ? background_ : interactive_;
}

platform::JSContext& CoreJS::ensureContext(Lane& lane) {
  if (lane.context) return *lane.context;
  {
    std::lock_guard guard(loadErrorLock_);
    if (loadError_) std::rethrow_exception(loadError_);
  }
  try {
    lane.context = loadContext();
  } catch (const CoreError&) {
    // Kept for good: a script that failed to load would fail the same way again.
    std::lock_guard guard(loadErrorLock_);
    if (!loadError_) loadError_ = std::current_exception();
    std::rethrow_exception(loadError_);
  }
  return *lane.context;
}

std::unique_ptr<platform::JSContext> CoreJS::loadContext() {
  std::optional<std::vector<ScriptPart>> parts;
  if (resourceDir_ && assetsRoot_) parts = readScript(*resourceDir_);
  if (!parts) throw CoreError::missingBundle();
  auto context = std::make_unique<platform::JSContext>();
  context->setHostObject(
      "__vellsHost", {{"read",
                       [this](const std::vector<std::string>& args) {
                         auto file = mapScriptPath(args.empty() ? "" : args[0]);
                         if (!file) return platform::HostValue::null();
                         auto bytes = backend::readFile(*file);
                         if (!bytes) return platform::HostValue::null();
                         if (args.size() > 1 && args[1] == "base64") {
                           return platform::HostValue::of(platform::base64Encode(*bytes));
                         }
                         return platform::HostValue::of(repairUTF8(*bytes));
                       }},
                      {"exists", [this](const std::vector<std::string>& args) {
                         auto file = mapScriptPath(args.empty() ? "" : args[0]);
                         std::error_code ec;
                         return platform::HostValue::of(file.has_value() && fs::exists(*file, ec));
                       }}});
  try {
    // Each part under its own name, so an error names the file and line it is in.
    for (const ScriptPart& part : *parts)
      context->evaluate(part.text, "file://" + part.file.string());
  } catch (const platform::ScriptException& e) {
    const std::string text = e.what();
    throw CoreError::exception(text.empty() ? "load failed" : text, e.where());
  }
  return context;
}

std::optional<std::string> CoreJS::invoke(Lane& lane, const std::string& name,
                                          const platform::ScriptText& argsJSON) {
  platform::JSContext& context = ensureContext(lane);
  try {
    return context.callMethod("VellsCore", "call", {platform::ScriptText(name), argsJSON});
  } catch (const platform::ScriptException& e) {
    const std::string text = e.what();
    throw CoreError::exception(text.empty() ? name : text, e.where());
  }
}

std::optional<std::string> CoreJS::callRaw(const std::string& name, const JSONValue& args,
                                           const Documents* docs, platform::Priority priority) {
  // Arguments run to megabytes (inlined pictures): written out before the
  // lane is taken, so only the script's own run holds it.
  Lane& lane = laneFor(priority);
  if (!docs) {
    const platform::ScriptText argsJSON(args.dump());
    std::lock_guard guard(lane.mutex);
    return invoke(lane, name, argsJSON);
  }
  JSONValue withKey = args.isObject() ? args : JSONValue::Object{};
  withKey["__docs"] = docs->key();
  const platform::ScriptText argsJSON(withKey.dump());
  {
    std::lock_guard guard(lane.mutex);
    try {
      return invoke(lane, name, argsJSON);
    } catch (const CoreError& e) {
      if (std::string_view(e.what()).find(kDocsMissing) == std::string_view::npos) throw;
    }
  }
  // The context doesn't hold these documents yet. Another caller may hand
  // them over meanwhile; a second copy under the same key is harmless.
  const platform::ScriptText remember(
      JSONValue(JSONValue::Object{
                    {"key", docs->key()}, {"texts", docs->texts()}, {"styles", docs->styles()}})
          .dump());
  std::lock_guard guard(lane.mutex);
  invoke(lane, "__rememberDocs", remember);
  return invoke(lane, name, argsJSON);
}

std::optional<JSONValue> CoreJS::parseResult(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  JSONValue value = JSONValue::parse(*text);
  if (value.isNull()) return std::nullopt;
  return value;
}

std::optional<JSONValue> CoreJS::callJSON(const std::string& name, const JSONValue& args) {
  return parseResult(callRaw(name, args, nullptr, platform::Priority::interactive));
}

std::optional<std::string> CoreJS::string(const std::string& name, const JSONValue& args) {
  auto value = callJSON(name, args);
  if (value && value->isString()) return *value->asString();
  return std::nullopt;
}

std::optional<JSONValue> CoreJS::callWithDocs(const std::string& name, const Documents& docs,
                                              const JSONValue& args, platform::Priority priority) {
  return parseResult(callRaw(name, args, &docs, priority));
}

std::shared_ptr<const JSONValue::Object> CoreJS::catalog() {
  std::lock_guard guard(catalogLock_);
  if (cachedCatalog_) return cachedCatalog_;
  try {
    auto value = callJSON("catalog", JSONValue::Object{});
    if (value && value->isObject() && !value->asObject()->empty()) {
      cachedCatalog_ = std::make_shared<const JSONValue::Object>(*value->asObject());
      return cachedCatalog_;
    }
  } catch (const std::exception&) {
    // An unusable script is a library without built-in pages, not a failed request.
  }
  return std::make_shared<const JSONValue::Object>();
}

}  // namespace vells::rendering
