#!/bin/sh
# The shared library exports exactly the functions that the headers declare
# with EKR_EXPORT or ETI_EXPORT, plus the JNI entries, all unmangled.
# usage: check_exports.sh NM LIBRARY HEADER... [-- JNI_SYMBOL...]
set -eu
nm_tool=$1
library=$2
shift 2
headers=""
while [ $# -gt 0 ] && [ "$1" != "--" ]; do headers="$headers $1"; shift; done
[ $# -gt 0 ] && shift
tmp=${TMPDIR:-/tmp}/eti_exports.$$
trap 'rm -f "$tmp".*' EXIT

# Function names that follow EKR_EXPORT or ETI_EXPORT in the headers
# (declarations may wrap).
# shellcheck disable=SC2086
cat $headers | grep -v '^#' | tr '\n' ' ' | grep -oE '(EKR|ETI)_EXPORT [^;(]*\(' |
  sed -e 's/($//' -e 's/.*[ *]//' | sort -u >"$tmp.expected"
for jni in "$@"; do echo "$jni" >>"$tmp.expected"; done
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
