#!/usr/bin/env bash
# From a copy in another program to the answer on screen, timed from outside the agent on a
# private desktop (Xvfb, a window manager): bench/copy-to-panel/copy_to_panel takes the
# clipboard with each of 30 words and watches the panel window: its map, damage, shape and
# geometry events.
# Budgets: copy → first pixels median ≤ 20 ms, copy → fully drawn median ≤ 150 ms.
# Builds nothing: run scripts/setup (or cmake --build) first.
#   bench/copy-to-panel.sh [--perf FILE] [COPIES [copy_to_panel OPTION...]]
#   --perf FILE  also samples the agent with perf record (call graphs) into FILE
#   e.g. bench/copy-to-panel.sh 3 --trace   lists every event after each of three copies
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
for program in quillet-agent copy_to_panel; do
    [ -x "$build/bin/$program" ] ||
        { echo "copy-to-panel: $build/bin/$program is missing (build first)" >&2; exit 69; }
done
exec bash tests/harness/desktop-session -- bash bench/copy-to-panel-inner.sh "$build" "$@"
