// The store image

"use strict";

function layerHtml(layer, uris, accent, rtl, locale) {
  if (!isPlainObject(layer)) return "";
  const id = typeof layer.id === "string" ? layer.id : "";
  const kind = layer.kind;
  const n = (v, d) => (typeof v === "boolean" ? (v ? 1 : 0) : numberOr(v, d));
  const x = n(layer.x, 0);
  const y = n(layer.y, 0);
  const w = n(layer.w, 0);
  const rotate = n(layer.rotate, 0);
  const opacity = layer.opacity === null || layer.opacity === undefined ? 1 : n(layer.opacity, 1);
  let transform = "translate(-50%,-50%) rotate(" + fx(rotate, 3) + "deg)";
  if (layer.flip === true) transform += " scaleX(-1)";
  const common =
    "position:absolute;left:" +
    fx(x) +
    "px;top:" +
    fx(y) +
    "px;width:" +
    fx(w) +
    "px;transform:" +
    transform +
    ";opacity:" +
    fx(opacity, 3);
  if (kind === "text") {
    const text = typeof layer.text === "string" ? layer.text : "";
    const html = text
      .split(/\r?\n/)
      .map((line) => accentHtml(line, accent))
      .join("<br>");
    const style =
      common +
      ";font-family:" +
      textFontFamily(layer.font, rtl, locale) +
      ";font-weight:" +
      textFontWeight(layer.weight, rtl) +
      ";font-size:" +
      fx(layer.size === null || layer.size === undefined ? 40 : n(layer.size, 40)) +
      "px" +
      ";line-height:" +
      fx(
        layer.lineHeight === null || layer.lineHeight === undefined
          ? 1.1
          : n(layer.lineHeight, 1.1),
        3,
      ) +
      ";text-align:" +
      (["left", "center", "right", "start", "end", "justify"].includes(layer.align)
        ? layer.align
        : "center") +
      ";color:" +
      cssColor(layer.color, "#ffffff") +
      ";letter-spacing:" +
      (rtl
        ? "normal"
        : fx(
            layer.letterSpacing === null || layer.letterSpacing === undefined
              ? -0.02
              : n(layer.letterSpacing, -0.02),
            4,
          ) + "em") +
      ";overflow-wrap:break-word";
    return (
      '<div data-vell-layer="' +
      esc(id) +
      '" dir="' +
      (rtl ? "rtl" : "ltr") +
      '" style="' +
      style +
      '">' +
      html +
      "</div>"
    );
  }
  if (typeof layer.asset !== "string" || !layer.asset) return "";
  const uri = safeUri(isPlainObject(uris) ? own(uris, layer.asset) : null);
  if (!uri) return "";
  let filter = "";
  if (layer.sticker === true) {
    const e = fx(Math.max(1.5, w * 0.035));
    filter =
      ";filter:drop-shadow(" +
      e +
      "px 0px 0px #fff) drop-shadow(-" +
      e +
      "px 0px 0px #fff) drop-shadow(0px " +
      e +
      "px 0px #fff) drop-shadow(0px -" +
      e +
      "px 0px #fff) drop-shadow(0px " +
      fx(w * 0.02) +
      "px " +
      fx(w * 0.035) +
      "px rgba(0,0,0,.28))";
  }
  return (
    '<img alt="" data-vell-layer="' +
    esc(id) +
    '" src="' +
    uri +
    '" style="' +
    common +
    ";height:auto;max-width:none" +
    filter +
    '">'
  );
}

// The screen of an uploaded page that has no picture yet, or the phone of a
// store image measured without one.
function placeholderScreen(label, theme) {
  const dark = theme !== "light";
  const T = TEMPO_TONES.ios[dark ? "dark" : "light"];
  return (
    '<div style="position:absolute;inset:0;display:flex;flex-direction:column;align-items:center;justify-content:center;gap:16px;' +
    "background:linear-gradient(180deg," +
    T.card +
    " 0%," +
    T.bg +
    " 100%);color:" +
    T.text2 +
    ";font-family:'Nunito','Noto Sans',sans-serif\">" +
    '<div style="width:84px;height:84px;border-radius:24px;display:flex;align-items:center;justify-content:center;background:' +
    T.fill +
    ";color:" +
    T.text3 +
    '">' +
    '<svg width="42" height="42" viewBox="0 0 24 24" fill="none" stroke="currentColor" stroke-width="1.7" stroke-linecap="round" stroke-linejoin="round"><rect x="3.5" y="4.5" width="17" height="15" rx="3"/><circle cx="9" cy="10" r="1.8"/><path d="M20.5 15.5l-4.6-4.4-8.4 8.4"/></svg></div>' +
    '<div style="max-width:280px;text-align:center;font-size:22px;font-weight:850;color:' +
    T.text +
    ';overflow-wrap:break-word">' +
    esc(label) +
    "</div></div>"
  );
}

function compositeHtml(args, context) {
  const page = stringArg(args.page);
  const os = normalOs(stringArg(args.os));
  const theme = stringArg(args.theme) === "light" ? "light" : "dark";
  const locale = stringArg(args.locale);
  const st = context.style(page, locale).style;
  const text = context.text(page, locale);
  const rtl = isRtlLocale(locale);
  const L = compositeLayout(os, st);
  const W = L.comp.w;
  const H = L.comp.h;
  const accent = cssColor(st.accentColor, "#ffd54a");

  // Backdrop: the uploaded picture, or the gradient.
  const bgUri = pictureUri(args.background);
  const backdrop = bgUri
    ? "background:url(" + bgUri + ") center/cover no-repeat"
    : "background:linear-gradient(" +
      fx(numberOr(st.gradAngle, 160), 3) +
      "deg," +
      cssColor(st.gradFrom, "#07184a") +
      " 0%," +
      cssColor(st.gradVia, "#0052cc") +
      " 45%," +
      cssColor(st.gradTo, "#0093fd") +
      " 100%)";

  let pattern = "";
  const pat = PATTERNS.find((p) => p.id === st.bgPattern);
  const patUri = pat ? patternUri(pat.file) : null;
  if (pat && patUri) {
    const scale = numberOr(st.bgPatternScale, 1);
    const tw = Math.max(1, Math.round(pat.tileW * scale));
    const th = Math.max(1, Math.round(pat.tileH * scale));
    pattern =
      '<div id="pattern" style="position:absolute;inset:0;background-color:' +
      cssColor(st.bgPatternColor, "#000000") +
      ";-webkit-mask-image:url(" +
      patUri +
      ");mask-image:url(" +
      patUri +
      ");-webkit-mask-repeat:repeat;mask-repeat:repeat;-webkit-mask-size:" +
      tw +
      "px " +
      th +
      "px;mask-size:" +
      tw +
      "px " +
      th +
      "px;opacity:" +
      fx(numberOr(st.bgPatternOpacity, 0.08), 3) +
      '"></div>';
  }

  // Title: the preview's column, clamp and ink allowance.
  const title = text.title || "";
  const lines = splitTitleLines(title);
  const lineCount = Math.min(4, Math.max(2, lines.length));
  const titleSize = numberOr(st.titleSize, 66);
  const titleStroke = numberOr(st.titleStroke, 0);
  const inkPad = Math.min(36, Math.ceil(titleSize * 0.08 + titleStroke / 2));
  const hasTitle = title.trim().length > 0;
  const heroIn = isPlainObject(args.hero) ? args.hero : null;
  const heroUri = heroIn ? pictureUri(heroIn.image) : null;
  const art = decorArt(page, os, st, heroIn, heroUri, hasTitle, lines.length);

  // Layers, each side in document order.
  const layers = Array.isArray(st.layers) ? st.layers : [];
  let layersBack = "";
  let layersFront = "";
  const layerFaces = new Set();
  let layerText = "";
  for (const layer of layers) {
    const html = layerHtml(layer, args.layerUris, accent, rtl, locale);
    if (!html) continue;
    if (isPlainObject(layer) && layer.kind === "text") {
      layerFaces.add(textFontFace(layer.font, rtl));
      layerText += typeof layer.text === "string" ? layer.text : "";
    }
    if (isPlainObject(layer) && layer.z === "back") layersBack += html;
    else layersFront += html;
  }

  // The phone: its screen in device pixels, stretched to the phone box as
  // the live preview stretches its frame, with the ring and lift round it.
  const tilt = tiltTransform(st);
  const radius = Math.round((L.device.radius * L.width) / L.device.width);
  const ringPx = fx(RING_WIDTH[os] * numberOr(st.phoneScale, 1));
  let shadow =
    "0 0 0 " + ringPx + "px rgba(255,255,255," + fx(numberOr(st.strokeOpacity, 0.25), 3) + ")";
  if (st.decor !== "none") {
    shadow +=
      ",0 " +
      Math.round(H * 0.03) +
      "px " +
      Math.round(H * 0.058) +
      "px rgba(0,0,0,0.38),0 " +
      Math.round(H * 0.008) +
      "px " +
      Math.round(H * 0.018) +
      "px rgba(0,0,0,0.22)";
  }
  const phoneUri = pictureUri(args.phone);
  let screen = phoneUri
    ? '<img alt="" src="' +
      phoneUri +
      '" style="position:absolute;left:0;top:0;width:100%;height:100%;object-fit:cover;object-position:top">'
    : placeholderScreen(stringArg(args.pageLabel) || page, theme);
  // Without the playful callout the hero goes back where it was cut out.
  if (st.decor === "none" && heroUri && isPlainObject(heroIn.rect)) {
    const r = heroIn.rect;
    const vals = [r.x, r.y, r.width, r.height].map((v) => numberOr(v, NaN));
    if (vals.every(Number.isFinite)) {
      screen +=
        '<img alt="" src="' +
        heroUri +
        '" style="position:absolute;left:' +
        fx(vals[0]) +
        "px;top:" +
        fx(vals[1]) +
        "px;width:" +
        fx(vals[2]) +
        "px;height:" +
        fx(vals[3]) +
        'px">';
    }
  }
  screen += hardwareHtml(os);
  const sx = L.width / L.device.width;
  const sy = L.height / L.device.height;
  const phone =
    '<div id="phoneWrap" style="position:absolute;left:' +
    L.left +
    "px;top:" +
    L.top +
    "px;width:" +
    L.width +
    "px;height:" +
    L.height +
    "px;z-index:2" +
    (tilt ? ";perspective:" + fx(Math.max(1, numberOr(st.phonePerspective, 1800))) + "px" : "") +
    '">' +
    '<div data-vell-phone style="position:absolute;inset:0;border-radius:' +
    radius +
    "px;overflow:hidden;background:#000;box-shadow:" +
    shadow +
    (tilt ? ";transform:" + tilt : "") +
    '">' +
    '<div style="position:absolute;left:0;top:0;width:' +
    L.device.width +
    "px;height:" +
    L.device.height +
    "px;transform:scale(" +
    fx(sx, 5) +
    "," +
    fx(sy, 5) +
    ');transform-origin:0 0;overflow:hidden">' +
    screen +
    "</div></div></div>";

  const overlayUri = pictureUri(args.overlay);
  const overlay = overlayUri
    ? '<img id="overlay" alt="" src="' +
      overlayUri +
      '" style="position:absolute;left:0;top:0;width:100%;height:100%;object-fit:cover;z-index:7">'
    : "";

  // The text band above (or below) the phone, as the preview lays it out.
  const column = numberOr(st.titleWidth, 0) > 0 ? st.titleWidth : W - 80;
  const boxW = column + 80;
  const bandH = Math.round(L.textSpace);
  const offsetY = numberOr(st.titleOffsetY, 0);
  const titleFace = textFontFace(st.titleFont, rtl);
  const titleFamily = textFontFamily(st.titleFont, rtl, locale);
  const align = ["left", "center", "right"].includes(st.titleAlign) ? st.titleAlign : "center";
  const strokeCss =
    titleStroke > 0
      ? ";-webkit-text-stroke:" +
        fx(titleStroke) +
        "px " +
        cssColor(st.titleStrokeColor, "#000000") +
        ";paint-order:stroke fill"
      : "";
  const titleHtml = lines.map((line) => accentHtml(line, accent)).join("<br>");
  const subtitle = typeof text.subtitle === "string" ? text.subtitle.trim() : "";
  const subtitleHtml = subtitle
    ? '<div class="subtitle" style="position:absolute;left:0;right:0;top:100%;padding:0 ' +
      inkPad +
      "px;margin-top:" +
      fx(Math.max(4, 14 - inkPad)) +
      "px;font-family:" +
      titleFamily +
      ";font-weight:" +
      (rtl ? 800 : 700) +
      ";font-size:" +
      fx(numberOr(st.subtitleSize, 32)) +
      "px;line-height:1.25;color:" +
      cssColor(st.subtitleColor, "rgba(255,255,255,0.85)") +
      ";text-align:" +
      align +
      ";letter-spacing:" +
      (rtl ? "normal" : "-0.01em") +
      ';overflow-wrap:break-word">' +
      subtitle
        .split(/\r?\n/)
        .map((l) => esc(l))
        .join("<br>") +
      "</div>"
    : "";
  // word-break:auto-phrase: Japanese has no spaces, and phrase analysis keeps a
  // wrapped title from ending a line in the middle of a word.
  const textLayer =
    '<div id="textLayer" style="position:absolute;' +
    (L.bottomText ? "bottom:0;top:auto" : "top:0;bottom:auto") +
    ";height:" +
    bandH +
    "px;left:" +
    fx((W - boxW) / 2 + numberOr(st.titleOffsetX, 0)) +
    "px;width:" +
    fx(boxW) +
    "px;box-sizing:border-box;padding:0 " +
    Math.round(40 - inkPad) +
    "px;display:flex;align-items:center;justify-content:center;z-index:10" +
    (offsetY ? ";transform:translateY(" + fx(offsetY) + "px)" : "") +
    '">' +
    '<div id="titleBox" style="position:relative;display:flex;flex-direction:column;align-items:center;justify-content:flex-start;width:100%;min-height:' +
    Math.round(titleSize * numberOr(st.titleLineHeight, 1.12) * lineCount) +
    'px">' +
    '<div id="title" data-vell-title dir="' +
    (rtl ? "rtl" : "ltr") +
    '" style="width:100%;box-sizing:border-box;display:-webkit-box;-webkit-box-orient:vertical;-webkit-line-clamp:' +
    lineCount +
    ";overflow:hidden;word-break:auto-phrase;overflow-wrap:break-word;padding:" +
    inkPad +
    "px;font-family:" +
    titleFamily +
    ";font-size:" +
    Math.round(titleSize) +
    "px;font-weight:" +
    textFontWeight(st.titleWeight, rtl) +
    ";letter-spacing:" +
    (rtl ? "normal" : fx(numberOr(st.titleLetterSpacing, -0.03), 4) + "em") +
    ";line-height:" +
    fx(numberOr(st.titleLineHeight, 1.12), 4) +
    ";text-align:" +
    align +
    ";color:" +
    cssColor(st.titleColor, "#ffffff") +
    strokeCss +
    '">' +
    titleHtml +
    "</div>" +
    subtitleHtml +
    "</div></div>";

  const faces = new Set([titleFace, ...layerFaces]);
  const fonts = fontFaceCss(faces, title + subtitle + layerText + " ");
  // A store size of another aspect: the backdrop and pattern fill a larger
  // stage, the design keeps its place and scale at the stage's top, centred
  // across, and what reached past the design's edge goes on into the stage.
  // The stage reaches a pixel past the extended edges: its size is fractional,
  // and an edge inside the last row of pixels would fade that row.
  const ext = storeExtension(args.extend);
  const stageCss = ext
    ? "#stage{position:relative;width:" +
      fx(W + 2 * ext.side + (ext.side > 0 ? 2 : 0), 4) +
      "px;height:" +
      fx(H + ext.bottom + (ext.bottom > 0 ? 2 : 0), 4) +
      "px;overflow:hidden;" +
      backdrop +
      "}#canvas{position:absolute;left:" +
      fx(ext.side, 4) +
      "px;top:0;width:" +
      W +
      "px;height:" +
      H +
      "px}"
    : "#canvas{position:relative;width:" +
      W +
      "px;height:" +
      H +
      "px;overflow:hidden;" +
      backdrop +
      "}";
  return (
    '<!DOCTYPE html><html lang="' +
    esc(locale || "en") +
    '"><head><meta charset="utf-8"><style>' +
    fonts +
    "html,body{margin:0;padding:0;background:transparent}" +
    stageCss +
    ".decor,.layers{position:absolute;left:0;top:0;width:" +
    W +
    "px;height:" +
    H +
    "px}" +
    "</style></head><body>" +
    (ext ? '<div id="stage">' + pattern + '<div id="canvas">' : '<div id="canvas">' + pattern) +
    '<div id="decorBehind" class="decor" style="z-index:1">' +
    art.behind +
    "</div>" +
    '<div id="layersBack" class="layers" style="z-index:1">' +
    layersBack +
    "</div>" +
    phone +
    '<div id="decorFront" class="decor" style="z-index:6">' +
    art.front +
    "</div>" +
    overlay +
    '<div id="layersFront" class="layers" style="z-index:8">' +
    layersFront +
    "</div>" +
    textLayer +
    (ext ? "</div></div>" : "</div>") +
    "</body></html>"
  );
}

// The extension a store size asks for, in CSS pixels; null when there is none
// or it isn't a pair of finite, non-negative numbers.
function storeExtension(extend) {
  if (!isPlainObject(extend)) return null;
  const side = numberOr(extend.side, 0);
  const bottom = numberOr(extend.bottom, 0);
  if (!Number.isFinite(side) || !Number.isFinite(bottom) || side < 0 || bottom < 0) return null;
  if (side === 0 && bottom === 0) return null;
  return { side, bottom };
}
