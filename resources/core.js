// core.js: page layout, render-cache naming and catalogue data of Vellora.
//
// Runs in a bare JavaScriptCore context: no modules, no browser objects, no
// timers. The host reaches it only through VellsCore.call(name, argsJson),
// which answers JSON text. File access, when needed, goes through
// __vellsHost.read/exists under "/core/assets/".
//
// Cache names are the render cache's only notion of staleness: whatever can
// change a picture must reach its file name, and nothing else may, or every
// edit re-renders (or worse, nothing does).

"use strict";

// Bump when the phone screens draw differently, so old captures are not reused.
const CAPTURE_REVISION = "tempo-screens-3";
// Bump when the store image is laid out differently (title, decoration, layers).
const COMPOSITE_REVISION = "composite-3";

// ---------------------------------------------------------------------------
// Small helpers

const hasOwn = Object.prototype.hasOwnProperty;

// Documents come from users and may name keys such as "constructor" or
// "__proto__"; only own members count.
function own(object, key) {
  if (object === null || typeof object !== "object" || Array.isArray(object)) return undefined;
  return hasOwn.call(object, key) ? object[key] : undefined;
}

function isPlainObject(value) {
  return value !== null && typeof value === "object" && !Array.isArray(value);
}

function stringArg(value) {
  return typeof value === "string" ? value : "";
}

function finiteOrNull(value) {
  return typeof value === "number" && Number.isFinite(value) ? value : null;
}

// A document as the script works with it: an object, whatever was stored.
function documentObject(value) {
  if (typeof value === "string") {
    try {
      value = JSON.parse(value);
    } catch (e) {
      return {};
    }
  }
  return isPlainObject(value) ? value : {};
}

// JSON with sorted keys, so two documents that differ only in key order name
// the same pictures.
function canonicalJSON(value) {
  if (value === null || typeof value !== "object") {
    const text = JSON.stringify(value);
    return text === undefined ? "null" : text;
  }
  if (Array.isArray(value)) {
    let out = "[";
    for (let i = 0; i < value.length; i++) out += (i ? "," : "") + canonicalJSON(value[i]);
    return out + "]";
  }
  const keys = Object.keys(value).sort();
  let out = "{";
  let first = true;
  for (const key of keys) {
    if (value[key] === undefined) continue;
    out += (first ? "" : ",") + JSON.stringify(key) + ":" + canonicalJSON(value[key]);
    first = false;
  }
  return out + "}";
}

function hex32(n) {
  return (n >>> 0).toString(16).padStart(8, "0");
}

// 64-bit string hash (two interleaved 32-bit multiply-xor lanes, after
// cyrb53). Not cryptographic: cache names only need to be stable across runs
// and to differ when the content does.
const imul = Math.imul;

function hash64(text) {
  let h1 = 0xdeadbeef;
  let h2 = 0x41c6ce57;
  for (let i = 0; i < text.length; i++) {
    const c = text.charCodeAt(i);
    h1 = imul(h1 ^ c, 2654435761);
    h2 = imul(h2 ^ c, 1597334677);
  }
  h1 = imul(h1 ^ (h1 >>> 16), 2246822507);
  h1 ^= imul(h2 ^ (h2 >>> 13), 3266489909);
  h2 = imul(h2 ^ (h2 >>> 16), 2246822507);
  h2 ^= imul(h1 ^ (h1 >>> 13), 3266489909);
  return hex32(h2) + hex32(h1);
}

// File-name part from a user-chosen id. Page ids are free text; a "/" must not
// become a folder and a ".png" inside a name would upset the thumbnail name.
// The full id always goes into the hash, so ids that clean up alike still
// get names of their own.
function namePart(value, max) {
  const cleaned = value.replace(/[^A-Za-z0-9_-]/g, "_");
  return cleaned.length > max ? cleaned.slice(0, max) : cleaned || "_";
}

// The set, os and theme start and delimit every name because the cache's
// regenerate matches them literally; they are kept as they are whenever they
// are already safe in a file name (set ids, "ios", "dark" always are).
function literalPart(value) {
  return /^[A-Za-z0-9_-]+$/.test(value) ? value : namePart(value, 64);
}

function flagOf(region) {
  return String.fromCodePoint(...[...region].map((c) => 0x1f1e6 + c.charCodeAt(0) - 65));
}

// ---------------------------------------------------------------------------
// The sample app whose screens ship with Vellora

const SAMPLE_APP = {
  id: "vellora-sample",
  name: "Tempo",
  tagline: "Habits and focus, one day at a time",
  accent: "#ff6a3d",
  accentSoft: "#ffb199",
};

// `hero` names the element cut out as the hero callout; pages without one
// have none.
const SAMPLE_PAGES = [
  { id: "home", label: "Today", hero: "progress ring" },
  { id: "habits", label: "Habits", hero: null },
  { id: "detail", label: "Habit detail", hero: "streak card" },
  { id: "insights", label: "Insights", hero: "weekly chart" },
  { id: "focus", label: "Focus timer", hero: null },
  { id: "settings", label: "Settings", hero: null },
];

const SAMPLE_PAGE_BY_ID = new Map(SAMPLE_PAGES.map((p) => [p.id, p]));

function builtinHasHero(builtin) {
  const page = SAMPLE_PAGE_BY_ID.get(builtin);
  return Boolean(page && page.hero);
}

// Numbers and shapes behind the screens. The words live in SCREEN_STRINGS
// under the keys named here, so a user's override of a key reaches the screen.
const SCREEN_DATA = {
  home: {
    ring: { done: 4, total: 6 },
    streakDays: 12,
    habits: [
      { key: "habit.run", icon: "run", tint: "#ff6a3d", done: true },
      { key: "habit.water", icon: "drop", tint: "#2f9bff", done: true },
      { key: "habit.read", icon: "book", tint: "#8e6cf0", done: true },
      { key: "habit.meditate", icon: "lotus", tint: "#19b394", done: true },
      { key: "habit.journal", icon: "pen", tint: "#f2a516", done: false },
      { key: "habit.stretch", icon: "stretch", tint: "#e85d9c", done: false },
    ],
  },
  habits: {
    // The last seven days, oldest first, ending today (a Tuesday: weekday 1
    // with Monday first); 1 done, 0 not done, null not due.
    todayWeekday: 1,
    groups: [
      {
        key: "group.morning",
        habits: [
          { key: "habit.run", icon: "run", tint: "#ff6a3d", week: [null, 1, null, 1, null, null, 1] },
          { key: "habit.meditate", icon: "lotus", tint: "#19b394", week: [1, 1, 1, 1, 1, 1, 1] },
          { key: "habit.water", icon: "drop", tint: "#2f9bff", week: [1, 1, 0, 1, 1, 1, 1] },
        ],
      },
      {
        key: "group.evening",
        habits: [
          { key: "habit.read", icon: "book", tint: "#8e6cf0", week: [1, 1, 1, 0, 1, 1, 1] },
          { key: "habit.journal", icon: "pen", tint: "#f2a516", week: [0, 1, 1, 1, 0, 1, 0] },
          { key: "habit.stretch", icon: "stretch", tint: "#e85d9c", week: [1, 1, 0, 1, 1, 0, 0] },
        ],
      },
    ],
  },
  detail: {
    habit: { icon: "lotus", tint: "#19b394" },
    streak: { current: 12, best: 31 },
    // May 2024: starts on a Wednesday (index 2 with Monday first), today is the 14th.
    calendar: {
      days: 31,
      firstWeekday: 2,
      today: 14,
      done: [1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14],
    },
    completion: 0.86,
  },
  insights: {
    bars: [6, 5, 7, 4, 6, 5, 5],
    highlight: 2,
    rateLine: [0.62, 0.7, 0.68, 0.74, 0.79, 0.83, 0.86],
  },
  focus: {
    minutes: 25,
    remainingSeconds: 1104,
    sessions: { done: 1, total: 4 },
    sounds: [
      { key: "sound.rain", icon: "rain", on: true },
      { key: "sound.cafe", icon: "cup", on: false },
      { key: "sound.forest", icon: "tree", on: false },
      { key: "sound.waves", icon: "wave", on: false },
    ],
  },
  settings: {
    toggles: { "reminder.morning": true, "reminder.evening": true, "reminder.smart": false, "general.health": true },
    theme: "theme.system",
  },
};

// ---------------------------------------------------------------------------
// Words inside the phone, per locale. A locale without a key falls back to
// its language, then to English; "android" rows hold wording that differs on
// that platform.

const EN_TABS = {
  "tab.today": "Today",
  "tab.habits": "Habits",
  "tab.focus": "Focus",
  "tab.insights": "Insights",
  "tab.settings": "Settings",
};

const EN_DAYS = {
  "day.1": "M",
  "day.2": "T",
  "day.3": "W",
  "day.4": "T",
  "day.5": "F",
  "day.6": "S",
  "day.7": "S",
};

// English decides which keys a page has and in what order they are listed.
const SCREEN_STRINGS = {
  en: {
    common: { ...EN_TABS, ...EN_DAYS },
    home: {
      "nav.title": "Today",
      greeting: "Good evening, Maya",
      date: "Tuesday, May 14",
      "ring.caption": "habits done",
      "ring.note": "Two more to close the day",
      streak: "12-day streak",
      "section.habits": "Your habits",
      "section.more": "See all",
      "habit.run": "Morning run",
      "habit.run.detail": "5 km · 7:00 AM",
      "habit.water": "Drink water",
      "habit.water.detail": "8 of 8 glasses",
      "habit.read": "Read",
      "habit.read.detail": "20 pages",
      "habit.meditate": "Meditate",
      "habit.meditate.detail": "10 min",
      "habit.journal": "Journal",
      "habit.journal.detail": "Before bed",
      "habit.stretch": "Stretch",
      "habit.stretch.detail": "5 min · 9:30 PM",
      ...EN_TABS,
    },
    habits: {
      "nav.title": "Habits",
      "nav.add": "New habit",
      "filter.all": "All",
      "filter.active": "Active",
      "filter.paused": "Paused",
      "group.morning": "Morning",
      "habit.run": "Morning run",
      "habit.run.schedule": "Tue, Thu, Sat",
      "habit.meditate": "Meditate",
      "habit.meditate.schedule": "Every day",
      "habit.water": "Drink water",
      "habit.water.schedule": "Every day",
      "group.evening": "Evening",
      "habit.read": "Read",
      "habit.read.schedule": "Every day",
      "habit.journal": "Journal",
      "habit.journal.schedule": "Every day",
      "habit.stretch": "Stretch",
      "habit.stretch.schedule": "Every day",
      ...EN_DAYS,
      summary: "6 habits · 86% this week",
      ...EN_TABS,
    },
    detail: {
      "nav.back": "Habits",
      "nav.edit": "Edit",
      "habit.name": "Meditate",
      "habit.schedule": "Every day · 7:15 AM",
      "streak.current": "Current streak",
      "streak.current.value": "12 days",
      "streak.best": "Best streak",
      "streak.best.value": "31 days",
      "streak.note": "Your longest streak since March",
      "calendar.month": "May 2024",
      ...EN_DAYS,
      "stat.rate": "This month",
      "stat.rate.value": "86%",
      "stat.total": "All time",
      "stat.total.value": "148 sessions",
      "notes.title": "Notes",
      "notes.body": "Ten minutes right after coffee works best. Try the body scan on Sunday.",
      "action.done": "Mark as done",
    },
    insights: {
      "nav.title": "Insights",
      "range.week": "Week",
      "range.month": "Month",
      "range.year": "Year",
      "chart.title": "Habits completed",
      "chart.total": "38 this week",
      "chart.delta": "+12% vs last week",
      ...EN_DAYS,
      "rate.title": "Completion rate",
      "rate.value": "86%",
      "rate.caption": "Up from 74% in April",
      "tile.focus": "Focus time",
      "tile.focus.value": "6 h 40 min",
      "tile.best": "Best day",
      "tile.best.value": "Thursday",
      tip: "You're most consistent before 9 AM.",
      ...EN_TABS,
    },
    focus: {
      "nav.title": "Focus",
      "session.label": "Deep work",
      "session.count": "Session 2 of 4",
      "timer.value": "18:24",
      "timer.caption": "remaining",
      "action.pause": "Pause",
      "action.end": "End",
      "break.next": "Next: 5 min break",
      "sounds.title": "Ambient sound",
      "sound.rain": "Rain",
      "sound.cafe": "Café",
      "sound.forest": "Forest",
      "sound.waves": "Waves",
      today: "1 h 50 min focused today",
      ...EN_TABS,
    },
    settings: {
      "nav.title": "Settings",
      "pro.title": "Tempo Pro",
      "pro.body": "Unlimited habits, widgets and sync",
      "pro.action": "Try free",
      "section.reminders": "Reminders",
      "reminder.morning": "Morning check-in",
      "reminder.morning.time": "7:30 AM",
      "reminder.evening": "Evening review",
      "reminder.evening.time": "9:00 PM",
      "reminder.smart": "Smart nudges",
      "reminder.smart.detail": "Only when you're falling behind",
      "section.appearance": "Appearance",
      "theme.system": "System",
      "theme.light": "Light",
      "theme.dark": "Dark",
      "section.general": "General",
      "general.sounds": "Sounds & haptics",
      "general.health": "Sync with Apple Health",
      "general.week": "Week starts on",
      "general.week.value": "Monday",
      version: "Tempo 2.4.1",
      ...EN_TABS,
    },
  },

  de: {
    common: {
      "tab.today": "Heute",
      "tab.habits": "Gewohnheiten",
      "tab.focus": "Fokus",
      "tab.insights": "Statistik",
      "tab.settings": "Einstellungen",
      "day.1": "M",
      "day.2": "D",
      "day.3": "M",
      "day.4": "D",
      "day.5": "F",
      "day.6": "S",
      "day.7": "S",
    },
    home: {
      "nav.title": "Heute",
      greeting: "Guten Abend, Maya",
      date: "Dienstag, 14. Mai",
      "ring.caption": "Gewohnheiten erledigt",
      "ring.note": "Noch zwei bis zum Tagesziel",
      streak: "12 Tage in Folge",
      "section.habits": "Deine Gewohnheiten",
      "section.more": "Alle",
      "habit.run": "Morgenlauf",
      "habit.run.detail": "5 km · 7:00",
      "habit.water": "Wasser trinken",
      "habit.water.detail": "8 von 8 Gläsern",
      "habit.read": "Lesen",
      "habit.read.detail": "20 Seiten",
      "habit.meditate": "Meditieren",
      "habit.meditate.detail": "10 Min.",
      "habit.journal": "Tagebuch",
      "habit.journal.detail": "Vor dem Schlafen",
      "habit.stretch": "Dehnen",
      "habit.stretch.detail": "5 Min. · 21:30",
    },
    habits: {
      "nav.title": "Gewohnheiten",
      "nav.add": "Neue Gewohnheit",
      "filter.all": "Alle",
      "filter.active": "Aktiv",
      "filter.paused": "Pausiert",
      "group.morning": "Morgens",
      "habit.run": "Morgenlauf",
      "habit.run.schedule": "Di, Do, Sa",
      "habit.meditate": "Meditieren",
      "habit.meditate.schedule": "Täglich",
      "habit.water": "Wasser trinken",
      "habit.water.schedule": "Täglich",
      "group.evening": "Abends",
      "habit.read": "Lesen",
      "habit.read.schedule": "Täglich",
      "habit.journal": "Tagebuch",
      "habit.journal.schedule": "Täglich",
      "habit.stretch": "Dehnen",
      "habit.stretch.schedule": "Täglich",
      summary: "6 Gewohnheiten · 86 % diese Woche",
    },
    detail: {
      "nav.back": "Gewohnheiten",
      "nav.edit": "Bearbeiten",
      "habit.name": "Meditieren",
      "habit.schedule": "Täglich · 7:15",
      "streak.current": "Aktuelle Serie",
      "streak.current.value": "12 Tage",
      "streak.best": "Beste Serie",
      "streak.best.value": "31 Tage",
      "streak.note": "Deine längste Serie seit März",
      "calendar.month": "Mai 2024",
      "stat.rate": "Diesen Monat",
      "stat.rate.value": "86 %",
      "stat.total": "Insgesamt",
      "stat.total.value": "148 Einheiten",
      "notes.title": "Notizen",
      "notes.body": "Zehn Minuten direkt nach dem Kaffee klappen am besten. Sonntag den Body-Scan ausprobieren.",
      "action.done": "Als erledigt markieren",
    },
    insights: {
      "nav.title": "Statistik",
      "range.week": "Woche",
      "range.month": "Monat",
      "range.year": "Jahr",
      "chart.title": "Erledigte Gewohnheiten",
      "chart.total": "38 diese Woche",
      "chart.delta": "+12 % zur Vorwoche",
      "rate.title": "Erfolgsquote",
      "rate.value": "86 %",
      "rate.caption": "Im April waren es 74 %",
      "tile.focus": "Fokuszeit",
      "tile.focus.value": "6:40 Std.",
      "tile.best": "Bester Tag",
      "tile.best.value": "Donnerstag",
      tip: "Vor 9 Uhr bist du am beständigsten.",
    },
    focus: {
      "nav.title": "Fokus",
      "session.label": "Deep Work",
      "session.count": "Sitzung 2 von 4",
      "timer.value": "18:24",
      "timer.caption": "verbleibend",
      "action.pause": "Pause",
      "action.end": "Beenden",
      "break.next": "Danach: 5 Min. Pause",
      "sounds.title": "Hintergrundklang",
      "sound.rain": "Regen",
      "sound.cafe": "Café",
      "sound.forest": "Wald",
      "sound.waves": "Wellen",
      today: "Heute 1 Std. 50 Min. fokussiert",
    },
    settings: {
      "nav.title": "Einstellungen",
      "pro.title": "Tempo Pro",
      "pro.body": "Unbegrenzt Gewohnheiten, Widgets und Sync",
      "pro.action": "Gratis testen",
      "section.reminders": "Erinnerungen",
      "reminder.morning": "Morgen-Check-in",
      "reminder.morning.time": "7:30",
      "reminder.evening": "Abendrückblick",
      "reminder.evening.time": "21:00",
      "reminder.smart": "Smarte Hinweise",
      "reminder.smart.detail": "Nur wenn du hinterherhängst",
      "section.appearance": "Darstellung",
      "theme.system": "System",
      "theme.light": "Hell",
      "theme.dark": "Dunkel",
      "section.general": "Allgemein",
      "general.sounds": "Töne & Haptik",
      "general.health": "Mit Apple Health synchronisieren",
      "general.week": "Woche beginnt am",
      "general.week.value": "Montag",
      version: "Tempo 2.4.1",
    },
  },

  fr: {
    common: {
      "tab.today": "Aujourd’hui",
      "tab.habits": "Habitudes",
      "tab.focus": "Focus",
      "tab.insights": "Statistiques",
      "tab.settings": "Réglages",
      "day.1": "L",
      "day.2": "M",
      "day.3": "M",
      "day.4": "J",
      "day.5": "V",
      "day.6": "S",
      "day.7": "D",
    },
    home: {
      "nav.title": "Aujourd’hui",
      greeting: "Bonsoir, Maya",
      date: "Mardi 14 mai",
      "ring.caption": "habitudes faites",
      "ring.note": "Plus que deux pour boucler la journée",
      streak: "12 jours d’affilée",
      "section.habits": "Vos habitudes",
      "section.more": "Tout voir",
      "habit.run": "Course matinale",
      "habit.run.detail": "5 km · 7 h 00",
      "habit.water": "Boire de l’eau",
      "habit.water.detail": "8 verres sur 8",
      "habit.read": "Lire",
      "habit.read.detail": "20 pages",
      "habit.meditate": "Méditer",
      "habit.meditate.detail": "10 min",
      "habit.journal": "Journal",
      "habit.journal.detail": "Avant de dormir",
      "habit.stretch": "Étirements",
      "habit.stretch.detail": "5 min · 21 h 30",
    },
    habits: {
      "nav.title": "Habitudes",
      "nav.add": "Nouvelle habitude",
      "filter.all": "Toutes",
      "filter.active": "Actives",
      "filter.paused": "En pause",
      "group.morning": "Matin",
      "habit.run": "Course matinale",
      "habit.run.schedule": "Mar, jeu, sam",
      "habit.meditate": "Méditer",
      "habit.meditate.schedule": "Tous les jours",
      "habit.water": "Boire de l’eau",
      "habit.water.schedule": "Tous les jours",
      "group.evening": "Soir",
      "habit.read": "Lire",
      "habit.read.schedule": "Tous les jours",
      "habit.journal": "Journal",
      "habit.journal.schedule": "Tous les jours",
      "habit.stretch": "Étirements",
      "habit.stretch.schedule": "Tous les jours",
      summary: "6 habitudes · 86 % cette semaine",
    },
    detail: {
      "nav.back": "Habitudes",
      "nav.edit": "Modifier",
      "habit.name": "Méditer",
      "habit.schedule": "Tous les jours · 7 h 15",
      "streak.current": "Série actuelle",
      "streak.current.value": "12 jours",
      "streak.best": "Meilleure série",
      "streak.best.value": "31 jours",
      "streak.note": "Votre plus longue série depuis mars",
      "calendar.month": "Mai 2024",
      "stat.rate": "Ce mois-ci",
      "stat.rate.value": "86 %",
      "stat.total": "Au total",
      "stat.total.value": "148 séances",
      "notes.title": "Notes",
      "notes.body": "Dix minutes juste après le café, c’est l’idéal. Essayer le scan corporel dimanche.",
      "action.done": "Marquer comme fait",
    },
    insights: {
      "nav.title": "Statistiques",
      "range.week": "Semaine",
      "range.month": "Mois",
      "range.year": "Année",
      "chart.title": "Habitudes accomplies",
      "chart.total": "38 cette semaine",
      "chart.delta": "+12 % sur une semaine",
      "rate.title": "Taux de réussite",
      "rate.value": "86 %",
      "rate.caption": "Contre 74 % en avril",
      "tile.focus": "Temps de focus",
      "tile.focus.value": "6 h 40 min",
      "tile.best": "Meilleur jour",
      "tile.best.value": "Jeudi",
      tip: "Vous êtes plus régulier avant 9 h.",
    },
    focus: {
      "nav.title": "Focus",
      "session.label": "Travail profond",
      "session.count": "Session 2 sur 4",
      "timer.value": "18:24",
      "timer.caption": "restantes",
      "action.pause": "Pause",
      "action.end": "Terminer",
      "break.next": "Ensuite : pause de 5 min",
      "sounds.title": "Ambiance sonore",
      "sound.rain": "Pluie",
      "sound.cafe": "Café",
      "sound.forest": "Forêt",
      "sound.waves": "Vagues",
      today: "1 h 50 min de concentration aujourd’hui",
    },
    settings: {
      "nav.title": "Réglages",
      "pro.title": "Tempo Pro",
      "pro.body": "Habitudes illimitées, widgets et synchro",
      "pro.action": "Essai gratuit",
      "section.reminders": "Rappels",
      "reminder.morning": "Point du matin",
      "reminder.morning.time": "7 h 30",
      "reminder.evening": "Bilan du soir",
      "reminder.evening.time": "21 h 00",
      "reminder.smart": "Rappels intelligents",
      "reminder.smart.detail": "Seulement si vous prenez du retard",
      "section.appearance": "Apparence",
      "theme.system": "Système",
      "theme.light": "Clair",
      "theme.dark": "Sombre",
      "section.general": "Général",
      "general.sounds": "Sons et retour haptique",
      "general.health": "Synchroniser avec Santé",
      "general.week": "Début de semaine",
      "general.week.value": "Lundi",
      version: "Tempo 2.4.1",
    },
  },

  es: {
    common: {
      "tab.today": "Hoy",
      "tab.habits": "Hábitos",
      "tab.focus": "Enfoque",
      "tab.insights": "Estadísticas",
      "tab.settings": "Ajustes",
      "day.1": "L",
      "day.2": "M",
      "day.3": "X",
      "day.4": "J",
      "day.5": "V",
      "day.6": "S",
      "day.7": "D",
    },
    home: {
      "nav.title": "Hoy",
      greeting: "Buenas tardes, Maya",
      date: "Martes, 14 de mayo",
      "ring.caption": "hábitos hechos",
      "ring.note": "Te quedan dos para cerrar el día",
      streak: "Racha de 12 días",
      "section.habits": "Tus hábitos",
      "section.more": "Ver todo",
      "habit.run": "Carrera matinal",
      "habit.run.detail": "5 km · 7:00",
      "habit.water": "Beber agua",
      "habit.water.detail": "8 de 8 vasos",
      "habit.read": "Leer",
      "habit.read.detail": "20 páginas",
      "habit.meditate": "Meditar",
      "habit.meditate.detail": "10 min",
      "habit.journal": "Diario",
      "habit.journal.detail": "Antes de dormir",
      "habit.stretch": "Estiramientos",
      "habit.stretch.detail": "5 min · 21:30",
    },
    habits: {
      "nav.title": "Hábitos",
      "nav.add": "Nuevo hábito",
      "filter.all": "Todos",
      "filter.active": "Activos",
      "filter.paused": "En pausa",
      "group.morning": "Mañana",
      "habit.run": "Carrera matinal",
      "habit.run.schedule": "Mar, jue, sáb",
      "habit.meditate": "Meditar",
      "habit.meditate.schedule": "Cada día",
      "habit.water": "Beber agua",
      "habit.water.schedule": "Cada día",
      "group.evening": "Noche",
      "habit.read": "Leer",
      "habit.read.schedule": "Cada día",
      "habit.journal": "Diario",
      "habit.journal.schedule": "Cada día",
      "habit.stretch": "Estiramientos",
      "habit.stretch.schedule": "Cada día",
      summary: "6 hábitos · 86 % esta semana",
    },
    detail: {
      "nav.back": "Hábitos",
      "nav.edit": "Editar",
      "habit.name": "Meditar",
      "habit.schedule": "Cada día · 7:15",
      "streak.current": "Racha actual",
      "streak.current.value": "12 días",
      "streak.best": "Mejor racha",
      "streak.best.value": "31 días",
      "streak.note": "Tu racha más larga desde marzo",
      "calendar.month": "Mayo de 2024",
      "stat.rate": "Este mes",
      "stat.rate.value": "86 %",
      "stat.total": "En total",
      "stat.total.value": "148 sesiones",
      "notes.title": "Notas",
      "notes.body": "Diez minutos justo después del café funcionan mejor. Probar el escaneo corporal el domingo.",
      "action.done": "Marcar como hecho",
    },
    insights: {
      "nav.title": "Estadísticas",
      "range.week": "Semana",
      "range.month": "Mes",
      "range.year": "Año",
      "chart.title": "Hábitos completados",
      "chart.total": "38 esta semana",
      "chart.delta": "+12 % frente a la semana pasada",
      "rate.title": "Tasa de cumplimiento",
      "rate.value": "86 %",
      "rate.caption": "Frente al 74 % de abril",
      "tile.focus": "Tiempo de enfoque",
      "tile.focus.value": "6 h 40 min",
      "tile.best": "Mejor día",
      "tile.best.value": "Jueves",
      tip: "Eres más constante antes de las 9.",
    },
    focus: {
      "nav.title": "Enfoque",
      "session.label": "Trabajo profundo",
      "session.count": "Sesión 2 de 4",
      "timer.value": "18:24",
      "timer.caption": "restantes",
      "action.pause": "Pausa",
      "action.end": "Terminar",
      "break.next": "Después: descanso de 5 min",
      "sounds.title": "Sonido ambiente",
      "sound.rain": "Lluvia",
      "sound.cafe": "Cafetería",
      "sound.forest": "Bosque",
      "sound.waves": "Olas",
      today: "1 h 50 min de enfoque hoy",
    },
    settings: {
      "nav.title": "Ajustes",
      "pro.title": "Tempo Pro",
      "pro.body": "Hábitos ilimitados, widgets y sincronización",
      "pro.action": "Probar gratis",
      "section.reminders": "Recordatorios",
      "reminder.morning": "Repaso matinal",
      "reminder.morning.time": "7:30",
      "reminder.evening": "Balance nocturno",
      "reminder.evening.time": "21:00",
      "reminder.smart": "Avisos inteligentes",
      "reminder.smart.detail": "Solo si vas con retraso",
      "section.appearance": "Apariencia",
      "theme.system": "Sistema",
      "theme.light": "Claro",
      "theme.dark": "Oscuro",
      "section.general": "General",
      "general.sounds": "Sonidos y vibración háptica",
      "general.health": "Sincronizar con Salud",
      "general.week": "La semana empieza el",
      "general.week.value": "Lunes",
      version: "Tempo 2.4.1",
    },
  },

  ja: {
    common: {
      "tab.today": "今日",
      "tab.habits": "習慣",
      "tab.focus": "集中",
      "tab.insights": "分析",
      "tab.settings": "設定",
      "day.1": "月",
      "day.2": "火",
      "day.3": "水",
      "day.4": "木",
      "day.5": "金",
      "day.6": "土",
      "day.7": "日",
    },
    home: {
      "nav.title": "今日",
      greeting: "こんばんは、マヤさん",
      date: "5月14日 火曜日",
      "ring.caption": "習慣を達成",
      "ring.note": "あと2つで今日の目標達成",
      streak: "12日連続",
      "section.habits": "あなたの習慣",
      "section.more": "すべて表示",
      "habit.run": "朝のランニング",
      "habit.run.detail": "5 km・7:00",
      "habit.water": "水を飲む",
      "habit.water.detail": "8杯中8杯",
      "habit.read": "読書",
      "habit.read.detail": "20ページ",
      "habit.meditate": "瞑想",
      "habit.meditate.detail": "10分",
      "habit.journal": "日記",
      "habit.journal.detail": "寝る前に",
      "habit.stretch": "ストレッチ",
      "habit.stretch.detail": "5分・21:30",
    },
    habits: {
      "nav.title": "習慣",
      "nav.add": "新しい習慣",
      "filter.all": "すべて",
      "filter.active": "実行中",
      "filter.paused": "一時停止",
      "group.morning": "朝",
      "habit.run": "朝のランニング",
      "habit.run.schedule": "火・木・土",
      "habit.meditate": "瞑想",
      "habit.meditate.schedule": "毎日",
      "habit.water": "水を飲む",
      "habit.water.schedule": "毎日",
      "group.evening": "夜",
      "habit.read": "読書",
      "habit.read.schedule": "毎日",
      "habit.journal": "日記",
      "habit.journal.schedule": "毎日",
      "habit.stretch": "ストレッチ",
      "habit.stretch.schedule": "毎日",
      summary: "6つの習慣・今週の達成率86%",
    },
    detail: {
      "nav.back": "習慣",
      "nav.edit": "編集",
      "habit.name": "瞑想",
      "habit.schedule": "毎日・7:15",
      "streak.current": "現在の連続記録",
      "streak.current.value": "12日",
      "streak.best": "最長記録",
      "streak.best.value": "31日",
      "streak.note": "3月以来の最長記録です",
      "calendar.month": "2024年5月",
      "stat.rate": "今月",
      "stat.rate.value": "86%",
      "stat.total": "合計",
      "stat.total.value": "148回",
      "notes.title": "メモ",
      "notes.body": "コーヒーのすぐ後の10分がいちばん合う。日曜日はボディスキャンを試してみる。",
      "action.done": "完了にする",
    },
    insights: {
      "nav.title": "分析",
      "range.week": "週",
      "range.month": "月",
      "range.year": "年",
      "chart.title": "達成した習慣",
      "chart.total": "今週38回",
      "chart.delta": "先週より12%アップ",
      "rate.title": "達成率",
      "rate.value": "86%",
      "rate.caption": "4月は74%でした",
      "tile.focus": "集中時間",
      "tile.focus.value": "6時間40分",
      "tile.best": "ベストな曜日",
      "tile.best.value": "木曜日",
      tip: "午前9時前がいちばん続いています。",
    },
    focus: {
      "nav.title": "集中",
      "session.label": "ディープワーク",
      "session.count": "セッション 2/4",
      "timer.value": "18:24",
      "timer.caption": "残り",
      "action.pause": "一時停止",
      "action.end": "終了",
      "break.next": "次は5分の休憩",
      "sounds.title": "環境音",
      "sound.rain": "雨",
      "sound.cafe": "カフェ",
      "sound.forest": "森",
      "sound.waves": "波",
      today: "今日の集中時間 1時間50分",
    },
    settings: {
      "nav.title": "設定",
      "pro.title": "Tempo Pro",
      "pro.body": "習慣は無制限、ウィジェットと同期も",
      "pro.action": "無料で試す",
      "section.reminders": "リマインダー",
      "reminder.morning": "朝のチェックイン",
      "reminder.morning.time": "7:30",
      "reminder.evening": "夜のふり返り",
      "reminder.evening.time": "21:00",
      "reminder.smart": "スマート通知",
      "reminder.smart.detail": "遅れているときだけ",
      "section.appearance": "外観",
      "theme.system": "システム",
      "theme.light": "ライト",
      "theme.dark": "ダーク",
      "section.general": "一般",
      "general.sounds": "サウンドと触覚",
      "general.health": "ヘルスケアと同期",
      "general.week": "週の始まり",
      "general.week.value": "月曜日",
      version: "Tempo 2.4.1",
    },
  },

  // Western digits, as most Arabic apps in the Gulf set them.
  ar: {
    common: {
      "tab.today": "اليوم",
      "tab.habits": "العادات",
      "tab.focus": "التركيز",
      "tab.insights": "الإحصاءات",
      "tab.settings": "الإعدادات",
      "day.1": "ن",
      "day.2": "ث",
      "day.3": "ر",
      "day.4": "خ",
      "day.5": "ج",
      "day.6": "س",
      "day.7": "ح",
    },
    home: {
      "nav.title": "اليوم",
      greeting: "مساء الخير يا مايا",
      date: "الثلاثاء، 14 مايو",
      "ring.caption": "عادات مكتملة",
      "ring.note": "بقيت عادتان لإتمام اليوم",
      streak: "12 يومًا متتاليًا",
      "section.habits": "عاداتك",
      "section.more": "عرض الكل",
      "habit.run": "ركض صباحي",
      "habit.run.detail": "5 كم · 7:00 ص",
      "habit.water": "شرب الماء",
      "habit.water.detail": "8 من 8 أكواب",
      "habit.read": "القراءة",
      "habit.read.detail": "20 صفحة",
      "habit.meditate": "التأمل",
      "habit.meditate.detail": "10 دقائق",
      "habit.journal": "اليوميات",
      "habit.journal.detail": "قبل النوم",
      "habit.stretch": "تمارين الإطالة",
      "habit.stretch.detail": "5 دقائق · 9:30 م",
    },
    habits: {
      "nav.title": "العادات",
      "nav.add": "عادة جديدة",
      "filter.all": "الكل",
      "filter.active": "نشطة",
      "filter.paused": "متوقفة",
      "group.morning": "الصباح",
      "habit.run": "ركض صباحي",
      "habit.run.schedule": "ثلاثاء، خميس، سبت",
      "habit.meditate": "التأمل",
      "habit.meditate.schedule": "كل يوم",
      "habit.water": "شرب الماء",
      "habit.water.schedule": "كل يوم",
      "group.evening": "المساء",
      "habit.read": "القراءة",
      "habit.read.schedule": "كل يوم",
      "habit.journal": "اليوميات",
      "habit.journal.schedule": "كل يوم",
      "habit.stretch": "تمارين الإطالة",
      "habit.stretch.schedule": "كل يوم",
      summary: "6 عادات · 86% هذا الأسبوع",
    },
    detail: {
      "nav.back": "العادات",
      "nav.edit": "تعديل",
      "habit.name": "التأمل",
      "habit.schedule": "كل يوم · 7:15 ص",
      "streak.current": "السلسلة الحالية",
      "streak.current.value": "12 يومًا",
      "streak.best": "أفضل سلسلة",
      "streak.best.value": "31 يومًا",
      "streak.note": "أطول سلسلة لك منذ مارس",
      "calendar.month": "مايو 2024",
      "stat.rate": "هذا الشهر",
      "stat.rate.value": "86%",
      "stat.total": "الإجمالي",
      "stat.total.value": "148 جلسة",
      "notes.title": "ملاحظات",
      "notes.body": "عشر دقائق بعد القهوة مباشرة هي الأنسب. جرّب تأمل مسح الجسد يوم الأحد.",
      "action.done": "تحديد كمكتملة",
    },
    insights: {
      "nav.title": "الإحصاءات",
      "range.week": "أسبوع",
      "range.month": "شهر",
      "range.year": "سنة",
      "chart.title": "العادات المكتملة",
      "chart.total": "38 هذا الأسبوع",
      "chart.delta": "+12% عن الأسبوع الماضي",
      "rate.title": "نسبة الإنجاز",
      "rate.value": "86%",
      "rate.caption": "ارتفاعًا من 74% في أبريل",
      "tile.focus": "وقت التركيز",
      "tile.focus.value": "6 س 40 د",
      "tile.best": "أفضل يوم",
      "tile.best.value": "الخميس",
      tip: "أنت أكثر التزامًا قبل التاسعة صباحًا.",
    },
    focus: {
      "nav.title": "التركيز",
      "session.label": "عمل عميق",
      "session.count": "الجلسة 2 من 4",
      "timer.value": "18:24",
      "timer.caption": "متبقية",
      "action.pause": "إيقاف مؤقت",
      "action.end": "إنهاء",
      "break.next": "التالي: استراحة 5 دقائق",
      "sounds.title": "أصوات محيطة",
      "sound.rain": "مطر",
      "sound.cafe": "مقهى",
      "sound.forest": "غابة",
      "sound.waves": "أمواج",
      today: "ساعة و50 دقيقة من التركيز اليوم",
    },
    settings: {
      "nav.title": "الإعدادات",
      "pro.title": "Tempo Pro",
      "pro.body": "عادات بلا حدود وأدوات ومزامنة",
      "pro.action": "جرّبه مجانًا",
      "section.reminders": "التذكيرات",
      "reminder.morning": "مراجعة الصباح",
      "reminder.morning.time": "7:30 ص",
      "reminder.evening": "مراجعة المساء",
      "reminder.evening.time": "9:00 م",
      "reminder.smart": "تنبيهات ذكية",
      "reminder.smart.detail": "فقط عندما تتأخر",
      "section.appearance": "المظهر",
      "theme.system": "النظام",
      "theme.light": "فاتح",
      "theme.dark": "داكن",
      "section.general": "عام",
      "general.sounds": "الأصوات واللمس",
      "general.health": "المزامنة مع تطبيق صحتي",
      "general.week": "بداية الأسبوع",
      "general.week.value": "الإثنين",
      version: "Tempo 2.4.1",
    },
  },

  // Persian digits throughout, as Iranian apps set them.
  fa: {
    common: {
      "tab.today": "امروز",
      "tab.habits": "عادت‌ها",
      "tab.focus": "تمرکز",
      "tab.insights": "آمار",
      "tab.settings": "تنظیمات",
      "day.1": "د",
      "day.2": "س",
      "day.3": "چ",
      "day.4": "پ",
      "day.5": "ج",
      "day.6": "ش",
      "day.7": "ی",
    },
    home: {
      "nav.title": "امروز",
      greeting: "عصر بخیر، مایا",
      date: "سه‌شنبه ۱۴ مه",
      "ring.caption": "عادت انجام شد",
      "ring.note": "دو عادت دیگر تا پایان روز",
      streak: "۱۲ روز پیاپی",
      "section.habits": "عادت‌های شما",
      "section.more": "همه",
      "habit.run": "دویدن صبحگاهی",
      "habit.run.detail": "۵ کیلومتر · ۷:۰۰",
      "habit.water": "نوشیدن آب",
      "habit.water.detail": "۸ از ۸ لیوان",
      "habit.read": "مطالعه",
      "habit.read.detail": "۲۰ صفحه",
      "habit.meditate": "مدیتیشن",
      "habit.meditate.detail": "۱۰ دقیقه",
      "habit.journal": "یادداشت روزانه",
      "habit.journal.detail": "قبل از خواب",
      "habit.stretch": "حرکات کششی",
      "habit.stretch.detail": "۵ دقیقه · ۲۱:۳۰",
    },
    habits: {
      "nav.title": "عادت‌ها",
      "nav.add": "عادت جدید",
      "filter.all": "همه",
      "filter.active": "فعال",
      "filter.paused": "متوقف",
      "group.morning": "صبح",
      "habit.run": "دویدن صبحگاهی",
      "habit.run.schedule": "سه‌شنبه، پنجشنبه، شنبه",
      "habit.meditate": "مدیتیشن",
      "habit.meditate.schedule": "هر روز",
      "habit.water": "نوشیدن آب",
      "habit.water.schedule": "هر روز",
      "group.evening": "عصر",
      "habit.read": "مطالعه",
      "habit.read.schedule": "هر روز",
      "habit.journal": "یادداشت روزانه",
      "habit.journal.schedule": "هر روز",
      "habit.stretch": "حرکات کششی",
      "habit.stretch.schedule": "هر روز",
      summary: "۶ عادت · ۸۶٪ این هفته",
    },
    detail: {
      "nav.back": "عادت‌ها",
      "nav.edit": "ویرایش",
      "habit.name": "مدیتیشن",
      "habit.schedule": "هر روز · ۷:۱۵",
      "streak.current": "رکورد فعلی",
      "streak.current.value": "۱۲ روز",
      "streak.best": "بهترین رکورد",
      "streak.best.value": "۳۱ روز",
      "streak.note": "طولانی‌ترین رکورد شما از ماه مارس",
      "calendar.month": "مه ۲۰۲۴",
      "stat.rate": "این ماه",
      "stat.rate.value": "۸۶٪",
      "stat.total": "در کل",
      "stat.total.value": "۱۴۸ جلسه",
      "notes.title": "یادداشت‌ها",
      "notes.body": "ده دقیقه درست بعد از قهوه بهترین زمان است. یکشنبه اسکن بدن را امتحان کن.",
      "action.done": "ثبت به‌عنوان انجام‌شده",
    },
    insights: {
      "nav.title": "آمار",
      "range.week": "هفته",
      "range.month": "ماه",
      "range.year": "سال",
      "chart.title": "عادت‌های انجام‌شده",
      "chart.total": "۳۸ در این هفته",
      "chart.delta": "+۱۲٪ نسبت به هفته قبل",
      "rate.title": "نرخ انجام",
      "rate.value": "۸۶٪",
      "rate.caption": "بیشتر از ۷۴٪ در آوریل",
      "tile.focus": "زمان تمرکز",
      "tile.focus.value": "۶:۴۰ ساعت",
      "tile.best": "بهترین روز",
      "tile.best.value": "پنجشنبه",
      tip: "پیش از ساعت ۹ صبح منظم‌تر هستید.",
    },
    focus: {
      "nav.title": "تمرکز",
      "session.label": "کار عمیق",
      "session.count": "جلسه ۲ از ۴",
      "timer.value": "۱۸:۲۴",
      "timer.caption": "باقی‌مانده",
      "action.pause": "توقف",
      "action.end": "پایان",
      "break.next": "بعدی: ۵ دقیقه استراحت",
      "sounds.title": "صدای محیط",
      "sound.rain": "باران",
      "sound.cafe": "کافه",
      "sound.forest": "جنگل",
      "sound.waves": "موج",
      today: "امروز ۱ ساعت و ۵۰ دقیقه تمرکز",
    },
    settings: {
      "nav.title": "تنظیمات",
      "pro.title": "Tempo Pro",
      "pro.body": "عادت‌های نامحدود، ابزارک‌ها و همگام‌سازی",
      "pro.action": "رایگان امتحان کنید",
      "section.reminders": "یادآورها",
      "reminder.morning": "مرور صبحگاهی",
      "reminder.morning.time": "۷:۳۰",
      "reminder.evening": "مرور شبانه",
      "reminder.evening.time": "۲۱:۰۰",
      "reminder.smart": "یادآوری هوشمند",
      "reminder.smart.detail": "فقط وقتی عقب افتاده‌اید",
      "section.appearance": "ظاهر",
      "theme.system": "سیستم",
      "theme.light": "روشن",
      "theme.dark": "تیره",
      "section.general": "عمومی",
      "general.sounds": "صدا و لمس",
      "general.health": "همگام‌سازی با Apple Health",
      "general.week": "شروع هفته",
      "general.week.value": "دوشنبه",
      version: "Tempo 2.4.1",
    },
  },
};

// Wording that Android words differently (its own names for haptics and the
// health store).
const SCREEN_STRINGS_ANDROID = {
  en: { settings: { "general.sounds": "Sounds & vibration", "general.health": "Sync with Health Connect" } },
  de: { settings: { "general.sounds": "Töne & Vibration", "general.health": "Mit Health Connect synchronisieren" } },
  fr: { settings: { "general.sounds": "Sons et vibreur", "general.health": "Synchroniser avec Santé Connect" } },
  es: { settings: { "general.sounds": "Sonidos y vibración", "general.health": "Sincronizar con Health Connect" } },
  ja: { settings: { "general.sounds": "サウンドとバイブレーション", "general.health": "ヘルスコネクトと同期" } },
  ar: { settings: { "general.sounds": "الأصوات والاهتزاز", "general.health": "المزامنة مع Health Connect" } },
  fa: { settings: { "general.sounds": "صدا و لرزش", "general.health": "همگام‌سازی با Health Connect" } },
};

// "pt-BR" tries "pt-BR", then "pt", then English.
function localeChain(locale) {
  const chain = [];
  if (locale) chain.push(locale);
  const dash = locale.indexOf("-");
  if (dash > 0) chain.push(locale.slice(0, dash));
  if (!chain.includes("en")) chain.push("en");
  return chain;
}

const screenStringsMemo = new Map();

// The words of a built-in screen as [key, value] pairs in screen order, or
// null for a page the catalogue doesn't know.
function screenStrings(builtin, locale, os) {
  const english = own(SCREEN_STRINGS.en, builtin);
  if (!english || builtin === "common") return null;
  const memoKey = builtin + "\u0001" + locale + "\u0001" + os;
  const cached = screenStringsMemo.get(memoKey);
  if (cached) return cached;
  const tables = [];
  for (const code of localeChain(locale)) {
    if (os === "android") {
      const variant = own(own(SCREEN_STRINGS_ANDROID, code), builtin);
      if (variant) tables.push(variant);
    }
    const forLocale = own(SCREEN_STRINGS, code);
    if (forLocale) {
      const page = own(forLocale, builtin);
      if (page) tables.push(page);
      const common = own(forLocale, "common");
      if (common) tables.push(common);
    }
  }
  const pairs = Object.keys(english).map((key) => {
    for (const table of tables) {
      const value = own(table, key);
      if (typeof value === "string") return [key, value];
    }
    return [key, english[key]];
  });
  screenStringsMemo.set(memoKey, pairs);
  return pairs;
}

// What the screen shows: the built-in words with the user's overrides
// (texts[page][locale].screen) laid over them. Absent for unknown pages.
function screenTextMap(builtin, locale, os, overrides) {
  const pairs = screenStrings(builtin, locale, os);
  if (!pairs) return null;
  const out = new Map(pairs);
  if (isPlainObject(overrides)) {
    for (const key of Object.keys(overrides)) {
      if (out.has(key) && typeof overrides[key] === "string") out.set(key, overrides[key]);
    }
  }
  return out;
}

// ---------------------------------------------------------------------------
// Catalogue

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
].map(([code, nativeName, region, englishName]) => ({ code, nativeName, flag: flagOf(region), englishName }));

// Offered for a new set: the markets most apps localise for first, plus the
// right-to-left pair the layout has to get right.
const DEFAULT_LOCALE_CODES = ["en", "de", "fr", "es", "it", "pt-BR", "nl", "ru", "ja", "ko", "zh-Hans", "ar", "fa"];

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
    locales: DEFAULT_LOCALE_CODES.map((code) => ({ ...byCode.get(code), label: byCode.get(code).nativeName })),
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

// ---------------------------------------------------------------------------
// Styles

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
    if (kind === "number" ? typeof value !== "number" : kind === "string" ? typeof value !== "string" : false) {
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

// ---------------------------------------------------------------------------
// Documents and their memo

// The set's documents, parsed once per content key, with whatever has been
// worked out from them. A gallery asks ~800 questions of the same documents.
class DocumentContext {
  constructor(texts, styles) {
    this.texts = documentObject(texts);
    this.styles = documentObject(styles);
    this.memo = new Map();
  }

  remember(key, compute) {
    let value = this.memo.get(key);
    if (value === undefined) {
      value = compute();
      this.memo.set(key, value);
    }
    return value;
  }

  // { style, hash } of a page in a language. Shared by every call on these
  // documents: read it, never change it.
  style(page, locale) {
    return this.remember("style\u0001" + page + "\u0001" + locale, () => {
      const style = resolveStyle(this.styles, page, locale);
      return { style, hash: hash64(canonicalJSON(style)) };
    });
  }

  // The page's text entry in a language: title, subtitle, the screen's
  // overrides (strings only), and hashes of what each picture depends on.
  text(page, locale) {
    return this.remember("text\u0001" + page + "\u0001" + locale, () => {
      const entry = own(own(this.texts, page), locale);
      const title = own(entry, "title");
      const subtitle = own(entry, "subtitle");
      const screen = own(entry, "screen");
      const overrides = {};
      if (isPlainObject(screen)) {
        for (const key of Object.keys(screen)) if (typeof screen[key] === "string") overrides[key] = screen[key];
      }
      const screenCanonical = canonicalJSON(overrides);
      return {
        title: typeof title === "string" ? title : null,
        subtitle: typeof subtitle === "string" ? subtitle : null,
        overrides,
        screenHash: hash64(screenCanonical),
        wordsHash: hash64(
          canonicalJSON([typeof title === "string" ? title : null, typeof subtitle === "string" ? subtitle : null]),
        ),
      };
    });
  }
}

const DOCS_MISSING = "__vells_docs_missing__";
const DOCS_CAPACITY = 16;
const rememberedDocs = new Map(); // key -> DocumentContext, oldest first

function rememberDocs(args) {
  const key = stringArg(args.key);
  rememberedDocs.delete(key);
  rememberedDocs.set(key, new DocumentContext(args.texts, args.styles));
  while (rememberedDocs.size > DOCS_CAPACITY) rememberedDocs.delete(rememberedDocs.keys().next().value);
  return null;
}

function recallDocs(key) {
  const context = rememberedDocs.get(key);
  if (!context) throw new Error(DOCS_MISSING);
  rememberedDocs.delete(key);
  rememberedDocs.set(key, context);
  return context;
}

// ---------------------------------------------------------------------------
// Cache names

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
    "captures\u0001" + k.set + "\u0001" + k.page + "\u0001" + k.builtin + "\u0001" + k.os + "\u0001" + k.theme + "\u0001" + k.locale,
    () => {
      const text = context.text(k.page, k.locale);
      const hash = hash64(
        JSON.stringify([CAPTURE_REVISION, k.set, k.page, k.builtin, k.os, k.theme, k.locale, text.screenHash]),
      );
      const base = namePrefix(k) + "-" + hash;
      return {
        captures: { hero: base + "-hero.png", heroRect: base + "-hero.json", phone: base + "-phone.png" },
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
    ]),
  );
  return namePrefix(k) + "-" + hash + ".png";
}

// ---------------------------------------------------------------------------
// Markup helpers shared by the phone screens and the store image

const HTML_ESCAPES = { "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;", "'": "&#39;" };

function esc(value) {
  return String(value).replace(/[&<>"']/g, (c) => HTML_ESCAPES[c]);
}

// Shortest decimal for CSS: no "1.0000001px" from float arithmetic.
function fx(value, digits = 2) {
  const n = Number(value);
  if (!Number.isFinite(n)) return "0";
  const text = n.toFixed(digits);
  const trimmed = text.indexOf(".") >= 0 ? text.replace(/0+$/, "").replace(/\.$/, "") : text;
  return trimmed === "-0" ? "0" : trimmed;
}

function numberOr(value, fallback) {
  return typeof value === "number" && Number.isFinite(value) ? value : fallback;
}

function clamp(value, lo, hi) {
  return Math.min(hi, Math.max(lo, value));
}

// Only values that cannot break out of a style attribute reach CSS.
function cssColor(value, fallback) {
  if (typeof value !== "string") return fallback;
  const v = value.trim();
  if (!v || v.length > 64 || /[;{}<>"'\\]/.test(v)) return fallback;
  return v;
}

// "#rgb", "#rrggbb", "#rrggbbaa", "rgb()/rgba()" to [r, g, b, a]; null otherwise.
function parseColor(value) {
  if (typeof value !== "string") return null;
  const v = value.trim();
  let m = /^#([0-9a-f]{3,8})$/i.exec(v);
  if (m) {
    let h = m[1];
    if (h.length === 3 || h.length === 4) h = [...h].map((c) => c + c).join("");
    if (h.length !== 6 && h.length !== 8) return null;
    const n = (i) => parseInt(h.slice(i, i + 2), 16);
    return [n(0), n(2), n(4), h.length === 8 ? n(6) / 255 : 1];
  }
  m = /^rgba?\(([^)]*)\)$/i.exec(v);
  if (m) {
    const parts = m[1].split(/[\s,/]+/).filter(Boolean).map(Number);
    if (parts.length < 3 || parts.some((p) => !Number.isFinite(p))) return null;
    return [parts[0], parts[1], parts[2], parts.length > 3 ? parts[3] : 1];
  }
  return null;
}

function mixColor(a, b, t) {
  return [0, 1, 2].map((i) => Math.round(a[i] + (b[i] - a[i]) * t));
}

function rgba(rgb, alpha) {
  return "rgba(" + rgb[0] + "," + rgb[1] + "," + rgb[2] + "," + fx(alpha, 3) + ")";
}

// Relative luminance, 0 (black) to 1 (white).
function luminance(rgb) {
  const lin = (c) => {
    const s = c / 255;
    return s <= 0.03928 ? s / 12.92 : Math.pow((s + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * lin(rgb[0]) + 0.7152 * lin(rgb[1]) + 0.0722 * lin(rgb[2]);
}

const RTL_LOCALES = new Set(["ar", "fa"]);

function isRtlLocale(locale) {
  return RTL_LOCALES.has(locale);
}

// Persian apps write Persian digits; everything else keeps the Western ones.
function localDigits(text, locale) {
  const s = String(text);
  if (locale !== "fa") return s;
  return s.replace(/[0-9]/g, (d) => String.fromCharCode(0x06f0 + d.charCodeAt(0) - 48));
}

// CJK glyphs take their regional forms from `lang`; naming the face as well
// keeps Chromium from picking another region's CJK font for a fallback.
function cjkFamily(locale) {
  if (locale === "ja" || locale.startsWith("ja-")) return "'Noto Sans CJK JP'";
  if (locale === "ko" || locale.startsWith("ko-")) return "'Noto Sans CJK KR'";
  if (locale === "zh-Hant" || locale === "zh-TW" || locale === "zh-HK") return "'Noto Sans CJK TC'";
  if (locale.startsWith("zh")) return "'Noto Sans CJK SC'";
  return "'Noto Sans CJK JP'";
}

// ---------------------------------------------------------------------------
// Fonts: the catalogue's files inlined as data: URIs, only those whose
// unicode range the page's text reaches, so a Latin page doesn't carry Arabic.

const fontBase64Memo = new Map();

function fontBase64(file) {
  if (fontBase64Memo.has(file)) return fontBase64Memo.get(file);
  let data = null;
  if (typeof __vellsHost !== "undefined" && __vellsHost && typeof __vellsHost.read === "function") {
    const read = __vellsHost.read("/core/assets/fonts/" + file, "base64");
    if (typeof read === "string" && read) data = read;
  }
  fontBase64Memo.set(file, data);
  return data;
}

let fontRangesMemo = null;

function fontRanges() {
  if (fontRangesMemo) return fontRangesMemo;
  fontRangesMemo = FONT_FILES.map((f) => ({
    font: f,
    ranges: f.unicodeRange.split(",").map((part) => {
      const [lo, hi] = part.trim().replace(/^U\+/i, "").split("-");
      const a = parseInt(lo, 16);
      return [a, hi ? parseInt(hi, 16) : a];
    }),
  }));
  return fontRangesMemo;
}

// @font-face rules for `families` (page family names), limited to the files
// that some character of `text` needs.
function fontFaceCss(families, text) {
  const codes = new Set();
  for (const ch of text) codes.add(ch.codePointAt(0));
  let css = "";
  for (const { font, ranges } of fontRanges()) {
    if (!families.has(font.family)) continue;
    let needed = false;
    for (const code of codes) {
      for (const [lo, hi] of ranges) {
        if (code >= lo && code <= hi) {
          needed = true;
          break;
        }
      }
      if (needed) break;
    }
    if (!needed) continue;
    const data = fontBase64(font.file);
    if (!data) continue;
    css +=
      "@font-face{font-family:'" +
      font.family +
      "';src:url(data:font/woff2;base64," +
      data +
      ") format('woff2');font-weight:" +
      font.weight +
      ";font-style:normal;font-display:block;unicode-range:" +
      font.unicodeRange +
      "}\n";
  }
  return css;
}

// ---------------------------------------------------------------------------
// Icons: our own line drawings on a 24-unit grid, stroked in currentColor.

const ICON_PATHS = {
  run: '<circle cx="15.6" cy="4.4" r="2.1"/><path d="M5 12.4l3.3-3.4h4.6l2.2 3.7 3.7 1.1M12.1 9.1l-2.2 5.5 3.7 2.6-1.1 4.9M9.9 14.6l-3.6 6.2"/>',
  drop: '<path d="M12 3.3c3.6 4.3 6.1 7.6 6.1 10.8a6.1 6.1 0 0 1-12.2 0c0-3.2 2.5-6.5 6.1-10.8z"/><path d="M9.2 14.6a2.9 2.9 0 0 0 2.6 2.7"/>',
  book: '<path d="M3.5 5.7c2.9-1.2 5.7-.9 8.5.9 2.8-1.8 5.6-2.1 8.5-.9v12.8c-2.9-1.2-5.7-.9-8.5.9-2.8-1.8-5.6-2.1-8.5-.9zM12 6.6v13"/>',
  lotus: '<path d="M12 19.4c-2.3-1.8-3.5-4.2-3.5-7 0-2.6 1.2-5 3.5-7 2.3 2 3.5 4.4 3.5 7 0 2.8-1.2 5.2-3.5 7zM8.7 10.2c-2-.7-4-.8-5.9-.4.3 5.3 4.1 9.4 9.2 9.6M15.3 10.2c2-.7 4-.8 5.9-.4-.3 5.3-4.1 9.4-9.2 9.6"/>',
  pen: '<path d="M4.6 19.4l1-4.5L15.8 4.7a2 2 0 0 1 2.8 0l.7.7a2 2 0 0 1 0 2.8L9.1 18.4zM13.9 6.6l3.5 3.5"/>',
  stretch: '<circle cx="12" cy="4.4" r="2.1"/><path d="M4.4 7.7l7.6 2.2 7.6-2.2M12 9.9V15M12 15l-3.9 5.6M12 15l3.9 5.6"/>',
  check: '<path d="M5.6 12.6l4.1 4.1 8.7-9.3"/>',
  today: '<circle cx="12" cy="12" r="8.6"/><path d="M8.3 12.3l2.6 2.6 4.9-5.2"/>',
  plus: '<path d="M12 5.5v13M5.5 12h13"/>',
  chevron: '<path d="M9.5 5.8l6.2 6.2-6.2 6.2"/>',
  chevronDown: '<path d="M6.5 9.5l5.5 5.5 5.5-5.5"/>',
  back: '<path d="M15.2 4.8L8 12l7.2 7.2"/>',
  arrowBack: '<path d="M19.5 12H5M11 5.5L4.5 12l6.5 6.5"/>',
  calendar: '<rect x="3.8" y="5" width="16.4" height="15" rx="3.3"/><path d="M3.8 10h16.4M8.3 3v4M15.7 3v4"/>',
  list: '<path d="M9.6 6.6h10M9.6 12h10M9.6 17.4h10"/><circle cx="5" cy="6.6" r="1.2"/><circle cx="5" cy="12" r="1.2"/><circle cx="5" cy="17.4" r="1.2"/>',
  timer: '<circle cx="12" cy="13.4" r="7.5"/><path d="M12 13.4V9.6M9.6 2.9h4.8M18.1 6.7l1.4-1.4"/>',
  chart: '<path d="M5 19.5v-6.5M10 19.5V5.5M15 19.5V10M20 19.5v-4.5"/>',
  sliders: '<path d="M4 7.2h8.6M17.4 7.2H20M4 16.8h2.6M11.4 16.8H20"/><circle cx="15" cy="7.2" r="2.4"/><circle cx="9" cy="16.8" r="2.4"/>',
  rain: '<path d="M7.2 14.3h9.6a3.6 3.6 0 0 0 .5-7.2 5.4 5.4 0 0 0-10.4 1.2 3 3 0 0 0 .3 6z"/><path d="M8.4 17.6l-.9 2.4M12.4 17.6l-.9 2.4M16.4 17.6l-.9 2.4"/>',
  cup: '<path d="M5 9.2h11v4.6a5 5 0 0 1-5 5h-1a5 5 0 0 1-5-5zM16 10.4h1.4a2.6 2.6 0 0 1 0 5.2H16M9 3.6v2.4M12.4 3.6v2.4"/>',
  tree: '<path d="M12 3.2l5.8 8.6h-3.4l4 5.9H5.6l4-5.9H6.2zM12 17.7v3.3"/>',
  wave: '<path d="M3 9.2c2 0 2.5-2 4.5-2s2.5 2 4.5 2 2.5-2 4.5-2 2.5 2 4.5 2M3 15.2c2 0 2.5-2 4.5-2s2.5 2 4.5 2 2.5-2 4.5-2 2.5 2 4.5 2"/>',
  bell: '<path d="M6.3 16.4V11a5.7 5.7 0 0 1 11.4 0v5.4l1.6 1.8H4.7zM10 20.6a2.2 2.2 0 0 0 4 0"/>',
  moon: '<path d="M19.6 14.6A7.9 7.9 0 0 1 9.4 4.4a7.9 7.9 0 1 0 10.2 10.2z"/>',
  sun: '<circle cx="12" cy="12" r="4"/><path d="M12 2.8v2M12 19.2v2M2.8 12h2M19.2 12h2M5.5 5.5l1.4 1.4M17.1 17.1l1.4 1.4M5.5 18.5l1.4-1.4M17.1 6.9l1.4-1.4"/>',
  speaker: '<path d="M4 9.4h3.6L12.2 5.8v12.4l-4.6-3.6H4zM15.6 9a4.2 4.2 0 0 1 0 6M18.2 6.4a7.8 7.8 0 0 1 0 11.2"/>',
  heart: '<path d="M12 19.8s-7.2-4.4-7.2-10a4.1 4.1 0 0 1 7.2-2.7 4.1 4.1 0 0 1 7.2 2.7c0 5.6-7.2 10-7.2 10z"/>',
  clock: '<circle cx="12" cy="12" r="8.4"/><path d="M12 7.6V12l3 2"/>',
  bulb: '<path d="M9.2 17.6h5.6M10 20.8h4M12 3.2a5.9 5.9 0 0 0-3.5 10.7c.6.5.9 1.1.9 1.9v.3h5.2v-.3c0-.8.3-1.4.9-1.9A5.9 5.9 0 0 0 12 3.2z"/>',
  more: '<circle cx="5.5" cy="12" r="1.4"/><circle cx="12" cy="12" r="1.4"/><circle cx="18.5" cy="12" r="1.4"/>',
  moreVertical: '<circle cx="12" cy="5.5" r="1.4"/><circle cx="12" cy="12" r="1.4"/><circle cx="12" cy="18.5" r="1.4"/>',
  search: '<circle cx="10.8" cy="10.8" r="6.3"/><path d="M15.5 15.5l4.6 4.6"/>',
  tune: '<path d="M4 6.5h16M7 12h10M10 17.5h4"/>',
  trophy: '<path d="M7.5 4.5h9v4.8a4.5 4.5 0 0 1-9 0zM7.5 6.5H4.6a3 3 0 0 0 3.3 4.3M16.5 6.5h2.9a3 3 0 0 1-3.3 4.3M12 13.8v3.4M8.6 20.2h6.8M9.6 17.2h4.8v3H9.6z"/>',
};

// Solid shapes, filled in currentColor.
const ICON_SOLID = {
  flame: '<path d="M12.1 21.5c-4.1 0-7.1-2.8-7.1-6.7 0-3 1.9-5.2 3.4-6.9.3 1.9 1.1 3.1 2.4 3.7-.4-3.5 1.1-6.5 3.6-8.6.2 3.1 1.8 5 3.1 6.8 1 1.4 1.6 3 1.6 5 0 3.9-3 6.7-7 6.7zm.1-2.1c1.7 0 2.9-1.2 2.9-2.9 0-1.4-.8-2.5-1.8-3.5-.3 1.2-1 2-2 2.3.1-1-.2-1.9-.8-2.7-.8 1-1.4 2-1.4 3.4.1 2 1.3 3.4 3.1 3.4z"/>',
  sparkle: '<path d="M12 2.5c.7 5.3 2.6 7.4 8 8.2v.6c-5.4.8-7.3 2.9-8 8.2h-.6c-.7-5.3-2.6-7.4-8-8.2v-.6c5.4-.8 7.3-2.9 8-8.2z"/>',
  crown: '<path d="M3.6 8.2l4.6 3.6L12 5l3.8 6.8 4.6-3.6-1.6 9.4H5.2zM5.6 19h12.8v1.8H5.6z"/>',
  play: '<path d="M8 5.2v13.6c0 .8.9 1.3 1.6.8l10-6.8c.6-.4.6-1.2 0-1.6l-10-6.8C8.9 3.9 8 4.4 8 5.2z"/>',
  pause: '<rect x="6" y="4.8" width="4.2" height="14.4" rx="1.4"/><rect x="13.8" y="4.8" width="4.2" height="14.4" rx="1.4"/>',
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

// ---------------------------------------------------------------------------
// Tempo's screens: palette, platform chrome and the pieces the pages share.
// Every page draws into #device at device size; the status bar, navigation and
// corner radius follow the platform, the content and the words are Tempo's.

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
    return '<div class="sb">' + time + '<span class="sb-icons">' + signal + wifi + battery + "</span></div>";
  }
  const wifi = '<svg width="17" height="17" viewBox="0 0 24 24" fill="currentColor"><path d="M12 20.6L.7 8.7a16.2 16.2 0 0 1 22.6 0z"/></svg>';
  const signal = '<svg width="15" height="15" viewBox="0 0 24 24" fill="currentColor"><path d="M22 22H2L22 2z"/></svg>';
  const battery =
    '<svg width="10" height="17" viewBox="0 0 10 17" fill="currentColor"><rect x="3" y="0" width="4" height="2.2" rx="0.7"/><rect x="0.4" y="1.6" width="9.2" height="15.4" rx="1.9"/></svg>';
  return '<div class="sb">' + time + '<span class="sb-icons">' + wifi + signal + battery + "</span></div>";
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
      items += '<div class="tab' + (on ? " on" : "") + '">' + icon(glyph, 27) + "<span>" + S.t(key) + "</span></div>";
    } else {
      items +=
        '<div class="tab' + (on ? " on" : "") + '"><span class="pill">' + icon(glyph, 24) + "</span><span>" + S.t(key) + "</span></div>";
    }
  }
  return '<nav class="tabbar" style="font-size:' + size + 'px">' + items + "</nav>";
}

function homeIndicator() {
  return '<div class="homebar"></div>';
}

// iOS root screens: a large title under the status bar, actions above it.
function iosLargeTitle(S, title, opts = {}) {
  const actions = opts.actions ? '<div class="navrow"><span></span><span class="navacts">' + opts.actions + "</span></div>" : "";
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
  const nav = opts.back ? '<span class="iconbtn flipx" aria-label="' + opts.back + '">' + icon("arrowBack", 24) + "</span>" : "";
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
  return '<span class="sw' + (on ? " on" : "") + '"><span class="knob">' + (on ? icon("check", 16) : "") + "</span></span>";
}

// iOS segmented control / Android segmented buttons.
function segmented(S, labels, selected) {
  let out = '<div class="seg">';
  labels.forEach((label, i) => {
    const on = i === selected;
    out += '<span class="seg-item' + (on ? " on" : "") + '">' + (on && S.android ? icon("check", 17) : "") + "<span>" + label + "</span></span>";
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
  return "M" + fx(x1) + " " + fx(y1) + "A" + fx(r) + " " + fx(r) + " 0 " + large + " 1 " + fx(x2) + " " + fx(y2);
}

// The shared stylesheet of every screen of one platform and theme.
function screenCss(S) {
  const T = S.tone;
  const W = S.device.width;
  const H = S.device.height;
  const ios = S.ios;
  let css =
    "*{box-sizing:border-box;margin:0;padding:0}" +
    "html,body{background:transparent;overflow:hidden;width:" + W + "px;height:" + H + "px}" +
    "#device{position:relative;width:" + W + "px;height:" + H + "px;border-radius:" + S.device.radius + "px;overflow:hidden;" +
    "background:" + T.bg + ";color:" + T.text + ";font-family:" + uiFamily(S) + ";font-size:15px;line-height:1.3;" +
    "-webkit-font-smoothing:antialiased;text-rendering:geometricPrecision;font-variant-numeric:tabular-nums;" +
    "--bg:" + T.bg + ";--card:" + T.card + ";--fill:" + T.fill + ";--fill2:" + T.fill2 + ";--text:" + T.text + ";--text2:" + T.text2 +
    ";--text3:" + T.text3 + ";--line:" + T.line + ";--accent:" + SAMPLE_APP.accent + ";--accentInk:" + T.accentInk +
    ";--accentSoft:" + T.accentSoft + ";--good:" + T.good + ";--goodSoft:" + T.goodSoft + "}" +
    "svg{display:block;flex:none}" +
    // Japanese has no spaces; phrase analysis wraps a line between phrases, not inside a word.
    ":lang(ja) #device{word-break:auto-phrase;overflow-wrap:break-word}" +
    (S.rtl ? "[dir=rtl] .flipx svg,[dir=rtl] svg.flipx{transform:scaleX(-1)}" : "") +
    ".sb{position:absolute;top:0;left:0;right:0;z-index:40;display:flex;align-items:center;justify-content:space-between;font-family:" +
    systemFamily(S) + ";color:var(--text)}" +
    ".sb-icons{display:flex;align-items:center}" +
    ".content{position:absolute;left:0;right:0;top:0;bottom:0;overflow:hidden}" +
    ".card{background:var(--card);box-shadow:" + T.shadow + "}" +
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
      ".tabbar{height:84px;padding:7px 4px 0;background:" + T.bar + ";border-top:0.5px solid var(--line)}" +
      ".tab{gap:2px;color:" + T.tabOff + ";font-weight:700;letter-spacing:0.1px}" +
      ".tab.on{color:var(--accent)}" +
      ".lt{padding:54px 18px 0}" +
      ".navrow{height:44px;display:flex;align-items:center;justify-content:space-between}" +
      ".navacts{display:flex;gap:10px;color:var(--accent)}" +
      ".lt-bare .lt-row{padding-top:10px}" +
      ".lt-row{display:flex;align-items:flex-end;justify-content:space-between;gap:12px;padding-bottom:10px}" +
      ".lt h1{font-size:34px;font-weight:850;letter-spacing:-0.4px;line-height:1.12}" +
      ".eyebrow{font-size:13px;font-weight:800;color:var(--text2);text-transform:uppercase;letter-spacing:0.6px;margin-bottom:1px}" +
      ".roundbtn{width:34px;height:34px;border-radius:50%;display:inline-flex;align-items:center;justify-content:center;background:var(--accentSoft);color:var(--accentInk)}" +
      ".seg{background:" + (S.dark ? "rgba(118,118,128,0.24)" : "rgba(118,118,128,0.12)") + ";border-radius:10px;padding:2px;height:34px}" +
      ".seg-item{border-radius:8px;font-size:14px;font-weight:700;color:var(--text)}" +
      ".seg-item.on{background:" + (S.dark ? "#5B5C63" : "#FFFFFF") + ";box-shadow:0 2px 6px rgba(0,0,0,0.10),0 0 0 0.5px rgba(0,0,0,0.04);font-weight:800}" +
      ".sw{width:51px;height:31px;border-radius:16px;background:" + (S.dark ? "#3A3A40" : "#E3E1DD") + ";padding:2px}" +
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
      ".tabbar{height:106px;padding:12px 6px 0;background:" + T.bar + "}" +
      ".tab{gap:4px;color:" + T.tabOff + ";font-weight:700}" +
      ".tab .pill{width:64px;height:32px;border-radius:16px;display:flex;align-items:center;justify-content:center}" +
      ".tab.on{color:var(--text);font-weight:850}" +
      ".tab.on .pill{background:" + T.indicator + ";color:" + T.onIndicator + "}" +
      ".appbar{position:absolute;top:44px;left:0;right:0;height:64px;display:flex;align-items:center;gap:4px;padding:0 8px 0 8px;z-index:20}" +
      ".appbar-title{flex:1;min-width:0;font-size:23px;font-weight:750;letter-spacing:-0.1px;padding-inline:10px 0;white-space:nowrap;overflow:hidden}" +
      ".iconbtn{width:48px;height:48px;display:inline-flex;align-items:center;justify-content:center;color:var(--text2);flex:none}" +
      ".seg{border-radius:20px;height:40px;box-shadow:inset 0 0 0 1px " + T.text3 + ";overflow:hidden}" +
      ".seg-item{font-size:14px;font-weight:750;color:var(--text)}" +
      ".seg-item+.seg-item{box-shadow:inset 1px 0 0 " + T.text3 + "}" +
      ".seg-item.on{background:" + T.indicator + ";color:" + T.onIndicator + "}" +
      ".sw{width:52px;height:32px;border-radius:16px;background:var(--fill);box-shadow:inset 0 0 0 2px " + T.text3 + ";padding:0 8px}" +
      ".sw .knob{width:16px;height:16px;border-radius:50%;background:" + T.text3 + "}" +
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

// ---------------------------------------------------------------------------
// The pages

// Top of the scrolling content under each platform's header.
function contentTop(S, withLargeTitle) {
  if (S.ios) return withLargeTitle ? 0 : 98;
  return 108;
}

// Today: how the day is going, and the habits still open.
function homePage(S) {
  const data = SCREEN_DATA.home;
  const size = 124;
  const stroke = 13;
  const r = (size - stroke) / 2 - 1;
  const c = size / 2;
  const step = 360 / data.ring.total;
  const gap = 19;
  let arcs = "";
  for (let i = 0; i < data.ring.total; i++) {
    const from = i * step + gap / 2;
    const to = (i + 1) * step - gap / 2;
    arcs +=
      '<path d="' +
      arcPath(c, c, r, from, to) +
      '" stroke="' +
      (i < data.ring.done ? "url(#ringGrad)" : "var(--fill)") +
      '" stroke-width="' +
      stroke +
      '" stroke-linecap="round" fill="none"/>';
  }
  const ring =
    '<svg width="' + size + '" height="' + size + '" viewBox="0 0 ' + size + " " + size + '">' +
    '<defs><linearGradient id="ringGrad" x1="0" y1="0" x2="1" y2="1"><stop offset="0" stop-color="#FF9A62"/><stop offset="1" stop-color="#FF5A3C"/></linearGradient></defs>' +
    arcs + "</svg>";

  const header = S.ios
    ? iosLargeTitle(S, S.t("nav.title"), { eyebrow: S.t("date"), trailing: avatar(38) })
    : androidTopBar(S, { title: S.t("nav.title"), actions: [icon("calendar", 24)], trailing: '<span class="iconbtn">' + avatar(32) + "</span>" });

  const chipInset = 18 + size + 16;
  const hero =
    '<div class="hero-wrap">' +
    '<div class="card hero" data-vell="hero" data-vell-plate>' +
    '<div class="ring">' + ring +
    '<div class="ring-center"><div class="ring-num">' + S.n(data.ring.done) + '<span>/' + S.n(data.ring.total) + "</span></div>" +
    '<div class="ring-cap">' + S.t("ring.caption") + "</div></div></div>" +
    '<div class="hero-text">' +
    (S.android ? '<div class="hero-date">' + S.t("date") + "</div>" : "") +
    '<div class="hero-greet">' + S.t("greeting") + "</div>" +
    '<div class="hero-note">' + S.t("ring.note") + "</div>" +
    '<div class="chip-space"></div></div></div>' +
    '<div class="streak" data-vell-with-hero style="inset-inline-start:' + chipInset + 'px">' + icon("flame", 15) + "<span>" + S.t("streak") + "</span></div>" +
    "</div>";

  let rows = "";
  for (const h of data.habits) {
    rows +=
      '<div class="li habit">' +
      iconTile(h.icon, h.tint, 40, S.ios ? 12 : 20, S) +
      '<div class="grow"><div class="h-name">' + S.t(h.key) + '</div><div class="h-detail">' + S.t(h.key + ".detail") + "</div></div>" +
      checkMark(S, h.done, h.tint, 30) +
      "</div>";
  }
  const list =
    '<div class="sect"><h2>' + S.t("section.habits") + '</h2><span class="more">' + S.t("section.more") + "</span></div>" +
    '<div class="list' + (S.ios ? " card" : "") + '">' + rows + "</div>";

  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="content"' + top + ">" + (S.ios ? header : "") + '<div class="pad">' + hero + list + "</div></div>" +
    (S.android ? header : "") +
    tabBar(S, "tab.today") +
    homeIndicator();

  const css =
    ".pad{padding:" + (S.ios ? "4px 16px 0" : "8px 16px 0") + "}" +
    ".hero-wrap{position:relative}" +
    ".hero{display:flex;align-items:center;gap:16px;padding:18px;border-radius:" + PLATE_RADIUS[S.os] + "px;min-height:164px}" +
    ".ring{position:relative;width:" + size + "px;height:" + size + "px;flex:none}" +
    ".ring-center{position:absolute;inset:0;display:flex;flex-direction:column;align-items:center;justify-content:center;text-align:center;padding:0 22px}" +
    ".ring-num{font-size:38px;font-weight:900;line-height:1;letter-spacing:-1px}" +
    ".ring-num span{font-size:21px;font-weight:800;color:var(--text3);letter-spacing:0}" +
    ".ring-cap{font-size:11.5px;font-weight:800;color:var(--text2);line-height:1.15;margin-top:3px}" +
    ".hero-text{flex:1;min-width:0}" +
    ".hero-date{font-size:13px;font-weight:800;color:var(--text2);margin-bottom:2px}" +
    ".hero-greet{font-size:19px;font-weight:850;line-height:1.2;letter-spacing:-0.2px}" +
    ":lang(ja) .hero-greet,:lang(ko) .hero-greet,:lang(zh) .hero-greet{word-break:keep-all;overflow-wrap:anywhere}" +
    ".hero-note{font-size:14px;font-weight:650;color:var(--text2);margin-top:4px;line-height:1.3}" +
    ".chip-space{height:40px}" +
    ".streak{position:absolute;bottom:20px;display:inline-flex;align-items:center;gap:5px;height:30px;padding:0 11px 0 9px;padding-inline:9px 11px;border-radius:15px;" +
    "background:var(--accentSoft);color:var(--accentInk);font-size:13px;font-weight:850;white-space:nowrap}" +
    ".sect{display:flex;align-items:baseline;justify-content:space-between;margin:24px 4px 10px}" +
    ".sect h2{font-size:21px;font-weight:850;letter-spacing:-0.2px}" +
    ".more{font-size:15px;font-weight:750;color:var(--accentInk)}" +
    (S.ios ? ".list{border-radius:22px}.habit{height:64px}" : ".habit{height:66px}") +
    ".h-name{font-size:16.5px;font-weight:800;white-space:nowrap;overflow:hidden;text-overflow:ellipsis}" +
    ".h-detail{font-size:13.5px;font-weight:650;color:var(--text2);margin-top:1px;white-space:nowrap;overflow:hidden;text-overflow:ellipsis}";
  return screenDocument(S, body, css);
}

// The last seven days of one habit: done, missed, or not due.
function weekDots(S, week, tint) {
  let out = '<span class="dots">';
  week.forEach((v, i) => {
    const today = i === week.length - 1;
    if (v === 1) out += '<i class="dot" style="background:' + tint + '"></i>';
    else if (v === 0) out += '<i class="dot miss' + (today ? " today" : "") + '"></i>';
    else out += '<i class="dot rest"></i>';
  });
  return out + "</span>";
}

// Day initials of the last seven days, oldest first, ending today.
function weekLetters(S) {
  const today = SCREEN_DATA.habits.todayWeekday;
  let out = '<span class="dots letters">';
  for (let i = 0; i < 7; i++) {
    const weekday = (today - 6 + i + 14) % 7;
    out += '<i class="' + (i === 6 ? "now" : "") + '">' + S.t("day." + (weekday + 1)) + "</i>";
  }
  return out + "</span>";
}

// Habits: every habit by time of day, with its week at a glance.
function habitsPage(S) {
  const data = SCREEN_DATA.habits;
  const filters = [S.t("filter.all"), S.t("filter.active"), S.t("filter.paused")];
  const header = S.ios
    ? iosLargeTitle(S, S.t("nav.title"), { actions: '<span class="roundbtn" aria-label="' + S.t("nav.add") + '">' + icon("plus", 22) + "</span>" })
    : androidTopBar(S, { title: S.t("nav.title"), actions: [icon("search", 24), icon("moreVertical", 24)] });
  const filterRow = S.ios
    ? '<div class="filters">' + segmented(S, filters, 0) + "</div>"
    : '<div class="chips">' +
      filters.map((f, i) => '<span class="chip' + (i === 0 ? " on" : "") + '">' + (i === 0 ? icon("check", 18) : "") + f + "</span>").join("") +
      "</div>";
  let groups = "";
  for (const g of data.groups) {
    let rows = "";
    for (const h of g.habits) {
      rows +=
        '<div class="li hrow">' +
        iconTile(h.icon, h.tint, 38, S.ios ? 11 : 19, S) +
        '<div class="grow"><div class="h-name">' + S.t(h.key) + '</div><div class="h-detail">' + S.t(h.key + ".schedule") + "</div></div>" +
        weekDots(S, h.week, h.tint) +
        "</div>";
    }
    groups +=
      '<div class="ghead"><span class="group-label">' + S.t(g.key) + "</span>" + weekLetters(S) + "</div>" +
      '<div class="list' + (S.ios ? " card" : "") + '">' + rows + "</div>";
  }
  const summary = '<div class="summary">' + icon("sparkle", 14) + "<span>" + S.t("summary") + "</span></div>";
  const fab = S.android ? '<div class="fab">' + icon("plus", 24) + "<span>" + S.t("nav.add") + "</span></div>" : "";
  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="content"' + top + ">" + (S.ios ? header : "") + '<div class="pad">' + filterRow + groups + summary + "</div></div>" +
    (S.android ? header : "") +
    fab +
    tabBar(S, "tab.habits") +
    homeIndicator();
  const dotSize = 11;
  const css =
    ".pad{padding:" + (S.ios ? "2px 16px 0" : "4px 16px 0") + "}" +
    ".filters{margin-bottom:18px}" +
    ".chips{display:flex;gap:8px;margin-bottom:18px}" +
    ".chip{display:inline-flex;align-items:center;gap:6px;height:34px;padding:0 16px;border-radius:10px;font-size:14px;font-weight:750;box-shadow:inset 0 0 0 1px var(--text3);white-space:nowrap}" +
    ".chip.on{background:" + S.tone.indicator + ";color:" + S.tone.onIndicator + ";box-shadow:none;padding-inline:10px 16px}" +
    ".ghead{display:flex;align-items:flex-end;justify-content:space-between;padding-inline-end:16px;margin-top:" + (S.ios ? 12 : 6) + "px}" +
    ".ghead .group-label{padding-bottom:8px}" +
    ".list{margin-bottom:" + (S.ios ? 20 : 16) + "px}" +
    (S.ios ? ".list{border-radius:22px}" : "") +
    ".hrow{height:68px}" +
    ".h-name{font-size:16px;font-weight:800;white-space:nowrap;overflow:hidden;text-overflow:ellipsis}" +
    ".h-detail{font-size:13px;font-weight:650;color:var(--text2);margin-top:1px;white-space:nowrap;overflow:hidden;text-overflow:ellipsis}" +
    ".dots{display:flex;flex:none}" +
    ".dot{display:block;width:" + dotSize + "px;height:" + dotSize + "px;border-radius:50%;margin:0 2.5px}" +
    ".dot.miss{box-shadow:inset 0 0 0 1.6px var(--text3)}" +
    ".dot.rest{transform:scale(0.42);background:var(--text3);opacity:0.7}" +
    ".letters{padding-bottom:8px}" +
    ".letters i{display:block;width:" + (dotSize + 5) + "px;text-align:center;font-style:normal;font-size:10.5px;font-weight:850;color:var(--text3);line-height:1.2}" +
    ".letters i.now{color:var(--accentInk)}" +
    ".summary{display:flex;align-items:center;justify-content:center;gap:6px;color:var(--text2);font-size:13.5px;font-weight:700;margin-top:2px}" +
    ".summary svg{color:var(--accent)}" +
    ".fab{position:absolute;bottom:124px;inset-inline-end:16px;z-index:25;height:56px;display:flex;align-items:center;gap:10px;padding:0 20px 0 16px;padding-inline:16px 20px;border-radius:16px;" +
    "background:" + S.tone.indicator + ";color:" + S.tone.onIndicator + ";font-size:15px;font-weight:850;box-shadow:0 4px 12px rgba(0,0,0,0.16),0 1px 3px rgba(0,0,0,0.1)}";
  return screenDocument(S, body, css);
}

// Habit detail: the streak, the month and the notes of one habit.
function detailPage(S) {
  const data = SCREEN_DATA.detail;
  const tint = data.habit.tint;
  const header = S.ios
    ? '<div class="navbar"><span class="back">' + icon("back", 24, "flipx") + "<span>" + S.t("nav.back") + '</span></span><span class="edit">' + S.t("nav.edit") + "</span></div>"
    : androidTopBar(S, {
        back: S.t("nav.back"),
        title: "",
        actions: ['<span aria-label="' + S.t("nav.edit") + '">' + icon("pen", 22) + "</span>", icon("moreVertical", 24)],
      });
  const intro =
    '<div class="intro">' + iconTile(data.habit.icon, tint, 58, S.ios ? 18 : 29, S) +
    '<div class="grow"><div class="hname">' + S.t("habit.name") + '</div><div class="hsched">' + icon("bell", 14) + "<span>" + S.t("habit.schedule") + "</span></div></div></div>";
  const pct = clamp(data.streak.current / data.streak.best, 0, 1);
  const streak =
    '<div class="card streakcard" data-vell="hero" data-vell-plate>' +
    '<div class="cols"><div class="col"><div class="lbl">' + icon("flame", 15) + "<span>" + S.t("streak.current") + '</span></div><div class="big">' + S.t("streak.current.value") + "</div></div>" +
    '<div class="col"><div class="lbl">' + icon("trophy", 15) + "<span>" + S.t("streak.best") + '</span></div><div class="big b2">' + S.t("streak.best.value") + "</div></div></div>" +
    '<div class="meter"><i style="width:' + fx(pct * 100, 1) + '%"></i></div>' +
    '<div class="snote">' + S.t("streak.note") + "</div></div>";

  // The month, Monday first; consecutive done days share one band.
  const cal = data.calendar;
  const done = new Set(cal.done);
  let cells = "";
  const cellW = 100 / 7;
  const rowsCount = Math.ceil((cal.firstWeekday + cal.days) / 7);
  let bands = "";
  for (let row = 0; row < rowsCount; row++) {
    let runStart = -1;
    for (let col = 0; col <= 7; col++) {
      const day = row * 7 + col - cal.firstWeekday + 1;
      const isDone = col < 7 && day >= 1 && day <= cal.days && done.has(day);
      if (isDone && runStart < 0) runStart = col;
      if (!isDone && runStart >= 0) {
        if (col - 1 > runStart) {
          bands +=
            '<i class="band" style="top:' + row * 38 + "px;inset-inline-start:calc(" + fx(runStart * cellW + cellW / 2, 3) + "% - 17px);width:calc(" +
            fx((col - 1 - runStart) * cellW, 3) + '% + 34px)"></i>';
        }
        runStart = -1;
      }
    }
  }
  for (let i = 0; i < rowsCount * 7; i++) {
    const day = i - cal.firstWeekday + 1;
    if (day < 1 || day > cal.days) {
      cells += "<span></span>";
      continue;
    }
    let cls = "d";
    if (done.has(day)) cls += " done";
    if (day === cal.today) cls += " today";
    else if (day > cal.today) cls += " future";
    cells += '<span><b class="' + cls + '">' + S.n(day) + "</b></span>";
  }
  let letters = "";
  for (let i = 1; i <= 7; i++) letters += "<span>" + S.t("day." + i) + "</span>";
  const calendar =
    '<div class="card calcard"><div class="calhead"><span class="month">' + S.t("calendar.month") + "</span>" +
    '<span class="arrows"><span class="flipx">' + icon("back", 20) + '</span><span class="flipx">' + icon("chevron", 20) + "</span></span></div>" +
    '<div class="wk">' + letters + "</div>" +
    '<div class="grid">' + bands + cells + "</div>" +
    '<div class="stats"><div><div class="slbl">' + S.t("stat.rate") + '</div><div class="sval">' + S.t("stat.rate.value") + "</div></div>" +
    '<div><div class="slbl">' + S.t("stat.total") + '</div><div class="sval">' + S.t("stat.total.value") + "</div></div></div></div>";
  const notes =
    '<div class="card notes"><div class="ntitle">' + icon("pen", 16) + "<span>" + S.t("notes.title") + '</span></div><div class="nbody">' + S.t("notes.body") + "</div></div>";
  const cta = '<div class="ctawrap"><div class="cta">' + icon("check", 22) + "<span>" + S.t("action.done") + "</span></div></div>";
  const top = S.ios ? 98 : contentTop(S);
  const body =
    statusBar(S) +
    (S.ios ? header : "") +
    '<div class="content" style="padding-top:' + top + 'px"><div class="pad">' + intro + streak + calendar + notes + "</div></div>" +
    (S.android ? header : "") +
    cta +
    homeIndicator();
  const rad = PLATE_RADIUS[S.os];
  const css =
    ".navbar{position:absolute;top:54px;left:0;right:0;height:44px;display:flex;align-items:center;justify-content:space-between;padding:0 16px 0 8px;padding-inline:8px 16px;color:var(--accentInk);font-size:17px;font-weight:700;z-index:20}" +
    ".back{display:flex;align-items:center;gap:2px}" +
    ".pad{padding:" + (S.ios ? "6px 16px 0" : "4px 16px 0") + "}" +
    ".intro{display:flex;align-items:center;gap:14px;margin:0 2px 14px}" +
    ".hname{font-size:28px;font-weight:900;letter-spacing:-0.4px;line-height:1.1}" +
    ".hsched{display:flex;align-items:center;gap:5px;font-size:14px;font-weight:700;color:var(--text2);margin-top:4px}" +
    ".streakcard{border-radius:" + rad + "px;padding:16px 18px 16px}" +
    ".cols{display:flex;gap:12px}" +
    ".col{flex:1;min-width:0}" +
    ".lbl{display:flex;align-items:center;gap:5px;font-size:13px;font-weight:800;color:var(--text2)}" +
    ".lbl svg{color:var(--accent)}" +
    ".col+.col .lbl svg{color:#E6A23C}" +
    ".big{font-size:30px;font-weight:900;letter-spacing:-0.6px;margin-top:2px;white-space:nowrap}" +
    ".big.b2{color:var(--text2)}" +
    ".meter{height:8px;border-radius:4px;background:var(--fill);margin:12px 0 10px;overflow:hidden}" +
    ".meter i{display:block;height:100%;border-radius:4px;background:linear-gradient(90deg,#FF9A62,#FF5A3C)}" +
    "[dir=rtl] .meter i{background:linear-gradient(270deg,#FF9A62,#FF5A3C)}" +
    ".snote{font-size:13.5px;font-weight:700;color:var(--text2)}" +
    ".calcard{border-radius:" + rad + "px;padding:12px 14px 10px;margin-top:12px}" +
    ".calhead{display:flex;align-items:center;justify-content:space-between;padding:0 4px 10px}" +
    ".month{font-size:18px;font-weight:900;letter-spacing:-0.2px}" +
    ".arrows{display:flex;gap:14px;color:var(--text3)}" +
    ".wk,.grid{display:grid;grid-template-columns:repeat(7,1fr)}" +
    ".wk span{text-align:center;font-size:11.5px;font-weight:850;color:var(--text3);padding-bottom:6px}" +
    ".grid{position:relative;grid-auto-rows:38px}" +
    ".grid>span{position:relative;display:flex;align-items:center;justify-content:center}" +
    ".band{position:absolute;height:34px;margin-top:2px;border-radius:17px;background:" + tintSoft(tint, S.dark ? 0.22 : 0.16) + "}" +
    ".d{position:relative;width:34px;height:34px;border-radius:50%;display:flex;align-items:center;justify-content:center;font-size:14.5px;font-weight:800}" +
    ".d.done{background:" + tint + ";color:#fff}" +
    ".d.today{box-shadow:0 0 0 2.5px var(--card),0 0 0 4.5px " + tint + "}" +
    ".d.future{color:var(--text3)}" +
    ".stats{display:flex;border-top:1px solid var(--line);margin-top:6px;padding-top:9px}" +
    ".stats>div{flex:1;padding:0 6px}" +
    ".stats>div+div{border-inline-start:1px solid var(--line);padding-inline-start:14px}" +
    ".slbl{font-size:12.5px;font-weight:800;color:var(--text2)}" +
    ".sval{font-size:20px;font-weight:900;letter-spacing:-0.2px;margin-top:1px}" +
    ".notes{border-radius:" + rad + "px;padding:12px 18px 14px;margin-top:12px}" +
    ".ntitle{display:flex;align-items:center;gap:6px;font-size:15px;font-weight:850;margin-bottom:4px}" +
    ".ntitle svg{color:var(--text2)}" +
    ".nbody{font-size:14.5px;font-weight:600;color:var(--text2);line-height:1.4}" +
    ".ctawrap{position:absolute;left:0;right:0;bottom:0;z-index:30;padding:20px 16px " + (S.ios ? 36 : 30) + "px;" +
    "background:linear-gradient(to bottom," + rgba(parseColor(S.tone.bg), 0) + "," + S.tone.bg + " 34%)}" +
    ".cta{height:56px;border-radius:" + (S.ios ? 18 : 28) + "px;background:" + tint + ";color:#fff;display:flex;align-items:center;justify-content:center;gap:8px;font-size:17px;font-weight:850;box-shadow:0 6px 18px " + tintSoft(tint, 0.3) + "}";
  return screenDocument(S, body, css);
}

// Insights: the week in bars, the month's rate, and what stands out.
function insightsPage(S) {
  const data = SCREEN_DATA.insights;
  const header = S.ios
    ? iosLargeTitle(S, S.t("nav.title"), { actions: '<span class="roundbtn">' + icon("calendar", 20) + "</span>" })
    : androidTopBar(S, { title: S.t("nav.title"), actions: [icon("calendar", 24), icon("moreVertical", 24)] });
  const range = '<div class="range">' + segmented(S, [S.t("range.week"), S.t("range.month"), S.t("range.year")], 0) + "</div>";

  // Bars, Monday first, scaled to the best day; the highlighted one is called out.
  const max = Math.max(...data.bars);
  const plotH = 146;
  const barMax = plotH - 40;
  let bars = "";
  let letters = "";
  data.bars.forEach((v, i) => {
    const h = Math.max(10, Math.round((v / max) * barMax));
    bars += '<span class="barcol"><i class="bar' + (i === data.highlight ? " hi" : "") + '" style="height:' + h + 'px"></i></span>';
    letters += '<span class="' + (i === data.highlight ? "hi" : "") + '">' + S.t("day." + (i + 1)) + "</span>";
  });
  const avg = data.bars.reduce((a, b) => a + b, 0) / data.bars.length;
  const avgTop = plotH - Math.round((avg / max) * barMax);
  // The bubble stands over the highlighted bar: its column's centre, from the
  // start edge, in the card's coordinates (padding 18, seven equal columns).
  const cardPad = 18;
  const innerW = S.device.width - 32 - cardPad * 2;
  const colCentre = cardPad + (innerW / 7) * (data.highlight + 0.5);
  const hiH = Math.max(10, Math.round((data.bars[data.highlight] / max) * barMax));
  const chart =
    '<div class="hero-wrap">' +
    '<div class="card chart" data-vell="hero" data-vell-plate>' +
    '<div class="ctitle">' + S.t("chart.title") + "</div>" +
    '<div class="ctotal">' + S.t("chart.total") + "</div>" +
    '<div class="delta">' + icon("chart", 14) + "<span>" + S.t("chart.delta") + "</span></div>" +
    '<div class="plot"><i class="avg" style="top:' + avgTop + 'px"></i>' + bars + "</div>" +
    '<div class="blabels">' + letters + "</div></div>" +
    '<div class="bubble" data-vell-with-hero style="inset-inline-start:' + fx(colCentre - 22) + "px;bottom:" + (30 + 14 + hiH + 8) + 'px">' + S.n(data.bars[data.highlight]) + "</div>" +
    "</div>";

  // Completion rate over the last weeks, as a small area chart.
  const w = 132;
  const h = 62;
  const lo = Math.min(...data.rateLine) - 0.05;
  const hi = Math.max(...data.rateLine) + 0.02;
  const pts = data.rateLine.map((v, i) => [(i / (data.rateLine.length - 1)) * (w - 8) + 4, h - 6 - ((v - lo) / (hi - lo)) * (h - 14)]);
  let line = "M" + fx(pts[0][0]) + " " + fx(pts[0][1]);
  for (let i = 1; i < pts.length; i++) {
    const [x0, y0] = pts[i - 1];
    const [x1, y1] = pts[i];
    const mx = (x0 + x1) / 2;
    line += "C" + fx(mx) + " " + fx(y0) + " " + fx(mx) + " " + fx(y1) + " " + fx(x1) + " " + fx(y1);
  }
  const last = pts[pts.length - 1];
  const spark =
    '<svg class="spark flipx" width="' + w + '" height="' + h + '" viewBox="0 0 ' + w + " " + h + '"><defs><linearGradient id="rg" x1="0" y1="0" x2="0" y2="1"><stop offset="0" stop-color="#3DD598" stop-opacity="0.35"/><stop offset="1" stop-color="#3DD598" stop-opacity="0"/></linearGradient></defs>' +
    '<path d="' + line + "L" + fx(last[0]) + " " + h + "L" + fx(pts[0][0]) + " " + h + 'Z" fill="url(#rg)"/>' +
    '<path d="' + line + '" fill="none" stroke="var(--good)" stroke-width="2.6" stroke-linecap="round"/>' +
    '<circle cx="' + fx(last[0]) + '" cy="' + fx(last[1]) + '" r="4.5" fill="var(--card)" stroke="var(--good)" stroke-width="2.6"/></svg>';
  const rate =
    '<div class="card rate"><div class="grow"><div class="ctitle">' + S.t("rate.title") + '</div><div class="rval">' + S.t("rate.value") + "</div>" +
    '<div class="rcap">' + S.t("rate.caption") + "</div></div>" + spark + "</div>";
  const tiles =
    '<div class="tiles">' +
    '<div class="card tilebox"><span class="tico" style="color:#8E6CF0;background:' + tintSoft("#8E6CF0", S.dark ? 0.2 : 0.13) + '">' + icon("timer", 19) + "</span>" +
    '<div class="tlbl">' + S.t("tile.focus") + '</div><div class="tval">' + S.t("tile.focus.value") + "</div></div>" +
    '<div class="card tilebox"><span class="tico" style="color:#E6A23C;background:' + tintSoft("#E6A23C", S.dark ? 0.2 : 0.14) + '">' + icon("trophy", 19) + "</span>" +
    '<div class="tlbl">' + S.t("tile.best") + '</div><div class="tval">' + S.t("tile.best.value") + "</div></div></div>";
  const tip = '<div class="tip">' + icon("bulb", 20) + "<span>" + S.t("tip") + "</span></div>";
  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="content"' + top + ">" + (S.ios ? header : "") + '<div class="pad">' + range + chart + rate + tiles + tip + "</div></div>" +
    (S.android ? header : "") +
    tabBar(S, "tab.insights") +
    homeIndicator();
  const rad = PLATE_RADIUS[S.os];
  const css =
    ".pad{padding:" + (S.ios ? "2px 16px 0" : "4px 16px 0") + "}" +
    ".range{margin-bottom:16px}" +
    ".hero-wrap{position:relative}" +
    ".chart{border-radius:" + rad + "px;padding:16px " + cardPad + "px 14px}" +
    ".ctitle{font-size:13.5px;font-weight:800;color:var(--text2)}" +
    ".ctotal{font-size:27px;font-weight:900;letter-spacing:-0.5px;margin-top:1px}" +
    ".delta{display:inline-flex;align-items:center;gap:5px;margin-top:6px;height:26px;padding:0 10px;border-radius:13px;background:var(--goodSoft);color:var(--good);font-size:12.5px;font-weight:850}" +
    ".plot{position:relative;height:" + plotH + "px;display:flex;align-items:flex-end;margin-top:2px}" +
    ".avg{position:absolute;left:0;right:0;border-top:1.5px dashed var(--fill2)}" +
    ".barcol{flex:1;display:flex;justify-content:center;position:relative}" +
    ".bar{display:block;width:26px;border-radius:9px 9px 5px 5px;background:" + (S.dark ? "#2C2D35" : "#ECE6DF") + "}" +
    ".bar.hi{background:linear-gradient(180deg,#FF9A62,#FF5A3C)}" +
    ".blabels{display:flex;margin-top:8px}" +
    ".blabels span{flex:1;text-align:center;font-size:12px;font-weight:850;color:var(--text3)}" +
    ".blabels span.hi{color:var(--accentInk)}" +
    ".bubble{position:absolute;width:44px;height:30px;border-radius:10px;background:var(--text);color:var(--bg);display:flex;align-items:center;justify-content:center;font-size:15px;font-weight:900}" +
    ".bubble::after{content:'';position:absolute;bottom:-5px;left:50%;margin-left:-6px;border:6px solid transparent;border-bottom:0;border-top-color:var(--text)}" +
    ".rate{display:flex;align-items:center;gap:12px;border-radius:" + rad + "px;padding:16px 18px;margin-top:14px}" +
    ".rval{font-size:30px;font-weight:900;letter-spacing:-0.6px;color:var(--good);line-height:1.15}" +
    ".rcap{font-size:13px;font-weight:700;color:var(--text2)}" +
    ".tiles{display:flex;gap:12px;margin-top:14px}" +
    ".tilebox{flex:1;min-width:0;border-radius:" + rad + "px;padding:14px 14px;display:grid;grid-template-columns:auto 1fr;column-gap:10px;align-items:center}" +
    ".tico{width:36px;height:36px;border-radius:12px;display:flex;align-items:center;justify-content:center;grid-row:span 2}" +
    ".tlbl{font-size:13px;font-weight:800;color:var(--text2)}" +
    ".tval{font-size:17px;font-weight:900;letter-spacing:-0.2px;margin-top:1px;line-height:1.15}" +
    ".tip{display:flex;align-items:center;gap:10px;margin-top:14px;padding:14px 16px;border-radius:" + rad + "px;background:var(--accentSoft);color:var(--text);font-size:14px;font-weight:750}" +
    ".tip svg{color:var(--accentInk)}";
  return screenDocument(S, body, css);
}

// Focus: the running session's timer, its controls, and a sound to work to.
function focusPage(S) {
  const data = SCREEN_DATA.focus;
  const header = S.ios
    ? iosLargeTitle(S, S.t("nav.title"), { actions: '<span class="roundbtn">' + icon("more", 20) + "</span>" })
    : androidTopBar(S, { title: S.t("nav.title"), actions: [icon("moreVertical", 24)] });
  let pips = "";
  for (let i = 0; i < data.sessions.total; i++) {
    pips += '<i class="' + (i < data.sessions.done ? "done" : i === data.sessions.done ? "now" : "") + '"></i>';
  }
  const session =
    '<div class="session"><span class="slabel">' + icon("bolt", 15) + "<span>" + S.t("session.label") + "</span></span>" +
    '<span class="scount"><span>' + S.t("session.count") + '</span><span class="pips">' + pips + "</span></span></div>";

  // Remaining time as an arc from 12 o'clock, with minute ticks round it.
  const D = 286;
  const c = D / 2;
  const R = 118;
  const total = data.minutes * 60;
  const frac = clamp(data.remainingSeconds / total, 0, 1);
  let ticks = "";
  for (let i = 0; i < 60; i++) {
    const a = (i / 60) * 2 * Math.PI;
    const long = i % 5 === 0;
    const r1 = 136;
    const r2 = long ? 128 : 131.5;
    ticks +=
      '<line x1="' + fx(c + r1 * Math.sin(a)) + '" y1="' + fx(c - r1 * Math.cos(a)) + '" x2="' + fx(c + r2 * Math.sin(a)) + '" y2="' + fx(c - r2 * Math.cos(a)) +
      '" stroke="var(--text3)" stroke-opacity="' + (long ? 0.9 : 0.45) + '" stroke-width="' + (long ? 2.2 : 1.4) + '" stroke-linecap="round"/>';
  }
  const end = frac * 360;
  const ka = (end * Math.PI) / 180;
  const timer =
    '<div class="timer"><svg class="tsvg" width="' + D + '" height="' + D + '" viewBox="0 0 ' + D + " " + D + '">' +
    '<defs><linearGradient id="tg" x1="0" y1="0" x2="1" y2="1"><stop offset="0" stop-color="#FFB38A"/><stop offset="0.5" stop-color="#FF6A3D"/><stop offset="1" stop-color="#F0436B"/></linearGradient></defs>' +
    ticks +
    '<circle cx="' + c + '" cy="' + c + '" r="' + R + '" fill="none" stroke="var(--fill)" stroke-width="16"/>' +
    '<path d="' + arcPath(c, c, R, 0, end) + '" fill="none" stroke="url(#tg)" stroke-width="16" stroke-linecap="round"/>' +
    '<circle cx="' + fx(c + R * Math.sin(ka)) + '" cy="' + fx(c - R * Math.cos(ka)) + '" r="11" fill="#fff" stroke="#F0436B" stroke-width="4"/>' +
    "</svg>" +
    '<div class="tcenter"><div class="tval">' + S.t("timer.value") + '</div><div class="tcap">' + S.t("timer.caption") + "</div></div></div>";
  const controls =
    '<div class="controls"><span class="btn ghost">' + icon("stop", 20) + "<span>" + S.t("action.end") + "</span></span>" +
    '<span class="btn primary">' + icon("pause", 20) + "<span>" + S.t("action.pause") + "</span></span></div>" +
    '<div class="next">' + icon("clock", 15) + "<span>" + S.t("break.next") + "</span></div>";
  let sounds = "";
  for (const s of data.sounds) {
    sounds += '<div class="snd' + (s.on ? " on" : "") + '">' + icon(s.icon, 24) + "<span>" + S.t(s.key) + "</span></div>";
  }
  const ambient =
    '<div class="amb"><div class="ahead"><span>' + S.t("sounds.title") + '</span><span class="vol">' + icon("speaker", 18) + "</span></div>" +
    '<div class="sounds">' + sounds + "</div></div>" +
    '<div class="today">' + icon("flame", 14) + "<span>" + S.t("today") + "</span></div>";
  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="glow"></div>' +
    '<div class="content"' + top + ">" + (S.ios ? header : "") + '<div class="pad">' + session + timer + controls + ambient + "</div></div>" +
    (S.android ? header : "") +
    tabBar(S, "tab.focus") +
    homeIndicator();
  const css =
    ".pad{padding:" + (S.ios ? "0 16px" : "0 16px") + "}" +
    ".glow{position:absolute;left:50%;top:" + (S.ios ? 170 : 150) + "px;width:420px;height:420px;margin-left:-210px;border-radius:50%;" +
    "background:radial-gradient(closest-side,rgba(255,106,61," + (S.dark ? 0.2 : 0.12) + "),rgba(255,106,61,0))}" +
    ".session{display:flex;align-items:center;justify-content:space-between;gap:10px}" +
    ".slabel{display:inline-flex;align-items:center;gap:6px;height:32px;padding:0 13px 0 10px;padding-inline:10px 13px;border-radius:16px;background:var(--accentSoft);color:var(--accentInk);font-size:14px;font-weight:850;white-space:nowrap}" +
    ".scount{display:flex;align-items:center;gap:8px;font-size:13.5px;font-weight:750;color:var(--text2);white-space:nowrap}" +
    ".pips{display:flex;gap:4px}" +
    ".pips i{display:block;width:14px;height:6px;border-radius:3px;background:var(--fill2)}" +
    ".pips i.done{background:var(--accent)}" +
    ".pips i.now{background:linear-gradient(90deg,var(--accent) 50%,var(--fill2) 50%)}" +
    "[dir=rtl] .pips i.now{background:linear-gradient(270deg,var(--accent) 50%,var(--fill2) 50%)}" +
    ".timer{position:relative;width:" + D + "px;height:" + D + "px;margin:" + (S.ios ? 22 : 26) + "px auto 18px}" +
    ".tcenter{position:absolute;inset:0;display:flex;flex-direction:column;align-items:center;justify-content:center}" +
    ".tval{font-size:68px;font-weight:900;letter-spacing:-2px;line-height:1;font-variant-numeric:tabular-nums}" +
    ".tcap{font-size:15px;font-weight:800;color:var(--text2);margin-top:6px;text-transform:uppercase;letter-spacing:1.2px}" +
    ".controls{display:flex;justify-content:center;gap:12px}" +
    ".btn{display:inline-flex;align-items:center;justify-content:center;gap:8px;height:56px;min-width:130px;padding:0 24px;border-radius:28px;font-size:17px;font-weight:850;white-space:nowrap}" +
    ".btn.ghost{background:var(--fill);color:var(--text)}" +
    ".btn.primary{min-width:160px;background:linear-gradient(135deg,#FF8552,#FF5A3C);color:#fff;box-shadow:0 8px 20px rgba(255,90,60,0.32)}" +
    ".next{display:flex;align-items:center;justify-content:center;gap:6px;color:var(--text2);font-size:13.5px;font-weight:750;margin-top:14px}" +
    ".amb{margin-top:" + (S.ios ? 22 : 26) + "px}" +
    ".ahead{display:flex;align-items:center;justify-content:space-between;font-size:19px;font-weight:850;margin:0 4px 10px}" +
    ".vol{color:var(--text2)}" +
    ".sounds{display:grid;grid-template-columns:repeat(4,1fr);gap:10px}" +
    ".snd{height:76px;border-radius:" + (S.ios ? 20 : 24) + "px;background:var(--card);box-shadow:" + S.tone.shadow + ";display:flex;flex-direction:column;align-items:center;justify-content:center;gap:6px;font-size:13px;font-weight:800;color:var(--text2);overflow:hidden;padding:0 4px}" +
    ".snd span{max-width:100%;white-space:nowrap;overflow:hidden}" +
    ".snd.on{background:var(--accent);color:#fff;box-shadow:0 6px 16px rgba(255,90,60,0.28)}" +
    ".today{display:flex;align-items:center;justify-content:center;gap:6px;color:var(--text2);font-size:13px;font-weight:750;margin-top:14px}" +
    ".today svg{color:var(--accent)}";
  return screenDocument(S, body, css);
}

// Settings: reminders, appearance and the general switches, under an offer of Pro.
function settingsPage(S) {
  const data = SCREEN_DATA.settings;
  const header = S.ios ? iosLargeTitle(S, S.t("nav.title")) : androidTopBar(S, { title: S.t("nav.title"), actions: [icon("search", 24)] });
  const pro =
    '<div class="pro"><span class="crown">' + icon("crown", 22) + '</span><div class="grow"><div class="ptitle">' + S.t("pro.title") + "</div>" +
    '<div class="pbody">' + S.t("pro.body") + '</div></div><span class="pbtn">' + S.t("pro.action") + "</span></div>";
  const lead = (glyph, tint) =>
    S.ios
      ? '<span class="stile" style="background:' + tint + '">' + icon(glyph, 18) + "</span>"
      : '<span class="sicon">' + icon(glyph, 24) + "</span>";
  const row = (glyph, tint, key, trailing, detailKey) =>
    '<div class="li srow' + (detailKey ? " tall" : "") + '">' + lead(glyph, tint) +
    '<div class="grow"><div class="sname">' + S.t(key) + "</div>" + (detailKey ? '<div class="sdetail">' + S.t(detailKey) + "</div>" : "") + "</div>" +
    trailing + "</div>";
  const time = (key) => '<span class="time">' + S.t(key) + "</span>";
  const chevron = '<span class="chev flipx">' + icon("chevron", 18) + "</span>";
  const toggles = data.toggles;
  const reminders =
    '<div class="group-label">' + S.t("section.reminders") + "</div>" +
    '<div class="list' + (S.ios ? " card" : "") + '">' +
    row("sun", "#FF9F0A", "reminder.morning", time("reminder.morning.time") + toggle(S, toggles["reminder.morning"])) +
    row("moon", "#6E5BE0", "reminder.evening", time("reminder.evening.time") + toggle(S, toggles["reminder.evening"])) +
    row("sparkle", "#2F9BFF", "reminder.smart", toggle(S, toggles["reminder.smart"]), "reminder.smart.detail") +
    "</div>";
  const swatch = (kind) => {
    const light = '<i class="sw-half" style="background:#F5F3EF"><b style="background:#fff"></b></i>';
    const dark = '<i class="sw-half" style="background:#0E0F13"><b style="background:#23242B"></b></i>';
    return '<span class="swatch">' + (kind === "theme.light" ? light + light : kind === "theme.dark" ? dark + dark : light + dark) + "</span>";
  };
  const themes = ["theme.system", "theme.light", "theme.dark"];
  const appearance =
    '<div class="group-label">' + S.t("section.appearance") + "</div>" +
    '<div class="card themes">' +
    themes.map((k) => '<div class="topt' + (k === data.theme ? " on" : "") + '">' + swatch(k) + '<span class="tname">' + S.t(k) + "</span></div>").join("") +
    "</div>";
  const general =
    '<div class="group-label">' + S.t("section.general") + "</div>" +
    '<div class="list' + (S.ios ? " card" : "") + '">' +
    row("speaker", "#8E8E93", "general.sounds", chevron) +
    row("heart", "#FF375F", "general.health", toggle(S, toggles["general.health"])) +
    row("calendar", "#FF6A3D", "general.week", '<span class="time plain">' + S.t("general.week.value") + "</span>" + chevron) +
    "</div>" +
    '<div class="version">' + S.t("version") + "</div>";
  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="content"' + top + ">" + (S.ios ? header : "") + '<div class="pad">' + pro + reminders + appearance + general + "</div></div>" +
    (S.android ? header : "") +
    tabBar(S, "tab.settings") +
    homeIndicator();
  const rad = S.ios ? 22 : 28;
  const css =
    ".pad{padding:" + (S.ios ? "2px 16px 0" : "4px 16px 0") + "}" +
    ".pro{display:flex;align-items:center;gap:12px;padding:16px;border-radius:" + rad + "px;color:#fff;" +
    "background:linear-gradient(120deg,#FF7A45 0%,#FF5A5F 55%,#E8457E 100%);box-shadow:0 10px 24px rgba(255,90,80," + (S.dark ? 0.22 : 0.28) + ");margin-bottom:22px}" +
    "[dir=rtl] .pro{background:linear-gradient(240deg,#FF7A45 0%,#FF5A5F 55%,#E8457E 100%)}" +
    ".crown{width:44px;height:44px;border-radius:50%;background:rgba(255,255,255,0.22);display:flex;align-items:center;justify-content:center;flex:none}" +
    ".ptitle{font-size:18px;font-weight:900;letter-spacing:-0.2px}" +
    ".pbody{font-size:13px;font-weight:700;opacity:0.9;line-height:1.25;margin-top:1px}" +
    ".pbtn{flex:none;height:34px;padding:0 14px;border-radius:17px;background:#fff;color:#E8542B;font-size:14px;font-weight:900;display:flex;align-items:center;white-space:nowrap}" +
    ".group-label{margin-top:2px}" +
    ".list{margin-bottom:22px}" +
    (S.ios ? ".list{border-radius:20px}.li+.li::before{inset-inline-start:58px}" : "") +
    ".srow{min-height:" + (S.ios ? 52 : 60) + "px;gap:" + (S.ios ? 12 : 16) + "px}" +
    ".srow.tall{min-height:" + (S.ios ? 64 : 72) + "px}" +
    ".stile{width:30px;height:30px;border-radius:9px;display:flex;align-items:center;justify-content:center;color:#fff;flex:none}" +
    ".sicon{color:var(--text2);display:flex;flex:none}" +
    ".sname{font-size:16px;font-weight:750;line-height:1.2}" +
    ".sdetail{font-size:13px;font-weight:650;color:var(--text2);margin-top:2px;line-height:1.2}" +
    ".time{flex:none;height:32px;padding:0 10px;border-radius:9px;background:var(--fill);display:flex;align-items:center;font-size:15px;font-weight:750;color:var(--text);white-space:nowrap}" +
    ".time.plain{background:none;padding:0;color:var(--text2)}" +
    ".chev{color:var(--text3);display:flex}" +
    ".themes{display:flex;gap:10px;padding:14px;border-radius:" + rad + "px;margin-bottom:22px}" +
    ".topt{flex:1;display:flex;flex-direction:column;align-items:center;gap:8px;min-width:0}" +
    ".swatch{display:flex;width:100%;height:64px;border-radius:14px;overflow:hidden;box-shadow:0 0 0 1px rgba(128,128,128,0.28)}" +
    ".topt.on .swatch{box-shadow:0 0 0 2.5px var(--card),0 0 0 4.5px var(--accent)}" +
    ".sw-half{flex:1;display:flex;align-items:flex-start;padding:10px 8px}" +
    ".sw-half b{display:block;width:100%;height:16px;border-radius:5px}" +
    ".tname{font-size:13.5px;font-weight:800;color:var(--text2);white-space:nowrap}" +
    ".topt.on .tname{color:var(--accentInk)}" +
    ".version{text-align:center;font-size:12.5px;font-weight:700;color:var(--text3);margin-top:-8px}";
  return screenDocument(S, body, css);
}

const PAGE_BUILDERS = {
  home: homePage,
  habits: habitsPage,
  detail: detailPage,
  insights: insightsPage,
  focus: focusPage,
  settings: settingsPage,
};

// ---------------------------------------------------------------------------
// Device hardware drawn over a screen: the camera cut-out and a hairline of
// bezel, so a light screen still has an edge inside the white ring. The live
// preview's screen and the store image draw the same, in device pixels.

function hardwareHtml(os) {
  const d = DEVICES[os] || DEVICES.ios;
  const bezel =
    '<div style="position:absolute;inset:0;border-radius:' +
    d.radius +
    'px;box-shadow:inset 0 0 0 1.6px rgba(8,8,10,0.85);pointer-events:none;z-index:90"></div>';
  if (os === "android") {
    return (
      bezel +
      '<div style="position:absolute;left:50%;top:15px;width:13px;height:13px;margin-left:-6.5px;border-radius:50%;background:#050506;box-shadow:0 0 0 1.5px rgba(255,255,255,0.05);pointer-events:none;z-index:91"></div>'
    );
  }
  return (
    bezel +
    '<div style="position:absolute;left:50%;top:11px;width:124px;height:36px;margin-left:-62px;border-radius:18px;background:#050506;pointer-events:none;z-index:91"></div>'
  );
}

// ---------------------------------------------------------------------------
// Layout arithmetic of the store image, shared with the live preview: phone
// box, title lines, fonts. All in composite pixels.

function normalOs(os) {
  return os === "android" ? "android" : "ios";
}

// The style as the layout reads it: defaults under whatever the caller gave,
// each value only when it has the field's kind.
function layoutStyle(style) {
  const out = defaultStyle();
  if (!isPlainObject(style)) return out;
  for (const [name, kind] of STYLE_FIELDS) {
    const value = own(style, name);
    if (value === undefined || value === null) continue;
    if (kind === "number" && typeof value === "number" && Number.isFinite(value)) out[name] = value;
    else if (kind === "number" && typeof value === "boolean") out[name] = value ? 1 : 0;
    else if (kind === "string" && typeof value === "string") out[name] = value;
    else if (kind === "json") out[name] = value;
  }
  return out;
}

function compositeLayout(os, st) {
  const comp = COMPOSITE_DIMS[os];
  const device = DEVICES[os];
  let width;
  let height;
  let left;
  let textSpace;
  if (os === "android") {
    width = 501;
    height = 1085;
    left = 71;
    textSpace = 438;
  } else {
    width = 485;
    height = Math.round((485 * device.height) / device.width);
    left = Math.round((comp.w - 485) / 2);
    textSpace = 428;
  }
  const scale = numberOr(st.phoneScale, 1);
  const w = Math.round(width * scale);
  const h = Math.round(height * scale);
  left += Math.round((width - w) / 2);
  let top = st.textPos === "bottom" ? comp.h - textSpace - h : textSpace;
  top += numberOr(st.phoneOffsetY, 0);
  left += numberOr(st.phoneOffsetX, 0);
  return { os, comp, device, left, top, width: w, height: h, textSpace, bottomText: st.textPos === "bottom" };
}

const RING_WIDTH = { ios: 10.34, android: 10.69 };

// The corners of every hero card, so the store image can give the lifted card
// a shadow of the same shape without tracing its pixels.
const PLATE_RADIUS = { ios: 24, android: 28 };

function tiltTransform(st) {
  const x = numberOr(st.phoneRotateX, 0);
  const y = numberOr(st.phoneRotateY, 0);
  const z = numberOr(st.phoneRotateZ, 0);
  if (!x && !y && !z) return "";
  const parts = [];
  if (x) parts.push("rotateX(" + x + "deg)");
  if (y) parts.push("rotateY(" + y + "deg)");
  if (z) parts.push("rotateZ(" + z + "deg)");
  return parts.join(" ");
}

function visualWidth(token) {
  let width = 0;
  for (const ch of token) {
    if (ch === "*") continue;
    if ("iljtfIrí.,!:;'`|()[]{}".includes(ch)) width += 0.45;
    else if ("mwMW@%".includes(ch)) width += 1.5;
    else width += 1;
  }
  return width;
}

// A title in lines: the author's breaks when there are any, otherwise the
// most even split in two that keeps every *accent* whole.
function splitTitleLines(title) {
  const text = typeof title === "string" ? title : "";
  if (/\n/.test(text)) {
    return text
      .split(/\r?\n/)
      .map((l) => l.trim())
      .filter((l) => l.length > 0);
  }
  const words = text.split(/\s+/).filter((w) => w.length > 0);
  if (words.length < 2) return words;
  const widths = words.map(visualWidth);
  let best = -1;
  let bestScore = Infinity;
  let stars = 0;
  for (let cut = 1; cut < words.length; cut++) {
    stars += (words[cut - 1].match(/\*/g) || []).length;
    if (stars % 2 === 1) continue;
    let first = 0;
    let second = 0;
    for (let i = 0; i < words.length; i++) {
      if (i < cut) first += widths[i] + (i > 0 ? 0.45 : 0);
      else second += widths[i] + (i > cut ? 0.45 : 0);
    }
    const score = Math.abs(first - second) + (first < second ? 0.5 : 0);
    if (score < bestScore) {
      bestScore = score;
      best = cut;
    }
  }
  if (best < 0) return [words.join(" ")];
  return [words.slice(0, best).join(" "), words.slice(best).join(" ")];
}

function accentHtml(text, accent) {
  const escaped = String(text).replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;");
  return escaped.replace(/\*([^*]+)\*/g, (m, inner) => '<span style="color:' + accent + '">' + inner + "</span>");
}

// The families of the title faces; CJK and emoji fall back after them, so
// Latin letters land exactly where the preview puts them.
function textFontFamily(font, rtl, locale) {
  const tail = (locale ? cjkFamily(locale) + "," : "") + "'Noto Color Emoji',system-ui,sans-serif";
  if (rtl) return "'Estedad','IRANSansXFaNum'," + tail;
  if (font === "openrunde") return "'OpenRunde',-apple-system," + tail;
  return "'Nunito',-apple-system," + tail;
}

function textFontFace(font, rtl) {
  if (rtl) return "Estedad";
  return font === "openrunde" ? "OpenRunde" : "Nunito";
}

function textFontWeight(weight, rtl) {
  const w = numberOr(weight, 0);
  if (rtl) return w > 0 && w < 850 ? 800 : 900;
  return w > 0 ? w : 1000;
}

function safeMime(mime) {
  return typeof mime === "string" && /^[A-Za-z0-9.+-]+\/[A-Za-z0-9.+-]+$/.test(mime) ? mime : "image/png";
}

// A data: URI from {mime, base64}; null when there is no usable picture.
function pictureUri(picture) {
  if (!isPlainObject(picture) || typeof picture.base64 !== "string" || !picture.base64) return null;
  if (!/^[A-Za-z0-9+/=\s]*$/.test(picture.base64)) return null;
  return "data:" + safeMime(picture.mime) + ";base64," + picture.base64.replace(/\s+/g, "");
}

// A URI that may stand in a src or url() without escaping its quotes.
function safeUri(uri) {
  return typeof uri === "string" && uri && !/["'<>\\\s]/.test(uri) ? uri : null;
}

const patternMemo = new Map();

function patternUri(file) {
  if (patternMemo.has(file)) return patternMemo.get(file);
  let uri = null;
  if (typeof __vellsHost !== "undefined" && __vellsHost && typeof __vellsHost.read === "function") {
    const data = __vellsHost.read("/core/assets/pattern/" + file, "base64");
    if (typeof data === "string" && data) uri = "data:image/svg+xml;base64," + data;
  }
  patternMemo.set(file, uri);
  return uri;
}

// ---------------------------------------------------------------------------
// Decoration "playful": soft light behind the phone, a few sparkles and dots
// beside it, tinted from the backdrop and kept off the title; and, when the
// page has a hero, its callout lifted out over the phone.

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
    '<svg style="position:absolute;left:' + fx(x - size / 2) + "px;top:" + fx(y - size / 2) + "px;width:" + fx(size) + "px;height:" + fx(size) +
    "px" + (rotate ? ";transform:rotate(" + rotate + "deg)" : "") + '" viewBox="0 0 24 24"><path fill="' + color + '" d="' +
    "M12 1.5c.9 6.1 3.4 8.9 9.9 10.2v.6c-6.5 1.3-9 4.1-9.9 10.2h-.2c-.9-6.1-3.4-8.9-9.9-10.2v-.6C8.4 10.4 10.9 7.6 11.8 1.5z" +
    '"/></svg>'
  );
}

function blobDiv(cx, cy, d, color) {
  return (
    '<div style="position:absolute;left:' + fx(cx - d / 2) + "px;top:" + fx(cy - d / 2) + "px;width:" + fx(d) + "px;height:" + fx(d) +
    "px;border-radius:50%;background:radial-gradient(closest-side," + color + ",rgba(255,255,255,0) 100%)\"></div>"
  );
}

function circleDiv(cx, cy, d, css) {
  return (
    '<div style="position:absolute;left:' + fx(cx - d / 2) + "px;top:" + fx(cy - d / 2) + "px;width:" + fx(d) + "px;height:" + fx(d) +
    "px;border-radius:50%;" + css + '"></div>'
  );
}

// Where the title's lines stand, so nothing in front lands on them.
function titleBand(L, st, hasTitle, titleLines) {
  if (!hasTitle) return null;
  const lines = Math.max(1, Math.min(4, Math.round(numberOr(titleLines, 2)) || 2));
  const size = numberOr(st.titleSize, 66);
  const h = lines * size * numberOr(st.titleLineHeight, 1.12) + 2 * Math.min(36, Math.ceil(size * 0.08 + numberOr(st.titleStroke, 0) / 2));
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
    ? "border-radius:" + fx(PLATE_RADIUS[L.os] * kx * lift) + "px;" +
      "box-shadow:0px 0px 0.6px rgba(255,255,255,0.45),0px 24px 32px rgba(0,0,0,0.34),0px 5px 10px rgba(0,0,0,0.16)"
    : "filter:drop-shadow(0px 14px 22px rgba(0,0,0,0.3))";
  const img =
    '<img alt="" src="' + esc(uri) + '" style="position:absolute;left:' + fx(cx - cw / 2) + "px;top:" + fx(cy - ch / 2) + "px;width:" + fx(cw) + "px;height:" + fx(ch) +
    "px;" + shadow + '">';
  const inner = '<div style="position:absolute;inset:0' + (tilt ? ";transform:" + tilt : "") + '">' + img + "</div>";
  return (
    '<div class="callout" style="position:absolute;left:' + L.left + "px;top:" + L.top + "px;width:" + L.width + "px;height:" + L.height + "px" +
    (tilt ? ";perspective:" + fx(Math.max(1, numberOr(st.phonePerspective, 1800))) + "px" : "") + '">' + inner + "</div>"
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
    '<div style="position:absolute;left:' + fx(left - pw * 0.2) + "px;top:" + fx(Y(top) - pw * 0.3) + "px;width:" + fx(pw * 1.4) + "px;height:" + fx(pw * 0.6) +
    "px;border-radius:50%;background:radial-gradient(closest-side," + P.halo + ',rgba(255,255,255,0))"></div>';
  behind += blobDiv(X(left - pw * 0.06), Y(top + ph * (alt ? 0.34 : 0.2)), pw * 0.95, P.glowA);
  behind += blobDiv(X(right + pw * 0.04), Y(top + ph * (alt ? 0.12 : 0.52)), pw * 0.9, P.glowB);
  const ringD = pw * 0.62;
  behind += circleDiv(X(right - pw * 0.04), Y(top + ph * (alt ? 0.52 : 0.07)), ringD, "box-shadow:inset 0 0 0 3px " + P.ring);
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

// ---------------------------------------------------------------------------
// The store image

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
  const common = "position:absolute;left:" + fx(x) + "px;top:" + fx(y) + "px;width:" + fx(w) + "px;transform:" + transform + ";opacity:" + fx(opacity, 3);
  if (kind === "text") {
    const text = typeof layer.text === "string" ? layer.text : "";
    const html = text
      .split(/\r?\n/)
      .map((line) => accentHtml(line, accent))
      .join("<br>");
    const style =
      common +
      ";font-family:" + textFontFamily(layer.font, rtl, locale) +
      ";font-weight:" + textFontWeight(layer.weight, rtl) +
      ";font-size:" + fx(layer.size === null || layer.size === undefined ? 40 : n(layer.size, 40)) + "px" +
      ";line-height:" + fx(layer.lineHeight === null || layer.lineHeight === undefined ? 1.1 : n(layer.lineHeight, 1.1), 3) +
      ";text-align:" + (["left", "center", "right", "start", "end", "justify"].includes(layer.align) ? layer.align : "center") +
      ";color:" + cssColor(layer.color, "#ffffff") +
      ";letter-spacing:" + (rtl ? "normal" : fx(layer.letterSpacing === null || layer.letterSpacing === undefined ? -0.02 : n(layer.letterSpacing, -0.02), 4) + "em") +
      ";overflow-wrap:break-word";
    return '<div data-vell-layer="' + esc(id) + '" dir="' + (rtl ? "rtl" : "ltr") + '" style="' + style + '">' + html + "</div>";
  }
  if (typeof layer.asset !== "string" || !layer.asset) return "";
  const uri = safeUri(isPlainObject(uris) ? own(uris, layer.asset) : null);
  if (!uri) return "";
  let filter = "";
  if (layer.sticker === true) {
    const e = fx(Math.max(1.5, w * 0.035));
    filter =
      ";filter:drop-shadow(" + e + "px 0px 0px #fff) drop-shadow(-" + e + "px 0px 0px #fff) drop-shadow(0px " + e + "px 0px #fff) drop-shadow(0px -" + e +
      "px 0px #fff) drop-shadow(0px " + fx(w * 0.02) + "px " + fx(w * 0.035) + "px rgba(0,0,0,.28))";
  }
  return '<img alt="" data-vell-layer="' + esc(id) + '" src="' + uri + '" style="' + common + ";height:auto;max-width:none" + filter + '">';
}

// The screen of an uploaded page that has no picture yet, or the phone of a
// store image measured without one.
function placeholderScreen(label, theme) {
  const dark = theme !== "light";
  const T = TEMPO_TONES.ios[dark ? "dark" : "light"];
  return (
    '<div style="position:absolute;inset:0;display:flex;flex-direction:column;align-items:center;justify-content:center;gap:16px;' +
    "background:linear-gradient(180deg," + T.card + " 0%," + T.bg + ' 100%);color:' + T.text2 + ";font-family:'Nunito','Noto Sans',sans-serif\">" +
    '<div style="width:84px;height:84px;border-radius:24px;display:flex;align-items:center;justify-content:center;background:' + T.fill + ";color:" + T.text3 + '">' +
    '<svg width="42" height="42" viewBox="0 0 24 24" fill="none" stroke="currentColor" stroke-width="1.7" stroke-linecap="round" stroke-linejoin="round"><rect x="3.5" y="4.5" width="17" height="15" rx="3"/><circle cx="9" cy="10" r="1.8"/><path d="M20.5 15.5l-4.6-4.4-8.4 8.4"/></svg></div>' +
    '<div style="max-width:280px;text-align:center;font-size:22px;font-weight:850;color:' + T.text + ';overflow-wrap:break-word">' + esc(label) + "</div></div>"
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
    : "background:linear-gradient(" + fx(numberOr(st.gradAngle, 160), 3) + "deg," + cssColor(st.gradFrom, "#07184a") + " 0%," +
      cssColor(st.gradVia, "#0052cc") + " 45%," + cssColor(st.gradTo, "#0093fd") + " 100%)";

  let pattern = "";
  const pat = PATTERNS.find((p) => p.id === st.bgPattern);
  const patUri = pat ? patternUri(pat.file) : null;
  if (pat && patUri) {
    const scale = numberOr(st.bgPatternScale, 1);
    const tw = Math.max(1, Math.round(pat.tileW * scale));
    const th = Math.max(1, Math.round(pat.tileH * scale));
    pattern =
      '<div id="pattern" style="position:absolute;inset:0;background-color:' + cssColor(st.bgPatternColor, "#000000") +
      ";-webkit-mask-image:url(" + patUri + ");mask-image:url(" + patUri + ");-webkit-mask-repeat:repeat;mask-repeat:repeat;-webkit-mask-size:" +
      tw + "px " + th + "px;mask-size:" + tw + "px " + th + "px;opacity:" + fx(numberOr(st.bgPatternOpacity, 0.08), 3) + '"></div>';
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
  let shadow = "0 0 0 " + ringPx + "px rgba(255,255,255," + fx(numberOr(st.strokeOpacity, 0.25), 3) + ")";
  if (st.decor !== "none") {
    shadow +=
      ",0 " + Math.round(H * 0.03) + "px " + Math.round(H * 0.058) + "px rgba(0,0,0,0.38),0 " + Math.round(H * 0.008) + "px " + Math.round(H * 0.018) + "px rgba(0,0,0,0.22)";
  }
  const phoneUri = pictureUri(args.phone);
  let screen = phoneUri
    ? '<img alt="" src="' + phoneUri + '" style="position:absolute;left:0;top:0;width:100%;height:100%;object-fit:cover;object-position:top">'
    : placeholderScreen(stringArg(args.pageLabel) || page, theme);
  // Without the playful callout the hero goes back where it was cut out.
  if (st.decor === "none" && heroUri && isPlainObject(heroIn.rect)) {
    const r = heroIn.rect;
    const vals = [r.x, r.y, r.width, r.height].map((v) => numberOr(v, NaN));
    if (vals.every(Number.isFinite)) {
      screen +=
        '<img alt="" src="' + heroUri + '" style="position:absolute;left:' + fx(vals[0]) + "px;top:" + fx(vals[1]) + "px;width:" + fx(vals[2]) + "px;height:" + fx(vals[3]) + 'px">';
    }
  }
  screen += hardwareHtml(os);
  const sx = L.width / L.device.width;
  const sy = L.height / L.device.height;
  const phone =
    '<div id="phoneWrap" style="position:absolute;left:' + L.left + "px;top:" + L.top + "px;width:" + L.width + "px;height:" + L.height + "px;z-index:2" +
    (tilt ? ";perspective:" + fx(Math.max(1, numberOr(st.phonePerspective, 1800))) + "px" : "") + '">' +
    '<div data-vell-phone style="position:absolute;inset:0;border-radius:' + radius + "px;overflow:hidden;background:#000;box-shadow:" + shadow +
    (tilt ? ";transform:" + tilt : "") + '">' +
    '<div style="position:absolute;left:0;top:0;width:' + L.device.width + "px;height:" + L.device.height + "px;transform:scale(" + fx(sx, 5) + "," + fx(sy, 5) +
    ');transform-origin:0 0;overflow:hidden">' + screen + "</div></div></div>";

  const overlayUri = pictureUri(args.overlay);
  const overlay = overlayUri
    ? '<img id="overlay" alt="" src="' + overlayUri + '" style="position:absolute;left:0;top:0;width:100%;height:100%;object-fit:cover;z-index:7">'
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
    titleStroke > 0 ? ";-webkit-text-stroke:" + fx(titleStroke) + "px " + cssColor(st.titleStrokeColor, "#000000") + ";paint-order:stroke fill" : "";
  const titleHtml = lines.map((line) => accentHtml(line, accent)).join("<br>");
  const subtitle = typeof text.subtitle === "string" ? text.subtitle.trim() : "";
  const subtitleHtml = subtitle
    ? '<div class="subtitle" style="position:absolute;left:0;right:0;top:100%;padding:0 ' + inkPad + "px;margin-top:" + fx(Math.max(4, 14 - inkPad)) + "px;font-family:" + titleFamily +
      ";font-weight:" + (rtl ? 800 : 700) + ";font-size:" + fx(numberOr(st.subtitleSize, 32)) + "px;line-height:1.25;color:" + cssColor(st.subtitleColor, "rgba(255,255,255,0.85)") +
      ";text-align:" + align + ";letter-spacing:" + (rtl ? "normal" : "-0.01em") + ';overflow-wrap:break-word">' +
      subtitle.split(/\r?\n/).map((l) => esc(l)).join("<br>") + "</div>"
    : "";
  // word-break:auto-phrase: Japanese has no spaces, and phrase analysis keeps a
  // wrapped title from ending a line in the middle of a word.
  const textLayer =
    '<div id="textLayer" style="position:absolute;' + (L.bottomText ? "bottom:0;top:auto" : "top:0;bottom:auto") + ";height:" + bandH + "px;left:" +
    fx((W - boxW) / 2 + numberOr(st.titleOffsetX, 0)) + "px;width:" + fx(boxW) + "px;box-sizing:border-box;padding:0 " + Math.round(40 - inkPad) +
    "px;display:flex;align-items:center;justify-content:center;z-index:10" + (offsetY ? ";transform:translateY(" + fx(offsetY) + "px)" : "") + '">' +
    '<div id="titleBox" style="position:relative;display:flex;flex-direction:column;align-items:center;justify-content:flex-start;width:100%;min-height:' +
    Math.round(titleSize * numberOr(st.titleLineHeight, 1.12) * lineCount) + 'px">' +
    '<div id="title" data-vell-title dir="' + (rtl ? "rtl" : "ltr") + '" style="width:100%;box-sizing:border-box;display:-webkit-box;-webkit-box-orient:vertical;-webkit-line-clamp:' +
    lineCount + ";overflow:hidden;word-break:auto-phrase;overflow-wrap:break-word;padding:" + inkPad + "px;font-family:" + titleFamily + ";font-size:" + Math.round(titleSize) +
    "px;font-weight:" + textFontWeight(st.titleWeight, rtl) + ";letter-spacing:" + (rtl ? "normal" : fx(numberOr(st.titleLetterSpacing, -0.03), 4) + "em") +
    ";line-height:" + fx(numberOr(st.titleLineHeight, 1.12), 4) + ";text-align:" + align + ";color:" + cssColor(st.titleColor, "#ffffff") + strokeCss + '">' +
    titleHtml + "</div>" + subtitleHtml + "</div></div>";

  const faces = new Set([titleFace, ...layerFaces]);
  const fonts = fontFaceCss(faces, title + subtitle + layerText + " ");
  return (
    '<!DOCTYPE html><html lang="' + esc(locale || "en") + '"><head><meta charset="utf-8"><style>' + fonts +
    "html,body{margin:0;padding:0;background:transparent}" +
    "#canvas{position:relative;width:" + W + "px;height:" + H + "px;overflow:hidden;" + backdrop + "}" +
    ".decor,.layers{position:absolute;left:0;top:0;width:" + W + "px;height:" + H + "px}" +
    "</style></head><body>" +
    '<div id="canvas">' + pattern +
    '<div id="decorBehind" class="decor" style="z-index:1">' + art.behind + "</div>" +
    '<div id="layersBack" class="layers" style="z-index:1">' + layersBack + "</div>" +
    phone +
    '<div id="decorFront" class="decor" style="z-index:6">' + art.front + "</div>" +
    overlay +
    '<div id="layersFront" class="layers" style="z-index:8">' + layersFront + "</div>" +
    textLayer +
    "</div></body></html>"
  );
}

// ---------------------------------------------------------------------------
// Screens for the renderer and the live preview

function builtinScreen(args, context) {
  const page = stringArg(args.page);
  const builtin = typeof args.builtin === "string" && args.builtin ? args.builtin : page;
  if (!hasOwn.call(PAGE_BUILDERS, builtin)) return null;
  const locale = stringArg(args.locale);
  const overrides = context.text(page, locale).overrides;
  const S = screenContext(builtin, normalOs(stringArg(args.os)), stringArg(args.theme) === "light" ? "light" : "dark", locale, overrides);
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
    ? '<img alt="" src="' + esc(url) + '" style="position:absolute;left:0;top:0;width:100%;height:100%;object-fit:cover;object-position:top">'
    : placeholderScreen(stringArg(args.label), theme);
  return (
    '<!DOCTYPE html><html><head><meta charset="utf-8"><style>html,body{margin:0;padding:0;width:100%;height:100%;overflow:hidden;background:transparent}' +
    "#device{position:relative;width:100vw;height:100vh;overflow:hidden;background:" + (theme === "light" ? "#F5F3EF" : "#0E0F13") + "}" +
    ".hw-android{display:none}@media (min-width:400px){.hw-ios{display:none}.hw-android{display:block}}" +
    '</style></head><body><div id="device">' + inner +
    '<div class="hw-ios">' + hardwareHtml("ios") + '</div><div class="hw-android">' + hardwareHtml("android") + "</div>" +
    "</div></body></html>"
  );
}

// ---------------------------------------------------------------------------
// Other functions

function orderedPages(args) {
  const all = Array.isArray(args.all) ? args.all : [];
  const stored = args.stored;
  if (!Array.isArray(stored)) return all;
  const known = new Set(all);
  const out = [];
  const seen = new Set();
  for (const id of stored) {
    if (typeof id === "string" && known.has(id) && !seen.has(id)) {
      seen.add(id);
      out.push(id);
    }
  }
  for (const id of all) {
    if (!seen.has(id)) {
      seen.add(id);
      out.push(id);
    }
  }
  return out;
}

function screenTexts(args) {
  const pairs = screenStrings(stringArg(args.page), stringArg(args.locale), stringArg(args.os));
  return pairs ? pairs.map(([key, value]) => ({ key, value })) : [];
}

// ---------------------------------------------------------------------------
// Entry

const CORE_FUNCTIONS = new Map([
  ["catalog", () => buildCatalog()],
  ["pagePlan", pagePlan],
  ["compositeName", compositeName],
  ["orderedPages", orderedPages],
  ["screenTexts", screenTexts],
  ["pageHtml", pageHtml],
  ["previewHtml", previewHtml],
  ["uploadPreviewHtml", uploadPreviewHtml],
  ["compositeHtml", compositeHtml],
  ["decor", decor],
]);

// Registers a named function: fn(args, context) with context the set's
// documents (texts, styles) and their memo.
function defineCoreFunction(name, fn) {
  CORE_FUNCTIONS.set(name, fn);
}

var VellsCore = {
  call(name, argsJson) {
    if (name === "catalog") {
      if (catalogText === null) catalogText = JSON.stringify(buildCatalog());
      return catalogText;
    }
    let args;
    try {
      args = argsJson ? JSON.parse(argsJson) : {};
    } catch (e) {
      throw new Error("Arguments of " + name + " are not JSON: " + e.message);
    }
    if (!isPlainObject(args)) args = {};
    if (name === "__rememberDocs") return JSON.stringify(rememberDocs(args));

    const fn = CORE_FUNCTIONS.get(name);
    if (!fn) throw new Error("Unknown function: " + name);

    let context;
    if (typeof args.__docs === "string") {
      const remembered = recallDocs(args.__docs);
      const { __docs, ...callKeys } = args;
      const overridesDocs = hasOwn.call(callKeys, "texts") || hasOwn.call(callKeys, "styles");
      args = { texts: remembered.texts, styles: remembered.styles, ...callKeys };
      // A call that brings its own documents must not see the memo of others.
      context = overridesDocs ? new DocumentContext(args.texts, args.styles) : remembered;
    } else {
      context = new DocumentContext(args.texts, args.styles);
    }
    const result = fn(args, context);
    const text = JSON.stringify(result === undefined ? null : result);
    return text === undefined ? "null" : text;
  },
  define: defineCoreFunction,
};
