#!/usr/bin/env bash
# The time service under load: wrk posts the corpus's messages to /parse
# over keep-alive connections for SECONDS, then posts the same bodies to /
# for as long (the floor: the same server reading the same requests and
# answering them without the engine), then asks GET / without a script;
# prints requests per second and the 50th and 99th latency percentiles of
# each, and /parse's rate as a share of the floor's.
#   bench/server_bench.sh [BUILD_DIR] [SECONDS] [CONNECTIONS]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
seconds=${2:-20}
connections=${3:-64}
server="$build/tools/extractor-kr-server"
command -v wrk >/dev/null || { echo "server_bench: wrk is not installed (apt-get install wrk)"; exit 2; }
[ -x "$server" ] || { echo "server_bench: no $server; build it first"; exit 2; }

work=$(mktemp -d)
trap 'kill "$pid" 2>/dev/null || true; rm -rf "$work"' EXIT

# The corpus's messages as form bodies, each with its own reference time.
python3 - "$work/parse.lua" corpus/ko/*.tsv <<'PY'
import calendar, datetime, sys, urllib.parse
out, files = sys.argv[1], sys.argv[2:]
bodies = []
for path in files:
    for line in open(path, encoding="utf-8"):
        if not line.strip() or line.startswith("#"):
            continue
        ref, text = line.rstrip("\n").split("\t")[:2]
        t = datetime.datetime.strptime(ref, "%Y%m%d%H%M") - datetime.timedelta(hours=9)
        ms = calendar.timegm(t.timetuple()) * 1000
        bodies.append(urllib.parse.urlencode(
            {"text": text, "locale": "ko_KR", "tz": "Asia/Seoul", "reftime": ms}))
with open(out, "w", encoding="utf-8") as f:
    f.write("bodies = {\n")
    for b in bodies:
        f.write('  "%s",\n' % b)
    f.write("}\n")
    # Every request formatted once, when each wrk thread starts.
    f.write("local i, requests = 0, {}\n")
    f.write('local headers = {["Content-Type"] = "application/x-www-form-urlencoded"}\n')
    f.write("init = function()\n  for k, b in ipairs(bodies) do\n"
            '    requests[k] = wrk.format("POST", "/parse", headers, b)\n  end\nend\n')
    f.write("request = function()\n  i = i % #requests + 1\n  return requests[i]\nend\n")
print(f"{len(bodies)} messages", file=sys.stderr)
PY
# The floor: the same bodies, formatted the same way, posted where no engine
# answers them (404 without reading the text).
sed 's|"/parse"|"/"|' "$work/parse.lua" > "$work/floor.lua"

"$server" --port 0 > "$work/server.out" 2>&1 &
pid=$!
for _ in $(seq 100); do grep -q listening "$work/server.out" 2>/dev/null && break; sleep 0.1; done
port=$(sed -n 's/.*:\([0-9]*\) (.*/\1/p' "$work/server.out" | head -1)
url="http://127.0.0.1:$port"

run() {  # name, then wrk's arguments
  local name=$1
  shift
  wrk -t2 -c"$connections" -d"${seconds}s" --latency "$@" > "$work/$name.txt"
  awk -v name="$name" '
    /Requests\/sec/ { rps = $2 }
    $1 == "50%" { p50 = $2 }
    $1 == "99%" { p99 = $2 }
    /Non-2xx/ { bad = $NF }
    END { printf "%-10s %10.0f requests/s   p50 %8s   p99 %8s%s\n", name, rps, p50, p99,
                 bad ? "   non-2xx: " bad : "" }' "$work/$name.txt"
}

echo "server: $server, $connections connections, ${seconds}s each, $(nproc) cores"
run parse -s "$work/parse.lua" "$url/parse"
run floor -s "$work/floor.lua" "$url/"
run get-bare "$url/"
rate() { awk '/Requests\/sec/ { print $2 }' "$work/$1.txt"; }
awk -v p="$(rate parse)" -v f="$(rate floor)" -v b="$(rate get-bare)" 'BEGIN {
  printf "/parse at %.0f%% of the floor (%.0f%% of GET / without the script)\n", 100 * p / f, 100 * p / b }'
