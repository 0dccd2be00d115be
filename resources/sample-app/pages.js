// The pages

"use strict";

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
    '<svg width="' +
    size +
    '" height="' +
    size +
    '" viewBox="0 0 ' +
    size +
    " " +
    size +
    '">' +
    '<defs><linearGradient id="ringGrad" x1="0" y1="0" x2="1" y2="1"><stop offset="0" stop-color="#FF9A62"/><stop offset="1" stop-color="#FF5A3C"/></linearGradient></defs>' +
    arcs +
    "</svg>";

  const header = S.ios
    ? iosLargeTitle(S, S.t("nav.title"), { eyebrow: S.t("date"), trailing: avatar(38) })
    : androidTopBar(S, {
        title: S.t("nav.title"),
        actions: [icon("calendar", 24)],
        trailing: '<span class="iconbtn">' + avatar(32) + "</span>",
      });

  const chipInset = 18 + size + 16;
  const hero =
    '<div class="hero-wrap">' +
    '<div class="card hero" data-vell="hero" data-vell-plate>' +
    '<div class="ring">' +
    ring +
    '<div class="ring-center"><div class="ring-num">' +
    S.n(data.ring.done) +
    "<span>/" +
    S.n(data.ring.total) +
    "</span></div>" +
    '<div class="ring-cap">' +
    S.t("ring.caption") +
    "</div></div></div>" +
    '<div class="hero-text">' +
    (S.android ? '<div class="hero-date">' + S.t("date") + "</div>" : "") +
    '<div class="hero-greet">' +
    S.t("greeting") +
    "</div>" +
    '<div class="hero-note">' +
    S.t("ring.note") +
    "</div>" +
    '<div class="chip-space"></div></div></div>' +
    '<div class="streak" data-vell-with-hero style="inset-inline-start:' +
    chipInset +
    'px">' +
    icon("flame", 15) +
    "<span>" +
    S.t("streak") +
    "</span></div>" +
    "</div>";

  let rows = "";
  for (const h of data.habits) {
    rows +=
      '<div class="li habit">' +
      iconTile(h.icon, h.tint, 40, S.ios ? 12 : 20, S) +
      '<div class="grow"><div class="h-name">' +
      S.t(h.key) +
      '</div><div class="h-detail">' +
      S.t(h.key + ".detail") +
      "</div></div>" +
      checkMark(S, h.done, h.tint, 30) +
      "</div>";
  }
  const list =
    '<div class="sect"><h2>' +
    S.t("section.habits") +
    '</h2><span class="more">' +
    S.t("section.more") +
    "</span></div>" +
    '<div class="list' +
    (S.ios ? " card" : "") +
    '">' +
    rows +
    "</div>";

  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="content"' +
    top +
    ">" +
    (S.ios ? header : "") +
    '<div class="pad">' +
    hero +
    list +
    "</div></div>" +
    (S.android ? header : "") +
    tabBar(S, "tab.today") +
    homeIndicator();

  const css =
    ".pad{padding:" +
    (S.ios ? "4px 16px 0" : "8px 16px 0") +
    "}" +
    ".hero-wrap{position:relative}" +
    ".hero{display:flex;align-items:center;gap:16px;padding:18px;border-radius:" +
    PLATE_RADIUS[S.os] +
    "px;min-height:164px}" +
    ".ring{position:relative;width:" +
    size +
    "px;height:" +
    size +
    "px;flex:none}" +
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
    ? iosLargeTitle(S, S.t("nav.title"), {
        actions:
          '<span class="roundbtn" aria-label="' +
          S.t("nav.add") +
          '">' +
          icon("plus", 22) +
          "</span>",
      })
    : androidTopBar(S, {
        title: S.t("nav.title"),
        actions: [icon("search", 24), icon("moreVertical", 24)],
      });
  const filterRow = S.ios
    ? '<div class="filters">' + segmented(S, filters, 0) + "</div>"
    : '<div class="chips">' +
      filters
        .map(
          (f, i) =>
            '<span class="chip' +
            (i === 0 ? " on" : "") +
            '">' +
            (i === 0 ? icon("check", 18) : "") +
            f +
            "</span>",
        )
        .join("") +
      "</div>";
  let groups = "";
  for (const g of data.groups) {
    let rows = "";
    for (const h of g.habits) {
      rows +=
        '<div class="li hrow">' +
        iconTile(h.icon, h.tint, 38, S.ios ? 11 : 19, S) +
        '<div class="grow"><div class="h-name">' +
        S.t(h.key) +
        '</div><div class="h-detail">' +
        S.t(h.key + ".schedule") +
        "</div></div>" +
        weekDots(S, h.week, h.tint) +
        "</div>";
    }
    groups +=
      '<div class="ghead"><span class="group-label">' +
      S.t(g.key) +
      "</span>" +
      weekLetters(S) +
      "</div>" +
      '<div class="list' +
      (S.ios ? " card" : "") +
      '">' +
      rows +
      "</div>";
  }
  const summary =
    '<div class="summary">' + icon("sparkle", 14) + "<span>" + S.t("summary") + "</span></div>";
  const fab = S.android
    ? '<div class="fab">' + icon("plus", 24) + "<span>" + S.t("nav.add") + "</span></div>"
    : "";
  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="content"' +
    top +
    ">" +
    (S.ios ? header : "") +
    '<div class="pad">' +
    filterRow +
    groups +
    summary +
    "</div></div>" +
    (S.android ? header : "") +
    fab +
    tabBar(S, "tab.habits") +
    homeIndicator();
  const dotSize = 11;
  const css =
    ".pad{padding:" +
    (S.ios ? "2px 16px 0" : "4px 16px 0") +
    "}" +
    ".filters{margin-bottom:18px}" +
    ".chips{display:flex;gap:8px;margin-bottom:18px}" +
    ".chip{display:inline-flex;align-items:center;gap:6px;height:34px;padding:0 16px;border-radius:10px;font-size:14px;font-weight:750;box-shadow:inset 0 0 0 1px var(--text3);white-space:nowrap}" +
    ".chip.on{background:" +
    S.tone.indicator +
    ";color:" +
    S.tone.onIndicator +
    ";box-shadow:none;padding-inline:10px 16px}" +
    ".ghead{display:flex;align-items:flex-end;justify-content:space-between;padding-inline-end:16px;margin-top:" +
    (S.ios ? 12 : 6) +
    "px}" +
    ".ghead .group-label{padding-bottom:8px}" +
    ".list{margin-bottom:" +
    (S.ios ? 20 : 16) +
    "px}" +
    (S.ios ? ".list{border-radius:22px}" : "") +
    ".hrow{height:68px}" +
    ".h-name{font-size:16px;font-weight:800;white-space:nowrap;overflow:hidden;text-overflow:ellipsis}" +
    ".h-detail{font-size:13px;font-weight:650;color:var(--text2);margin-top:1px;white-space:nowrap;overflow:hidden;text-overflow:ellipsis}" +
    ".dots{display:flex;flex:none}" +
    ".dot{display:block;width:" +
    dotSize +
    "px;height:" +
    dotSize +
    "px;border-radius:50%;margin:0 2.5px}" +
    ".dot.miss{box-shadow:inset 0 0 0 1.6px var(--text3)}" +
    ".dot.rest{transform:scale(0.42);background:var(--text3);opacity:0.7}" +
    ".letters{padding-bottom:8px}" +
    ".letters i{display:block;width:" +
    (dotSize + 5) +
    "px;text-align:center;font-style:normal;font-size:10.5px;font-weight:850;color:var(--text3);line-height:1.2}" +
    ".letters i.now{color:var(--accentInk)}" +
    ".summary{display:flex;align-items:center;justify-content:center;gap:6px;color:var(--text2);font-size:13.5px;font-weight:700;margin-top:2px}" +
    ".summary svg{color:var(--accent)}" +
    ".fab{position:absolute;bottom:124px;inset-inline-end:16px;z-index:25;height:56px;display:flex;align-items:center;gap:10px;padding:0 20px 0 16px;padding-inline:16px 20px;border-radius:16px;" +
    "background:" +
    S.tone.indicator +
    ";color:" +
    S.tone.onIndicator +
    ";font-size:15px;font-weight:850;box-shadow:0 4px 12px rgba(0,0,0,0.16),0 1px 3px rgba(0,0,0,0.1)}";
  return screenDocument(S, body, css);
}

// Habit detail: the streak, the month and the notes of one habit.
function detailPage(S) {
  const data = SCREEN_DATA.detail;
  const tint = data.habit.tint;
  const header = S.ios
    ? '<div class="navbar"><span class="back">' +
      icon("back", 24, "flipx") +
      "<span>" +
      S.t("nav.back") +
      '</span></span><span class="edit">' +
      S.t("nav.edit") +
      "</span></div>"
    : androidTopBar(S, {
        back: S.t("nav.back"),
        title: "",
        actions: [
          '<span aria-label="' + S.t("nav.edit") + '">' + icon("pen", 22) + "</span>",
          icon("moreVertical", 24),
        ],
      });
  const intro =
    '<div class="intro">' +
    iconTile(data.habit.icon, tint, 58, S.ios ? 18 : 29, S) +
    '<div class="grow"><div class="hname">' +
    S.t("habit.name") +
    '</div><div class="hsched">' +
    icon("bell", 14) +
    "<span>" +
    S.t("habit.schedule") +
    "</span></div></div></div>";
  const pct = clamp(data.streak.current / data.streak.best, 0, 1);
  const streak =
    '<div class="card streakcard" data-vell="hero" data-vell-plate>' +
    '<div class="cols"><div class="col"><div class="lbl">' +
    icon("flame", 15) +
    "<span>" +
    S.t("streak.current") +
    '</span></div><div class="big">' +
    S.t("streak.current.value") +
    "</div></div>" +
    '<div class="col"><div class="lbl">' +
    icon("trophy", 15) +
    "<span>" +
    S.t("streak.best") +
    '</span></div><div class="big b2">' +
    S.t("streak.best.value") +
    "</div></div></div>" +
    '<div class="meter"><i style="width:' +
    fx(pct * 100, 1) +
    '%"></i></div>' +
    '<div class="snote">' +
    S.t("streak.note") +
    "</div></div>";

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
            '<i class="band" style="top:' +
            row * 38 +
            "px;inset-inline-start:calc(" +
            fx(runStart * cellW + cellW / 2, 3) +
            "% - 17px);width:calc(" +
            fx((col - 1 - runStart) * cellW, 3) +
            '% + 34px)"></i>';
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
    '<div class="card calcard"><div class="calhead"><span class="month">' +
    S.t("calendar.month") +
    "</span>" +
    '<span class="arrows"><span class="flipx">' +
    icon("back", 20) +
    '</span><span class="flipx">' +
    icon("chevron", 20) +
    "</span></span></div>" +
    '<div class="wk">' +
    letters +
    "</div>" +
    '<div class="grid">' +
    bands +
    cells +
    "</div>" +
    '<div class="stats"><div><div class="slbl">' +
    S.t("stat.rate") +
    '</div><div class="sval">' +
    S.t("stat.rate.value") +
    "</div></div>" +
    '<div><div class="slbl">' +
    S.t("stat.total") +
    '</div><div class="sval">' +
    S.t("stat.total.value") +
    "</div></div></div></div>";
  const notes =
    '<div class="card notes"><div class="ntitle">' +
    icon("pen", 16) +
    "<span>" +
    S.t("notes.title") +
    '</span></div><div class="nbody">' +
    S.t("notes.body") +
    "</div></div>";
  const cta =
    '<div class="ctawrap"><div class="cta">' +
    icon("check", 22) +
    "<span>" +
    S.t("action.done") +
    "</span></div></div>";
  const top = S.ios ? 98 : contentTop(S);
  const body =
    statusBar(S) +
    (S.ios ? header : "") +
    '<div class="content" style="padding-top:' +
    top +
    'px"><div class="pad">' +
    intro +
    streak +
    calendar +
    notes +
    "</div></div>" +
    (S.android ? header : "") +
    cta +
    homeIndicator();
  const rad = PLATE_RADIUS[S.os];
  const css =
    ".navbar{position:absolute;top:54px;left:0;right:0;height:44px;display:flex;align-items:center;justify-content:space-between;padding:0 16px 0 8px;padding-inline:8px 16px;color:var(--accentInk);font-size:17px;font-weight:700;z-index:20}" +
    ".back{display:flex;align-items:center;gap:2px}" +
    ".pad{padding:" +
    (S.ios ? "6px 16px 0" : "4px 16px 0") +
    "}" +
    ".intro{display:flex;align-items:center;gap:14px;margin:0 2px 14px}" +
    ".hname{font-size:28px;font-weight:900;letter-spacing:-0.4px;line-height:1.1}" +
    ".hsched{display:flex;align-items:center;gap:5px;font-size:14px;font-weight:700;color:var(--text2);margin-top:4px}" +
    ".streakcard{border-radius:" +
    rad +
    "px;padding:16px 18px 16px}" +
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
    ".calcard{border-radius:" +
    rad +
    "px;padding:12px 14px 10px;margin-top:12px}" +
    ".calhead{display:flex;align-items:center;justify-content:space-between;padding:0 4px 10px}" +
    ".month{font-size:18px;font-weight:900;letter-spacing:-0.2px}" +
    ".arrows{display:flex;gap:14px;color:var(--text3)}" +
    ".wk,.grid{display:grid;grid-template-columns:repeat(7,1fr)}" +
    ".wk span{text-align:center;font-size:11.5px;font-weight:850;color:var(--text3);padding-bottom:6px}" +
    ".grid{position:relative;grid-auto-rows:38px}" +
    ".grid>span{position:relative;display:flex;align-items:center;justify-content:center}" +
    ".band{position:absolute;height:34px;margin-top:2px;border-radius:17px;background:" +
    tintSoft(tint, S.dark ? 0.22 : 0.16) +
    "}" +
    ".d{position:relative;width:34px;height:34px;border-radius:50%;display:flex;align-items:center;justify-content:center;font-size:14.5px;font-weight:800}" +
    ".d.done{background:" +
    tint +
    ";color:#fff}" +
    ".d.today{box-shadow:0 0 0 2.5px var(--card),0 0 0 4.5px " +
    tint +
    "}" +
    ".d.future{color:var(--text3)}" +
    ".stats{display:flex;border-top:1px solid var(--line);margin-top:6px;padding-top:9px}" +
    ".stats>div{flex:1;padding:0 6px}" +
    ".stats>div+div{border-inline-start:1px solid var(--line);padding-inline-start:14px}" +
    ".slbl{font-size:12.5px;font-weight:800;color:var(--text2)}" +
    ".sval{font-size:20px;font-weight:900;letter-spacing:-0.2px;margin-top:1px}" +
    ".notes{border-radius:" +
    rad +
    "px;padding:12px 18px 14px;margin-top:12px}" +
    ".ntitle{display:flex;align-items:center;gap:6px;font-size:15px;font-weight:850;margin-bottom:4px}" +
    ".ntitle svg{color:var(--text2)}" +
    ".nbody{font-size:14.5px;font-weight:600;color:var(--text2);line-height:1.4}" +
    ".ctawrap{position:absolute;left:0;right:0;bottom:0;z-index:30;padding:20px 16px " +
    (S.ios ? 36 : 30) +
    "px;" +
    "background:linear-gradient(to bottom," +
    rgba(parseColor(S.tone.bg), 0) +
    "," +
    S.tone.bg +
    " 34%)}" +
    ".cta{height:56px;border-radius:" +
    (S.ios ? 18 : 28) +
    "px;background:" +
    tint +
    ";color:#fff;display:flex;align-items:center;justify-content:center;gap:8px;font-size:17px;font-weight:850;box-shadow:0 6px 18px " +
    tintSoft(tint, 0.3) +
    "}";
  return screenDocument(S, body, css);
}

// Insights: the week in bars, the month's rate, and what stands out.
function insightsPage(S) {
  const data = SCREEN_DATA.insights;
  const header = S.ios
    ? iosLargeTitle(S, S.t("nav.title"), {
        actions: '<span class="roundbtn">' + icon("calendar", 20) + "</span>",
      })
    : androidTopBar(S, {
        title: S.t("nav.title"),
        actions: [icon("calendar", 24), icon("moreVertical", 24)],
      });
  const range =
    '<div class="range">' +
    segmented(S, [S.t("range.week"), S.t("range.month"), S.t("range.year")], 0) +
    "</div>";

  // Bars, Monday first, scaled to the best day; the highlighted one is called out.
  const max = Math.max(...data.bars);
  const plotH = 146;
  const barMax = plotH - 40;
  let bars = "";
  let letters = "";
  data.bars.forEach((v, i) => {
    const h = Math.max(10, Math.round((v / max) * barMax));
    bars +=
      '<span class="barcol"><i class="bar' +
      (i === data.highlight ? " hi" : "") +
      '" style="height:' +
      h +
      'px"></i></span>';
    letters +=
      '<span class="' +
      (i === data.highlight ? "hi" : "") +
      '">' +
      S.t("day." + (i + 1)) +
      "</span>";
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
    '<div class="ctitle">' +
    S.t("chart.title") +
    "</div>" +
    '<div class="ctotal">' +
    S.t("chart.total") +
    "</div>" +
    '<div class="delta">' +
    icon("chart", 14) +
    "<span>" +
    S.t("chart.delta") +
    "</span></div>" +
    '<div class="plot"><i class="avg" style="top:' +
    avgTop +
    'px"></i>' +
    bars +
    "</div>" +
    '<div class="blabels">' +
    letters +
    "</div></div>" +
    '<div class="bubble" data-vell-with-hero style="inset-inline-start:' +
    fx(colCentre - 22) +
    "px;bottom:" +
    (30 + 14 + hiH + 8) +
    'px">' +
    S.n(data.bars[data.highlight]) +
    "</div>" +
    "</div>";

  // Completion rate over the last weeks, as a small area chart.
  const w = 132;
  const h = 62;
  const lo = Math.min(...data.rateLine) - 0.05;
  const hi = Math.max(...data.rateLine) + 0.02;
  const pts = data.rateLine.map((v, i) => [
    (i / (data.rateLine.length - 1)) * (w - 8) + 4,
    h - 6 - ((v - lo) / (hi - lo)) * (h - 14),
  ]);
  let line = "M" + fx(pts[0][0]) + " " + fx(pts[0][1]);
  for (let i = 1; i < pts.length; i++) {
    const [x0, y0] = pts[i - 1];
    const [x1, y1] = pts[i];
    const mx = (x0 + x1) / 2;
    line += "C" + fx(mx) + " " + fx(y0) + " " + fx(mx) + " " + fx(y1) + " " + fx(x1) + " " + fx(y1);
  }
  const last = pts[pts.length - 1];
  const spark =
    '<svg class="spark flipx" width="' +
    w +
    '" height="' +
    h +
    '" viewBox="0 0 ' +
    w +
    " " +
    h +
    '"><defs><linearGradient id="rg" x1="0" y1="0" x2="0" y2="1"><stop offset="0" stop-color="#3DD598" stop-opacity="0.35"/><stop offset="1" stop-color="#3DD598" stop-opacity="0"/></linearGradient></defs>' +
    '<path d="' +
    line +
    "L" +
    fx(last[0]) +
    " " +
    h +
    "L" +
    fx(pts[0][0]) +
    " " +
    h +
    'Z" fill="url(#rg)"/>' +
    '<path d="' +
    line +
    '" fill="none" stroke="var(--good)" stroke-width="2.6" stroke-linecap="round"/>' +
    '<circle cx="' +
    fx(last[0]) +
    '" cy="' +
    fx(last[1]) +
    '" r="4.5" fill="var(--card)" stroke="var(--good)" stroke-width="2.6"/></svg>';
  const rate =
    '<div class="card rate"><div class="grow"><div class="ctitle">' +
    S.t("rate.title") +
    '</div><div class="rval">' +
    S.t("rate.value") +
    "</div>" +
    '<div class="rcap">' +
    S.t("rate.caption") +
    "</div></div>" +
    spark +
    "</div>";
  const tiles =
    '<div class="tiles">' +
    '<div class="card tilebox"><span class="tico" style="color:#8E6CF0;background:' +
    tintSoft("#8E6CF0", S.dark ? 0.2 : 0.13) +
    '">' +
    icon("timer", 19) +
    "</span>" +
    '<div class="tlbl">' +
    S.t("tile.focus") +
    '</div><div class="tval">' +
    S.t("tile.focus.value") +
    "</div></div>" +
    '<div class="card tilebox"><span class="tico" style="color:#E6A23C;background:' +
    tintSoft("#E6A23C", S.dark ? 0.2 : 0.14) +
    '">' +
    icon("trophy", 19) +
    "</span>" +
    '<div class="tlbl">' +
    S.t("tile.best") +
    '</div><div class="tval">' +
    S.t("tile.best.value") +
    "</div></div></div>";
  const tip = '<div class="tip">' + icon("bulb", 20) + "<span>" + S.t("tip") + "</span></div>";
  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="content"' +
    top +
    ">" +
    (S.ios ? header : "") +
    '<div class="pad">' +
    range +
    chart +
    rate +
    tiles +
    tip +
    "</div></div>" +
    (S.android ? header : "") +
    tabBar(S, "tab.insights") +
    homeIndicator();
  const rad = PLATE_RADIUS[S.os];
  const css =
    ".pad{padding:" +
    (S.ios ? "2px 16px 0" : "4px 16px 0") +
    "}" +
    ".range{margin-bottom:16px}" +
    ".hero-wrap{position:relative}" +
    ".chart{border-radius:" +
    rad +
    "px;padding:16px " +
    cardPad +
    "px 14px}" +
    ".ctitle{font-size:13.5px;font-weight:800;color:var(--text2)}" +
    ".ctotal{font-size:27px;font-weight:900;letter-spacing:-0.5px;margin-top:1px}" +
    ".delta{display:inline-flex;align-items:center;gap:5px;margin-top:6px;height:26px;padding:0 10px;border-radius:13px;background:var(--goodSoft);color:var(--good);font-size:12.5px;font-weight:850}" +
    ".plot{position:relative;height:" +
    plotH +
    "px;display:flex;align-items:flex-end;margin-top:2px}" +
    ".avg{position:absolute;left:0;right:0;border-top:1.5px dashed var(--fill2)}" +
    ".barcol{flex:1;display:flex;justify-content:center;position:relative}" +
    ".bar{display:block;width:26px;border-radius:9px 9px 5px 5px;background:" +
    (S.dark ? "#2C2D35" : "#ECE6DF") +
    "}" +
    ".bar.hi{background:linear-gradient(180deg,#FF9A62,#FF5A3C)}" +
    ".blabels{display:flex;margin-top:8px}" +
    ".blabels span{flex:1;text-align:center;font-size:12px;font-weight:850;color:var(--text3)}" +
    ".blabels span.hi{color:var(--accentInk)}" +
    ".bubble{position:absolute;width:44px;height:30px;border-radius:10px;background:var(--text);color:var(--bg);display:flex;align-items:center;justify-content:center;font-size:15px;font-weight:900}" +
    ".bubble::after{content:'';position:absolute;bottom:-5px;left:50%;margin-left:-6px;border:6px solid transparent;border-bottom:0;border-top-color:var(--text)}" +
    ".rate{display:flex;align-items:center;gap:12px;border-radius:" +
    rad +
    "px;padding:16px 18px;margin-top:14px}" +
    ".rval{font-size:30px;font-weight:900;letter-spacing:-0.6px;color:var(--good);line-height:1.15}" +
    ".rcap{font-size:13px;font-weight:700;color:var(--text2)}" +
    ".tiles{display:flex;gap:12px;margin-top:14px}" +
    ".tilebox{flex:1;min-width:0;border-radius:" +
    rad +
    "px;padding:14px 14px;display:grid;grid-template-columns:auto 1fr;column-gap:10px;align-items:center}" +
    ".tico{width:36px;height:36px;border-radius:12px;display:flex;align-items:center;justify-content:center;grid-row:span 2}" +
    ".tlbl{font-size:13px;font-weight:800;color:var(--text2)}" +
    ".tval{font-size:17px;font-weight:900;letter-spacing:-0.2px;margin-top:1px;line-height:1.15}" +
    ".tip{display:flex;align-items:center;gap:10px;margin-top:14px;padding:14px 16px;border-radius:" +
    rad +
    "px;background:var(--accentSoft);color:var(--text);font-size:14px;font-weight:750}" +
    ".tip svg{color:var(--accentInk)}";
  return screenDocument(S, body, css);
}

// Focus: the running session's timer, its controls, and a sound to work to.
function focusPage(S) {
  const data = SCREEN_DATA.focus;
  const header = S.ios
    ? iosLargeTitle(S, S.t("nav.title"), {
        actions: '<span class="roundbtn">' + icon("more", 20) + "</span>",
      })
    : androidTopBar(S, { title: S.t("nav.title"), actions: [icon("moreVertical", 24)] });
  let pips = "";
  for (let i = 0; i < data.sessions.total; i++) {
    pips +=
      '<i class="' +
      (i < data.sessions.done ? "done" : i === data.sessions.done ? "now" : "") +
      '"></i>';
  }
  const session =
    '<div class="session"><span class="slabel">' +
    icon("bolt", 15) +
    "<span>" +
    S.t("session.label") +
    "</span></span>" +
    '<span class="scount"><span>' +
    S.t("session.count") +
    '</span><span class="pips">' +
    pips +
    "</span></span></div>";

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
      '<line x1="' +
      fx(c + r1 * Math.sin(a)) +
      '" y1="' +
      fx(c - r1 * Math.cos(a)) +
      '" x2="' +
      fx(c + r2 * Math.sin(a)) +
      '" y2="' +
      fx(c - r2 * Math.cos(a)) +
      '" stroke="var(--text3)" stroke-opacity="' +
      (long ? 0.9 : 0.45) +
      '" stroke-width="' +
      (long ? 2.2 : 1.4) +
      '" stroke-linecap="round"/>';
  }
  const end = frac * 360;
  const ka = (end * Math.PI) / 180;
  const timer =
    '<div class="timer"><svg class="tsvg" width="' +
    D +
    '" height="' +
    D +
    '" viewBox="0 0 ' +
    D +
    " " +
    D +
    '">' +
    '<defs><linearGradient id="tg" x1="0" y1="0" x2="1" y2="1"><stop offset="0" stop-color="#FFB38A"/><stop offset="0.5" stop-color="#FF6A3D"/><stop offset="1" stop-color="#F0436B"/></linearGradient></defs>' +
    ticks +
    '<circle cx="' +
    c +
    '" cy="' +
    c +
    '" r="' +
    R +
    '" fill="none" stroke="var(--fill)" stroke-width="16"/>' +
    '<path d="' +
    arcPath(c, c, R, 0, end) +
    '" fill="none" stroke="url(#tg)" stroke-width="16" stroke-linecap="round"/>' +
    '<circle cx="' +
    fx(c + R * Math.sin(ka)) +
    '" cy="' +
    fx(c - R * Math.cos(ka)) +
    '" r="11" fill="#fff" stroke="#F0436B" stroke-width="4"/>' +
    "</svg>" +
    '<div class="tcenter"><div class="tval">' +
    S.t("timer.value") +
    '</div><div class="tcap">' +
    S.t("timer.caption") +
    "</div></div></div>";
  const controls =
    '<div class="controls"><span class="btn ghost">' +
    icon("stop", 20) +
    "<span>" +
    S.t("action.end") +
    "</span></span>" +
    '<span class="btn primary">' +
    icon("pause", 20) +
    "<span>" +
    S.t("action.pause") +
    "</span></span></div>" +
    '<div class="next">' +
    icon("clock", 15) +
    "<span>" +
    S.t("break.next") +
    "</span></div>";
  let sounds = "";
  for (const s of data.sounds) {
    sounds +=
      '<div class="snd' +
      (s.on ? " on" : "") +
      '">' +
      icon(s.icon, 24) +
      "<span>" +
      S.t(s.key) +
      "</span></div>";
  }
  const ambient =
    '<div class="amb"><div class="ahead"><span>' +
    S.t("sounds.title") +
    '</span><span class="vol">' +
    icon("speaker", 18) +
    "</span></div>" +
    '<div class="sounds">' +
    sounds +
    "</div></div>" +
    '<div class="today">' +
    icon("flame", 14) +
    "<span>" +
    S.t("today") +
    "</span></div>";
  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="glow"></div>' +
    '<div class="content"' +
    top +
    ">" +
    (S.ios ? header : "") +
    '<div class="pad">' +
    session +
    timer +
    controls +
    ambient +
    "</div></div>" +
    (S.android ? header : "") +
    tabBar(S, "tab.focus") +
    homeIndicator();
  const css =
    ".pad{padding:" +
    (S.ios ? "0 16px" : "0 16px") +
    "}" +
    ".glow{position:absolute;left:50%;top:" +
    (S.ios ? 170 : 150) +
    "px;width:420px;height:420px;margin-left:-210px;border-radius:50%;" +
    "background:radial-gradient(closest-side,rgba(255,106,61," +
    (S.dark ? 0.2 : 0.12) +
    "),rgba(255,106,61,0))}" +
    ".session{display:flex;align-items:center;justify-content:space-between;gap:10px}" +
    ".slabel{display:inline-flex;align-items:center;gap:6px;height:32px;padding:0 13px 0 10px;padding-inline:10px 13px;border-radius:16px;background:var(--accentSoft);color:var(--accentInk);font-size:14px;font-weight:850;white-space:nowrap}" +
    ".scount{display:flex;align-items:center;gap:8px;font-size:13.5px;font-weight:750;color:var(--text2);white-space:nowrap}" +
    ".pips{display:flex;gap:4px}" +
    ".pips i{display:block;width:14px;height:6px;border-radius:3px;background:var(--fill2)}" +
    ".pips i.done{background:var(--accent)}" +
    ".pips i.now{background:linear-gradient(90deg,var(--accent) 50%,var(--fill2) 50%)}" +
    "[dir=rtl] .pips i.now{background:linear-gradient(270deg,var(--accent) 50%,var(--fill2) 50%)}" +
    ".timer{position:relative;width:" +
    D +
    "px;height:" +
    D +
    "px;margin:" +
    (S.ios ? 22 : 26) +
    "px auto 18px}" +
    ".tcenter{position:absolute;inset:0;display:flex;flex-direction:column;align-items:center;justify-content:center}" +
    ".tval{font-size:68px;font-weight:900;letter-spacing:-2px;line-height:1;font-variant-numeric:tabular-nums}" +
    ".tcap{font-size:15px;font-weight:800;color:var(--text2);margin-top:6px;text-transform:uppercase;letter-spacing:1.2px}" +
    ".controls{display:flex;justify-content:center;gap:12px}" +
    ".btn{display:inline-flex;align-items:center;justify-content:center;gap:8px;height:56px;min-width:130px;padding:0 24px;border-radius:28px;font-size:17px;font-weight:850;white-space:nowrap}" +
    ".btn.ghost{background:var(--fill);color:var(--text)}" +
    ".btn.primary{min-width:160px;background:linear-gradient(135deg,#FF8552,#FF5A3C);color:#fff;box-shadow:0 8px 20px rgba(255,90,60,0.32)}" +
    ".next{display:flex;align-items:center;justify-content:center;gap:6px;color:var(--text2);font-size:13.5px;font-weight:750;margin-top:14px}" +
    ".amb{margin-top:" +
    (S.ios ? 22 : 26) +
    "px}" +
    ".ahead{display:flex;align-items:center;justify-content:space-between;font-size:19px;font-weight:850;margin:0 4px 10px}" +
    ".vol{color:var(--text2)}" +
    ".sounds{display:grid;grid-template-columns:repeat(4,1fr);gap:10px}" +
    ".snd{height:76px;border-radius:" +
    (S.ios ? 20 : 24) +
    "px;background:var(--card);box-shadow:" +
    S.tone.shadow +
    ";display:flex;flex-direction:column;align-items:center;justify-content:center;gap:6px;font-size:13px;font-weight:800;color:var(--text2);overflow:hidden;padding:0 4px}" +
    ".snd span{max-width:100%;white-space:nowrap;overflow:hidden}" +
    ".snd.on{background:var(--accent);color:#fff;box-shadow:0 6px 16px rgba(255,90,60,0.28)}" +
    ".today{display:flex;align-items:center;justify-content:center;gap:6px;color:var(--text2);font-size:13px;font-weight:750;margin-top:14px}" +
    ".today svg{color:var(--accent)}";
  return screenDocument(S, body, css);
}

// Settings: reminders, appearance and the general switches, under an offer of Pro.
function settingsPage(S) {
  const data = SCREEN_DATA.settings;
  const header = S.ios
    ? iosLargeTitle(S, S.t("nav.title"))
    : androidTopBar(S, { title: S.t("nav.title"), actions: [icon("search", 24)] });
  const pro =
    '<div class="pro"><span class="crown">' +
    icon("crown", 22) +
    '</span><div class="grow"><div class="ptitle">' +
    S.t("pro.title") +
    "</div>" +
    '<div class="pbody">' +
    S.t("pro.body") +
    '</div></div><span class="pbtn">' +
    S.t("pro.action") +
    "</span></div>";
  const lead = (glyph, tint) =>
    S.ios
      ? '<span class="stile" style="background:' + tint + '">' + icon(glyph, 18) + "</span>"
      : '<span class="sicon">' + icon(glyph, 24) + "</span>";
  const row = (glyph, tint, key, trailing, detailKey) =>
    '<div class="li srow' +
    (detailKey ? " tall" : "") +
    '">' +
    lead(glyph, tint) +
    '<div class="grow"><div class="sname">' +
    S.t(key) +
    "</div>" +
    (detailKey ? '<div class="sdetail">' + S.t(detailKey) + "</div>" : "") +
    "</div>" +
    trailing +
    "</div>";
  const time = (key) => '<span class="time">' + S.t(key) + "</span>";
  const chevron = '<span class="chev flipx">' + icon("chevron", 18) + "</span>";
  const toggles = data.toggles;
  const reminders =
    '<div class="group-label">' +
    S.t("section.reminders") +
    "</div>" +
    '<div class="list' +
    (S.ios ? " card" : "") +
    '">' +
    row(
      "sun",
      "#FF9F0A",
      "reminder.morning",
      time("reminder.morning.time") + toggle(S, toggles["reminder.morning"]),
    ) +
    row(
      "moon",
      "#6E5BE0",
      "reminder.evening",
      time("reminder.evening.time") + toggle(S, toggles["reminder.evening"]),
    ) +
    row(
      "sparkle",
      "#2F9BFF",
      "reminder.smart",
      toggle(S, toggles["reminder.smart"]),
      "reminder.smart.detail",
    ) +
    "</div>";
  const swatch = (kind) => {
    const light =
      '<i class="sw-half" style="background:#F5F3EF"><b style="background:#fff"></b></i>';
    const dark =
      '<i class="sw-half" style="background:#0E0F13"><b style="background:#23242B"></b></i>';
    return (
      '<span class="swatch">' +
      (kind === "theme.light"
        ? light + light
        : kind === "theme.dark"
          ? dark + dark
          : light + dark) +
      "</span>"
    );
  };
  const themes = ["theme.system", "theme.light", "theme.dark"];
  const appearance =
    '<div class="group-label">' +
    S.t("section.appearance") +
    "</div>" +
    '<div class="card themes">' +
    themes
      .map(
        (k) =>
          '<div class="topt' +
          (k === data.theme ? " on" : "") +
          '">' +
          swatch(k) +
          '<span class="tname">' +
          S.t(k) +
          "</span></div>",
      )
      .join("") +
    "</div>";
  const general =
    '<div class="group-label">' +
    S.t("section.general") +
    "</div>" +
    '<div class="list' +
    (S.ios ? " card" : "") +
    '">' +
    row("speaker", "#8E8E93", "general.sounds", chevron) +
    row("heart", "#FF375F", "general.health", toggle(S, toggles["general.health"])) +
    row(
      "calendar",
      "#FF6A3D",
      "general.week",
      '<span class="time plain">' + S.t("general.week.value") + "</span>" + chevron,
    ) +
    "</div>" +
    '<div class="version">' +
    S.t("version") +
    "</div>";
  const top = S.ios ? "" : ' style="padding-top:' + contentTop(S) + 'px"';
  const body =
    statusBar(S) +
    '<div class="content"' +
    top +
    ">" +
    (S.ios ? header : "") +
    '<div class="pad">' +
    pro +
    reminders +
    appearance +
    general +
    "</div></div>" +
    (S.android ? header : "") +
    tabBar(S, "tab.settings") +
    homeIndicator();
  const rad = S.ios ? 22 : 28;
  const css =
    ".pad{padding:" +
    (S.ios ? "2px 16px 0" : "4px 16px 0") +
    "}" +
    ".pro{display:flex;align-items:center;gap:12px;padding:16px;border-radius:" +
    rad +
    "px;color:#fff;" +
    "background:linear-gradient(120deg,#FF7A45 0%,#FF5A5F 55%,#E8457E 100%);box-shadow:0 10px 24px rgba(255,90,80," +
    (S.dark ? 0.22 : 0.28) +
    ");margin-bottom:22px}" +
    "[dir=rtl] .pro{background:linear-gradient(240deg,#FF7A45 0%,#FF5A5F 55%,#E8457E 100%)}" +
    ".crown{width:44px;height:44px;border-radius:50%;background:rgba(255,255,255,0.22);display:flex;align-items:center;justify-content:center;flex:none}" +
    ".ptitle{font-size:18px;font-weight:900;letter-spacing:-0.2px}" +
    ".pbody{font-size:13px;font-weight:700;opacity:0.9;line-height:1.25;margin-top:1px}" +
    ".pbtn{flex:none;height:34px;padding:0 14px;border-radius:17px;background:#fff;color:#E8542B;font-size:14px;font-weight:900;display:flex;align-items:center;white-space:nowrap}" +
    ".group-label{margin-top:2px}" +
    ".list{margin-bottom:22px}" +
    (S.ios ? ".list{border-radius:20px}.li+.li::before{inset-inline-start:58px}" : "") +
    ".srow{min-height:" +
    (S.ios ? 52 : 60) +
    "px;gap:" +
    (S.ios ? 12 : 16) +
    "px}" +
    ".srow.tall{min-height:" +
    (S.ios ? 64 : 72) +
    "px}" +
    ".stile{width:30px;height:30px;border-radius:9px;display:flex;align-items:center;justify-content:center;color:#fff;flex:none}" +
    ".sicon{color:var(--text2);display:flex;flex:none}" +
    ".sname{font-size:16px;font-weight:750;line-height:1.2}" +
    ".sdetail{font-size:13px;font-weight:650;color:var(--text2);margin-top:2px;line-height:1.2}" +
    ".time{flex:none;height:32px;padding:0 10px;border-radius:9px;background:var(--fill);display:flex;align-items:center;font-size:15px;font-weight:750;color:var(--text);white-space:nowrap}" +
    ".time.plain{background:none;padding:0;color:var(--text2)}" +
    ".chev{color:var(--text3);display:flex}" +
    ".themes{display:flex;gap:10px;padding:14px;border-radius:" +
    rad +
    "px;margin-bottom:22px}" +
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
