// The core script of Vellora: page layout, render-cache naming and
// catalogue data. Its parts run in the order core.parts lists, in one
// global scope, so what a part declares at top level the later parts use.
//
// Runs in a bare JavaScriptCore context: no modules, no browser objects, no
// timers. The host reaches it only through VellsCore.call(name, argsJson),
// which answers JSON text. File access, when needed, goes through
// __vellsHost.read/exists under "/core/assets/".
//
// Cache names are the render cache's only notion of staleness: whatever can
// change a picture must reach its file name, and nothing else may, or every
// edit re-renders (or worse, nothing does).

"use strict";

// Bump when the phone screens draw differently, so old captures are not reused.
const CAPTURE_REVISION = "tempo-screens-3";
// Bump when the store image is laid out differently (title, decoration, layers).
const COMPOSITE_REVISION = "composite-3";

// Small helpers

const hasOwn = Object.prototype.hasOwnProperty;

// Documents come from users and may name keys such as "constructor" or
// "__proto__"; only own members count.
function own(object, key) {
  if (object === null || typeof object !== "object" || Array.isArray(object)) return undefined;
  return hasOwn.call(object, key) ? object[key] : undefined;
}

function isPlainObject(value) {
  return value !== null && typeof value === "object" && !Array.isArray(value);
}

function stringArg(value) {
  return typeof value === "string" ? value : "";
}

function finiteOrNull(value) {
  return typeof value === "number" && Number.isFinite(value) ? value : null;
}

// A document as the script works with it: an object, whatever was stored.
function documentObject(value) {
  if (typeof value === "string") {
    try {
      value = JSON.parse(value);
    } catch {
      return {};
    }
  }
  return isPlainObject(value) ? value : {};
}

// JSON with sorted keys, so two documents that differ only in key order name
// the same pictures.
function canonicalJSON(value) {
  if (value === null || typeof value !== "object") {
    const text = JSON.stringify(value);
    return text === undefined ? "null" : text;
  }
  if (Array.isArray(value)) {
    let out = "[";
    for (let i = 0; i < value.length; i++) out += (i ? "," : "") + canonicalJSON(value[i]);
    return out + "]";
  }
  const keys = Object.keys(value).sort();
  let out = "{";
  let first = true;
  for (const key of keys) {
    if (value[key] === undefined) continue;
    out += (first ? "" : ",") + JSON.stringify(key) + ":" + canonicalJSON(value[key]);
    first = false;
  }
  return out + "}";
}

function hex32(n) {
  return (n >>> 0).toString(16).padStart(8, "0");
}

// 64-bit string hash (two interleaved 32-bit multiply-xor lanes, after
// cyrb53). Not cryptographic: cache names only need to be stable across runs
// and to differ when the content does.
const imul = Math.imul;

function hash64(text) {
  let h1 = 0xdeadbeef;
  let h2 = 0x41c6ce57;
  for (let i = 0; i < text.length; i++) {
    const c = text.charCodeAt(i);
    h1 = imul(h1 ^ c, 2654435761);
    h2 = imul(h2 ^ c, 1597334677);
  }
  h1 = imul(h1 ^ (h1 >>> 16), 2246822507);
  h1 ^= imul(h2 ^ (h2 >>> 13), 3266489909);
  h2 = imul(h2 ^ (h2 >>> 16), 2246822507);
  h2 ^= imul(h1 ^ (h1 >>> 13), 3266489909);
  return hex32(h2) + hex32(h1);
}

// File-name part from a user-chosen id. Page ids are free text; a "/" must not
// become a folder and a ".png" inside a name would upset the thumbnail name.
// The full id always goes into the hash, so ids that clean up alike still
// get names of their own.
function namePart(value, max) {
  const cleaned = value.replace(/[^A-Za-z0-9_-]/g, "_");
  return cleaned.length > max ? cleaned.slice(0, max) : cleaned || "_";
}

// The set, os and theme start and delimit every name because the cache's
// regenerate matches them literally; they are kept as they are whenever they
// are already safe in a file name (set ids, "ios", "dark" always are).
function literalPart(value) {
  return /^[A-Za-z0-9_-]+$/.test(value) ? value : namePart(value, 64);
}

function flagOf(region) {
  return String.fromCodePoint(...[...region].map((c) => 0x1f1e6 + c.charCodeAt(0) - 65));
}
