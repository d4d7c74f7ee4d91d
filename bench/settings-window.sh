#!/usr/bin/env bash
# The settings window's first opening: from making the window to its first page drawn on a
# real X server, each time in a fresh process (fonts, styles and the page all built anew):
#   bash bench/settings-window.sh [RUNS]   (15 unless given)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
cmake --build "$build" --target settings-preview >/dev/null
runs="${1:-15}"
exec bash tests/harness/desktop-session bash -c '
    times=()
    for _ in $(seq "$2"); do times+=("$("$1" --measure)"); done
    printf "%s\n" "${times[@]}" | sort -n | awk "{ v[NR] = \$1 } END {
        printf \"first opening (ms): \"; for (i = 1; i <= NR; i++) printf \"%.1f \", v[i]
        printf \"\n  median %.1f ms\n\", (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }"
' _ "$build/bin/settings-preview" "$runs"
