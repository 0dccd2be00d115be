#!/usr/bin/env bash
# Installs every Debian package Vellora needs to build, test and run.
# Idempotent: when everything is present it only asks dpkg and exits.
set -euo pipefail

PACKAGES=(
  # build tools
  build-essential cmake ninja-build pkg-config ccache git
  # libraries
  libsqlite3-dev nlohmann-json3-dev libssl-dev libjavascriptcoregtk-4.1-dev
  libcurl4-openssl-dev libicu-dev
  # the application layer: Qt 6 (Core, Gui, Widgets, Test, Concurrent) and its SVG icons
  qt6-base-dev qt6-svg-dev
  # rendering: the headless browser, image filters, and fonts for every script a page may hold
  chromium-headless-shell libopencv-core-dev libopencv-imgproc-dev libopencv-imgcodecs-dev
  fonts-noto-core fonts-noto-cjk fonts-noto-color-emoji
  # tests and benchmarks
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  # command-line tools the tests and the README session use
  sqlite3 unzip
)

missing=()
for pkg in "${PACKAGES[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$pkg")
done

# Node runs the JavaScript formatter and linter. Any node and npm on PATH will
# do (a newer build may come from elsewhere and bundle npm); Debian's otherwise.
if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
  missing+=(nodejs npm)
fi

if ((${#missing[@]} == 0)); then
  exit 0
fi

SUDO=()
if [[ $(id -u) -ne 0 ]]; then
  if command -v sudo >/dev/null; then
    SUDO=(sudo)
  else
    echo "install-deps: missing packages (${missing[*]}) and not root; run this as root or install sudo." >&2
    exit 1
  fi
fi

echo "install-deps: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" apt-get update -qq
"${SUDO[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "install-deps: done" >&2
