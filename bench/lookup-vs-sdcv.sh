#!/usr/bin/env bash
# `quillet lookup water` side by side with sdcv answering the same word from the same ECDICT
# glosses in StarDict form (bench/make-stardict.py), in one run: whole-process wall time
# (median, warm cache) and CPU time (user + system, mean: steadier than wall time on a busy
# machine), peak resident memory (median), the shared libraries each process has
# initialised by exit, and the ratios quillet / sdcv. Quillet runs twice: with its
# dictionary order holding the bundled database only, and with the default order (which
# also holds the system's dictd and StarDict dictionaries); `quillet --version` shows what
# starting and ending the program costs before any lookup. Every process runs in a clean
# environment with a home of its own, so the user's settings and dictionaries stay out.
#   RUNS (default 50) timed runs per row, in ROUNDS (default 5) that take turns, after
#   warm-up runs; MEMORY_RUNS (default 15); WORD (default water); QUILLET_STARDICT_DIR:
#   where the converted data is kept.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
runs="${RUNS:-50}"
memory_runs="${MEMORY_RUNS:-15}"
word="${WORD:-water}"

missing=()
command -v hyperfine >/dev/null || missing+=(hyperfine)
command -v sdcv >/dev/null || missing+=(sdcv)
command -v dictzip >/dev/null || missing+=(dictzip)
[ -x /usr/bin/time ] || missing+=(time)
[ ${#missing[@]} -eq 0 ] ||
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
[ -x "$build/bin/quillet" ] || bash scripts/setup
quillet="$(realpath "$build/bin/quillet")"
sdcv="$(command -v sdcv)"

data="${QUILLET_STARDICT_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/quillet/stardict-ecdict}"
[ -f "$data/ecdict/ecdict.ifo" ] || python3 bench/make-stardict.py ecdict "$data" >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# run_in HOME COMMAND...: COMMAND in an environment holding nothing of the caller's.
run_in() {
    local home="$1"
    shift
    env -i PATH=/usr/bin:/bin LANG=C.UTF-8 HOME="$home" XDG_CONFIG_HOME="$home/.config" \
        XDG_DATA_HOME="$home/.local/share" XDG_STATE_HOME="$home/.local/state" \
        XDG_CACHE_HOME="$home/.cache" XDG_RUNTIME_DIR="$home/runtime" "$@"
}

names=("quillet, bundled only" "quillet, default order" "quillet --version" "sdcv")
homes=("$work/bundled" "$work/default" "$work/default" "$work/sdcv")
commands=("$quillet lookup $word" "$quillet lookup $word" "$quillet --version"
    "$sdcv -n -x --data-dir $data $word")
sdcv_row=3
for home in "${homes[@]}"; do mkdir -p "$home/runtime" && chmod 700 "$home/runtime"; done
run_in "${homes[0]}" "$quillet" settings set dictionaryOrder '["bundled"]' >/dev/null

# Each must answer with the gloss, or the figures would measure a failure path. sdcv's first
# run also writes its offset cache beside the index.
for i in 0 1 "$sdcv_row"; do
    # shellcheck disable=SC2086 # the command line is split into its words on purpose
    answer=$(run_in "${homes[$i]}" ${commands[$i]} 2>/dev/null) ||
        { echo "${names[$i]}: '${commands[$i]}' failed" >&2; exit 1; }
    grep -q '水' <<<"$answer" || { echo "${names[$i]}: no gloss in: $answer" >&2; exit 1; }
done

median() {
    sort -g | awk '{ v[NR] = $1 }
        END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# The rows take turns in rounds, so that a change in the machine's load falls on all of them.
rounds="${ROUNDS:-5}"
for round in $(seq "$rounds"); do
    for i in "${!names[@]}"; do
        run_in "${homes[$i]}" hyperfine -N --warmup "$((round == 1 ? 10 : 3))" \
            --runs "$(((runs + rounds - 1) / rounds))" --style none \
            --export-json "$work/time-$i-$round.json" "${commands[$i]}" \
            >/dev/null 2>"$work/hyperfine.log" || { cat "$work/hyperfine.log" >&2; exit 1; }
    done
done

times=() cpu=() memory=() libraries=()
for i in "${!names[@]}"; do
    read -r wall processor < <(python3 -c 'import json, statistics, sys
results = [json.load(open(path))["results"][0] for path in sys.argv[1:]]
wall = statistics.median(t for r in results for t in r["times"])
processor = statistics.mean(r["user"] + r["system"] for r in results)
print(wall * 1000, processor * 1000)' "$work"/time-"$i"-*.json)
    times+=("$wall") cpu+=("$processor")
    for _ in $(seq "$memory_runs"); do
        # shellcheck disable=SC2086
        run_in "${homes[$i]}" /usr/bin/time -f %M -o "$work/rss" ${commands[$i]} >/dev/null 2>&1
        cat "$work/rss"
    done | median >"$work/rss-median"
    memory+=("$(awk '{ print $1 / 1024 }' "$work/rss-median")")
    # Every object the dynamic loader initialised, those opened later on demand included.
    # shellcheck disable=SC2086
    run_in "${homes[$i]}" env LD_DEBUG=libs ${commands[$i]} 2>&1 >/dev/null |
        sed -n 's/.*calling init: //p' | sort -u >"$work/libs-$i"
    libraries+=("$(wc -l <"$work/libs-$i")")
done

echo "$word, same ECDICT glosses; median of $runs runs (time) and $memory_runs runs (peak RSS)"
printf '%-32s %10s %10s %14s %10s\n' "" "time (ms)" "CPU (ms)" "peak RSS (MB)" "libraries"
for i in "${!names[@]}"; do
    printf '%-32s %10.2f %10.2f %14.1f %10d\n' "${names[$i]}" "${times[$i]}" "${cpu[$i]}" \
        "${memory[$i]}" "${libraries[$i]}"
done
for i in 0 1 2; do
    awk -v n="${names[$i]} / sdcv" -v t="${times[$i]}" -v ts="${times[$sdcv_row]}" \
        -v c="${cpu[$i]}" -v cs="${cpu[$sdcv_row]}" -v m="${memory[$i]}" \
        -v ms="${memory[$sdcv_row]}" -v l="${libraries[$i]}" -v ls="${libraries[$sdcv_row]}" \
        'BEGIN { printf "%-32s %9.2fx %9.2fx %13.2fx %9.2fx\n", n, t / ts, c / cs, m / ms, l / ls }'
done
echo
echo "libraries quillet initialises (bundled only) and sdcv does not:"
comm -23 <(xargs -n1 basename <"$work/libs-0" | sort) \
    <(xargs -n1 basename <"$work/libs-$sdcv_row" | sort) |
    paste -sd' ' | fold -s -w 100 | sed 's/^/  /; s/ *$//'
