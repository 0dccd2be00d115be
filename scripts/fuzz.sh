#!/usr/bin/env bash
# Fuzzes the backend's request entry for a bounded time (default 30 minutes).
#   bash scripts/fuzz.sh [SECONDS] [extra libFuzzer flags...]
# Builds build-fuzz/ with clang (libFuzzer + AddressSanitizer + UBSan), keeps
# the corpus in build-fuzz/corpus and writes any crashing input to
# build-fuzz/findings/. Exits non-zero on a finding. Not part of CI.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-1800}"
shift || true
build="${VELLS_FUZZ_BUILD_DIR:-build-fuzz}"
if [ ! -f "$build/build.ninja" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELLS_FUZZ=ON -DVELLS_BUILD_TESTS=OFF -DVELLS_BUILD_BENCH=OFF
fi
cmake --build "$build" --target handle_fuzz
mkdir -p "$build/corpus" "$build/findings"
# A few well-formed requests give the fuzzer the shape of the routes.
seed() { printf '%s' "$2" > "$build/corpus/seed-$1"; }
seed sets-create $'POST /api/sets\n{"name":"Spring","locales":["en","de"]}'
seed sets-delete $'DELETE /api/sets?id=default\n'
seed sets-dup $'POST /api/sets/duplicate\n{"from":"default","name":"Copy"}'
seed pages $'POST /api/pages?set=default\n{"pages":[{"id":"home","source":"upload","label":"Home"}]}'
seed texts $'POST /api/texts?set=default\n{"home":{"en":{"screen":{"title":"Hi"}}}}'
seed screen $'POST /api/screen?set=default&page=home&os=ios&locale=en\n\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x01\0\0\0\x01\x08\x06\0\0\0'
seed config $'GET /api/config\n'
exec "$build/fuzz/handle_fuzz" "$build/corpus" -dict=fuzz/handle.dict \
  -max_total_time="$seconds" -max_len=65536 -timeout=20 -rss_limit_mb=4096 \
  -artifact_prefix="$build/findings/" -print_final_stats=1 "$@"
