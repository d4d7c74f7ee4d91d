#!/usr/bin/env bash
# Runs inside tests/harness/desktop-session: see storage-process.sh.
set -euo pipefail
build="$1"
home=$(mktemp -d)
export HOME="$home"
# A runtime folder of its own: never another agent of this user.
export XDG_RUNTIME_DIR="$home/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"
unset XDG_CONFIG_HOME XDG_DATA_HOME XDG_STATE_HOME XDG_CACHE_HOME
agent=""
cleanup() {
    [ -n "$agent" ] && kill "$agent" 2>/dev/null && wait "$agent" 2>/dev/null
    rm -rf "$home"
}
trap cleanup EXIT
quillet="$build/bin/quillet"
# A notebook of realistic size: 300 words looked up before.
for n in $(seq 1 300); do printf -v word 'word%s' "$(echo "$n" | tr 0-9 a-j)"; echo "$word"; done |
    head -300 | xargs -n 50 sh -c 'for w; do "$0" notebook star "$w" >/dev/null; done' "$quillet"

measure() {
    # Each run changes something: the value is put back before it (not timed).
    hyperfine --warmup 5 --runs "${RUNS:-100}" -N --export-json "$home/$1.json" \
        --prepare "$quillet settings set hoverDwellSeconds 2" \
        "$quillet settings set hoverDwellSeconds 1.5" \
        --prepare "$quillet notebook unstar water" \
        "$quillet notebook star water" >/dev/null
    python3 - "$home/$1.json" "$1" <<'PY'
import json, sys
for result in json.load(open(sys.argv[1]))["results"]:
    print(f'{sys.argv[2]:>13}  {result["command"].split("quillet ", 1)[1]:<40} '
          f'median {result["median"] * 1000:6.1f} ms  mean {result["mean"] * 1000:6.1f} ms')
PY
}

"$quillet" notebook star water >/dev/null
measure "no agent"
"$build/bin/quillet-agent" >/dev/null 2>&1 &
agent=$!
for _ in $(seq 50); do [ -S "$XDG_RUNTIME_DIR/quillet/agent" ] && break; sleep 0.1; done
sleep 1
kill -0 "$agent" || { echo "the agent did not start" >&2; exit 1; }
measure "agent running"
kill -0 "$agent" || { echo "the agent quit while measured" >&2; exit 1; }
