#!/bin/sh
# The shared library exports exactly the functions that the public header
# declares with ETI_EXPORT, plus the JNI entry, all unmangled.
# usage: check_exports.sh NM LIBRARY HEADER
set -eu
nm_tool=$1
library=$2
header=$3
tmp=${TMPDIR:-/tmp}/eti_exports.$$
trap 'rm -f "$tmp".*' EXIT

# Function names that follow ETI_EXPORT in the header (declarations may wrap).
grep -v '^#' "$header" | tr '\n' ' ' | grep -o 'ETI_EXPORT [^;(]*(' |
  sed -e 's/($//' -e 's/.*[ *]//' | sort -u >"$tmp.expected"
echo Java_zelk_tarn_tm_wisp_service_entity_ExtractorKr_getTimeInfo_1native \
  >>"$tmp.expected"
sort -u -o "$tmp.expected" "$tmp.expected"

# Defined, exported text symbols of the library.
"$nm_tool" -D --defined-only "$library" | awk '$2 == "T" { print $3 }' |
  sort -u >"$tmp.actual"

if ! cmp -s "$tmp.expected" "$tmp.actual"; then
  echo "exported functions differ from the header (< header only, > library only):"
  diff "$tmp.expected" "$tmp.actual" || true
  exit 1
fi
echo "exports ok: $(wc -l <"$tmp.actual") functions"
