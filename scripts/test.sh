#!/usr/bin/env bash
# Installs what the build needs, checks the JavaScript's format and lint,
# builds everything, and runs the whole test suite.
# Extra arguments go to ctest (e.g. -L backend).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
# The JavaScript first: formatted and lint-free, with the pinned tools.
npm ci --no-audit --no-fund --loglevel=error
npm run --silent check
BUILD_DIR=${VELLS_BUILD_DIR:-build}
cmake -S . -B "$BUILD_DIR" -G Ninja -DVELLS_BUILD_TESTS=ON ${VELLS_CMAKE_ARGS:-} >/dev/null
cmake --build "$BUILD_DIR"
ctest --test-dir "$BUILD_DIR" --output-on-failure -j"$(nproc)" "$@"
