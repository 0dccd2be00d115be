#pragma once

namespace vells::platform {

// Who waits for a piece of work. Interactive work is what a person is looking
// at now (a live preview, an export they asked for, the gallery on screen);
// background work fills caches ahead of need and always lets interactive work
// go first: in the executor's queue, for render slots and for the script.
enum class Priority { interactive, background };

}  // namespace vells::platform
