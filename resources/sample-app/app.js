// The sample app whose screens ship with Vellora

"use strict";

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
          {
            key: "habit.run",
            icon: "run",
            tint: "#ff6a3d",
            week: [null, 1, null, 1, null, null, 1],
          },
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
    toggles: {
      "reminder.morning": true,
      "reminder.evening": true,
      "reminder.smart": false,
      "general.health": true,
    },
    theme: "theme.system",
  },
};
