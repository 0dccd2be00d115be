#include "document/vell_text.h"

#include "document/json_fields.h"

namespace vells {

VellText VellText::decode(const JSONValue& value) {
  FieldReader in(value, "VellText");
  VellText text;
  text.title = in.optionalString("title");
  text.subtitle = in.optionalString("subtitle");
  text.description = in.optionalString("description");
  text.screen = in.optionalStringMap("screen");
  return text;
}

JSONValue VellText::encode() const {
  JSONValue::Object out;
  putIfPresent(out, "title", title);
  putIfPresent(out, "subtitle", subtitle);
  putIfPresent(out, "description", description);
  putIfPresent(out, "screen", screen);
  return JSONValue(std::move(out));
}

TextsDocument decodeTextsDocument(const JSONValue& value) {
  TextsDocument document;
  if (value.isNull()) return document;
  FieldReader pages(value, "the texts document");
  for (const auto& [pageId, locales] : pages.object()) {
    FieldReader byLocale(locales, "the texts of page \"" + pageId + "\"");
    auto& entry = document[pageId];
    for (const auto& [locale, text] : byLocale.object())
      entry.emplace(locale, VellText::decode(text));
  }
  return document;
}

JSONValue encodeTextsDocument(const TextsDocument& document) {
  JSONValue::Object pages;
  for (const auto& [pageId, locales] : document) {
    JSONValue::Object byLocale;
    for (const auto& [locale, text] : locales)
      byLocale.emplace(locale, text.encode());
    pages.emplace(pageId, JSONValue(std::move(byLocale)));
  }
  return JSONValue(std::move(pages));
}

}  // namespace vells
