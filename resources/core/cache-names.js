// Cache names

"use strict";

// What a call says about the page it is about.
function pageKey(args) {
  const page = stringArg(args.page);
  return {
    set: stringArg(args.set),
    page,
    builtin: typeof args.builtin === "string" && args.builtin ? args.builtin : page,
    os: stringArg(args.os),
    theme: stringArg(args.theme),
    locale: stringArg(args.locale),
  };
}

function namePrefix(k) {
  return (
    literalPart(k.set) +
    "-" +
    namePart(k.page, 48) +
    "-" +
    literalPart(k.os) +
    "-" +
    literalPart(k.theme) +
    "-" +
    namePart(k.locale, 24)
  );
}

// The phone and hero pictures depend on the built-in screen and the words in
// it, never on the title or the style around it, so a title edit reuses them.
function captureNames(context, k) {
  return context.remember(
    "captures\u0001" +
      k.set +
      "\u0001" +
      k.page +
      "\u0001" +
      k.builtin +
      "\u0001" +
      k.os +
      "\u0001" +
      k.theme +
      "\u0001" +
      k.locale,
    () => {
      const text = context.text(k.page, k.locale);
      const hash = hash64(
        JSON.stringify([
          CAPTURE_REVISION,
          k.set,
          k.page,
          k.builtin,
          k.os,
          k.theme,
          k.locale,
          text.screenHash,
        ]),
      );
      const base = namePrefix(k) + "-" + hash;
      return {
        captures: {
          hero: base + "-hero.png",
          heroRect: base + "-hero.json",
          phone: base + "-phone.png",
        },
        vell: base + "-screen.png",
      };
    },
  );
}

function pagePlan(args, context) {
  const k = pageKey(args);
  const uploaded = args.isUploaded === true;
  const names = captureNames(context, k);
  const text = context.text(k.page, k.locale);
  const plan = {
    style: context.style(k.page, k.locale).style,
    withHero: !uploaded && builtinHasHero(k.builtin),
    captures: names.captures,
    // Each page calls out its own hero.
    heroCaptures: names.captures,
    vell: names.vell,
  };
  if (text.title !== null) plan.title = text.title;
  return plan;
}

function compositeName(args, context) {
  const k = pageKey(args);
  const names = captureNames(context, k);
  const hash = hash64(
    JSON.stringify([
      COMPOSITE_REVISION,
      k.set,
      k.page,
      k.builtin,
      k.os,
      k.theme,
      k.locale,
      args.isUploaded === true,
      context.style(k.page, k.locale).hash,
      context.text(k.page, k.locale).wordsHash,
      names.captures.phone,
      args.hasBackground === true,
      finiteOrNull(args.backgroundMtimeMs),
      finiteOrNull(args.overlayMtimeMs),
      finiteOrNull(args.screenMtimeMs),
      finiteOrNull(args.calloutAspect),
      // Only a store size of its own renames: the cache's size keeps its names.
      ...(typeof args.size === "string" && args.size ? [args.size] : []),
    ]),
  );
  return namePrefix(k) + "-" + hash + ".png";
}
