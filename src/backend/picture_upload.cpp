#include "backend/picture_upload.h"

#include "backend/messages.h"

namespace vells::backend {

std::optional<PictureKind> sniffPicture(std::string_view bytes) {
  if (bytes.starts_with("\x89PNG\r\n\x1A\n")) return PictureKind::png;
  if (bytes.starts_with("\xFF\xD8\xFF")) return PictureKind::jpeg;
  if (bytes.size() >= 12 && bytes.starts_with("RIFF") && bytes.substr(8, 4) == "WEBP") {
    return PictureKind::webp;
  }
  // An ISO media file whose brand is one of HEIF's image brands.
  if (bytes.size() >= 12 && bytes.substr(4, 4) == "ftyp") {
    const std::string_view brand = bytes.substr(8, 4);
    for (std::string_view heif : {"heic", "heix", "heim", "heis", "mif1", "msf1"}) {
      if (brand == heif) return PictureKind::heic;
    }
  }
  return std::nullopt;
}

std::string_view extensionOf(PictureKind kind) {
  switch (kind) {
    case PictureKind::png:
      return "png";
    case PictureKind::jpeg:
      return "jpg";
    case PictureKind::webp:
      return "webp";
    case PictureKind::heic:
      return "heic";
  }
  return "png";
}

std::string checkedPicture(std::string_view body, std::size_t maxBytes, bool heicAllowed) {
  if (body.empty()) throw Failure(400, "Empty image");
  if (body.size() > maxBytes) {
    throw Failure(413, "Image too large: this upload takes at most " +
                           std::to_string(maxBytes / MiB) + " MB.");
  }
  const auto kind = sniffPicture(body);
  if (!kind) {
    throw Failure(400,
                  "This isn\u2019t a picture Vellora can use: upload a PNG, JPEG or WebP file.");
  }
  if (*kind == PictureKind::heic && !heicAllowed) {
    throw Failure(400,
                  "HEIC pictures can\u2019t be used here: save it as PNG or JPEG and upload "
                  "that.");
  }
  return std::string(extensionOf(*kind));
}

}  // namespace vells::backend
