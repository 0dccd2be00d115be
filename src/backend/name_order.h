#pragma once

#include <string>
#include <vector>

namespace vells::backend {

// Sorts names as a person reads them in the user's locale: case and width
// don't count, accents do, and runs of digits compare by value, so "Pack 2"
// comes before "Pack 10". Names that still compare equal fall back to their
// bytes, so the order never depends on the order they came in.
void sortForPeople(std::vector<std::string>& names);

}  // namespace vells::backend
