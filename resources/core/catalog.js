// Catalogue

"use strict";

const STORE_LOCALES = [
  ["en", "English", "US", "English"],
  ["en-GB", "English (UK)", "GB", "English (UK)"],
  ["en-AU", "English (Australia)", "AU", "English (Australia)"],
  ["en-CA", "English (Canada)", "CA", "English (Canada)"],
  ["de", "Deutsch", "DE", "German"],
  ["fr", "Français", "FR", "French"],
  ["fr-CA", "Français (Canada)", "CA", "French (Canada)"],
  ["es", "Español", "ES", "Spanish"],
  ["es-MX", "Español (México)", "MX", "Spanish (Mexico)"],
  ["ca", "Català", "AD", "Catalan"],
  ["it", "Italiano", "IT", "Italian"],
  ["pt-BR", "Português (Brasil)", "BR", "Portuguese (Brazil)"],
  ["pt-PT", "Português (Portugal)", "PT", "Portuguese (Portugal)"],
  ["nl", "Nederlands", "NL", "Dutch"],
  ["sv", "Svenska", "SE", "Swedish"],
  ["da", "Dansk", "DK", "Danish"],
  ["no", "Norsk", "NO", "Norwegian"],
  ["fi", "Suomi", "FI", "Finnish"],
  ["pl", "Polski", "PL", "Polish"],
  ["cs", "Čeština", "CZ", "Czech"],
  ["sk", "Slovenčina", "SK", "Slovak"],
  ["hu", "Magyar", "HU", "Hungarian"],
  ["ro", "Română", "RO", "Romanian"],
  ["hr", "Hrvatski", "HR", "Croatian"],
  ["el", "Ελληνικά", "GR", "Greek"],
  ["ru", "Русский", "RU", "Russian"],
  ["uk", "Українська", "UA", "Ukrainian"],
  ["tr", "Türkçe", "TR", "Turkish"],
  ["ar", "العربية", "SA", "Arabic"],
  ["he", "עברית", "IL", "Hebrew"],
  ["fa", "فارسی", "IR", "Persian"],
  ["hi", "हिन्दी", "IN", "Hindi"],
  ["th", "ไทย", "TH", "Thai"],
  ["vi", "Tiếng Việt", "VN", "Vietnamese"],
  ["id", "Bahasa Indonesia", "ID", "Indonesian"],
  ["ms", "Bahasa Melayu", "MY", "Malay"],
  ["ja", "日本語", "JP", "Japanese"],
  ["ko", "한국어", "KR", "Korean"],
  ["zh-Hans", "简体中文", "CN", "Chinese (Simplified)"],
  ["zh-Hant", "繁體中文", "TW", "Chinese (Traditional)"],
].map(([code, nativeName, region, englishName]) => ({
  code,
  nativeName,
  flag: flagOf(region),
  englishName,
}));

// Offered for a new set: the markets most apps localise for first, plus the
// right-to-left pair the layout has to get right.
const DEFAULT_LOCALE_CODES = [
  "en",
  "de",
  "fr",
  "es",
  "it",
  "pt-BR",
  "nl",
  "ru",
  "ja",
  "ko",
  "zh-Hans",
  "ar",
  "fa",
];

// Families are the names the pages declare; `face` is the typeface behind it.
const FONT_FILES = (() => {
  const latin =
    "U+0000-00FF,U+0131,U+0152-0153,U+02BB-02BC,U+02C6,U+02DA,U+02DC,U+0304,U+0308,U+0329,U+2000-206F,U+20AC,U+2122,U+2191,U+2193,U+2212,U+2215,U+FEFF,U+FFFD";
  const latinExt =
    "U+0100-02BA,U+02BD-02C5,U+02C7-02CC,U+02CE-02D7,U+02DD-02FF,U+0304,U+0308,U+0329,U+1D00-1DBF,U+1E00-1E9F,U+1EF2-1EFF,U+2020,U+20A0-20AB,U+20AD-20C0,U+2113,U+2C60-2C7F,U+A720-A7FF";
  const files = [];
  const add = (family, face, role, prefix, weight, subsets) => {
    for (const [subset, unicodeRange] of subsets) {
      files.push({
        file: `${prefix}-${subset}-wght-normal.woff2`,
        family,
        face,
        role,
        subset,
        weight,
        style: "normal",
        format: "woff2",
        unicodeRange,
      });
    }
  };
  add("Nunito", "Nunito", "nunito", "nunito", "200 1000", [
    ["latin", latin],
    ["latin-ext", latinExt],
    ["cyrillic", "U+0301,U+0400-045F,U+0490-0491,U+04B0-04B1,U+2116"],
    ["cyrillic-ext", "U+0460-052F,U+1C80-1C8A,U+20B4,U+2DE0-2DFF,U+A640-A69F,U+FE2E-FE2F"],
    [
      "vietnamese",
      "U+0102-0103,U+0110-0111,U+0128-0129,U+0168-0169,U+01A0-01A1,U+01AF-01B0,U+0300-0301,U+0303-0304,U+0308-0309,U+0323,U+0329,U+1EA0-1EF9,U+20AB",
    ],
  ]);
  add("OpenRunde", "Fredoka", "openrunde", "fredoka", "300 700", [
    ["latin", latin],
    ["latin-ext", latinExt],
  ]);
  add("Estedad", "Vazirmatn", "rtl", "vazirmatn", "100 900", [
    [
      "arabic",
      "U+0600-06FF,U+0750-077F,U+0870-088E,U+0890-0891,U+0897-08E1,U+08E3-08FF,U+200C-200E,U+2010-2011,U+204F,U+2E41,U+FB50-FDFF,U+FE70-FE74,U+FE76-FEFC,U+102E0-102FB,U+10E60-10E7E,U+10EC2-10EC4,U+10EFC-10EFF,U+1EE00-1EEFF",
    ],
    ["latin", latin],
  ]);
  return files;
})();

const PATTERNS = [
  { id: "wiggle", label: "Wiggle", file: "wiggle.svg", tileW: 52, tileH: 26 },
  { id: "links", label: "Links", file: "links.svg", tileW: 60, tileH: 96 },
  { id: "hexagons", label: "Hexagons", file: "hexagons.svg", tileW: 28, tileH: 49 },
  { id: "tic-tac-toe", label: "Tic-tac-toe", file: "tic-tac-toe.svg", tileW: 64, tileH: 64 },
];

const DEVICES = {
  ios: { width: 393, height: 852, radius: 52 },
  android: { width: 412, height: 915, radius: 34 },
};

const COMPOSITE_DIMS = {
  ios: { w: 621, h: 1344 },
  android: { w: 642, h: 1389 },
};

function buildCatalog() {
  const byCode = new Map(STORE_LOCALES.map((l) => [l.code, l]));
  return {
    pages: SAMPLE_PAGES.map((p) => ({ id: p.id, label: p.label })),
    pagesAppId: SAMPLE_APP.id,
    pagesAppName: SAMPLE_APP.name,
    locales: DEFAULT_LOCALE_CODES.map((code) => ({
      ...byCode.get(code),
      label: byCode.get(code).nativeName,
    })),
    storeLocales: STORE_LOCALES.map((l) => ({ ...l })),
    storeLocaleCodes: STORE_LOCALES.map((l) => l.code),
    devices: DEVICES,
    phoneScale: 3,
    compositeDims: COMPOSITE_DIMS,
    compositeScale: 2,
    thumbWidth: 400,
    heroSelector: '[data-vell="hero"]',
    heroHideSelector: '[data-vell="hero"],[data-vell-with-hero]',
    fontFiles: FONT_FILES,
    patterns: PATTERNS,
  };
}

let catalogText = null;
