// Fonts: the catalogue's files inlined as data: URIs, only those whose
// unicode range the page's text reaches, so a Latin page doesn't carry Arabic.

"use strict";

const fontBase64Memo = new Map();

function fontBase64(file) {
  if (fontBase64Memo.has(file)) return fontBase64Memo.get(file);
  let data = null;
  if (typeof __vellsHost !== "undefined" && __vellsHost && typeof __vellsHost.read === "function") {
    const read = __vellsHost.read("/core/assets/fonts/" + file, "base64");
    if (typeof read === "string" && read) data = read;
  }
  fontBase64Memo.set(file, data);
  return data;
}

let fontRangesMemo = null;

function fontRanges() {
  if (fontRangesMemo) return fontRangesMemo;
  fontRangesMemo = FONT_FILES.map((f) => ({
    font: f,
    ranges: f.unicodeRange.split(",").map((part) => {
      const [lo, hi] = part.trim().replace(/^U\+/i, "").split("-");
      const a = parseInt(lo, 16);
      return [a, hi ? parseInt(hi, 16) : a];
    }),
  }));
  return fontRangesMemo;
}

// @font-face rules for `families` (page family names), limited to the files
// that some character of `text` needs.
function fontFaceCss(families, text) {
  const codes = new Set();
  for (const ch of text) codes.add(ch.codePointAt(0));
  let css = "";
  for (const { font, ranges } of fontRanges()) {
    if (!families.has(font.family)) continue;
    let needed = false;
    for (const code of codes) {
      for (const [lo, hi] of ranges) {
        if (code >= lo && code <= hi) {
          needed = true;
          break;
        }
      }
      if (needed) break;
    }
    if (!needed) continue;
    const data = fontBase64(font.file);
    if (!data) continue;
    css += fontFaceRule(font, "data:font/woff2;base64," + data);
  }
  return css;
}

// One face of FONT_FILES from `src`; the live preview names the same files by
// their address.
function fontFaceRule(font, src) {
  return (
    "@font-face{font-family:'" +
    font.family +
    "';src:url(" +
    src +
    ") format('woff2');font-weight:" +
    font.weight +
    ";font-style:normal;font-display:block;unicode-range:" +
    font.unicodeRange +
    "}\n"
  );
}
