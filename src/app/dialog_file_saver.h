#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <functional>
#include <optional>
#include <string>

#include "models/file_saver.h"

namespace vells::app {

// Saves an export where the person chooses, through a save dialog over the
// window. The file appears whole or not at all: the bytes go to a temporary
// file beside the target that only replaces it once everything is written, so
// a full disk or a window closed mid-export never leaves half a ZIP behind.
class DialogFileSaver : public QObject, public models::FileSaver {
  Q_OBJECT

 public:
  // Asks where to save `suggestedName` and calls `answer` with the chosen
  // path, or an empty one when the person cancels.
  using Ask =
      std::function<void(const QString& suggestedName, std::function<void(QString)> answer)>;

  // Asks with a window-modal save dialog over `window`, which may be given
  // later: the models that save are built before the window.
  explicit DialogFileSaver(QWidget* window = nullptr, QObject* parent = nullptr);
  void setWindow(QWidget* window) { window_ = window; }
  explicit DialogFileSaver(Ask ask, QObject* parent = nullptr);

  void save(std::string bytes, std::string suggestedName,
            std::function<void(Outcome)> done) override;

  // Writes `bytes` to `path` whole or not at all; the sentence when it can't.
  static std::optional<std::string> write(const QString& path, const std::string& bytes);

 private:
  void askWithDialog(const QString& suggestedName, const std::function<void(QString)>& answer);

  QPointer<QWidget> window_;
  Ask ask_;
  // The folder of the last save, where the next dialog opens.
  QString folder_;
};

}  // namespace vells::app
