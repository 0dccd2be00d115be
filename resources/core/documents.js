// Documents and their memo

"use strict";

// The set's documents, parsed once per content key, with whatever has been
// worked out from them. A gallery asks ~800 questions of the same documents.
class DocumentContext {
  constructor(texts, styles) {
    this.texts = documentObject(texts);
    this.styles = documentObject(styles);
    this.memo = new Map();
  }

  remember(key, compute) {
    let value = this.memo.get(key);
    if (value === undefined) {
      value = compute();
      this.memo.set(key, value);
    }
    return value;
  }

  // { style, hash } of a page in a language. Shared by every call on these
  // documents: read it, never change it.
  style(page, locale) {
    return this.remember("style\u0001" + page + "\u0001" + locale, () => {
      const style = resolveStyle(this.styles, page, locale);
      return { style, hash: hash64(canonicalJSON(style)) };
    });
  }

  // The page's text entry in a language: title, subtitle, the screen's
  // overrides (strings only), and hashes of what each picture depends on.
  text(page, locale) {
    return this.remember("text\u0001" + page + "\u0001" + locale, () => {
      const entry = own(own(this.texts, page), locale);
      const title = own(entry, "title");
      const subtitle = own(entry, "subtitle");
      const screen = own(entry, "screen");
      const overrides = {};
      if (isPlainObject(screen)) {
        for (const key of Object.keys(screen))
          if (typeof screen[key] === "string") overrides[key] = screen[key];
      }
      const screenCanonical = canonicalJSON(overrides);
      return {
        title: typeof title === "string" ? title : null,
        subtitle: typeof subtitle === "string" ? subtitle : null,
        overrides,
        screenHash: hash64(screenCanonical),
        wordsHash: hash64(
          canonicalJSON([
            typeof title === "string" ? title : null,
            typeof subtitle === "string" ? subtitle : null,
          ]),
        ),
      };
    });
  }
}

const DOCS_MISSING = "__vells_docs_missing__";
const DOCS_CAPACITY = 16;
const rememberedDocs = new Map(); // key -> DocumentContext, oldest first

function rememberDocs(args) {
  const key = stringArg(args.key);
  rememberedDocs.delete(key);
  rememberedDocs.set(key, new DocumentContext(args.texts, args.styles));
  while (rememberedDocs.size > DOCS_CAPACITY)
    rememberedDocs.delete(rememberedDocs.keys().next().value);
  return null;
}

function recallDocs(key) {
  const context = rememberedDocs.get(key);
  if (!context) throw new Error(DOCS_MISSING);
  rememberedDocs.delete(key);
  rememberedDocs.set(key, context);
  return context;
}
