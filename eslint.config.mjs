// The linter of Vellora's JavaScript: the core script's parts, the scripts the
// engine runs in its pages, and the test fixtures. `npm run check` runs it.
import { readFileSync } from "node:fs";
import js from "@eslint/js";
import globals from "globals";

// The core script's parts run one after another in one global scope, so each
// may use what the others declare at top level. Each part is linted with the
// names the other parts declare as its globals: a misspelt name is still an
// error, and so is declaring a name twice.
const parts = readFileSync(new URL("resources/core.parts", import.meta.url), "utf8")
  .split("\n")
  .map((line) => line.trim())
  .filter((line) => line && !line.startsWith("#"))
  .map((part) => `resources/${part}`);

// Top-level declarations start at the first column once formatted; only
// `let` and `var` may be assigned from another part.
const topLevel = /^(const|let|var|class|(?:async\s+)?function\*?)\s+([A-Za-z_$][\w$]*)/gm;
const declared = new Map(
  parts.map((part) => {
    const text = readFileSync(new URL(part, import.meta.url), "utf8");
    const names = [...text.matchAll(topLevel)].map(([, kind, name]) => [
      name,
      kind === "let" || kind === "var" ? "writable" : "readonly",
    ]);
    return [part, names];
  }),
);
const globalsBesides = (part) =>
  Object.fromEntries(
    parts.filter((other) => other !== part).flatMap((other) => declared.get(other)),
  );

const coreScript = {
  sourceType: "script",
  // The host's file access, the script's only way out of its context.
  globals: { __vellsHost: "readonly" },
};

export default [
  { ignores: ["build*/", "node_modules/"] },
  js.configs.recommended,
  {
    files: ["resources/**/*.js", "tests/fixtures/*.js"],
    languageOptions: coreScript,
    // Top-level names are the parts' interface to each other and to the host.
    rules: { "no-unused-vars": ["error", { vars: "local", ignoreRestSiblings: true }] },
  },
  ...parts.map((part) => ({
    files: [part],
    languageOptions: { ...coreScript, globals: { ...coreScript.globals, ...globalsBesides(part) } },
  })),
  {
    // Page scripts run in the headless browser, most as the body of a function.
    files: ["src/**/scripts/*.js"],
    languageOptions: {
      sourceType: "script",
      globals: globals.browser,
      parserOptions: { ecmaFeatures: { globalReturn: true } },
    },
  },
  {
    files: ["*.mjs"],
    languageOptions: { globals: globals.node },
  },
];
