#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace vells::assistants {

// What a run may do with the computer; never more than reading.
enum class AgentAccess {
  search,  // read and search the folder (the generator's runs)
  look,    // only read given files (the chat)
};

// Everything one run of a tool is started with.
struct AgentRequest {
  QString binary;  // the executable found by discovery
  QString folder;  // the working folder
  QString prompt;
  std::optional<QString> resume;  // the tool's conversation to go on with
  QStringList extraDirs;          // folders the tool may read besides `folder`
  QStringList images;             // pictures to attach, where the tool takes them
  std::optional<QString> system;  // standing instructions
  AgentAccess access = AgentAccess::look;
};

}  // namespace vells::assistants
