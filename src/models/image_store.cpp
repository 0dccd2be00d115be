#include "models/image_store.h"

#include "backend/url_request.h"
#include "models/api_client.h"

namespace vells::models {

ImageStore::ImageStore(APIClient& client, QObject* parent) : QObject(parent), client_(client) {}

std::int64_t ImageStore::bitmapBytes(const QImage& image) {
  const std::int64_t pixels = std::int64_t(image.width()) * image.height() * 4;
  if (pixels > 0) return pixels;
  const QSizeF logical = image.deviceIndependentSize();
  return static_cast<std::int64_t>(logical.width() * logical.height() * 4);
}

std::optional<QImage> ImageStore::cached(const std::string& url) {
  auto it = index_.find(url);
  if (it == index_.end()) return std::nullopt;
  recent_.splice(recent_.begin(), recent_, it->second);
  return it->second->second;
}

void ImageStore::image(const std::string& url, QObject* receiver,
                       std::function<void(std::optional<QImage>)> done) {
  if (auto hit = cached(url)) {
    done(std::move(hit));
    return;
  }
  auto [it, first] = inFlight_.try_emplace(url);
  it->second.push_back(Waiter{receiver, receiver != nullptr, std::move(done)});
  if (!first) return;  // the running load answers this waiter too

  client_.call<QImage>(
      backend::requestFromURL(url, "GET"), this,
      [](const backend::Response& response) {
        const std::string& body = checkedBody(response);
        QImage decoded;
        if (!decoded.loadFromData(reinterpret_cast<const uchar*>(body.data()),
                                  static_cast<int>(body.size())))
          throw APIError::notAnImage("");
        return decoded;
      },
      [this, url, generation = generation_](APIResult<QImage> result) {
        landed(url, generation,
               result.ok() ? std::optional<QImage>(std::move(result.value())) : std::nullopt);
      });
}

void ImageStore::landed(const std::string& url, std::uint64_t generation,
                        std::optional<QImage> image) {
  auto node = inFlight_.extract(url);
  if (image && generation == generation_) insert(url, *image);
  if (node.empty()) return;
  for (Waiter& waiter : node.mapped()) {
    if (waiter.tied && !waiter.receiver) continue;
    waiter.done(image);
  }
}

void ImageStore::insert(const std::string& url, QImage image) {
  const std::int64_t cost = bitmapBytes(image);
  if (cost > costLimit) return;
  if (auto old = index_.find(url); old != index_.end()) {
    total_ -= bitmapBytes(old->second->second);
    recent_.erase(old->second);
    index_.erase(old);
  }
  recent_.emplace_front(url, std::move(image));
  index_[url] = recent_.begin();
  total_ += cost;
  while (total_ > costLimit) {
    total_ -= bitmapBytes(recent_.back().second);
    index_.erase(recent_.back().first);
    recent_.pop_back();
  }
}

void ImageStore::clear() {
  recent_.clear();
  index_.clear();
  total_ = 0;
  ++generation_;
}

}  // namespace vells::models
