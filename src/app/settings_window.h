#pragma once

#include <QFutureWatcher>
#include <QWidget>
#include <vector>

#include "assistants/detected_tool.h"
#include "assistants/tool_finder.h"

class QComboBox;
class QLabel;
class QPushButton;
class QSettings;

namespace vells::app {

// The settings window: where the library lives, and which AI tool generation
// and the editor's chat use, found on this computer each time it opens.
class SettingsWindow : public QWidget {
  Q_OBJECT

 public:
  SettingsWindow(QString libraryPath, QSettings& settings, assistants::ToolFinder finder,
                 QWidget* parent = nullptr);
  ~SettingsWindow() override;

  // Runs the search for AI tools again ("Look Again").
  void look();
  bool looking() const { return looking_; }
  QComboBox* toolPicker() const { return picker_; }
  QLabel* warning() const { return warning_; }
  QLabel* lookingWords() const { return lookingWords_; }

 signals:
  void lookFinished();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void found(std::vector<assistants::DetectedTool> tools);
  void fillPicker();
  void checkStoredTool();

  QString libraryPath_;
  QSettings& settings_;
  assistants::ToolFinder finder_;
  QFutureWatcher<std::vector<assistants::DetectedTool>> watcher_;
  std::vector<assistants::DetectedTool> tools_;
  bool looking_ = false;
  bool filling_ = false;

  QComboBox* picker_;
  QLabel* lookingWords_;
  QWidget* warningRow_;
  QLabel* warningIcon_;
  QLabel* warning_;
  QPushButton* lookAgain_;
};

}  // namespace vells::app
