// Layout arithmetic of the store image, shared with the live preview: phone
// box, title lines, fonts. All in composite pixels.

"use strict";

function normalOs(os) {
  return os === "android" ? "android" : "ios";
}

// The style as the layout reads it: defaults under whatever the caller gave,
// each value only when it has the field's kind.
function layoutStyle(style) {
  const out = defaultStyle();
  if (!isPlainObject(style)) return out;
  for (const [name, kind] of STYLE_FIELDS) {
    const value = own(style, name);
    if (value === undefined || value === null) continue;
    if (kind === "number" && typeof value === "number" && Number.isFinite(value)) out[name] = value;
    else if (kind === "number" && typeof value === "boolean") out[name] = value ? 1 : 0;
    else if (kind === "string" && typeof value === "string") out[name] = value;
    else if (kind === "json") out[name] = value;
  }
  return out;
}

function compositeLayout(os, st) {
  const comp = COMPOSITE_DIMS[os];
  const device = DEVICES[os];
  let width;
  let height;
  let left;
  let textSpace;
  if (os === "android") {
    width = 501;
    height = 1085;
    left = 71;
    textSpace = 438;
  } else {
    width = 485;
    height = Math.round((485 * device.height) / device.width);
    left = Math.round((comp.w - 485) / 2);
    textSpace = 428;
  }
  const scale = numberOr(st.phoneScale, 1);
  const w = Math.round(width * scale);
  const h = Math.round(height * scale);
  left += Math.round((width - w) / 2);
  let top = st.textPos === "bottom" ? comp.h - textSpace - h : textSpace;
  top += numberOr(st.phoneOffsetY, 0);
  left += numberOr(st.phoneOffsetX, 0);
  return {
    os,
    comp,
    device,
    left,
    top,
    width: w,
    height: h,
    textSpace,
    bottomText: st.textPos === "bottom",
  };
}

const RING_WIDTH = { ios: 10.34, android: 10.69 };

// The corners of every hero card, so the store image can give the lifted card
// a shadow of the same shape without tracing its pixels.
const PLATE_RADIUS = { ios: 24, android: 28 };

function tiltTransform(st) {
  const x = numberOr(st.phoneRotateX, 0);
  const y = numberOr(st.phoneRotateY, 0);
  const z = numberOr(st.phoneRotateZ, 0);
  if (!x && !y && !z) return "";
  const parts = [];
  if (x) parts.push("rotateX(" + x + "deg)");
  if (y) parts.push("rotateY(" + y + "deg)");
  if (z) parts.push("rotateZ(" + z + "deg)");
  return parts.join(" ");
}

function visualWidth(token) {
  let width = 0;
  for (const ch of token) {
    if (ch === "*") continue;
    if ("iljtfIrí.,!:;'`|()[]{}".includes(ch)) width += 0.45;
    else if ("mwMW@%".includes(ch)) width += 1.5;
    else width += 1;
  }
  return width;
}

// A title in lines: the author's breaks when there are any, otherwise the
// most even split in two that keeps every *accent* whole.
function splitTitleLines(title) {
  const text = typeof title === "string" ? title : "";
  if (/\n/.test(text)) {
    return text
      .split(/\r?\n/)
      .map((l) => l.trim())
      .filter((l) => l.length > 0);
  }
  const words = text.split(/\s+/).filter((w) => w.length > 0);
  if (words.length < 2) return words;
  const widths = words.map(visualWidth);
  let best = -1;
  let bestScore = Infinity;
  let stars = 0;
  for (let cut = 1; cut < words.length; cut++) {
    stars += (words[cut - 1].match(/\*/g) || []).length;
    if (stars % 2 === 1) continue;
    let first = 0;
    let second = 0;
    for (let i = 0; i < words.length; i++) {
      if (i < cut) first += widths[i] + (i > 0 ? 0.45 : 0);
      else second += widths[i] + (i > cut ? 0.45 : 0);
    }
    const score = Math.abs(first - second) + (first < second ? 0.5 : 0);
    if (score < bestScore) {
      bestScore = score;
      best = cut;
    }
  }
  if (best < 0) return [words.join(" ")];
  return [words.slice(0, best).join(" "), words.slice(best).join(" ")];
}

function accentHtml(text, accent) {
  const escaped = String(text).replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;");
  return escaped.replace(
    /\*([^*]+)\*/g,
    (m, inner) => '<span style="color:' + accent + '">' + inner + "</span>",
  );
}

// The families of the title faces; CJK and emoji fall back after them, so
// Latin letters land exactly where the preview puts them.
function textFontFamily(font, rtl, locale) {
  const tail = (locale ? cjkFamily(locale) + "," : "") + "'Noto Color Emoji',system-ui,sans-serif";
  if (rtl) return "'Estedad','IRANSansXFaNum'," + tail;
  if (font === "openrunde") return "'OpenRunde',-apple-system," + tail;
  return "'Nunito',-apple-system," + tail;
}

function textFontFace(font, rtl) {
  if (rtl) return "Estedad";
  return font === "openrunde" ? "OpenRunde" : "Nunito";
}

function textFontWeight(weight, rtl) {
  const w = numberOr(weight, 0);
  if (rtl) return w > 0 && w < 850 ? 800 : 900;
  return w > 0 ? w : 1000;
}

function safeMime(mime) {
  return typeof mime === "string" && /^[A-Za-z0-9.+-]+\/[A-Za-z0-9.+-]+$/.test(mime)
    ? mime
    : "image/png";
}

// A data: URI from {mime, base64}; null when there is no usable picture.
function pictureUri(picture) {
  if (!isPlainObject(picture) || typeof picture.base64 !== "string" || !picture.base64) return null;
  if (!/^[A-Za-z0-9+/=\s]*$/.test(picture.base64)) return null;
  return "data:" + safeMime(picture.mime) + ";base64," + picture.base64.replace(/\s+/g, "");
}

// A URI that may stand in a src or url() without escaping its quotes.
function safeUri(uri) {
  return typeof uri === "string" && uri && !/["'<>\\\s]/.test(uri) ? uri : null;
}

const patternMemo = new Map();

function patternUri(file) {
  if (patternMemo.has(file)) return patternMemo.get(file);
  let uri = null;
  if (typeof __vellsHost !== "undefined" && __vellsHost && typeof __vellsHost.read === "function") {
    const data = __vellsHost.read("/core/assets/pattern/" + file, "base64");
    if (typeof data === "string" && data) uri = "data:image/svg+xml;base64," + data;
  }
  patternMemo.set(file, uri);
  return uri;
}
