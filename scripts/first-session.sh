#!/usr/bin/env bash
# A short end-to-end session with vellora-cli against a fresh library in a temp
# folder: what a newcomer does first. Every step prints the command and its answer.
set -euo pipefail
cd "$(dirname "$0")/.."

CLI=${VELLORA_CLI:-build/bin/vellora-cli}
if [[ ! -x "$CLI" ]]; then
  echo "first-session: $CLI is missing; build first (see README.md)." >&2
  exit 1
fi

export VELLS_LIBRARY
VELLS_LIBRARY=$(mktemp -d "${TMPDIR:-/tmp}/vellora-library.XXXXXX")
trap 'rm -rf "$VELLS_LIBRARY"' EXIT
echo "Library: $VELLS_LIBRARY"

step() {
  echo
  echo "\$ vellora-cli request $*"
  # A refused request is part of the tour: show it and go on.
  "$CLI" request "$@" </dev/null || true
  echo
}

# step_with BODY ARGS...: the same, with BODY sent on standard input.
step_with() {
  local body=$1
  shift
  echo
  echo "\$ printf '%s' '$body' | vellora-cli request $* --body -"
  printf '%s' "$body" | "$CLI" request "$@" --body - || true
  echo
}

step GET /health
step_with '{"name":"Spring Sale"}' POST /api/sets
SET=$("$CLI" request GET /api/sets 2>/dev/null | sed -E 's/.*"id":"(spring-sale-[0-9]+)".*/\1/')
step_with '{"pages":[{"id":"hero","label":"Hero shot","source":"upload"},{"id":"stats","source":"upload"}]}' \
  POST "/api/pages?set=$SET"
step_with '{"hero":{"en":{"title":"Plan your *week*"},"de":{"title":"Plane deine *Woche*"}}}' \
  POST "/api/texts?set=$SET"
step GET "/api/texts?set=$SET"
step_with "{\"from\":\"$SET\",\"name\":\"Summer Sale\"}" POST /api/sets/duplicate
step GET /api/sets
step_with '[1' POST "/api/texts?set=$SET"
step_with '{"pages":[]}' POST "/api/pages?set=$SET"
step GET /pattern/../x

# A screen drawn from HTML, then the finished store image around it.
OUT=${FIRST_SESSION_OUT:-vellora-first-session}
mkdir -p "$OUT"
step_with '{"html":"<body style=\"margin:0\"><div id=\"device\" style=\"width:393px;height:852px;background:linear-gradient(#fef3e2,#fde1c3);font:600 28px sans-serif;display:flex;align-items:center;justify-content:center\">Hello from Vellora</div></body>"}' \
  POST "/api/screen-html?set=$SET&page=hero&os=ios&locale=en"
step GET "/composite?set=$SET&page=hero&os=ios&theme=light&locale=en" -o "$OUT/hero-ios-en.png"
step GET "/composite?set=$SET&page=hero&os=ios&theme=light&locale=de&thumb=1" -o "$OUT/hero-ios-de.thumb.jpg"
echo "Store images written to $OUT/. Every answer above came from the library at"
echo "$VELLS_LIBRARY (removed now)."
