#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vells::backend {

// What an upload's bytes are, by their signature alone: the Content-Type a
// client sends is a claim, the bytes are the fact.
enum class PictureKind { png, jpeg, webp, heic };

std::optional<PictureKind> sniffPicture(std::string_view bytes);
// "png", "jpg", "webp" or "heic".
std::string_view extensionOf(PictureKind kind);

// The largest upload each picture route takes; larger bodies are refused
// before anything is touched.
inline constexpr std::size_t MiB = std::size_t{1} << 20;
inline constexpr std::size_t maxScreenBytes = 64 * MiB;      // screens, backgrounds, overlays
inline constexpr std::size_t maxLayerAssetBytes = 32 * MiB;  // pictures placed on the canvas
inline constexpr std::size_t maxStickerBytes = 16 * MiB;
inline constexpr std::size_t maxAppIconBytes = 8 * MiB;

// Checks an upload body and answers the extension its bytes call for. Throws
// Failure 400 for an empty body or bytes that aren't a PNG, JPEG or WebP
// picture (HEIC too unless `heicAllowed`), and 413 above `maxBytes`.
std::string checkedPicture(std::string_view body, std::size_t maxBytes, bool heicAllowed = false);

}  // namespace vells::backend
