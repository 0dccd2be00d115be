#pragma once

#include <QObject>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "document/json_value.h"

namespace vells::models {
class CanvasModel;
}

namespace vells::assistants {

// Carries out the changes an AI answer asks for, as ordinary edits of the
// active page through the editor: the whole of what an AI can do to a page.
// Operations run in order; one that is malformed, unknown or names nothing
// that exists is passed over in silence while the others apply. Layers that
// stood on the phone are carried along when the phone moves.
class ChatChanges {
 public:
  struct Result {
    // One line per operation carried out, in order, for the person.
    std::vector<std::string> lines;
    // The languages whose title was set.
    std::set<std::string> locales;
  };

  // `checkpoint` is called just before the first operation that changes the
  // styles, so a caller can make a whole turn one undo step. `done` comes on
  // the main thread while `receiver` exists. Main thread only.
  static void apply(JSONValue::Array changes, models::CanvasModel& canvas,
                    std::function<void()> checkpoint, QObject* receiver,
                    std::function<void(Result)> done);

  // A JSON number, or a text that reads as one ("44" as well as 44).
  static std::optional<double> number(const JSONValue& value);
};

}  // namespace vells::assistants
