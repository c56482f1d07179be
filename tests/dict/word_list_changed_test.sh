#!/bin/sh
# generate.py --check, given another word list than the guards were found
# with (as after an update of hunspell-ko), says so and passes, while the
# generated sources are still compared.
set -eu
python=$1 generate=$2 dictc=$3 words=$4
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cp "$words" "$tmp/ko.dic"
echo "새낱말" >> "$tmp/ko.dic"
out=$("$python" "$generate" --check --dictc "$dictc" --words "$tmp/ko.dic")
echo "$out"
echo "$out" | grep -q "the guards were found with another word list"
echo "$out" | grep -q "run dicts/ko/generate.py to find them with this one"
