#!/usr/bin/env bash
# Runs one fuzz target of the fuzz build (build/fuzz) for a number of
# seconds: over the seeds made from the corpus, the regression inputs of
# fuzz/regressions/TARGET, and the units found by earlier runs
# (build/fuzz/fuzz/work/TARGET).  A crash is written to
# build/fuzz/fuzz/crashes/ and fails the run; copy it into
# fuzz/regressions/TARGET with its fix.
#   scripts/fuzz.sh call|blob|tools|session SECONDS [more libFuzzer flags]
set -euo pipefail
cd "$(dirname "$0")/.."
target=$1
seconds=$2
shift 2
dir=build/fuzz/fuzz
mkdir -p "$dir/work/$target" "$dir/crashes"
limits=(-timeout=10 -rss_limit_mb=2048)
if [ "$target" = tools ]; then limits+=(-max_len=2048); fi
"$dir/${target}_fuzzer" -max_total_time="$seconds" "${limits[@]}" -print_final_stats=1 \
  -artifact_prefix="$dir/crashes/${target}-" "$@" \
  "$dir/work/$target" "$dir/seeds/$target" "fuzz/regressions/$target" 2>&1 |
  grep -E '^(#[0-9]+[[:space:]]+(INITED|DONE)|stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)|==[0-9]+==ERROR|SUMMARY|artifact_prefix)' || true
# libFuzzer's status is lost in the pipe: a crash leaves an artifact.
if ls "$dir/crashes/${target}-"* >/dev/null 2>&1; then
  echo "fuzz target $target found a crash: $(ls "$dir"/crashes/"${target}"-*)"
  exit 1
fi
