// Decoration "playful": soft light behind the phone, a few sparkles and dots
// beside it, tinted from the backdrop and kept off the title; and, when the
// page has a hero, its callout lifted out over the phone.

"use strict";

function decorPalette(st) {
  const from = parseColor(st.gradFrom) || [7, 24, 74];
  const via = parseColor(st.gradVia) || [0, 82, 204];
  const to = parseColor(st.gradTo) || [0, 147, 253];
  const accent = parseColor(st.accentColor) || [255, 213, 74];
  const lum = (luminance(from) + luminance(via) + luminance(to)) / 3;
  const light = lum > 0.45;
  const white = [255, 255, 255];
  if (light) {
    const deep = mixColor(to, from, -0.35).map((c) => clamp(c, 0, 255));
    return {
      light,
      halo: rgba(white, 0.7),
      glowA: rgba(white, 0.75),
      glowB: rgba(mixColor(to, [0, 0, 0], 0.06), 0.55),
      ring: rgba(deep, 0.32),
      dots: rgba(deep, 0.4),
      sparkA: rgba(accent, 0.85),
      sparkB: rgba(white, 0.95),
      confetti: [rgba(accent, 0.8), rgba(deep, 0.55), rgba(white, 0.95)],
    };
  }
  return {
    light,
    halo: rgba(mixColor(to, white, 0.45), 0.34),
    glowA: rgba(mixColor(to, white, 0.35), 0.55),
    glowB: rgba(mixColor(via, accent, 0.25), 0.32),
    ring: rgba(white, 0.2),
    dots: rgba(white, 0.28),
    sparkA: rgba(white, 0.95),
    sparkB: rgba(accent, 0.95),
    confetti: [rgba(accent, 0.9), rgba(white, 0.75), rgba(mixColor(to, white, 0.5), 0.9)],
  };
}

function sparkleSvg(x, y, size, color, rotate) {
  return (
    '<svg style="position:absolute;left:' +
    fx(x - size / 2) +
    "px;top:" +
    fx(y - size / 2) +
    "px;width:" +
    fx(size) +
    "px;height:" +
    fx(size) +
    "px" +
    (rotate ? ";transform:rotate(" + rotate + "deg)" : "") +
    '" viewBox="0 0 24 24"><path fill="' +
    color +
    '" d="' +
    "M12 1.5c.9 6.1 3.4 8.9 9.9 10.2v.6c-6.5 1.3-9 4.1-9.9 10.2h-.2c-.9-6.1-3.4-8.9-9.9-10.2v-.6C8.4 10.4 10.9 7.6 11.8 1.5z" +
    '"/></svg>'
  );
}

function blobDiv(cx, cy, d, color) {
  return (
    '<div style="position:absolute;left:' +
    fx(cx - d / 2) +
    "px;top:" +
    fx(cy - d / 2) +
    "px;width:" +
    fx(d) +
    "px;height:" +
    fx(d) +
    "px;border-radius:50%;background:radial-gradient(closest-side," +
    color +
    ',rgba(255,255,255,0) 100%)"></div>'
  );
}

function circleDiv(cx, cy, d, css) {
  return (
    '<div style="position:absolute;left:' +
    fx(cx - d / 2) +
    "px;top:" +
    fx(cy - d / 2) +
    "px;width:" +
    fx(d) +
    "px;height:" +
    fx(d) +
    "px;border-radius:50%;" +
    css +
    '"></div>'
  );
}

// Where the title's lines stand, so nothing in front lands on them.
function titleBand(L, st, hasTitle, titleLines) {
  if (!hasTitle) return null;
  const lines = Math.max(1, Math.min(4, Math.round(numberOr(titleLines, 2)) || 2));
  const size = numberOr(st.titleSize, 66);
  const h =
    lines * size * numberOr(st.titleLineHeight, 1.12) +
    2 * Math.min(36, Math.ceil(size * 0.08 + numberOr(st.titleStroke, 0) / 2));
  const bandTop = L.bottomText ? L.comp.h - L.textSpace : 0;
  const centre = bandTop + L.textSpace / 2 + numberOr(st.titleOffsetY, 0);
  return { top: centre - h / 2 - 10, bottom: centre + h / 2 + 10 };
}

// The callout: the hero picture over its own place on the phone, a little
// larger, with a plate's shadow. Inside a box that turns as the phone does.
function calloutHtml(L, st, hero, uri, tilt) {
  const rect = isPlainObject(hero) ? hero.rect : null;
  if (!isPlainObject(rect) || !uri) return "";
  const x = numberOr(rect.x, NaN);
  const y = numberOr(rect.y, NaN);
  const w = numberOr(rect.width, NaN);
  const h = numberOr(rect.height, NaN);
  if (![x, y, w, h].every(Number.isFinite) || w <= 0 || h <= 0) return "";
  const kx = L.width / L.device.width;
  const ky = L.height / L.device.height;
  const lift = 1.16;
  const cw = w * kx * lift;
  const ch = h * ky * lift;
  const cx = (x + w / 2) * kx;
  const cy = (y + h / 2) * ky - 6;
  const plate = rect.plate === true;
  // A plate is a rounded card of a known radius, so a box shadow draws its
  // shadow exactly and the image needs no filter (nothing to flatten). A
  // hairline of light keeps a dark plate apart from the dark screen under it.
  // Any other hero shape casts its shadow from its own pixels.
  const shadow = plate
    ? "border-radius:" +
      fx(PLATE_RADIUS[L.os] * kx * lift) +
      "px;" +
      "box-shadow:0px 0px 0.6px rgba(255,255,255,0.45),0px 24px 32px rgba(0,0,0,0.34),0px 5px 10px rgba(0,0,0,0.16)"
    : "filter:drop-shadow(0px 14px 22px rgba(0,0,0,0.3))";
  const img =
    '<img alt="" src="' +
    esc(uri) +
    '" style="position:absolute;left:' +
    fx(cx - cw / 2) +
    "px;top:" +
    fx(cy - ch / 2) +
    "px;width:" +
    fx(cw) +
    "px;height:" +
    fx(ch) +
    "px;" +
    shadow +
    '">';
  const inner =
    '<div style="position:absolute;inset:0' +
    (tilt ? ";transform:" + tilt : "") +
    '">' +
    img +
    "</div>";
  return (
    '<div class="callout" style="position:absolute;left:' +
    L.left +
    "px;top:" +
    L.top +
    "px;width:" +
    L.width +
    "px;height:" +
    L.height +
    "px" +
    (tilt ? ";perspective:" + fx(Math.max(1, numberOr(st.phonePerspective, 1800))) + "px" : "") +
    '">' +
    inner +
    "</div>"
  );
}

function decorArt(page, os, st, hero, heroUri, hasTitle, titleLines) {
  if (st.decor === "none") return { behind: "", front: "" };
  const L = compositeLayout(os, st);
  const P = decorPalette(st);
  const W = L.comp.w;
  const seed = parseInt(hash64("decor\u0001" + page).slice(0, 8), 16);
  const mirror = seed % 2 === 1;
  const alt = (seed >>> 1) % 2 === 1;
  const band = titleBand(L, st, hasTitle, titleLines);
  // Positions are laid out for a phone under the title and mirrored as needed.
  const X = (x) => (mirror ? W - x : x);
  const Y = (y) => (L.bottomText ? L.top + L.height - (y - L.top) : y);
  const left = L.left;
  const right = L.left + L.width;
  const top = L.top;
  const pw = L.width;
  const ph = L.height;
  const ring = RING_WIDTH[os] * numberOr(st.phoneScale, 1);
  const visible = (y, r) => y + r > 0 && y - r < L.comp.h;
  const clearOfTitle = (y, r) => !band || y + r < band.top || y - r > band.bottom;

  let behind = "";
  // A halo over the phone's top edge lifts it off the backdrop.
  behind +=
    '<div style="position:absolute;left:' +
    fx(left - pw * 0.2) +
    "px;top:" +
    fx(Y(top) - pw * 0.3) +
    "px;width:" +
    fx(pw * 1.4) +
    "px;height:" +
    fx(pw * 0.6) +
    "px;border-radius:50%;background:radial-gradient(closest-side," +
    P.halo +
    ',rgba(255,255,255,0))"></div>';
  behind += blobDiv(X(left - pw * 0.06), Y(top + ph * (alt ? 0.34 : 0.2)), pw * 0.95, P.glowA);
  behind += blobDiv(X(right + pw * 0.04), Y(top + ph * (alt ? 0.12 : 0.52)), pw * 0.9, P.glowB);
  const ringD = pw * 0.62;
  behind += circleDiv(
    X(right - pw * 0.04),
    Y(top + ph * (alt ? 0.52 : 0.07)),
    ringD,
    "box-shadow:inset 0 0 0 3px " + P.ring,
  );
  // A small grid of dots in the margin, half behind the phone.
  const gx = left - 44;
  const gy = top + ph * (alt ? 0.16 : 0.34);
  let dots = "";
  for (let r = 0; r < 5; r++) {
    for (let c = 0; c < 4; c++) {
      const x = gx + c * 17;
      const y = Y(gy + r * 17);
      if (!visible(y, 4)) continue;
      dots += circleDiv(X(x), y, 5, "background:" + P.dots);
    }
  }
  behind += dots;

  let front = "";
  const sparks = alt
    ? [
        [left - 30, top + ph * 0.07, 44, P.sparkA, 0],
        [right + 28, top + ph * 0.36, 28, P.sparkB, 12],
        [left - 26, top + ph * 0.58, 20, P.sparkA, -8],
        [right + 10 + ring, top - 34, 18, P.sparkB, 0],
      ]
    : [
        [right + 20, top - 36, 48, P.sparkA, 0],
        [left - 30, top + ph * 0.24, 30, P.sparkB, -10],
        [right + 30, top + ph * 0.46, 20, P.sparkA, 14],
        [left - 40, top - 16, 16, P.sparkB, 0],
      ];
  for (const [x, y0, size, color, rot] of sparks) {
    const y = Y(y0);
    if (!visible(y, size / 2) || !clearOfTitle(y, size / 2)) continue;
    front += sparkleSvg(X(x), y, size, color, rot);
  }
  const confetti = alt
    ? [
        [right + 30, top + ph * 0.12, 12, 0],
        [left - 40, top + ph * 0.44, 9, 1],
        [right + 22, top + ph * 0.66, 10, 2],
      ]
    : [
        [left - 22, top - 40, 11, 0],
        [right + 36, top + ph * 0.2, 9, 2],
        [left - 36, top + ph * 0.5, 12, 1],
      ];
  for (const [x, y0, d, tone] of confetti) {
    const y = Y(y0);
    if (!visible(y, d / 2) || !clearOfTitle(y, d / 2)) continue;
    front += circleDiv(X(x), y, d, "background:" + P.confetti[tone]);
  }
  front += calloutHtml(L, st, hero, heroUri, tiltTransform(st));
  return { behind, front };
}

// The decoration of a page as the live preview asks for it.
function decor(args) {
  const page = stringArg(args.page);
  const os = normalOs(stringArg(args.os));
  const st = layoutStyle(args.style);
  const hero = isPlainObject(args.hero) ? args.hero : null;
  const uri = hero ? safeUri(hero.uri) : null;
  const hasTitle = args.hasTitle === undefined ? true : args.hasTitle === true;
  return decorArt(page, os, st, hero, uri, hasTitle, args.titleLines);
}
