#!/usr/bin/env bash
# Where `quillet lookup water` spends its time, from exec to exit: perf samples the process
# (kernel included, DWARF call stacks) over many runs, and bench/perf-stack-shares.py sums
# them by stage (loading libraries, compiling expressions, exit…), by the program's own
# functions and by shared object; then strace counts the bytes one run reads from each
# file, since unwinding rarely gets past read(). Runs in a clean environment with a home of
# its own.
#   ORDER=default (as shipped) or bundled (the order holding the bundled database only);
#   RUNS (default 60); WORD (default water); TOP (default 25) own functions listed.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
order="${ORDER:-default}"
runs="${RUNS:-60}"
word="${WORD:-water}"

missing=()
command -v perf >/dev/null || missing+=(linux-perf)
command -v strace >/dev/null || missing+=(strace)
[ ${#missing[@]} -eq 0 ] ||
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
[ -x "$build/bin/quillet" ] || bash scripts/setup
quillet="$(realpath "$build/bin/quillet")"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
home="$work/home"
mkdir -p "$home/runtime" && chmod 700 "$home/runtime"
isolated=(env -i PATH=/usr/bin:/bin LANG=C.UTF-8 HOME="$home" XDG_CONFIG_HOME="$home/.config"
    XDG_DATA_HOME="$home/.local/share" XDG_STATE_HOME="$home/.local/state"
    XDG_CACHE_HOME="$home/.cache" XDG_RUNTIME_DIR="$home/runtime")
case "$order" in
default) ;;
bundled) "${isolated[@]}" "$quillet" settings set dictionaryOrder '["bundled"]' >/dev/null ;;
*) echo "ORDER is default or bundled" >&2 && exit 64 ;;
esac
"${isolated[@]}" "$quillet" lookup "$word" >/dev/null # warm the page cache

# shellcheck disable=SC2016 # the inner shell expands its own arguments
perf record -q -o "$work/perf.data" -F 5000 --call-graph dwarf,16384 -- \
    "${isolated[@]}" bash -c 'for _ in $(seq "$1"); do "$2" lookup "$3" >/dev/null; done' \
    - "$runs" "$quillet" "$word" 2>/dev/null
echo "quillet lookup $word, $order order, $runs runs"
perf script -i "$work/perf.data" -F comm,ip,sym,dso 2>/dev/null |
    python3 bench/perf-stack-shares.py quillet --top "${TOP:-25}"

echo "bytes read per file, one run:"
strace -f -qq -y -e trace=read,pread64 -o "$work/strace" \
    "${isolated[@]}" "$quillet" lookup "$word" >/dev/null
sed -nE 's/^[0-9]+ +p?read(64)?\([0-9]+<([^>]*)>.* = ([0-9]+)$/\3 \2/p' "$work/strace" |
    awk '{ bytes[$2] += $1; total += $1 }
         END { for (f in bytes) printf "  %10d  %s\n", bytes[f], f
               printf "  %10d  in all\n", total }' |
    sort -rn | head -12
