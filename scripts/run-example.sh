#!/usr/bin/env bash
# Builds the command-line tool and the bundled Korean dictionaries, then
# extracts the date and time expressions of an example message (or of the
# texts given as arguments).
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc 2>/dev/null || echo 2)

scripts/install-deps.sh build
cmake -S . -B build/example -DCMAKE_BUILD_TYPE=Release -DEXTRACTOR_KR_TESTS=OFF \
  -DEXTRACTOR_KR_BENCH=OFF -DEXTRACTOR_KR_JAVA=OFF >/dev/null
cmake --build build/example -j"$jobs" --target extractor-kr default_dictionaries >/dev/null

if [ $# -eq 0 ]; then
  set -- "내일 오후 3시에 강남역에서 만나요. 다음 주 화요일 10시 회의는 금요일까지 준비해 주세요."
fi
echo "--- JSON"
build/example/tools/extractor-kr "$@"
echo "--- table"
build/example/tools/extractor-kr --table "$@"
