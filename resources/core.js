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
const CAPTURE_REVISION = "tempo-screens-1";
// Bump when the store image is laid out differently (title, decoration, layers).
const COMPOSITE_REVISION = "composite-1";

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
      "tile.focus.value": "6 Std. 40 Min.",
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
};

// Wording that Android words differently (its own names for haptics and the
// health store).
const SCREEN_STRINGS_ANDROID = {
  en: { settings: { "general.sounds": "Sounds & vibration", "general.health": "Sync with Health Connect" } },
  de: { settings: { "general.sounds": "Töne & Vibration", "general.health": "Mit Health Connect synchronisieren" } },
  fr: { settings: { "general.sounds": "Sons et vibreur", "general.health": "Synchroniser avec Santé Connect" } },
  es: { settings: { "general.sounds": "Sonidos y vibración", "general.health": "Sincronizar con Health Connect" } },
  ja: { settings: { "general.sounds": "サウンドとバイブレーション", "general.health": "ヘルスコネクトと同期" } },
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
      finiteOrNull(args.overlayMtimeMs),
      finiteOrNull(args.screenMtimeMs),
      finiteOrNull(args.calloutAspect),
    ]),
  );
  return namePrefix(k) + "-" + hash + ".png";
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
