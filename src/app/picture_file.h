#pragma once

#include <QString>
#include <string>
#include <variant>

namespace vells::app {

// A picture read from disk for an upload: its bytes and its image/ type.
struct PictureFile {
  std::string bytes;
  std::string mime;
};

// Reads a picture the person chose or dropped. A file that can't be read,
// is too large, or isn't a picture gives the sentence to show instead.
std::variant<PictureFile, QString> readPicture(const QString& path);

}  // namespace vells::app
