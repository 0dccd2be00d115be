// Entry

"use strict";

const CORE_FUNCTIONS = new Map([
  ["catalog", () => buildCatalog()],
  ["pagePlan", pagePlan],
  ["compositeName", compositeName],
  ["orderedPages", orderedPages],
  ["screenTexts", screenTexts],
  ["pageHtml", pageHtml],
  ["previewHtml", previewHtml],
  ["uploadPreviewHtml", uploadPreviewHtml],
  ["compositeHtml", compositeHtml],
  ["decor", decor],
]);

// Registers a named function: fn(args, context) with context the set's
// documents (texts, styles) and their memo.
function defineCoreFunction(name, fn) {
  CORE_FUNCTIONS.set(name, fn);
}

var VellsCore = {
  call(name, argsJson) {
    if (name === "catalog") {
      if (catalogText === null) catalogText = JSON.stringify(buildCatalog());
      return catalogText;
    }
    let args;
    try {
      args = argsJson ? JSON.parse(argsJson) : {};
    } catch (e) {
      throw new Error("Arguments of " + name + " are not JSON: " + e.message);
    }
    if (!isPlainObject(args)) args = {};
    if (name === "__rememberDocs") return JSON.stringify(rememberDocs(args));

    const fn = CORE_FUNCTIONS.get(name);
    if (!fn) throw new Error("Unknown function: " + name);

    let context;
    if (typeof args.__docs === "string") {
      const remembered = recallDocs(args.__docs);
      const { __docs, ...callKeys } = args;
      const overridesDocs = hasOwn.call(callKeys, "texts") || hasOwn.call(callKeys, "styles");
      args = { texts: remembered.texts, styles: remembered.styles, ...callKeys };
      // A call that brings its own documents must not see the memo of others.
      context = overridesDocs ? new DocumentContext(args.texts, args.styles) : remembered;
    } else {
      context = new DocumentContext(args.texts, args.styles);
    }
    const result = fn(args, context);
    const text = JSON.stringify(result === undefined ? null : result);
    return text === undefined ? "null" : text;
  },
  define: defineCoreFunction,
};
