// The effects helpers of a loaded page, kept on window.__fx between calls:
// finding the elements whose effects need flattening, isolating one so it can
// be captured alone, and replacing it with its picture.
//
// This is the body of a function of M, the margin in CSS pixels kept around an
// effect's box; it answers { open, scan, isolate, replace }. `els` is the list
// of the last scan, `saved` the styles of the page that an isolate changed and
// its replace puts back.
/* global M */

let els = [];
const saved = [];

const perspectiveOf = (el) => {
  const parent = el.parentElement;
  if (!parent) return null;
  const cs = getComputedStyle(parent);
  if (cs.perspective === "none") return null;
  const r = parent.getBoundingClientRect();
  const o = cs.perspectiveOrigin.split(" ").map(parseFloat);
  return { d: parseFloat(cs.perspective), x: r.left + o[0], y: r.top + o[1] };
};

const is3D = (el) => {
  const t = getComputedStyle(el).transform;
  if (t === "none") return false;
  return !new DOMMatrix(t).is2D || perspectiveOf(el) !== null;
};

// Splits on the commas that aren't inside parentheses.
const splitTop = (text) => {
  const parts = [];
  let depth = 0,
    start = 0;
  for (let k = 0; k < text.length; k++) {
    const c = text[k];
    if (c === "(") depth++;
    else if (c === ")") depth--;
    else if (c === "," && depth === 0) {
      parts.push(text.slice(start, k));
      start = k + 1;
    }
  }
  parts.push(text.slice(start));
  return parts;
};

// A shadow part without its colour functions, e.g. "rgba(0, 0, 0, 0.5) 0px 4px 10px 2px".
const withoutFunctions = (text) => {
  let out = "",
    depth = 0,
    word = "";
  for (const c of text) {
    if (c === "(") {
      depth++;
      word = "";
    } else if (c === ")") {
      depth = Math.max(0, depth - 1);
    } else if (depth === 0) {
      if (/[\s]/.test(c)) {
        out += word + " ";
        word = "";
      } else {
        word += c;
      }
    }
  }
  return out + word;
};

const open = () => {
  const root = document.documentElement.style;
  root.width = innerWidth + "px";
  root.height = innerHeight + "px";
  root.overflow = "visible";
  root.background = "transparent";
  const body = document.body.style;
  body.position = "absolute";
  body.left = M + "px";
  body.top = M + "px";
};

const scan = () => {
  const found = [];
  let order = 0;
  for (const el of document.body.querySelectorAll("*")) {
    const cs = getComputedStyle(el);
    if (cs.display === "none") continue;
    const filter = cs.filter === "none" ? "" : cs.filter;
    if (filter === "" && !is3D(el)) continue;
    let depth = 0;
    for (let e = el; e; e = e.parentElement) depth++;
    found.push({ el, filter, transformed: cs.transform !== "none", depth, order: order++ });
  }
  found.sort((a, b) => b.depth - a.depth || a.order - b.order);
  els = found.map((f) => f.el);
  return found.map((f) => ({ filter: f.filter, transformed: f.transformed }));
};

const isolate = (i) => {
  const el = els[i];
  const cs = getComputedStyle(el);
  const transform = cs.transform;
  const origin = cs.transformOrigin;
  el.dataset.fxTransform = el.style.transform;
  el.dataset.fxFilter = el.style.filter;
  el.dataset.fxVisibility = el.style.visibility;
  el.style.transform = "none";
  el.style.filter = "none";
  const r = el.getBoundingClientRect();

  let m = new DOMMatrix();
  const p = perspectiveOf(el);
  if (p && transform !== "none") {
    const P = new DOMMatrix();
    P.m34 = -1 / p.d;
    m = new DOMMatrix().translate(p.x, p.y).multiply(P).translate(-p.x, -p.y);
  }
  if (transform !== "none") {
    const o = origin.split(" ").map(parseFloat);
    const ox = r.left + o[0],
      oy = r.top + o[1];
    m = m.translate(ox, oy).multiply(new DOMMatrix(transform)).translate(-ox, -oy);
  }
  const corner = (x, y) => {
    const q = m.transformPoint(new DOMPoint(x, y, 0, 1));
    return [q.x / q.w, q.y / q.w];
  };
  const corners = [
    corner(r.left, r.top),
    corner(r.right, r.top),
    corner(r.right, r.bottom),
    corner(r.left, r.bottom),
  ];

  let ink = [r.left, r.top, r.right, r.bottom];
  const hold = (x0, y0, x1, y1) => {
    ink = [Math.min(ink[0], x0), Math.min(ink[1], y0), Math.max(ink[2], x1), Math.max(ink[3], y1)];
  };
  for (const e of [el, ...el.querySelectorAll("*")]) {
    const q = e.getBoundingClientRect();
    if (!q.width && !q.height) continue;
    hold(q.left, q.top, q.right, q.bottom);
    const shadows = getComputedStyle(e).boxShadow;
    if (shadows === "none") continue;
    for (const part of splitTop(shadows)) {
      const n = withoutFunctions(part)
        .split(/\s+/)
        .map(parseFloat)
        .filter((v) => !isNaN(v));
      const [a = 0, b = 0, c = 0, d = 0] = n;
      const reach = Math.max(Math.abs(a), Math.abs(b)) + c + Math.max(0, d);
      hold(q.left - reach, q.top - reach, q.right + reach, q.bottom + reach);
    }
  }

  const body = document.body,
    root = body.firstElementChild;
  saved.push([
    body.style.visibility,
    body.style.background,
    body.style.overflow,
    root ? root.style.overflow : "",
  ]);
  body.style.visibility = "hidden";
  body.style.background = "transparent";
  body.style.overflow = "visible";
  if (root) root.style.overflow = "visible";
  el.style.visibility = "visible";

  return {
    box: [r.left, r.top, r.width, r.height],
    ink: [ink[0], ink[1], ink[2] - ink[0], ink[3] - ink[1]],
    corners,
  };
};

const replace = (i, src, x, y, w, h) => {
  const el = els[i];
  const body = document.body,
    root = body.firstElementChild;
  const s = saved.pop();
  if (s) {
    [body.style.visibility, body.style.background, body.style.overflow] = s;
    if (root) root.style.overflow = s[3];
  }
  if (!el) return;
  if ("fxVisibility" in el.dataset) el.style.visibility = el.dataset.fxVisibility;
  if (src === "" || src === null || src === undefined) {
    if ("fxTransform" in el.dataset) el.style.transform = el.dataset.fxTransform;
    if ("fxFilter" in el.dataset) el.style.filter = el.dataset.fxFilter;
    return;
  }
  const img = document.createElement("img");
  img.src = src;
  const parent = el.parentElement;
  const pr = parent.getBoundingClientRect();
  const z = getComputedStyle(el).zIndex;
  img.style.cssText =
    "position:absolute;" +
    "left:" +
    (x - pr.left - parent.clientLeft) +
    "px;" +
    "top:" +
    (y - pr.top - parent.clientTop) +
    "px;" +
    "width:" +
    w +
    "px;height:" +
    h +
    "px;max-width:none;pointer-events:none" +
    (z !== "auto" ? ";z-index:" + z : "");
  parent.insertBefore(img, el);
  el.style.display = "none";
  return new Promise((done) => {
    if (img.complete) return done();
    img.onload = img.onerror = () => done();
  });
};

return { open, scan, isolate, replace };
