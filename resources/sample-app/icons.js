// Icons: our own line drawings on a 24-unit grid, stroked in currentColor.

"use strict";

const ICON_PATHS = {
  run: '<circle cx="15.6" cy="4.4" r="2.1"/><path d="M5 12.4l3.3-3.4h4.6l2.2 3.7 3.7 1.1M12.1 9.1l-2.2 5.5 3.7 2.6-1.1 4.9M9.9 14.6l-3.6 6.2"/>',
  drop: '<path d="M12 3.3c3.6 4.3 6.1 7.6 6.1 10.8a6.1 6.1 0 0 1-12.2 0c0-3.2 2.5-6.5 6.1-10.8z"/><path d="M9.2 14.6a2.9 2.9 0 0 0 2.6 2.7"/>',
  book: '<path d="M3.5 5.7c2.9-1.2 5.7-.9 8.5.9 2.8-1.8 5.6-2.1 8.5-.9v12.8c-2.9-1.2-5.7-.9-8.5.9-2.8-1.8-5.6-2.1-8.5-.9zM12 6.6v13"/>',
  lotus:
    '<path d="M12 19.4c-2.3-1.8-3.5-4.2-3.5-7 0-2.6 1.2-5 3.5-7 2.3 2 3.5 4.4 3.5 7 0 2.8-1.2 5.2-3.5 7zM8.7 10.2c-2-.7-4-.8-5.9-.4.3 5.3 4.1 9.4 9.2 9.6M15.3 10.2c2-.7 4-.8 5.9-.4-.3 5.3-4.1 9.4-9.2 9.6"/>',
  pen: '<path d="M4.6 19.4l1-4.5L15.8 4.7a2 2 0 0 1 2.8 0l.7.7a2 2 0 0 1 0 2.8L9.1 18.4zM13.9 6.6l3.5 3.5"/>',
  stretch:
    '<circle cx="12" cy="4.4" r="2.1"/><path d="M4.4 7.7l7.6 2.2 7.6-2.2M12 9.9V15M12 15l-3.9 5.6M12 15l3.9 5.6"/>',
  check: '<path d="M5.6 12.6l4.1 4.1 8.7-9.3"/>',
  today: '<circle cx="12" cy="12" r="8.6"/><path d="M8.3 12.3l2.6 2.6 4.9-5.2"/>',
  plus: '<path d="M12 5.5v13M5.5 12h13"/>',
  chevron: '<path d="M9.5 5.8l6.2 6.2-6.2 6.2"/>',
  chevronDown: '<path d="M6.5 9.5l5.5 5.5 5.5-5.5"/>',
  back: '<path d="M15.2 4.8L8 12l7.2 7.2"/>',
  arrowBack: '<path d="M19.5 12H5M11 5.5L4.5 12l6.5 6.5"/>',
  calendar:
    '<rect x="3.8" y="5" width="16.4" height="15" rx="3.3"/><path d="M3.8 10h16.4M8.3 3v4M15.7 3v4"/>',
  list: '<path d="M9.6 6.6h10M9.6 12h10M9.6 17.4h10"/><circle cx="5" cy="6.6" r="1.2"/><circle cx="5" cy="12" r="1.2"/><circle cx="5" cy="17.4" r="1.2"/>',
  timer: '<circle cx="12" cy="13.4" r="7.5"/><path d="M12 13.4V9.6M9.6 2.9h4.8M18.1 6.7l1.4-1.4"/>',
  chart: '<path d="M5 19.5v-6.5M10 19.5V5.5M15 19.5V10M20 19.5v-4.5"/>',
  sliders:
    '<path d="M4 7.2h8.6M17.4 7.2H20M4 16.8h2.6M11.4 16.8H20"/><circle cx="15" cy="7.2" r="2.4"/><circle cx="9" cy="16.8" r="2.4"/>',
  rain: '<path d="M7.2 14.3h9.6a3.6 3.6 0 0 0 .5-7.2 5.4 5.4 0 0 0-10.4 1.2 3 3 0 0 0 .3 6z"/><path d="M8.4 17.6l-.9 2.4M12.4 17.6l-.9 2.4M16.4 17.6l-.9 2.4"/>',
  cup: '<path d="M5 9.2h11v4.6a5 5 0 0 1-5 5h-1a5 5 0 0 1-5-5zM16 10.4h1.4a2.6 2.6 0 0 1 0 5.2H16M9 3.6v2.4M12.4 3.6v2.4"/>',
  tree: '<path d="M12 3.2l5.8 8.6h-3.4l4 5.9H5.6l4-5.9H6.2zM12 17.7v3.3"/>',
  wave: '<path d="M3 9.2c2 0 2.5-2 4.5-2s2.5 2 4.5 2 2.5-2 4.5-2 2.5 2 4.5 2M3 15.2c2 0 2.5-2 4.5-2s2.5 2 4.5 2 2.5-2 4.5-2 2.5 2 4.5 2"/>',
  bell: '<path d="M6.3 16.4V11a5.7 5.7 0 0 1 11.4 0v5.4l1.6 1.8H4.7zM10 20.6a2.2 2.2 0 0 0 4 0"/>',
  moon: '<path d="M19.6 14.6A7.9 7.9 0 0 1 9.4 4.4a7.9 7.9 0 1 0 10.2 10.2z"/>',
  sun: '<circle cx="12" cy="12" r="4"/><path d="M12 2.8v2M12 19.2v2M2.8 12h2M19.2 12h2M5.5 5.5l1.4 1.4M17.1 17.1l1.4 1.4M5.5 18.5l1.4-1.4M17.1 6.9l1.4-1.4"/>',
  speaker:
    '<path d="M4 9.4h3.6L12.2 5.8v12.4l-4.6-3.6H4zM15.6 9a4.2 4.2 0 0 1 0 6M18.2 6.4a7.8 7.8 0 0 1 0 11.2"/>',
  heart:
    '<path d="M12 19.8s-7.2-4.4-7.2-10a4.1 4.1 0 0 1 7.2-2.7 4.1 4.1 0 0 1 7.2 2.7c0 5.6-7.2 10-7.2 10z"/>',
  clock: '<circle cx="12" cy="12" r="8.4"/><path d="M12 7.6V12l3 2"/>',
  bulb: '<path d="M9.2 17.6h5.6M10 20.8h4M12 3.2a5.9 5.9 0 0 0-3.5 10.7c.6.5.9 1.1.9 1.9v.3h5.2v-.3c0-.8.3-1.4.9-1.9A5.9 5.9 0 0 0 12 3.2z"/>',
  more: '<circle cx="5.5" cy="12" r="1.4"/><circle cx="12" cy="12" r="1.4"/><circle cx="18.5" cy="12" r="1.4"/>',
  moreVertical:
    '<circle cx="12" cy="5.5" r="1.4"/><circle cx="12" cy="12" r="1.4"/><circle cx="12" cy="18.5" r="1.4"/>',
  search: '<circle cx="10.8" cy="10.8" r="6.3"/><path d="M15.5 15.5l4.6 4.6"/>',
  tune: '<path d="M4 6.5h16M7 12h10M10 17.5h4"/>',
  trophy:
    '<path d="M7.5 4.5h9v4.8a4.5 4.5 0 0 1-9 0zM7.5 6.5H4.6a3 3 0 0 0 3.3 4.3M16.5 6.5h2.9a3 3 0 0 1-3.3 4.3M12 13.8v3.4M8.6 20.2h6.8M9.6 17.2h4.8v3H9.6z"/>',
};

// Solid shapes, filled in currentColor.
const ICON_SOLID = {
  flame:
    '<path d="M12.1 21.5c-4.1 0-7.1-2.8-7.1-6.7 0-3 1.9-5.2 3.4-6.9.3 1.9 1.1 3.1 2.4 3.7-.4-3.5 1.1-6.5 3.6-8.6.2 3.1 1.8 5 3.1 6.8 1 1.4 1.6 3 1.6 5 0 3.9-3 6.7-7 6.7zm.1-2.1c1.7 0 2.9-1.2 2.9-2.9 0-1.4-.8-2.5-1.8-3.5-.3 1.2-1 2-2 2.3.1-1-.2-1.9-.8-2.7-.8 1-1.4 2-1.4 3.4.1 2 1.3 3.4 3.1 3.4z"/>',
  sparkle:
    '<path d="M12 2.5c.7 5.3 2.6 7.4 8 8.2v.6c-5.4.8-7.3 2.9-8 8.2h-.6c-.7-5.3-2.6-7.4-8-8.2v-.6c5.4-.8 7.3-2.9 8-8.2z"/>',
  crown: '<path d="M3.6 8.2l4.6 3.6L12 5l3.8 6.8 4.6-3.6-1.6 9.4H5.2zM5.6 19h12.8v1.8H5.6z"/>',
  play: '<path d="M8 5.2v13.6c0 .8.9 1.3 1.6.8l10-6.8c.6-.4.6-1.2 0-1.6l-10-6.8C8.9 3.9 8 4.4 8 5.2z"/>',
  pause:
    '<rect x="6" y="4.8" width="4.2" height="14.4" rx="1.4"/><rect x="13.8" y="4.8" width="4.2" height="14.4" rx="1.4"/>',
  stop: '<rect x="6" y="6" width="12" height="12" rx="2.6"/>',
  bolt: '<path d="M13.4 2.6L5 13.4h6l-1.3 8 8.4-10.8h-6z"/>',
  dot: '<circle cx="12" cy="12" r="4"/>',
};

function icon(name, size, extra = "") {
  const solid = hasOwn.call(ICON_SOLID, name);
  const body = solid ? ICON_SOLID[name] : ICON_PATHS[name] || "";
  const paint = solid
    ? 'fill="currentColor"'
    : 'fill="none" stroke="currentColor" stroke-width="1.9" stroke-linecap="round" stroke-linejoin="round"';
  return (
    '<svg class="ic' +
    (extra ? " " + extra : "") +
    '" width="' +
    size +
    '" height="' +
    size +
    '" viewBox="0 0 24 24" ' +
    paint +
    ' aria-hidden="true">' +
    body +
    "</svg>"
  );
}
