#pragma once

#include <QString>
#include <QTemporaryDir>
#include <memory>

namespace vells::assistants {

// A working folder for AI runs that no other window or user shares: a fresh,
// private folder under the temporary folder, removed with the object. A
// conversation keeps one for all its turns, since a tool finds the session it
// resumes by the folder it runs in.
class RunFolder {
 public:
  // `label` names the folder for a person looking at the temporary folder
  // (a set id, say); anything but letters, digits, "-" and "_" becomes "_".
  // Throws an AssistantError when the folder can't be made.
  explicit RunFolder(const QString& label);

  QString path() const { return dir_->path(); }
  QString filePath(const QString& name) const { return dir_->filePath(name); }

 private:
  std::unique_ptr<QTemporaryDir> dir_;
};

}  // namespace vells::assistants
