#pragma once

#include <QImage>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "platform/work/executor.h"

namespace vells::preview {

// A frame of the preview page as the canvas shows it: the box alone, in
// device pixels with its ratio set, and the number of the state it shows.
struct PreviewFrame {
  QImage image;
  std::uint64_t sequence = 0;
  // Which browser drew it; frames of a browser that was replaced are stale.
  std::uint64_t generation = 0;
};

// Decodes frames off the main thread, only ever the newest: a frame that
// arrives while another is decoding replaces the one waiting behind it.
//
// Blocking: put() never waits; the destructor waits for the decode running.
class FrameDecoder {
 public:
  // The height in CSS pixels of the stripe under the box that carries the
  // state's number, and how many bits of it the page paints.
  static constexpr int stripeHeight = 16;
  static constexpr int stripeBits = 20;

  explicit FrameDecoder(std::function<void(PreviewFrame)> decoded);
  ~FrameDecoder();
  FrameDecoder(const FrameDecoder&) = delete;
  FrameDecoder& operator=(const FrameDecoder&) = delete;

  void put(std::string jpeg, double ratio, std::uint64_t generation);

  // The box of a page frame `jpeg` at `ratio`, with the number its stripe
  // carries; nothing when the bytes aren't a picture or too small to hold one.
  static std::optional<PreviewFrame> decode(const std::string& jpeg, double ratio);

 private:
  struct Raw {
    std::string jpeg;
    double ratio = 1;
    std::uint64_t generation = 0;
  };
  void drain();

  std::function<void(PreviewFrame)> decoded_;
  std::mutex mutex_;
  std::optional<Raw> newest_;
  bool scheduled_ = false;
  platform::Executor thread_{1};
};

}  // namespace vells::preview
