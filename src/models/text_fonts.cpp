#include "models/text_fonts.h"

#include <QFontDatabase>
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "models/api_client.h"

namespace vells::models {

namespace {

// Weights of the named instances of the rounded face's variable file.
constexpr int openRundeWeights[] = {400, 500, 600, 700};

QFont sized(QFont font, double size, int weight) {
  font.setPixelSize(std::max(1, static_cast<int>(std::lround(size))));
  font.setWeight(static_cast<QFont::Weight>(std::clamp(weight, 1, 1000)));
  return font;
}

}  // namespace

const std::vector<TextFonts::File>& TextFonts::files() {
  static const std::vector<File> list{
      {"nunito-latin-wght-normal.woff2", "nunito"},
      {"nunito-latin-ext-wght-normal.woff2", "nunito"},
      {"fredoka-latin-wght-normal.woff2", "openrunde"},
      {"fredoka-latin-ext-wght-normal.woff2", "openrunde"},
  };
  return list;
}

TextFonts::TextFonts(QObject* parent) : QObject(parent) {}

void TextFonts::load(APIClient& client, std::function<void()> done) {
  if (loading_ || nunito_) {
    if (done) done();
    return;
  }
  loading_ = true;
  loadFrom(client, 0, std::move(done));
}

void TextFonts::loadFrom(APIClient& client, std::size_t index, std::function<void()> done) {
  if (index >= files().size()) {
    loading_ = false;
    ++version_;
    emit versionChanged();
    if (done) done();
    return;
  }
  const File& file = files()[index];
  auto url = APIClient::url("/fonts/" + file.name);
  if (!url) return loadFrom(client, index + 1, std::move(done));
  client.download(*url, this, [this, &client, index, done](APIResult<APIClient::Download> r) {
    const File& file = files()[index];
    if (r) {
      const int id =
          QFontDatabase::addApplicationFontFromData(QByteArray::fromStdString(r.value().bytes));
      const QStringList families =
          id >= 0 ? QFontDatabase::applicationFontFamilies(id) : QStringList{};
      // A later file of the same role only adds glyphs; the first names the face.
      if (!families.isEmpty()) {
        if (file.role == "nunito" && !nunito_) nunito_ = families.first();
        if (file.role == "openrunde" && openRunde_.empty()) {
          for (int w : openRundeWeights)
            openRunde_[w] = families.first();
        }
      }
    }
    loadFrom(client, index + 1, done);
  });
}

QFont TextFonts::font(const std::string& id, double weight, double size) const {
  const int w = weight > 0 ? static_cast<int>(weight) : 1000;
  if (id != "openrunde" && nunito_) {
    // Qt 6.4 can't set the variable font's weight axis, so the face is asked
    // for the nearest named instance (a multiple of 100 between 200 and 1000)
    // and Qt renders the instance closest to it.
    const int instance = static_cast<int>(std::lround(std::clamp(w, 200, 1000) / 100.0)) * 100;
    return sized(QFont(*nunito_), size, instance);
  }
  if (id == "openrunde" && !openRunde_.empty()) {
    // The nearest loaded weight; on a tie the first one met.
    auto best = openRunde_.begin();
    for (auto it = openRunde_.begin(); it != openRunde_.end(); ++it) {
      if (std::abs(it->first - w) < std::abs(best->first - w)) best = it;
    }
    return sized(QFont(best->second), size, best->first);
  }
  const int system = w < 600 ? QFont::Normal : w < 800 ? QFont::Bold : QFont::Black;
  return sized(QFontDatabase::systemFont(QFontDatabase::GeneralFont), size, system);
}

}  // namespace vells::models
