#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "backend/messages.h"

namespace vells::backend {

class LocalBackend;

using RouteHandler = std::function<Response(LocalBackend&, const Request&)>;
using PrefixHandler = std::function<Response(LocalBackend&, const Request&, std::string_view rest)>;

// One row of the route table: method and path compared exactly.
struct Route {
  std::string_view method;
  std::string_view path;
  RouteHandler handler;
};

// A row that answers every path beginning with `prefix`; the handler gets the rest.
struct PrefixRoute {
  std::string_view method;
  std::string_view prefix;
  PrefixHandler handler;
};

// Route families of a layer above the backend (rendering, text measuring),
// handed to the backend when it is built.
struct RouteFamilies {
  std::vector<Route> exact;
  std::vector<PrefixRoute> prefixes;
};

// The backend's own route families. Each lists its rows; the backend joins them.
std::vector<Route> coreRoutes();
std::vector<Route> setsRoutes();
std::vector<Route> imageRoutes();
std::vector<Route> stickerRoutes();
// The apps catalogue, with the prefix row that serves uploaded icons.
RouteFamilies appsRoutes();
std::vector<PrefixRoute> assetRoutes();

}  // namespace vells::backend
