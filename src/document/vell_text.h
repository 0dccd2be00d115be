#pragma once

#include <map>
#include <optional>
#include <string>

#include "document/json_value.h"

namespace vells {

// The words of one page in one language. Every field is optional on the wire
// and left out when absent, so a page can carry a title and nothing else.
struct VellText {
  // "\n" breaks a line; words between asterisks are painted in the accent colour.
  std::optional<std::string> title;
  std::optional<std::string> subtitle;
  std::optional<std::string> description;
  // Replacements for the texts drawn inside the phone of a built-in page, by entry key.
  std::optional<std::map<std::string, std::string>> screen;

  // Throws JSONDecodeError for a non-object or a member of the wrong kind.
  static VellText decode(const JSONValue& value);
  JSONValue encode() const;

  friend bool operator==(const VellText&, const VellText&) = default;
};

// The texts document of a set: page id -> locale code -> texts.
using TextsDocument = std::map<std::string, std::map<std::string, VellText>>;

// null (a set that never stored texts) reads as an empty document.
TextsDocument decodeTextsDocument(const JSONValue& value);
JSONValue encodeTextsDocument(const TextsDocument& document);

}  // namespace vells
