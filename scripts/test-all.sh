#!/usr/bin/env bash
# Builds and runs every test: the release build with all tests (the JVM
# tests, the soak, the valgrind leak check and the installed-copy consumer
# among them), the Python package installed into a fresh virtual
# environment with its tests, the same tests under AddressSanitizer and
# UndefinedBehaviorSanitizer, the threaded tests under ThreadSanitizer, the
# aarch64 cross build whose tests run under qemu-user, and a short run of
# each fuzz target over its seeds and regression inputs.  Installs what the
# machine lacks first.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
jobs=$(nproc 2>/dev/null || echo 2)

step() { printf '\n=== %s\n' "$*"; }

step "dependencies"
scripts/install-deps.sh

step "release build and tests"
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j"$jobs"
(cd build/release && ctest --output-on-failure -j"$jobs")

step "Python package, installed into a fresh virtual environment, and its tests"
rm -rf build/pyenv
/usr/bin/python3 -m venv --system-site-packages build/pyenv
build/pyenv/bin/pip install --quiet --no-build-isolation --no-index ./python
(cd build && EXTRACTOR_KR_DICTS="$root/build/release/dicts/ko" \
  EXTRACTOR_KR_CLI="$root/build/release/tools/extractor-kr" \
  pyenv/bin/python -m pytest -q -p no:cacheprovider "$root/python/tests")

step "AddressSanitizer + UndefinedBehaviorSanitizer build and tests"
cmake -S . -B build/asan -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DEXTRACTOR_KR_SANITIZE=ON -DEXTRACTOR_KR_BENCH=OFF >/dev/null
cmake --build build/asan -j"$jobs"
(cd build/asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --output-on-failure -j"$jobs")

step "ThreadSanitizer build, threaded tests"
cmake -S . -B build/tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DEXTRACTOR_KR_SANITIZE=thread \
  -DEXTRACTOR_KR_BENCH=OFF -DEXTRACTOR_KR_JAVA=OFF >/dev/null
cmake --build build/tsan -j"$jobs" --target threads_test calendar_test server_test \
  server_duckling_test extractor-kr-server tools_test
(cd build/tsan && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -L threads)

step "aarch64 cross build, tests under qemu-user"
cmake -S . -B build/aarch64 -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/aarch64-linux-gnu.cmake" \
  -DEXTRACTOR_KR_GTEST_FROM_SOURCE=ON -DEXTRACTOR_KR_BENCH=OFF \
  -DEXTRACTOR_KR_JAVA=OFF >/dev/null
cmake --build build/aarch64 -j"$jobs"
file build/aarch64/libentityextractor_kr.textmining.quenby.so
(cd build/aarch64 && ctest --output-on-failure -j"$jobs")

step "the jar with the native libraries of both platforms"
cmake -S . -B build/release \
  -DEXTRACTOR_KR_AARCH64_LIBRARY="$root/build/aarch64/libentityextractor_kr.textmining.quenby.so" \
  >/dev/null
cmake --build build/release -j"$jobs" --target extractor_kr_jar junit_test_classes
jar tf build/release/extractor-kr.jar | grep 'extractorkr/native/.*\.so$'
[ "$(jar tf build/release/extractor-kr.jar | grep -c 'extractorkr/native/linux-.*\.so$')" = 2 ]
(cd build/release && ctest --output-on-failure -R '^java_')

step "fuzz targets (libFuzzer, clang, ASan + UBSan), a short run each"
cmake -S . -B build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
  -DCMAKE_CXX_COMPILER=clang++ -DEXTRACTOR_KR_FUZZ=ON -DEXTRACTOR_KR_TESTS=OFF \
  -DEXTRACTOR_KR_BENCH=OFF -DEXTRACTOR_KR_JAVA=OFF >/dev/null
cmake --build build/fuzz -j"$jobs"
scripts/fuzz.sh call 25
scripts/fuzz.sh blob 15
scripts/fuzz.sh tools 20
scripts/fuzz.sh session 25
scripts/fuzz.sh server 15

step "all tests passed"
