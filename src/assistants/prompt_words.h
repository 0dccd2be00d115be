#pragma once

// The fixed pieces of the prompts. Their wording is the contract with the AI
// tools: change a word here and the replies change.

namespace vells::assistants::prompt_words {

// Discovery: before the app's name.
inline constexpr const char* kDiscoveryHead = R"P(The current directory is the source code of the app ")P";

// Discovery: after the app's name.
inline constexpr const char* kDiscoveryBody = R"P(". Only read and search the files — never change anything:

A. Find every distinct user-facing screen — views a user actually sees, not helpers.
B. Study how the app LOOKS so its store screenshots can match it: its theme / colour files and asset catalog colours, the app icon, its fonts, whether it is flat and minimal or colourful and playful, and whether it has illustrative art of its own (stickers, illustrations, mascots, food or product images, emoji-style art) as png/jpg/webp files.

Reply with ONLY this JSON object, no other text, no code fence:
{"screens":[{"id":"kebab-case-id","name":"Short name","summary":"One short sentence on what it shows","file":"relative/path/to/the/view","recommended":true}],
 "design":{"summary":"One sentence describing the look you will give the screenshots",
 "mood":"minimal|playful|premium|bold","background":"solid|gradient",
 "colors":["#hex","#hex","#hex"],"titleColor":"#hex","accentColor":"#hex",
 "font":"nunito|openrunde","stickers":true,
 "stickerAssets":[{"name":"Short name","path":"/absolute/path/to/image.png"}]},
 "support":{"ios":true,"android":false,"light":true,"dark":true,"evidence":"one short line"}}
List 6 to 15 screens, most important first; mark exactly 5 "recommended". For the design: take the colours from the app's real brand (background colours for the screenshot, a title colour that reads on them, an accent from the brand); choose "solid" when the app is flat and minimal, "gradient" when it is rich or playful; "nunito" is rounded and friendly, "openrunde" is neutral. Set "stickers" true ONLY if the app itself uses illustrative art and it would suit the store page; then list up to 12 of its own png/jpg/webp images that work as stickers (small objects on transparent backgrounds, not screenshots or backgrounds), with absolute paths.
For "support", look for real evidence, not assumptions: "ios" / "android" — does this codebase build an app for that platform (an Xcode project or SwiftUI/UIKit target; an android/ folder, Gradle, Kotlin/Java app, or a cross-platform framework configured for it)? "light" / "dark" — does the app actually draw that appearance (dark and light colour sets in the asset catalog or theme, a colorScheme / useColorScheme / isSystemInDarkTheme switch, a theme toggle)? An app with one fixed palette supports only the appearance that palette is. Say what you found in "evidence".)P";

// A screen's first run: before the app's name.
inline constexpr const char* kScreenHead = R"P(You are making ONE App Store / Google Play screenshot for ")P";

// After the app's name, before the screen's lines.
inline constexpr const char* kScreenIntro = R"P(", whose source code is the current directory. Only read and search the code. Never modify the code. You do not render anything yourself: put the HTML in your reply and the app draws it.

The screen: )P";

// How to draw the screen; ends before the slot's role.
inline constexpr const char* kScreenCraft = R"P(

EXACTLY LIKE THE APP: the screenshot must be indistinguishable from the real screen. Take every value from the code — never guess: exact colours (hex from the theme/asset catalog), font sizes and weights, paddings, corner radii, shadows, icon glyphs and sizes, list row heights, the tab bar and navigation bar as the app draws them. Fonts: if the app bundles its own font files (.ttf/.otf/.woff2), add them to "assets" and declare them with @font-face { font-family: X; src: url(asset:name) } — otherwise it uses the system font, which is -apple-system (SF Pro) on iOS and Roboto on Android. Icons: SF Symbols and Material icons as faithful inline SVG at the size the code sets. Use the app's real images through "assets". After you reply, the app shows you your render to compare against the app, so get it right the first time.

1. Read this screen's code and what it depends on (its strings / localization, theme and colour definitions, font files, sample or preview data, image assets) — this one screen only.
2. Recreate the screen EXACTLY as ONE self-contained HTML document the device's size, for each platform: the real layout, spacing, colours, fonts, corner radii and copy, a 9:41 status bar, realistic content from the code's own data. It is captured at 3x. To use the app's own images, list them in "assets" ({ name: absolute path }) and reference them in the HTML as asset:name (e.g. <img src="asset:logo">).
3. Make any layers the direction asks for, each as its own HTML document with a TRANSPARENT body, laid out at "width" x "height" in composite pixels (the iOS canvas is 621x1344) and captured at 2x. They can use asset:name too.
4. Titles are short store captions in the app's own voice (at most two lines, one to three words in *asterisks* to highlight), one per language. This screenshot is )P";

// How a store caption is written.
inline constexpr const char* kScreenCopy = R"P(COPY — how a store caption is written:
- One idea per headline; never join two things with "and". Short, common words. 3-5 words per line, 2 lines preferred; line breaks are chosen, not left to wrapping.
- Say what the person gets, in the app's own nouns and verbs — a headline that still works with a competitor's name swapped in is too generic. Emphasise ONE word or short phrase with *asterisks*.
- Never: filler ("seamless", "powerful", "revolutionary", "all-in-one", "next-generation", "leverage", "AI-powered" as the whole message), exclamation marks, questions, "Download now", prices, invented awards, ratings or counts.
- Formulas by slot (fill with real words, never leave a placeholder):
  Hero: "[outcome], without [pain]." · "Your [noun],\nfinally [benefit]." · "[verb] [noun].\n[verb] [noun]." · "Every [noun],\n[outcome]." · "Meet your new [role]."
  Differentiator: "Only [app] [does the unique thing]." · "No [pain]. No [pain].\nJust [outcome]." · "Built for [specific person]." · "[verb] it once.\n[outcome] forever."
  Feature: "[verb] [noun] in [time]." · "Never [pain] again." · "From [before] to [after]." · "[noun], sorted." · "Right on your [surface]."
  Trust: "Private by design." · "Made for people who [do the thing]." — only true claims.
  Closer: "Your first [unit] starts today." · a short run of what else the app does.
- Other languages: write each natively, not word for word. German and French run 20-35% longer — shorten the idea before shrinking the type. Keep numbers, units and currency native to the language. The emphasised word usually moves in translation; put the asterisks on whatever carries the meaning there. Persian and Arabic read right to left — keep them natural.)P";

// The reply's shape, up to the titles.
inline constexpr const char* kScreenReplyHead = R"P(

Reply with ONLY this JSON, no other text, no code fence. Every HTML document is a JSON string, escaped properly:
{"titles":{)P";

// Between the titles and the screens.
inline constexpr const char* kScreenReplyMiddle = R"P(},
 "background":{"gradFrom":"#hex","gradVia":"#hex","gradTo":"#hex","gradAngle":"160","titleColor":"#hex","accentColor":"#hex"},
 "screens":{)P";

// After the screens.
inline constexpr const char* kScreenReplyTail = R"P(},
 "assets":{"name":"/absolute/path/to/image.png"},
 "stickers":["/absolute/path/of/a/chosen/sticker.png"],
 "made":[{"html":"<!doctype html>…","width":300,"height":200,"role":"callout|badge|review|shape"}]}
"stickers" and "made" are empty when the direction asks for none. Do not give positions — the layout places everything.)P";

// The brief for an app with both appearances.
inline constexpr const char* kTwoAppearances = R"P(APPEARANCE: the app has a light AND a dark mode, and both are made. Write each platform's screen ONCE covering both: declare every colour the screen uses as a CSS custom property, with the app's own values, in :root[data-theme="light"] { … } and :root[data-theme="dark"] { … }, and use only var(--…) for colour everywhere — backgrounds, text, borders, dividers, icon fills and strokes, shadows. An image that differs by mode: two <img>, class "only-light" / "only-dark", with :root[data-theme="dark"] .only-light, :root[data-theme="light"] .only-dark { display: none }. Leave <html> without a data-theme — the app sets it when it renders each mode. Draw each mode as THIS screen really looks in it: if the screen's code ignores the mode (it stays dark in light mode, say), give both sets the values it really shows — never invent a design the app does not have.)P";

// A review for a tool without sessions: NAME and REPLY are filled in.
inline constexpr const char* kReviewGemini = R"P(This continues your earlier work on "NAME". Your previous reply was:
REPLY

---)P";

// A review's first line: NAME is filled in.
inline constexpr const char* kReviewLead = R"P(Here is how the HTML you wrote for "NAME" rendered, at the device's size — look at each image (read it from its path if it isn't attached):)P";

// A review's instructions after the pictures.
inline constexpr const char* kReviewBody = R"P(

It has to look EXACTLY like this screen does in the real app. Compare it, detail by detail, with the app's code (and the reference if given): layout and alignment, spacing and sizes, font family, weight and size, colours, corner radii and shadows, icons, images, copy, and anything missing or extra — in every mode shown, against that mode's own colours. Re-read the code wherever you are unsure. Fix every difference.

Reply with ONLY JSON, in the same shape as your previous reply's "screens" and "assets", holding corrected HTML for every screen that needed a fix — or {"screens":{}} if the render already matches the app exactly. Nothing else.)P";

// An update run: before the app's name.
inline constexpr const char* kUpdateHead = R"P(You are UPDATING an existing App Store / Google Play screenshot for ")P";

// After the app's name, before the page's name.
inline constexpr const char* kUpdateIntro = R"P(", whose source code is the current directory, so it shows the app as it is NOW. Only read and search the code. Never modify the code. You do not render anything yourself: put the HTML in your reply and the app draws it.

The screen: )P";

// After the page's lines, before the slot lines.
inline constexpr const char* kUpdateBody = R"P(

Change as LITTLE as possible: the same screen, the same example content and data, the same scroll position and composition as last time. Only what the code has changed since — layout, colours, components, copy, icons — should change.

1. Find this screen in the code and read only what it needs (its strings / localization, theme, sample data, image assets). Be quick — this one screen only.
EXACTLY LIKE THE APP: the screenshot must be indistinguishable from the real screen. Take every value from the code — never guess: exact colours (hex from the theme/asset catalog), font sizes and weights, paddings, corner radii, shadows, icon glyphs and sizes, list row heights, the tab bar and navigation bar as the app draws them. Fonts: if the app bundles its own font files (.ttf/.otf/.woff2), add them to "assets" and declare them with @font-face { font-family: X; src: url(asset:name) } — otherwise it uses the system font, which is -apple-system (SF Pro) on iOS and Roboto on Android. Icons: SF Symbols and Material icons as faithful inline SVG at the size the code sets. Use the app's real images through "assets". After you reply, the app shows you your render to compare against the app, so get it right the first time.

2. Recreate it EXACTLY as ONE self-contained HTML document the device's size (iOS 393x852, Android 412x915 CSS px): the real layout, spacing, colours, fonts, corner radii and copy, a 9:41 status bar. To use the app's own images and fonts, list them in "assets" ({ name: absolute path }) and reference them as asset:name. Make one document for EACH of these, and no others:
)P";

// Before the component lines.
inline constexpr const char* kUpdateComponents = R"P(3. These components of the app are highlighted on the screenshot. For each, look at its image, find that component in the code, and redraw it as it looks NOW as an HTML document of the same width and height (an entry in "components"): ONLY the component, exactly as in the app, no border, outline, frame or card around it, transparent outside it, a soft shadow only (box-shadow: 0 14px 34px rgba(0,0,0,.20)) and 24px of transparent margin on every side. Keep the same content in it.
)P";

// The update reply's shape.
inline constexpr const char* kUpdateReply = R"P(

Reply with ONLY this JSON, no other text, no code fence. Every HTML document is a JSON string, escaped properly:
{"screens":[{"os":"ios","locale":null,"appearance":null,"html":"<!doctype html>…"}],
 "assets":{"name":"/absolute/path/to/image.png"},
 "components":[{"old":"old-asset-name","html":"<!doctype html>…","width":0,"height":0}]}
"components" is empty when there were none.)P";

}  // namespace vells::assistants::prompt_words
