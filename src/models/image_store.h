#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vells::models {

class APIClient;

// The client's one memory cache of decoded pictures, keyed by address. One
// address is fetched and decoded once however many views ask at the same
// time, the decoded bitmaps stay within `costLimit` bytes (least recently
// used go first), and a failure is never remembered. Main thread only.
class ImageStore : public QObject {
  Q_OBJECT

 public:
  static constexpr std::int64_t costLimit = 192LL * 1024 * 1024;

  explicit ImageStore(APIClient& client, QObject* parent = nullptr);

  // The fast path of a view: the picture when it is decoded already.
  std::optional<QImage> cached(const std::string& url);
  // The picture, or nothing on any failure, handed to `done` on the main
  // thread while `receiver` (when given) exists. A cached one answers at once.
  void image(const std::string& url, QObject* receiver,
             std::function<void(std::optional<QImage>)> done);
  // Forgets every decoded picture; loads running now deliver but aren't kept.
  void clear();

  std::int64_t totalCost() const { return total_; }
  int loading() const { return static_cast<int>(inFlight_.size()); }
  // Decoded bytes: pixels wide × high × 4, from the logical size when the
  // bitmap has none.
  static std::int64_t bitmapBytes(const QImage& image);

 private:
  struct Waiter {
    QPointer<QObject> receiver;
    bool tied = false;
    std::function<void(std::optional<QImage>)> done;
  };
  using Entry = std::pair<std::string, QImage>;

  void landed(const std::string& url, std::uint64_t generation, std::optional<QImage> image);
  void insert(const std::string& url, QImage image);

  APIClient& client_;
  std::list<Entry> recent_;  // most recently used first
  std::unordered_map<std::string, std::list<Entry>::iterator> index_;
  std::int64_t total_ = 0;
  std::unordered_map<std::string, std::vector<Waiter>> inFlight_;
  std::uint64_t generation_ = 0;
};

}  // namespace vells::models
