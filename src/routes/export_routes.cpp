#include "backend/header_value.h"
#include "backend/local_backend.h"
#include "backend/request_params.h"
#include "rendering/export_service.h"
#include "routes/cache_routes.h"

namespace vells::routes {

using rendering::ExportArchive;
using rendering::ExportPageFailed;
using rendering::ExportRefused;
using rendering::ExportRequest;
using rendering::ExportService;
using rendering::HTMLRenderer;

using backend::LocalBackend;
using backend::Request;
using backend::Response;

namespace {

Response downloadAll(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  ExportRequest job;
  job.set = request.param("set", "default");
  job.os = backend::osParam(request);
  job.theme = backend::themeParam(request);
  job.locale = request.param("locale");
  ExportArchive archive;
  try {
    // Without a size the archive holds the render cache's own images.
    if (const std::string size = request.param("size"); !size.empty())
      job.size = rendering::parseStoreSize(job.os, size);
    archive = ExportService(b, renderer).run(job);
  } catch (const ExportRefused& e) {
    return Response::text(e.what(), 400);
  } catch (const rendering::StoreSizeError& e) {
    return Response::text(e.what(), 400);
  } catch (const ExportPageFailed& e) {
    // Answered as the render's own failure would be, with its status and words.
    std::rethrow_exception(e.cause());
  }
  Response r;
  r.mime = "application/zip";
  r.body = std::move(archive.bytes);
  r.headers["Content-Disposition"] = backend::attachmentDisposition(archive.fileName);
  return r;
}

}  // namespace

std::vector<backend::Route> exportRoutes(HTMLRenderer& renderer) {
  return {{"GET", "/api/download-all",
           [&renderer](LocalBackend& b, const Request& r) { return downloadAll(renderer, b, r); }}};
}

}  // namespace vells::routes
