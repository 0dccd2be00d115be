// Markup helpers shared by the phone screens and the store image

"use strict";

const HTML_ESCAPES = { "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;", "'": "&#39;" };

function esc(value) {
  return String(value).replace(/[&<>"']/g, (c) => HTML_ESCAPES[c]);
}

// Shortest decimal for CSS: no "1.0000001px" from float arithmetic.
function fx(value, digits = 2) {
  const n = Number(value);
  if (!Number.isFinite(n)) return "0";
  const text = n.toFixed(digits);
  const trimmed = text.indexOf(".") >= 0 ? text.replace(/0+$/, "").replace(/\.$/, "") : text;
  return trimmed === "-0" ? "0" : trimmed;
}

function numberOr(value, fallback) {
  return typeof value === "number" && Number.isFinite(value) ? value : fallback;
}

function clamp(value, lo, hi) {
  return Math.min(hi, Math.max(lo, value));
}

// Only values that cannot break out of a style attribute reach CSS.
function cssColor(value, fallback) {
  if (typeof value !== "string") return fallback;
  const v = value.trim();
  if (!v || v.length > 64 || /[;{}<>"'\\]/.test(v)) return fallback;
  return v;
}

// "#rgb", "#rrggbb", "#rrggbbaa", "rgb()/rgba()" to [r, g, b, a]; null otherwise.
function parseColor(value) {
  if (typeof value !== "string") return null;
  const v = value.trim();
  let m = /^#([0-9a-f]{3,8})$/i.exec(v);
  if (m) {
    let h = m[1];
    if (h.length === 3 || h.length === 4) h = [...h].map((c) => c + c).join("");
    if (h.length !== 6 && h.length !== 8) return null;
    const n = (i) => parseInt(h.slice(i, i + 2), 16);
    return [n(0), n(2), n(4), h.length === 8 ? n(6) / 255 : 1];
  }
  m = /^rgba?\(([^)]*)\)$/i.exec(v);
  if (m) {
    const parts = m[1]
      .split(/[\s,/]+/)
      .filter(Boolean)
      .map(Number);
    if (parts.length < 3 || parts.some((p) => !Number.isFinite(p))) return null;
    return [parts[0], parts[1], parts[2], parts.length > 3 ? parts[3] : 1];
  }
  return null;
}

function mixColor(a, b, t) {
  return [0, 1, 2].map((i) => Math.round(a[i] + (b[i] - a[i]) * t));
}

function rgba(rgb, alpha) {
  return "rgba(" + rgb[0] + "," + rgb[1] + "," + rgb[2] + "," + fx(alpha, 3) + ")";
}

// Relative luminance, 0 (black) to 1 (white).
function luminance(rgb) {
  const lin = (c) => {
    const s = c / 255;
    return s <= 0.03928 ? s / 12.92 : Math.pow((s + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * lin(rgb[0]) + 0.7152 * lin(rgb[1]) + 0.0722 * lin(rgb[2]);
}

const RTL_LOCALES = new Set(["ar", "fa"]);

function isRtlLocale(locale) {
  return RTL_LOCALES.has(locale);
}

// Persian apps write Persian digits; everything else keeps the Western ones.
function localDigits(text, locale) {
  const s = String(text);
  if (locale !== "fa") return s;
  return s.replace(/[0-9]/g, (d) => String.fromCharCode(0x06f0 + d.charCodeAt(0) - 48));
}

// CJK glyphs take their regional forms from `lang`; naming the face as well
// keeps Chromium from picking another region's CJK font for a fallback.
function cjkFamily(locale) {
  if (locale === "ja" || locale.startsWith("ja-")) return "'Noto Sans CJK JP'";
  if (locale === "ko" || locale.startsWith("ko-")) return "'Noto Sans CJK KR'";
  if (locale === "zh-Hant" || locale === "zh-TW" || locale === "zh-HK") return "'Noto Sans CJK TC'";
  if (locale.startsWith("zh")) return "'Noto Sans CJK SC'";
  return "'Noto Sans CJK JP'";
}
