#!/bin/sh
# Installs the build into a fresh prefix and builds a small consumer against
# the installed copy twice: with find_package(ExtractorKr CONFIG) and with
# pkg-config.  Both must run and print the expected answer.
# usage: consumer_test.sh BUILD_DIR SOURCE_DIR C_COMPILER
set -eu
build=$1
source=$2
cc=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
expected="2024-05-16 15:00 [0, 8)    강남역에서 만나요"

cmake --install "$build" --prefix "$work/prefix" >/dev/null
# The installed copy, moved: nothing may point back at the first prefix.
mv "$work/prefix" "$work/moved"
prefix="$work/moved"

cmake -S "$source/tests/install" -B "$work/cmake-build" -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
got=$("$work/cmake-build/consumer")
[ "$got" = "$expected" ] || { echo "find_package consumer printed: $got"; exit 1; }

libdir=$(dirname "$(find "$prefix" -name extractor-kr.pc)")
PKG_CONFIG_PATH="$libdir" pkg-config --exists extractor-kr
# shellcheck disable=SC2046
"$cc" -o "$work/pc-consumer" "$source/tests/install/consumer.c" \
  $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs extractor-kr)
got=$(LD_LIBRARY_PATH="$(dirname "$libdir")" "$work/pc-consumer")
[ "$got" = "$expected" ] || { echo "pkg-config consumer printed: $got"; exit 1; }
echo "consumers ok: $got"
