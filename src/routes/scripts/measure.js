// Measures a store-image page where it really falls: the title's lines, clamp
// and ink, words too wide for their column, text off the canvas or over the
// phone, layers too small or over the title. It runs as the body of an async
// function in the loaded page, laid out at canvas size, and answers
// { issues, title, layers, phone } in canvas pixels.

const W = innerWidth,
  H = innerHeight;
const px = Math.round;
const issues = [];
const phoneEl = document.querySelector("[data-vell-phone]");
const phone = phoneEl ? phoneEl.getBoundingClientRect() : null;
const rounded = (r) => [px(r.left), px(r.top), px(r.width), px(r.height)];
const overlap = (a, b) =>
  Math.max(0, Math.min(a.right, b.right) - Math.max(a.left, b.left)) *
  Math.max(0, Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top));
// Code points, as the native side counts the characters it quotes.
const quote = (s, n) => Array.from(s).slice(0, n).join("");

// Only what the clamp leaves visible counts as ink.
function inkOf(el) {
  const range = document.createRange();
  range.selectNodeContents(el);
  const r = range.getBoundingClientRect();
  const b = el.getBoundingClientRect();
  const top = Math.max(r.top, b.top);
  const bottom = Math.min(r.bottom, b.bottom);
  return {
    left: r.left,
    right: r.right,
    width: r.width,
    top,
    bottom,
    height: Math.max(0, bottom - top),
  };
}

function edges(r, what) {
  const hits = [];
  if (r.left < -1) hits.push(px(-r.left) + "px past the left edge");
  if (r.right > W + 1) hits.push(px(r.right - W) + "px past the right edge");
  if (r.top < -1) hits.push(px(-r.top) + "px above the top edge");
  if (r.bottom > H + 1) hits.push(px(r.bottom - H) + "px below the bottom edge");
  if (hits.length) issues.push(what + " runs off the canvas: " + hits.join(", ") + ".");
}

function widestWord(el, cs, column) {
  let best = null;
  for (const word of el.innerText.split(/\s+/)) {
    if (!word) continue;
    const span = document.createElement("span");
    span.style.cssText = "position:absolute;visibility:hidden;white-space:nowrap";
    span.style.font = cs.font;
    // The shorthand is empty when a part of it has no shorthand form.
    if (!span.style.font) {
      for (const p of [
        "fontFamily",
        "fontSize",
        "fontWeight",
        "fontStyle",
        "fontStretch",
        "fontVariant",
      ])
        span.style[p] = cs[p];
    }
    span.style.letterSpacing = cs.letterSpacing;
    span.style.fontFeatureSettings = cs.fontFeatureSettings;
    span.style.webkitTextStroke = "0";
    span.textContent = word;
    document.body.appendChild(span);
    const width = span.getBoundingClientRect().width;
    span.remove();
    if (width > column + 1 && (!best || width > best.width)) best = { word, width };
  }
  return best;
}

let title = null;
let ink = null;
const t = document.querySelector("[data-vell-title]");
if (t) {
  const cs = getComputedStyle(t);
  const size = parseFloat(cs.fontSize);
  let lh = parseFloat(cs.lineHeight);
  if (!Number.isFinite(lh)) lh = size * 1.12;
  const pad = parseFloat(cs.paddingTop) + parseFloat(cs.paddingBottom);
  const clamp = Number(cs.webkitLineClamp);
  const shown = cs.webkitLineClamp !== "" && Number.isInteger(clamp) ? clamp : 2;
  const lines = Math.max(1, Math.round((t.scrollHeight - pad) / lh));
  const truncated = t.scrollHeight > t.clientHeight + 2;
  // The element may shrink to its text; the width it may use is its parent's.
  const parentWidth = t.parentElement ? t.parentElement.clientWidth : W;
  const column = parentWidth - parseFloat(cs.paddingLeft) - parseFloat(cs.paddingRight);
  ink = inkOf(t);
  title = {
    lines,
    maxLines: shown,
    truncated,
    fontSize: size,
    columnWidth: px(column),
    box: rounded(ink),
  };

  if (truncated) {
    issues.push(
      'The title is cut off with "\u2026": at ' +
        px(size) +
        "px it needs " +
        lines +
        " lines and its box shows " +
        shown +
        ". Shorten it, break it with \\n into at most " +
        Math.max(2, shown) +
        " lines, or lower titleSize.",
    );
  }
  const wide = widestWord(t, cs, column);
  if (wide) {
    issues.push(
      'The title word "' +
        wide.word +
        '" is ' +
        px(wide.width) +
        "px wide but the title column is " +
        px(column) +
        "px, so it breaks in the middle. Use a shorter word or a smaller titleSize.",
    );
  }
  edges(ink, "The title");
  if (phone && overlap(ink, phone) > 0) {
    issues.push(
      "The title's text overlaps the phone by " +
        px(Math.min(ink.bottom, phone.bottom) - Math.max(ink.top, phone.top)) +
        "px vertically.",
    );
  }
  if (size < 40)
    issues.push(
      "The title is " +
        px(size) +
        "px \u2014 too small to read on a store page (keep it at 40px or more).",
    );
}

const layers = [];
for (const el of document.querySelectorAll("[data-vell-layer]")) {
  const id = el.getAttribute("data-vell-layer") || "";
  const r = el.getBoundingClientRect();
  // A sticker that bleeds off the edge is a choice.
  if (el.tagName === "IMG") {
    layers.push({ id, kind: "image", box: rounded(r), fontSize: 0 });
    continue;
  }
  const cs = getComputedStyle(el);
  const size = parseFloat(cs.fontSize);
  layers.push({ id, kind: "text", box: rounded(r), fontSize: size });
  const name = 'The text "' + quote(el.innerText.trim(), 40) + '" (layer ' + id + ")";
  edges(r, name);
  if (size < 22)
    issues.push(
      name + " is " + px(size) + "px \u2014 too small to read on a store page (22px or more).",
    );
  if (t && overlap(r, ink) > 0) issues.push(name + " overlaps the title.");
  const wide = widestWord(el, cs, el.clientWidth);
  if (wide) {
    issues.push(
      name +
        ': the word "' +
        wide.word +
        '" is wider than its box (' +
        px(wide.width) +
        "px vs " +
        px(el.clientWidth) +
        "px). Widen the box (w) or shorten the word.",
    );
  }
}

return { issues, title, layers, phone: phone ? rounded(phone) : null };
