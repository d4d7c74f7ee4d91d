#!/usr/bin/env bash
# The measuring half of copy-to-panel.sh, run inside the private desktop.
set -uo pipefail
build="$1"
shift
perf_out=''
if [ "${1:-}" = --perf ]; then
    perf_out="$2"
    shift 2
fi
copies="${1:-30}"
shift || true
work=$(mktemp -d)
agent_pid='' perf_pid=''
stop() { # by process id: politely, then for good
    [ -n "$1" ] || return 0
    kill -TERM "$1" 2>/dev/null
    for _ in $(seq 40); do kill -0 "$1" 2>/dev/null || break; sleep 0.05; done
    kill -KILL "$1" 2>/dev/null
    wait "$1" 2>/dev/null
    return 0
}
cleanup() { stop "$perf_pid"; stop "$agent_pid"; rm -rf "$work"; }
trap cleanup EXIT
# A home and runtime folder of our own, so an agent running elsewhere is not reused.
export HOME="$work/home" XDG_RUNTIME_DIR="$work/runtime" LF_LOG_STDOUT=1
mkdir -p "$HOME/.config/Quillet"
mkdir -m 700 "$XDG_RUNTIME_DIR"
echo '{"translation.endpoint": "http://127.0.0.1:9", "firstRun.sawOnboarding": true}' >"$HOME/.config/Quillet/defaults.json"

# Everyday words, a different one each copy (the list repeats past 40 copies).
everyday=(water river mountain window garden market teacher bridge forest letter
          kitchen island morning silver pocket weather friend travel answer number
          picture summer winter candle castle engine finger harvest journey ladder
          meadow needle orange planet question rabbit saddle thunder valley wonder)
words=()
for ((i = 0; i < copies; i++)); do words+=("${everyday[i % ${#everyday[@]}]}"); done

"$build/bin/quillet-agent" >"$work/agent.log" 2>&1 &
agent_pid=$!
for _ in $(seq 200); do
    grep -q "Quillet 已启动" "$work/agent.log" 2>/dev/null && break
    sleep 0.05
done
grep -q "Quillet 已启动" "$work/agent.log" || { echo "copy-to-panel: the agent did not start" >&2; cat "$work/agent.log" >&2; exit 70; }
pid=$agent_pid
if [ -n "$perf_out" ]; then
    perf record -g -F 2000 -o "$perf_out" -p "$pid" >/dev/null 2>"$work/perf.log" &
    perf_pid=$!
    sleep 0.5
fi
ticks0=$(awk '{print $14 + $15}' "/proc/$pid/stat")
"$build/bin/copy_to_panel" "$@" "${words[@]}"
status=$?
ticks1=$(awk '{print $14 + $15}' "/proc/$pid/stat")
awk -v t=$((ticks1 - ticks0)) -v hz="$(getconf CLK_TCK)" -v n="$copies" \
    'BEGIN { printf "agent CPU over the copies (including folding back): %.1f ms per copy\n", 1000 * t / hz / n }'
if [ -n "$perf_pid" ]; then
    kill -INT "$perf_pid" 2>/dev/null
    wait "$perf_pid" 2>/dev/null
    perf_pid=''
fi
exit "$status"
