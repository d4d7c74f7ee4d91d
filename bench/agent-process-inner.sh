#!/usr/bin/env bash
# The measuring half of agent-process.sh, run inside the private desktop.
set -uo pipefail
build="$1"
agent="$build/bin/quillet"
work=$(mktemp -d)
pids=()
cleanup() { for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null; done; rm -rf "$work"; }
trap cleanup EXIT
# A runtime folder of our own, so an agent running elsewhere for this user is not reused.
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"

# A tray for the icon to dock in.
trayer --edge top --align right --widthtype pixel --width 120 --height 24 >/dev/null 2>&1 &
pids+=($!)
sleep 0.5

ms() { date +%s%3N; }
start_agent() { # $1: log file, $2: the program (default: quillet); extra environment in the caller's exports
    export HOME="$work/home" LF_LOG_STDOUT=1
    mkdir -p "$HOME/.config/Quillet"
    echo "{\"translation.endpoint\": \"http://127.0.0.1:9\", \"firstRun.sawOnboarding\": true${extra_settings:-}}" \
        >"$HOME/.config/Quillet/defaults.json"
    "${2:-$agent}" >"$1" 2>/dev/null &
    agent_pid=$!
    pids+=("$agent_pid")
}
wait_for() { # $1 file, $2 pattern, $3 count, $4 timeout seconds
    local deadline=$(($(date +%s) + $4))
    while [ "$(grep -c -- "$2" "$1" 2>/dev/null)" -lt "$3" ]; do
        [ "$(date +%s)" -ge "$deadline" ] && return 1
        sleep 0.005
    done
}
stop_agent() { kill "$agent_pid"; wait "$agent_pid" 2>/dev/null; }
cpu_ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }
rss_kb() { awk '/^VmRSS:/ {print $2}' "/proc/$1/status"; }
# The running agent's processor time over the next 60 s; $1 says what was on.
idle_cpu() {
    local ticks0 ticks1
    ticks0=$(cpu_ticks "$agent_pid")
    sleep 60
    ticks1=$(cpu_ticks "$agent_pid")
    awk -v t=$((ticks1 - ticks0)) -v hz="$(getconf CLK_TCK)" -v what="$1" \
        'BEGIN { printf "idle CPU over 60 s%s: %.3f %% of a core\n", what, 100 * t / hz / 60 }'
}
# The desktop's accessibility bus on, as a person relying on it has it.
accessibility_on() {
    dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus \
        org.freedesktop.DBus.Properties.Set string:org.a11y.Status string:IsEnabled \
        variant:boolean:true >/dev/null
}

# Idle with hover lookup on and the pointer still: 25 samples a second, the recognition
# engine loaded at start.
idle_with_hover() {
    rm -rf "$work/home"
    extra_settings=', "trigger.pointerLookupEnabled": true'
    start_agent "$work/idle-hover.log"
    extra_settings=''
    wait_for "$work/idle-hover.log" "Quillet 已启动" 1 10
    sleep 5
    echo "resident with hover on and the recognition engine loaded: $(rss_kb "$agent_pid") kB"
    idle_cpu ", hover lookup on, pointer still"
    stop_agent
}

# Idle with every source on: copies, selections, hover with the pointer still, and the
# playback poll twice a second over the desktop's inhibitors (stand-in screen saver and
# session manager on the bus, as a desktop has them), the lock and sleep notices listened to.
idle_with_everything() {
    local standins=()
    for service in screensaver gnome-session; do
        [ -x "tests/harness/dbus/$service.py" ] || continue
        "tests/harness/dbus/$service.py" >"$work/$service.out" 2>&1 &
        standins+=($!)
        pids+=($!)
    done
    accessibility_on
    rm -rf "$work/home"
    extra_settings=', "trigger.selectionEnabled": true, "trigger.pointerLookupEnabled": true, "trigger.videoSubtitles": true'
    start_agent "$work/idle-everything.log"
    extra_settings=''
    wait_for "$work/idle-everything.log" "Quillet 已启动" 1 10
    sleep 5
    idle_cpu ", every source on and the playback poll running"
    stop_agent
    for pid in "${standins[@]}"; do kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null; done
}
case "${2:-}" in
hover) idle_with_hover; exit 0 ;;
everything) idle_with_everything; exit 0 ;;
esac

# Start to ready (tray icon shown, panel at rest, coordinator started): 15 launches through
# `quillet`, as people start it, and 15 of quillet-agent itself, which starts itself again to
# have the scrubbing allocator.
for program in "$agent" "$build/bin/quillet-agent"; do
    startups=()
    for _ in $(seq 15); do
        rm -rf "$work/home"
        t0=$(ms)
        start_agent "$work/start.log" "$program"
        wait_for "$work/start.log" "Quillet 已启动" 1 10 || { echo "agent did not start"; exit 1; }
        startups+=($(($(ms) - t0)))
        stop_agent
    done
    echo "start to ready, $(basename "$program") (ms): $(printf '%s\n' "${startups[@]}" | sort -n | tr '\n' ' ')"
    echo "  median $(printf '%s\n' "${startups[@]}" | sort -n | sed -n 8p) ms"
done

# Idle with clipboard lookup on.
rm -rf "$work/home"
start_agent "$work/idle.log"
wait_for "$work/idle.log" "Quillet 已启动" 1 10
sleep 5
echo "resident after start: $(rss_kb "$agent_pid") kB"
idle_cpu ""
stop_agent

# Idle with selection lookup on too: the pointer watched through XInput2, the accessibility
# bus switched on.
accessibility_on
rm -rf "$work/home"
extra_settings=', "trigger.selectionEnabled": true'
start_agent "$work/idle-selection.log"
extra_settings=''
wait_for "$work/idle-selection.log" "Quillet 已启动" 1 10
sleep 5
idle_cpu ", selection lookup on too"
stop_agent

idle_with_hover
idle_with_everything

# 1,000 dictionary lookups through the real clipboard.
rm -rf "$work/home"
export QUILLET_CLIPBOARD_POLL_MS=20
start_agent "$work/lookups.log"
wait_for "$work/lookups.log" "Quillet 已启动" 1 10
sqlite3 "$build/bin/dictionary.sqlite" \
    "SELECT word FROM words WHERE length(word) BETWEEN 4 AND 10 AND word GLOB '[a-z]*' AND word NOT GLOB '*[^a-z]*' LIMIT 1000" >"$work/words"
# The agent's own CPU time over the loop is what each copy costs it; the pacing is not.
ticks0=$(cpu_ticks "$agent_pid")
while read -r word; do
    printf '%s' "$word" | xclip -selection clipboard -i
    sleep 0.06
done <"$work/words"
wait_for "$work/lookups.log" "^\[结果\] 词典" 990 60 || true
ticks1=$(cpu_ticks "$agent_pid")
answered=$(grep -c '^\[结果\] 词典' "$work/lookups.log")
echo "lookups answered: $answered of 1000"
awk -v t=$((ticks1 - ticks0)) -v hz="$(getconf CLK_TCK)" -v n="$answered" \
    'BEGIN { printf "agent CPU over the lookups: %.2f s, %.2f ms per lookup\n", t / hz, 1000 * t / hz / n }'
echo "resident after 1,000 lookups: $(rss_kb "$agent_pid") kB"
stop_agent
unset QUILLET_CLIPBOARD_POLL_MS
