// Styles

"use strict";

// [name, kind, default] in resolve order; must agree field for field with the
// native ResolvedStyle, which the editor uses for the same page.
const STYLE_FIELDS = [
  ["titleSize", "number", 66],
  ["titleColor", "string", "#ffffff"],
  ["accentColor", "string", "#ffd54a"],
  ["subtitleSize", "number", 32],
  ["subtitleColor", "string", "rgba(255,255,255,0.85)"],
  ["textPos", "string", "top"],
  ["phoneScale", "number", 1],
  ["phoneOffsetY", "number", 0],
  ["decor", "string", "playful"],
  ["gradFrom", "string", "#07184a"],
  ["gradVia", "string", "#0052cc"],
  ["gradTo", "string", "#0093fd"],
  ["gradAngle", "number", 160],
  ["strokeOpacity", "number", 0.25],
  ["titleStroke", "number", 0],
  ["titleStrokeColor", "string", "#000000"],
  ["phoneRotateX", "number", 0],
  ["phoneRotateY", "number", 0],
  ["phoneRotateZ", "number", 0],
  ["phonePerspective", "number", 1800],
  ["bgPattern", "string", "none"],
  ["bgPatternOpacity", "number", 0.08],
  ["bgPatternScale", "number", 1],
  ["bgPatternColor", "string", "#000000"],
  ["titleLineHeight", "number", 1.12],
  ["phoneOffsetX", "number", 0],
  ["titleOffsetX", "number", 0],
  ["titleOffsetY", "number", 0],
  ["titleWidth", "number", 0],
  ["layers", "json", []],
  ["titleFont", "string", "nunito"],
  ["titleWeight", "number", 0],
  ["titleLetterSpacing", "number", -0.03],
  ["titleAlign", "string", "center"],
];

function defaultStyle() {
  const out = {};
  for (const [name, , value] of STYLE_FIELDS) out[name] = name === "layers" ? [] : value;
  return out;
}

// One stored level, read as the native decoder reads it: null means absent,
// and one value of the wrong kind makes the whole entry unreadable, which
// counts as no entry at all.
function decodeStyleLevel(entry) {
  if (!isPlainObject(entry)) return null;
  const level = [];
  for (const [name, kind] of STYLE_FIELDS) {
    const value = own(entry, name);
    if (value === undefined || value === null) continue;
    if (
      kind === "number"
        ? typeof value !== "number"
        : kind === "string"
          ? typeof value !== "string"
          : false
    ) {
      return null;
    }
    level.push([name, value]);
  }
  return level;
}

// Defaults, then the page's entry, then the page-in-this-language entry.
function resolveStyle(styles, page, locale) {
  const out = defaultStyle();
  for (const key of [page, page + "@" + locale]) {
    const level = decodeStyleLevel(own(styles, key));
    if (level) for (const [name, value] of level) out[name] = value;
  }
  return out;
}
