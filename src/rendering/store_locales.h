#pragma once

#include <optional>
#include <string>

namespace vells::rendering {

// The locale code each store's upload tools expect for one of ours ("de" is
// de-DE in both stores; "ja" is ja in the App Store and ja-JP in Google Play),
// or nothing when the store offers no such language. A code that already is
// the store's own passes through.
std::optional<std::string> appStoreLocale(const std::string& code);
std::optional<std::string> playLocale(const std::string& code);

}  // namespace vells::rendering
