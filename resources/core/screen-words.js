// Looking up the words of a built-in screen: the locale's own, then its
// language's, then English, with the user's overrides laid over them.

"use strict";

// "pt-BR" tries "pt-BR", then "pt", then English.
function localeChain(locale) {
  const chain = [];
  if (locale) chain.push(locale);
  const dash = locale.indexOf("-");
  if (dash > 0) chain.push(locale.slice(0, dash));
  if (!chain.includes("en")) chain.push("en");
  return chain;
}

const screenStringsMemo = new Map();

// The words of a built-in screen as [key, value] pairs in screen order, or
// null for a page the catalogue doesn't know.
function screenStrings(builtin, locale, os) {
  const english = own(SCREEN_STRINGS.en, builtin);
  if (!english || builtin === "common") return null;
  const memoKey = builtin + "\u0001" + locale + "\u0001" + os;
  const cached = screenStringsMemo.get(memoKey);
  if (cached) return cached;
  const tables = [];
  for (const code of localeChain(locale)) {
    if (os === "android") {
      const variant = own(own(SCREEN_STRINGS_ANDROID, code), builtin);
      if (variant) tables.push(variant);
    }
    const forLocale = own(SCREEN_STRINGS, code);
    if (forLocale) {
      const page = own(forLocale, builtin);
      if (page) tables.push(page);
      const common = own(forLocale, "common");
      if (common) tables.push(common);
    }
  }
  const pairs = Object.keys(english).map((key) => {
    for (const table of tables) {
      const value = own(table, key);
      if (typeof value === "string") return [key, value];
    }
    return [key, english[key]];
  });
  screenStringsMemo.set(memoKey, pairs);
  return pairs;
}

// What the screen shows: the built-in words with the user's overrides
// (texts[page][locale].screen) laid over them. Absent for unknown pages.
function screenTextMap(builtin, locale, os, overrides) {
  const pairs = screenStrings(builtin, locale, os);
  if (!pairs) return null;
  const out = new Map(pairs);
  if (isPlainObject(overrides)) {
    for (const key of Object.keys(overrides)) {
      if (out.has(key) && typeof overrides[key] === "string") out.set(key, overrides[key]);
    }
  }
  return out;
}
