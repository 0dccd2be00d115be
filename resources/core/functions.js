// Other functions

"use strict";

function orderedPages(args) {
  const all = Array.isArray(args.all) ? args.all : [];
  const stored = args.stored;
  if (!Array.isArray(stored)) return all;
  const known = new Set(all);
  const out = [];
  const seen = new Set();
  for (const id of stored) {
    if (typeof id === "string" && known.has(id) && !seen.has(id)) {
      seen.add(id);
      out.push(id);
    }
  }
  for (const id of all) {
    if (!seen.has(id)) {
      seen.add(id);
      out.push(id);
    }
  }
  return out;
}

function screenTexts(args) {
  const pairs = screenStrings(stringArg(args.page), stringArg(args.locale), stringArg(args.os));
  return pairs ? pairs.map(([key, value]) => ({ key, value })) : [];
}
