#pragma once

#include <QPointer>
#include <QWidget>

#include "models/file_saver.h"

namespace vells::app {

// Saves a finished file where the person says: a save dialog over `window`,
// then one atomic write, so a failed or interrupted save leaves no partial
// file behind.
class DialogFileSaver : public models::FileSaver {
 public:
  explicit DialogFileSaver(QWidget* window = nullptr) : window_(window) {}
  // The window the dialog stands over; built after the models that save.
  void setWindow(QWidget* window) { window_ = window; }

  void save(std::string bytes, std::string suggestedName,
            std::function<void(Outcome)> done) override;

  // Writes `bytes` to `path` all at once; the sentence of a failure, or empty.
  static QString write(const QString& path, const std::string& bytes);

 private:
  QPointer<QWidget> window_;
};

}  // namespace vells::app
