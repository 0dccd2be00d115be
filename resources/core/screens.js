// Screens for the renderer and the live preview

"use strict";

function builtinScreen(args, context) {
  const page = stringArg(args.page);
  const builtin = typeof args.builtin === "string" && args.builtin ? args.builtin : page;
  if (!hasOwn.call(PAGE_BUILDERS, builtin)) return null;
  const locale = stringArg(args.locale);
  const overrides = context.text(page, locale).overrides;
  const S = screenContext(
    builtin,
    normalOs(stringArg(args.os)),
    stringArg(args.theme) === "light" ? "light" : "dark",
    locale,
    overrides,
  );
  return S ? { S, build: PAGE_BUILDERS[builtin] } : null;
}

function pageHtml(args, context) {
  const found = builtinScreen(args, context);
  return found ? found.build(found.S) : null;
}

// The live phone shows the hardware the store image draws over the screen.
function previewHtml(args, context) {
  const found = builtinScreen(args, context);
  if (!found) return null;
  const html = found.build(found.S);
  const marker = "</div></body></html>";
  const at = html.lastIndexOf(marker);
  if (at < 0) return html;
  return html.slice(0, at) + hardwareHtml(found.S.os) + html.slice(at);
}

// An uploaded screen fills the frame from the top, as the store image crops
// it. The viewport tells the platform: iPhone frames are the narrower.
function uploadPreviewHtml(args) {
  const theme = stringArg(args.theme) === "light" ? "light" : "dark";
  const url = safeUri(args.imageUrl);
  const inner = url
    ? '<img alt="" src="' +
      esc(url) +
      '" style="position:absolute;left:0;top:0;width:100%;height:100%;object-fit:cover;object-position:top">'
    : placeholderScreen(stringArg(args.label), theme);
  return (
    '<!DOCTYPE html><html><head><meta charset="utf-8"><style>html,body{margin:0;padding:0;width:100%;height:100%;overflow:hidden;background:transparent}' +
    "#device{position:relative;width:100vw;height:100vh;overflow:hidden;background:" +
    (theme === "light" ? "#F5F3EF" : "#0E0F13") +
    "}" +
    ".hw-android{display:none}@media (min-width:400px){.hw-ios{display:none}.hw-android{display:block}}" +
    '</style></head><body><div id="device">' +
    inner +
    '<div class="hw-ios">' +
    hardwareHtml("ios") +
    '</div><div class="hw-android">' +
    hardwareHtml("android") +
    "</div>" +
    "</div></body></html>"
  );
}
