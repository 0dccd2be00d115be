// Tempo's screens: palette, platform chrome and the pieces the pages share.
// Every page draws into #device at device size; the status bar, navigation and
// corner radius follow the platform, the content and the words are Tempo's.

"use strict";

// Dark is near-black rather than inverted; light is a warm off-white. Android
// takes tonal surfaces from the accent, as Material You tints them.
const TEMPO_TONES = {
  ios: {
    light: {
      bg: "#F5F3EF",
      card: "#FFFFFF",
      fill: "#EEEBE6",
      fill2: "#E2DED7",
      text: "#17171B",
      text2: "#6D6B72",
      text3: "#A9A6AD",
      line: "rgba(23,23,27,0.08)",
      accentInk: "#E8542B",
      accentSoft: "rgba(255,106,61,0.13)",
      bar: "rgba(247,245,242,0.96)",
      tabOff: "#9C99A0",
      shadow: "0 1px 2px rgba(60,40,20,0.04),0 6px 20px rgba(60,40,20,0.055)",
      good: "#16915F",
      goodSoft: "rgba(22,145,95,0.12)",
    },
    dark: {
      bg: "#0E0F13",
      card: "#17181D",
      fill: "#23242B",
      fill2: "#2E2F37",
      text: "#F4F4F6",
      text2: "#9C9DA6",
      text3: "#62646E",
      line: "rgba(255,255,255,0.07)",
      accentInk: "#FF8A63",
      accentSoft: "rgba(255,106,61,0.17)",
      bar: "rgba(20,21,26,0.96)",
      tabOff: "#71727C",
      shadow: "none",
      good: "#3DD598",
      goodSoft: "rgba(61,213,152,0.14)",
    },
  },
  android: {
    light: {
      bg: "#FFF8F5",
      card: "#FBEEE8",
      fill: "#F3E2DB",
      fill2: "#E9D3CA",
      text: "#231A16",
      text2: "#6F5F58",
      text3: "#A8958D",
      line: "rgba(35,26,22,0.09)",
      accentInk: "#B5401A",
      accentSoft: "rgba(255,106,61,0.14)",
      bar: "#F7E9E3",
      tabOff: "#5C4F49",
      indicator: "#FFDBCF",
      onIndicator: "#3A0B00",
      shadow: "none",
      good: "#16915F",
      goodSoft: "rgba(22,145,95,0.12)",
    },
    dark: {
      bg: "#0E0F13",
      card: "#1A1B21",
      fill: "#25262D",
      fill2: "#30313A",
      text: "#F1F0F2",
      text2: "#A3A2AB",
      text3: "#666672",
      line: "rgba(255,255,255,0.08)",
      accentInk: "#FF9B78",
      accentSoft: "rgba(255,106,61,0.18)",
      bar: "#17181D",
      tabOff: "#A3A2AB",
      indicator: "#5A2A1A",
      onIndicator: "#FFDBCF",
      shadow: "none",
      good: "#3DD598",
      goodSoft: "rgba(61,213,152,0.14)",
    },
  },
};

// What one screen needs while it is drawn: platform, palette and words.
function screenContext(builtin, os, theme, locale, overrides) {
  const android = os === "android";
  const osKey = android ? "android" : "ios";
  const words = screenTextMap(builtin, locale, osKey, overrides);
  if (!words) return null;
  const dark = theme !== "light";
  return {
    builtin,
    os: osKey,
    android,
    ios: !android,
    dark,
    locale,
    rtl: isRtlLocale(locale),
    device: DEVICES[osKey],
    tone: TEMPO_TONES[osKey][dark ? "dark" : "light"],
    words,
    // The words of a key, escaped for markup.
    t(key) {
      return esc(words.has(key) ? words.get(key) : "");
    },
    // A number the screen computes, in the locale's digits.
    n(value) {
      return esc(localDigits(value, locale));
    },
  };
}

function uiFamily(S) {
  if (S.rtl) return "'Estedad','Noto Sans Arabic',sans-serif";
  return "'Nunito'," + cjkFamily(S.locale) + ",'Noto Sans','Noto Color Emoji',sans-serif";
}

// The status bar is the system's, not the app's: a plain grotesque.
function systemFamily(S) {
  if (S.rtl) return "'Estedad','Noto Sans Arabic',sans-serif";
  return "'Noto Sans'," + cjkFamily(S.locale) + ",sans-serif";
}

function statusBar(S) {
  const time = '<span class="sb-time">' + S.n("9:41") + "</span>";
  if (S.ios) {
    const signal =
      '<svg width="18" height="12" viewBox="0 0 18 12" fill="currentColor"><rect x="0" y="7.6" width="3.2" height="4.4" rx="1"/><rect x="4.8" y="5.2" width="3.2" height="6.8" rx="1"/><rect x="9.6" y="2.7" width="3.2" height="9.3" rx="1"/><rect x="14.4" y="0" width="3.2" height="12" rx="1"/></svg>';
    const wifi =
      '<svg width="16" height="12" viewBox="0 0 16 12" fill="none" stroke="currentColor" stroke-width="1.9" stroke-linecap="round"><path d="M1.3 4.4a9.7 9.7 0 0 1 13.4 0"/><path d="M3.9 7.2a6 6 0 0 1 8.2 0"/><circle cx="8" cy="10.3" r="1.35" fill="currentColor" stroke="none"/></svg>';
    const battery =
      '<svg width="27" height="13" viewBox="0 0 27 13"><rect x="0.6" y="0.6" width="22.8" height="11.8" rx="3.7" fill="none" stroke="currentColor" stroke-opacity="0.4" stroke-width="1.1"/><rect x="2.3" y="2.3" width="17.6" height="8.4" rx="2.1" fill="currentColor"/><path d="M24.9 4.4v4.2c.9-.3 1.5-1.1 1.5-2.1s-.6-1.8-1.5-2.1z" fill="currentColor" fill-opacity="0.45"/></svg>';
    return (
      '<div class="sb">' +
      time +
      '<span class="sb-icons">' +
      signal +
      wifi +
      battery +
      "</span></div>"
    );
  }
  const wifi =
    '<svg width="17" height="17" viewBox="0 0 24 24" fill="currentColor"><path d="M12 20.6L.7 8.7a16.2 16.2 0 0 1 22.6 0z"/></svg>';
  const signal =
    '<svg width="15" height="15" viewBox="0 0 24 24" fill="currentColor"><path d="M22 22H2L22 2z"/></svg>';
  const battery =
    '<svg width="10" height="17" viewBox="0 0 10 17" fill="currentColor"><rect x="3" y="0" width="4" height="2.2" rx="0.7"/><rect x="0.4" y="1.6" width="9.2" height="15.4" rx="1.9"/></svg>';
  return (
    '<div class="sb">' +
    time +
    '<span class="sb-icons">' +
    wifi +
    signal +
    battery +
    "</span></div>"
  );
}

// The five destinations of Tempo; `active` is the key of the current one.
const TEMPO_TABS = [
  ["tab.today", "today"],
  ["tab.habits", "list"],
  ["tab.focus", "timer"],
  ["tab.insights", "chart"],
  ["tab.settings", "sliders"],
];

function tabBar(S, active) {
  let longest = 0;
  for (const [key] of TEMPO_TABS) longest = Math.max(longest, (S.words.get(key) || "").length);
  const base = S.ios ? 10.5 : 12.5;
  const size = longest > 11 ? base - 1.5 : longest > 9 ? base - 0.5 : base;
  let items = "";
  for (const [key, glyph] of TEMPO_TABS) {
    const on = key === active;
    if (S.ios) {
      items +=
        '<div class="tab' +
        (on ? " on" : "") +
        '">' +
        icon(glyph, 27) +
        "<span>" +
        S.t(key) +
        "</span></div>";
    } else {
      items +=
        '<div class="tab' +
        (on ? " on" : "") +
        '"><span class="pill">' +
        icon(glyph, 24) +
        "</span><span>" +
        S.t(key) +
        "</span></div>";
    }
  }
  return '<nav class="tabbar" style="font-size:' + size + 'px">' + items + "</nav>";
}

function homeIndicator() {
  return '<div class="homebar"></div>';
}

// iOS root screens: a large title under the status bar, actions above it.
function iosLargeTitle(S, title, opts = {}) {
  const actions = opts.actions
    ? '<div class="navrow"><span></span><span class="navacts">' + opts.actions + "</span></div>"
    : "";
  const eyebrow = opts.eyebrow ? '<div class="eyebrow">' + opts.eyebrow + "</div>" : "";
  const trailing = opts.trailing || "";
  return (
    '<header class="lt' +
    (opts.actions ? "" : " lt-bare") +
    '">' +
    actions +
    '<div class="lt-row"><div class="lt-main">' +
    eyebrow +
    "<h1>" +
    title +
    "</h1></div>" +
    trailing +
    "</div></header>"
  );
}

// Android screens: a top app bar with its title at the start and actions at the end.
function androidTopBar(S, opts) {
  const nav = opts.back
    ? '<span class="iconbtn flipx" aria-label="' +
      opts.back +
      '">' +
      icon("arrowBack", 24) +
      "</span>"
    : "";
  const acts = (opts.actions || []).map((a) => '<span class="iconbtn">' + a + "</span>").join("");
  return (
    '<header class="appbar">' +
    nav +
    '<h1 class="appbar-title">' +
    (opts.title || "") +
    "</h1>" +
    acts +
    (opts.trailing || "") +
    "</header>"
  );
}

function avatar(size = 36) {
  return (
    '<span class="avatar" style="width:' +
    size +
    "px;height:" +
    size +
    'px"><svg viewBox="0 0 40 40" width="' +
    size +
    '" height="' +
    size +
    '"><defs><linearGradient id="av" x1="0" y1="0" x2="1" y2="1"><stop offset="0" stop-color="#FFB199"/><stop offset="1" stop-color="#FF6A3D"/></linearGradient></defs><circle cx="20" cy="20" r="20" fill="url(#av)"/><circle cx="20" cy="16" r="6.6" fill="#fff" fill-opacity="0.92"/><path d="M8.6 33.4c2.2-5.6 6.4-8.4 11.4-8.4s9.2 2.8 11.4 8.4A19.9 19.9 0 0 1 20 40a19.9 19.9 0 0 1-11.4-6.6z" fill="#fff" fill-opacity="0.92"/></svg></span>'
  );
}

function tintSoft(hex, alpha) {
  const c = parseColor(hex) || [255, 106, 61, 1];
  return rgba(c, alpha);
}

// A habit's glyph on a soft square of its own colour.
function iconTile(name, tint, size, radius, S) {
  return (
    '<span class="tile" style="width:' +
    size +
    "px;height:" +
    size +
    "px;border-radius:" +
    radius +
    "px;background:" +
    tintSoft(tint, S && S.dark ? 0.2 : 0.14) +
    ";color:" +
    tint +
    '">' +
    icon(name, Math.round(size * 0.56)) +
    "</span>"
  );
}

function checkMark(S, done, tint, size = 28) {
  if (done) {
    return (
      '<span class="check on" style="width:' +
      size +
      "px;height:" +
      size +
      "px;background:" +
      tint +
      '">' +
      icon("check", Math.round(size * 0.62)) +
      "</span>"
    );
  }
  return '<span class="check" style="width:' + size + "px;height:" + size + 'px"></span>';
}

function toggle(S, on) {
  if (S.ios) return '<span class="sw' + (on ? " on" : "") + '"><span class="knob"></span></span>';
  return (
    '<span class="sw' +
    (on ? " on" : "") +
    '"><span class="knob">' +
    (on ? icon("check", 16) : "") +
    "</span></span>"
  );
}

// iOS segmented control / Android segmented buttons.
function segmented(S, labels, selected) {
  let out = '<div class="seg">';
  labels.forEach((label, i) => {
    const on = i === selected;
    out +=
      '<span class="seg-item' +
      (on ? " on" : "") +
      '">' +
      (on && S.android ? icon("check", 17) : "") +
      "<span>" +
      label +
      "</span></span>";
  });
  return out + "</div>";
}

// Arc of a circle as an SVG path, angles in degrees clockwise from 12 o'clock.
function arcPath(cx, cy, r, from, to) {
  const rad = (deg) => ((deg - 90) * Math.PI) / 180;
  const x1 = cx + r * Math.cos(rad(from));
  const y1 = cy + r * Math.sin(rad(from));
  const x2 = cx + r * Math.cos(rad(to));
  const y2 = cy + r * Math.sin(rad(to));
  const large = to - from > 180 ? 1 : 0;
  return (
    "M" +
    fx(x1) +
    " " +
    fx(y1) +
    "A" +
    fx(r) +
    " " +
    fx(r) +
    " 0 " +
    large +
    " 1 " +
    fx(x2) +
    " " +
    fx(y2)
  );
}

// The shared stylesheet of every screen of one platform and theme.
function screenCss(S) {
  const T = S.tone;
  const W = S.device.width;
  const H = S.device.height;
  const ios = S.ios;
  let css =
    "*{box-sizing:border-box;margin:0;padding:0}" +
    "html,body{background:transparent;overflow:hidden;width:" +
    W +
    "px;height:" +
    H +
    "px}" +
    "#device{position:relative;width:" +
    W +
    "px;height:" +
    H +
    "px;border-radius:" +
    S.device.radius +
    "px;overflow:hidden;" +
    "background:" +
    T.bg +
    ";color:" +
    T.text +
    ";font-family:" +
    uiFamily(S) +
    ";font-size:15px;line-height:1.3;" +
    "-webkit-font-smoothing:antialiased;text-rendering:geometricPrecision;font-variant-numeric:tabular-nums;" +
    "--bg:" +
    T.bg +
    ";--card:" +
    T.card +
    ";--fill:" +
    T.fill +
    ";--fill2:" +
    T.fill2 +
    ";--text:" +
    T.text +
    ";--text2:" +
    T.text2 +
    ";--text3:" +
    T.text3 +
    ";--line:" +
    T.line +
    ";--accent:" +
    SAMPLE_APP.accent +
    ";--accentInk:" +
    T.accentInk +
    ";--accentSoft:" +
    T.accentSoft +
    ";--good:" +
    T.good +
    ";--goodSoft:" +
    T.goodSoft +
    "}" +
    "svg{display:block;flex:none}" +
    // Japanese has no spaces; phrase analysis wraps a line between phrases, not inside a word.
    ":lang(ja) #device{word-break:auto-phrase;overflow-wrap:break-word}" +
    (S.rtl ? "[dir=rtl] .flipx svg,[dir=rtl] svg.flipx{transform:scaleX(-1)}" : "") +
    ".sb{position:absolute;top:0;left:0;right:0;z-index:40;display:flex;align-items:center;justify-content:space-between;font-family:" +
    systemFamily(S) +
    ";color:var(--text)}" +
    ".sb-icons{display:flex;align-items:center}" +
    ".content{position:absolute;left:0;right:0;top:0;bottom:0;overflow:hidden}" +
    ".card{background:var(--card);box-shadow:" +
    T.shadow +
    "}" +
    ".tile{display:inline-flex;align-items:center;justify-content:center;flex:none}" +
    ".check{display:inline-flex;align-items:center;justify-content:center;border-radius:50%;flex:none;color:#fff;box-shadow:inset 0 0 0 2px var(--fill2)}" +
    ".check.on{box-shadow:none}" +
    ".avatar{display:inline-block;border-radius:50%;overflow:hidden;flex:none}" +
    ".muted{color:var(--text2)}" +
    ".row{display:flex;align-items:center}" +
    ".grow{flex:1;min-width:0}" +
    ".num{font-variant-numeric:tabular-nums}" +
    ".homebar{position:absolute;left:50%;z-index:50;border-radius:3px;background:var(--text)}" +
    ".tabbar{position:absolute;left:0;right:0;bottom:0;z-index:30;display:flex}" +
    ".tab{flex:1;min-width:0;display:flex;flex-direction:column;align-items:center;white-space:nowrap}" +
    ".tab span{max-width:100%;overflow:hidden}" +
    ".seg{display:flex}" +
    ".seg-item{flex:1;display:flex;align-items:center;justify-content:center;gap:6px;white-space:nowrap}" +
    ".sw{position:relative;display:inline-flex;align-items:center;flex:none}" +
    ".knob{display:inline-flex;align-items:center;justify-content:center}";
  if (ios) {
    css +=
      ".sb{height:54px;padding-top:5px}" +
      ".sb-time{width:136px;text-align:center;font-weight:700;font-size:17px;letter-spacing:-0.2px}" +
      ".sb-icons{width:136px;justify-content:center;gap:6px}" +
      ".homebar{bottom:8px;width:136px;height:5px;margin-left:-68px}" +
      // No backdrop blur: at capture scale it costs a quarter of the screen's
      // drawing time, and under a bar this opaque nobody could see it.
      ".tabbar{height:84px;padding:7px 4px 0;background:" +
      T.bar +
      ";border-top:0.5px solid var(--line)}" +
      ".tab{gap:2px;color:" +
      T.tabOff +
      ";font-weight:700;letter-spacing:0.1px}" +
      ".tab.on{color:var(--accent)}" +
      ".lt{padding:54px 18px 0}" +
      ".navrow{height:44px;display:flex;align-items:center;justify-content:space-between}" +
      ".navacts{display:flex;gap:10px;color:var(--accent)}" +
      ".lt-bare .lt-row{padding-top:10px}" +
      ".lt-row{display:flex;align-items:flex-end;justify-content:space-between;gap:12px;padding-bottom:10px}" +
      ".lt h1{font-size:34px;font-weight:850;letter-spacing:-0.4px;line-height:1.12}" +
      ".eyebrow{font-size:13px;font-weight:800;color:var(--text2);text-transform:uppercase;letter-spacing:0.6px;margin-bottom:1px}" +
      ".roundbtn{width:34px;height:34px;border-radius:50%;display:inline-flex;align-items:center;justify-content:center;background:var(--accentSoft);color:var(--accentInk)}" +
      ".seg{background:" +
      (S.dark ? "rgba(118,118,128,0.24)" : "rgba(118,118,128,0.12)") +
      ";border-radius:10px;padding:2px;height:34px}" +
      ".seg-item{border-radius:8px;font-size:14px;font-weight:700;color:var(--text)}" +
      ".seg-item.on{background:" +
      (S.dark ? "#5B5C63" : "#FFFFFF") +
      ";box-shadow:0 2px 6px rgba(0,0,0,0.10),0 0 0 0.5px rgba(0,0,0,0.04);font-weight:800}" +
      ".sw{width:51px;height:31px;border-radius:16px;background:" +
      (S.dark ? "#3A3A40" : "#E3E1DD") +
      ";padding:2px}" +
      ".sw.on{background:var(--accent)}" +
      ".sw .knob{width:27px;height:27px;border-radius:50%;background:#fff;box-shadow:0 3px 8px rgba(0,0,0,0.15),0 1px 1px rgba(0,0,0,0.10)}" +
      ".sw.on .knob{margin-inline-start:20px}" +
      ".group-label{font-size:13px;font-weight:800;color:var(--text2);text-transform:uppercase;letter-spacing:0.5px;padding:0 16px 7px}" +
      ".list{border-radius:20px;overflow:hidden}" +
      ".li{display:flex;align-items:center;gap:12px;padding:0 16px;position:relative}" +
      ".li+.li::before{content:'';position:absolute;top:0;inset-inline-start:64px;inset-inline-end:0;border-top:0.5px solid var(--line)}";
  } else {
    css +=
      ".sb{height:44px;padding:2px 24px 0 26px;padding-inline:26px 22px;font-size:14.5px;font-weight:500;letter-spacing:0.1px}" +
      ".sb-icons{gap:7px}" +
      ".homebar{bottom:9px;width:108px;height:4px;margin-left:-54px;border-radius:2px;opacity:0.55}" +
      ".tabbar{height:106px;padding:12px 6px 0;background:" +
      T.bar +
      "}" +
      ".tab{gap:4px;color:" +
      T.tabOff +
      ";font-weight:700}" +
      ".tab .pill{width:64px;height:32px;border-radius:16px;display:flex;align-items:center;justify-content:center}" +
      ".tab.on{color:var(--text);font-weight:850}" +
      ".tab.on .pill{background:" +
      T.indicator +
      ";color:" +
      T.onIndicator +
      "}" +
      ".appbar{position:absolute;top:44px;left:0;right:0;height:64px;display:flex;align-items:center;gap:4px;padding:0 8px 0 8px;z-index:20}" +
      ".appbar-title{flex:1;min-width:0;font-size:23px;font-weight:750;letter-spacing:-0.1px;padding-inline:10px 0;white-space:nowrap;overflow:hidden}" +
      ".iconbtn{width:48px;height:48px;display:inline-flex;align-items:center;justify-content:center;color:var(--text2);flex:none}" +
      ".seg{border-radius:20px;height:40px;box-shadow:inset 0 0 0 1px " +
      T.text3 +
      ";overflow:hidden}" +
      ".seg-item{font-size:14px;font-weight:750;color:var(--text)}" +
      ".seg-item+.seg-item{box-shadow:inset 1px 0 0 " +
      T.text3 +
      "}" +
      ".seg-item.on{background:" +
      T.indicator +
      ";color:" +
      T.onIndicator +
      "}" +
      ".sw{width:52px;height:32px;border-radius:16px;background:var(--fill);box-shadow:inset 0 0 0 2px " +
      T.text3 +
      ";padding:0 8px}" +
      ".sw .knob{width:16px;height:16px;border-radius:50%;background:" +
      T.text3 +
      "}" +
      ".sw.on{background:var(--accent);box-shadow:none;padding:0 4px}" +
      ".sw.on .knob{width:24px;height:24px;background:#fff;color:var(--accent);margin-inline-start:20px}" +
      ".group-label{font-size:14px;font-weight:850;color:var(--accentInk);padding:0 16px 8px;letter-spacing:0.1px}" +
      ".list{display:flex;flex-direction:column;gap:3px;border-radius:24px;overflow:hidden}" +
      ".list>.li{background:var(--card);border-radius:6px}" +
      ".list>.li:first-child{border-radius:24px 24px 6px 6px}" +
      ".list>.li:last-child{border-radius:6px 6px 24px 24px}" +
      ".list>.li:only-child{border-radius:24px}" +
      ".li{display:flex;align-items:center;gap:14px;padding:0 16px;position:relative}";
  }
  return css;
}

// The whole document of one screen. `body` is the markup inside #device.
function screenDocument(S, body, pageCss, extraInDevice = "") {
  const deviceInner = body + extraInDevice;
  const families = new Set([S.rtl ? "Estedad" : "Nunito"]);
  const fonts = fontFaceCss(families, deviceInner);
  return (
    '<!DOCTYPE html><html lang="' +
    esc(S.locale || "en") +
    '" dir="' +
    (S.rtl ? "rtl" : "ltr") +
    '"><head><meta charset="utf-8"><meta name="viewport" content="width=' +
    S.device.width +
    '"><style>' +
    fonts +
    screenCss(S) +
    (pageCss || "") +
    '</style></head><body><div id="device" class="' +
    S.os +
    " " +
    (S.dark ? "dark" : "light") +
    '">' +
    deviceInner +
    "</div></body></html>"
  );
}
