#!/usr/bin/env bash
# Times this build against a baseline build of another commit, in one run,
# on the same texts and the same compiled dictionaries (this build's), and
# prints each figure beside the baseline's with their ratio.
#
#   bench/compare.sh [BASE_COMMIT] [SENTENCES_FILE]
#
# BASE_COMMIT defaults to 76d664d.  SENTENCES_FILE (one text a line, such as
# the texts of an annotated corpus) adds the tool's throughput on real
# sentences; without it the corpus messages are used.  The baseline is
# built once in build/baseline (a worktree of that commit) and reused.  The
# two sides run in turn, each figure the best of several rounds.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
base=${1:-76d664d}
sentences=${2:-}
jobs=$(nproc 2>/dev/null || echo 2)
work=$root/build/baseline
mkdir -p "$work"

# --- the two builds
if [ ! -d "$work/src" ]; then
  git worktree add --detach "$work/src" "$base" >/dev/null
fi
if [ ! -f "$work/build/tools/extractor-kr" ]; then
  cmake -S "$work/src" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DEXTRACTOR_KR_TESTS=OFF \
    -DEXTRACTOR_KR_BENCH=OFF -DEXTRACTOR_KR_JAVA=OFF >/dev/null
  cmake --build "$work/build" -j"$jobs" --target extractor_kr extractor-kr >/dev/null
fi
cmake --build build/release -j"$jobs" --target extractor_kr extractor-kr default_dictionaries >/dev/null
lib_name=entityextractor_kr.textmining.quenby
for side in base head; do
  if [ $side = base ]; then src=$work/src; bld=$work/build; else src=$root; bld=$root/build/release; fi
  g++ -O2 -std=c++17 -I"$src/include" bench/compare_main.cc -o "$work/compare_$side" \
    -L"$bld" -l"$lib_name" -Wl,-rpath,"$bld"
done

# --- the texts: the corpus messages, as reference and text
texts=$work/messages.tsv
cat corpus/ko/*.tsv | awk -F'\t' '!/^#/ && NF >= 2 { print $1 "\t" $2 }' > "$texts"
dicts=$root/build/release/dicts/ko

declare -A value
run() {  # side, then the figures it prints
  "$work/compare_$1" "$dicts" "$texts" 7 | while read -r name v; do echo "$1 $name $v"; done
}
results=$work/results.txt
: > "$results"
for round in 1 2; do
  run base >> "$results"
  run head >> "$results"
done

# The tool on real sentences (bytes per second) and on one line of 10 MB
# (peak resident memory), each side with the same dictionaries.
tool_file=${sentences:-$work/messages.txt}
[ -n "$sentences" ] || cut -f2 "$texts" > "$tool_file"
long=$work/long.txt
python3 - "$texts" "$long" <<'PY'
import sys
texts = [l.split("\t", 1)[1].rstrip("\n") for l in open(sys.argv[1], encoding="utf-8")]
out, size, k = [], 0, 0
while size < 10 << 20:
    out.append(texts[k % len(texts)]); size += len(texts[k % len(texts)].encode()) + 1; k += 1
open(sys.argv[2], "w", encoding="utf-8").write(" ".join(out) + "\n")
PY
for side in base head; do
  if [ $side = base ]; then tool=$work/build/tools/extractor-kr; else tool=$root/build/release/tools/extractor-kr; fi
  best=999999
  for round in 1 2 3; do
    start=$(date +%s.%N)
    "$tool" --dict "$dicts" --ref 202405151030 < "$tool_file" > /dev/null
    end=$(date +%s.%N)
    best=$(python3 -c "print(min($best, $end - $start))")
  done
  bytes=$(wc -c < "$tool_file")
  echo "$side tool_mb_per_s $(python3 -c "print(round($bytes / $best / 1e6, 2))")" >> "$results"
  peak=$( { /usr/bin/time -f %M "$tool" --dict "$dicts" --ref 202405151030 < "$long" > /dev/null; } 2>&1 | tail -1)
  echo "$side tool_peak_mb_10mb_line $(python3 -c "print(round($peak / 1024, 1))")" >> "$results"
done

python3 - "$results" "$base" <<'PY'
import sys
best = {}
for line in open(sys.argv[1]):
    side, name, v = line.split()
    v = float(v)
    # Times and memory: the lower the better; rates: the higher.
    better = max if name.endswith("_per_s") else min
    key = (side, name)
    best[key] = better(best[key], v) if key in best else v
names = sorted({n for _, n in best})
print(f"{'figure':32} {'base ' + sys.argv[2]:>16} {'this build':>12} {'ratio':>8}")
for n in names:
    b, h = best.get(("base", n)), best.get(("head", n))
    if b is None or h is None:
        continue
    print(f"{n:32} {b:16.3f} {h:12.3f} {h / b:8.2f}")
PY
