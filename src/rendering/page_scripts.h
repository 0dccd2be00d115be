#pragma once

// Scripts the engine runs in its pages, compiled in from rendering/scripts/.

namespace vells::rendering {

// The effects helpers: the body of a function of the margin M that answers
// { open, scan, isolate, replace }; Effects::script() installs it as window.__fx.
extern const char kEffectsScript[];

// An expression whose promise settles once the page's fonts and images are ready.
extern const char kReadyScript[];

}  // namespace vells::rendering
