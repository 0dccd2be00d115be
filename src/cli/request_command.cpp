#include "cli/request_command.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>

#include "backend/file_io.h"
#include "backend/local_backend.h"
#include "backend/url_request.h"
#include "platform/error.h"

namespace vells::cli {

namespace fs = std::filesystem;

const char* const kRequestHelp =
    "Usage: vellora-cli request METHOD PATH [options]\n"
    "\n"
    "Calls one route of the library's backend in this process and prints the answer.\n"
    "METHOD is GET, POST, PATCH or DELETE; PATH is a route with its query, such as\n"
    "'/api/pages?set=default' (a full 'vells://local/...' URL works too).\n"
    "\n"
    "Options:\n"
    "  --body FILE|-          send the bytes of FILE, or of standard input, as the body\n"
    "  --content-type TYPE    the Content-Type of the body (e.g. image/png)\n"
    "  --if-none-match TAG    send If-None-Match, for routes that answer 304\n"
    "  -o, --output FILE      write the body to FILE instead of standard output\n"
    "\n"
    "Standard error gets 'HTTP <status> <type>' and one 'Name: value' line per header;\n"
    "the body goes out unchanged. Exit status: 0 for a 2xx answer, 1 for any other\n"
    "status, 2 for a usage error.\n";

namespace {

struct Options {
  std::string method;
  std::string path;
  std::optional<std::string> bodySource;
  std::string contentType;
  std::optional<std::string> ifNoneMatch;
  std::optional<std::string> output;
};

class UsageError : public Error {
 public:
  using Error::Error;
};

Options parse(const std::vector<std::string>& args) {
  Options o;
  std::vector<std::string> positional;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](const char* flag) {
      if (i + 1 >= args.size()) throw UsageError(std::string(flag) + " needs a value.");
      return args[++i];
    };
    if (a == "--body") {
      o.bodySource = value("--body");
    } else if (a == "--content-type") {
      o.contentType = value("--content-type");
    } else if (a == "--if-none-match") {
      o.ifNoneMatch = value("--if-none-match");
    } else if (a == "-o" || a == "--output") {
      o.output = value("-o");
    } else if (a.size() > 1 && a[0] == '-' && a != "-") {
      throw UsageError("Unknown option " + a + ".");
    } else {
      positional.push_back(a);
    }
  }
  if (positional.size() != 2) throw UsageError("request takes a METHOD and a PATH.");
  o.method = positional[0];
  std::transform(o.method.begin(), o.method.end(), o.method.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  o.path = positional[1];
  if (o.path.empty() || (o.path[0] != '/' && o.path.find("://") == std::string::npos)) {
    throw UsageError("PATH must begin with \"/\", such as /health.");
  }
  return o;
}

std::string readBody(const std::string& source, std::istream& in) {
  std::ostringstream ss;
  if (source == "-") {
    ss << in.rdbuf();
    return std::move(ss).str();
  }
  auto bytes = backend::readFile(source);
  if (!bytes) throw UsageError("Can\u2019t read the body file " + source + ".");
  return std::move(*bytes);
}

// Writes beside the target and renames, so a failed write never leaves half a file.
bool writeAtomically(const fs::path& target, const std::string& bytes, std::ostream& err) {
  fs::path temp = target;
  temp += ".part";
  {
    std::ofstream file(temp, std::ios::binary | std::ios::trunc);
    if (!file) {
      err << "vellora-cli: can\u2019t write " << target.string() << ".\n";
      return false;
    }
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
      err << "vellora-cli: writing " << target.string() << " failed.\n";
      std::error_code ec;
      fs::remove(temp, ec);
      return false;
    }
  }
  std::error_code ec;
  fs::rename(temp, target, ec);
  if (ec) {
    err << "vellora-cli: can\u2019t write " << target.string() << ": " << ec.message() << ".\n";
    fs::remove(temp, ec);
    return false;
  }
  return true;
}

}  // namespace

int requestCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
                   std::istream& in, std::ostream& out, std::ostream& err) {
  if (std::find(args.begin(), args.end(), "--help") != args.end() ||
      std::find(args.begin(), args.end(), "-h") != args.end()) {
    out << kRequestHelp;
    return kExitOK;
  }
  Options o;
  std::string body;
  try {
    o = parse(args);
    if (o.bodySource) body = readBody(*o.bodySource, in);
  } catch (const UsageError& e) {
    err << "vellora-cli request: " << e.what() << "\n"
        << "Run 'vellora-cli request --help' for the options.\n";
    return kExitUsage;
  }
  backend::Request request =
      backend::requestFromURL(o.path, o.method, std::move(body), o.contentType, o.ifNoneMatch);
  backend::Response response = backend.handle(request);
  err << "HTTP " << response.status << " " << response.mime << "\n";
  for (const auto& [name, value] : response.headers)
    err << name << ": " << value << "\n";
  if (o.output) {
    if (!writeAtomically(*o.output, response.body, err)) return kExitStatus;
  } else {
    out.write(response.body.data(), static_cast<std::streamsize>(response.body.size()));
    out.flush();
  }
  return response.status >= 200 && response.status < 300 ? kExitOK : kExitStatus;
}

}  // namespace vells::cli
