#!/usr/bin/env bash
# The measuring half of selection-to-panel.sh, run inside the private desktop.
set -uo pipefail
build="$1"
shift
mode="${1:-accessibility}"
shift || true
count="${1:-30}"
shift || true
case "$mode" in
accessibility | primary | copy | hover | recognition) ;;
*) echo "selection-to-panel: unknown way in: $mode" >&2; exit 64 ;;
esac
work=$(mktemp -d)
agent_pid='' window_pid=''
stop() { # by process id: politely, then for good
    [ -n "$1" ] || return 0
    kill -TERM "$1" 2>/dev/null
    for _ in $(seq 40); do kill -0 "$1" 2>/dev/null || break; sleep 0.05; done
    kill -KILL "$1" 2>/dev/null
    wait "$1" 2>/dev/null
    return 0
}
cleanup() { exec 3>&-; stop "$window_pid"; stop "$agent_pid"; rm -rf "$work"; }
trap cleanup EXIT
export HOME="$work/home" XDG_RUNTIME_DIR="$work/runtime" LF_LOG_STDOUT=1
mkdir -p "$HOME/.config/Quillet"
mkdir -m 700 "$XDG_RUNTIME_DIR"
case "$mode" in
copy) trigger='"trigger.method": "hotKey"' ;;
hover | recognition) trigger='"trigger.pointerLookupEnabled": true, "hoverDwellSeconds": 0.2' ;;
*) trigger='"trigger.selectionEnabled": true' ;;
esac
echo "{\"translation.endpoint\": \"http://127.0.0.1:9\", \"firstRun.sawOnboarding\": true, $trigger}" \
    >"$HOME/.config/Quillet/defaults.json"
# The desktop's accessibility switch on, as a person relying on it has it.
dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus \
    org.freedesktop.DBus.Properties.Set string:org.a11y.Status string:IsEnabled \
    variant:boolean:true >/dev/null

# Everyday words, a different one each time (the list repeats past 40).
everyday=(water river mountain window garden market teacher bridge forest letter
          kitchen island morning silver pocket weather friend travel answer number
          picture summer winter candle castle engine finger harvest journey ladder
          meadow needle orange planet question rabbit saddle thunder valley wonder)
# Hover over accessible text rests on the words of the window's read-only page, whose layout
# says which character is at a point (the plain view's does not).
page="The quick brown fox jumps over the lazy dog.
Reading in another language is slow at first, and then it is not.
A word you look up twice is a word you will remember."
export page
[ "$mode" = hover ] && everyday=(quick brown jumps lazy Reading another language slow first
                                 word look twice remember)
words=()
for ((i = 0; i < count; i++)); do words+=("${everyday[i % ${#everyday[@]}]}"); done

"$build/bin/quillet-agent" >"$work/agent.log" 2>&1 &
agent_pid=$!
for _ in $(seq 200); do
    grep -q "Quillet 已启动" "$work/agent.log" 2>/dev/null && break
    sleep 0.05
done

# The window reads commands from a pipe we keep open, and answers into a file.
mkfifo "$work/commands"
options=()
case "$mode" in accessibility | hover) ;; *) options=(--no-accessibility) ;; esac
"$build/bin/text-window" "${options[@]}" <"$work/commands" >"$work/answers" 2>/dev/null &
window_pid=$!
exec 3>"$work/commands"
for _ in $(seq 200); do grep -q '^ready' "$work/answers" && break; sleep 0.05; done

cat >"$work/prepare" <<PREPARE
#!/usr/bin/env bash
# Shows the word alone in the window; remembers where it is on the screen.
before=\$(wc -l <"$work/answers")
if [ "$mode" = hover ]; then
    prefix="\${page%%\$1*}"
    echo "locate page \${#prefix} \$((\${#prefix} + \${#1}))" >"$work/commands"
else
    echo "show \$1" >"$work/commands"
fi
for _ in \$(seq 200); do [ "\$(wc -l <"$work/answers")" -gt "\$before" ] && break; sleep 0.01; done
tail -n 1 "$work/answers" | cut -d' ' -f2,3 >"$work/position"
[ "$mode" = copy ] && echo "select 0 \${#1}" >"$work/commands"
sleep 0.1
PREPARE
chmod +x "$work/prepare"
hand=(--double-click "$work/position")
[ "$mode" = copy ] && hand=(--hot-key)
case "$mode" in hover | recognition) hand=(--hover "$work/position") ;; esac

"$build/bin/copy_to_panel" --prepare "$work/prepare" "${hand[@]}" "$@" "${words[@]}"
status=$?
echo
echo "way in: $mode; the agent's reads:"
grep -E '^\[(触发|错误|拦截)\] (划词|快捷键|悬停取词)｜' "$work/agent.log" | sed 's/｜[^｜]*$//' | sort | uniq -c
exit "$status"
