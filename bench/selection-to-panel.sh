#!/usr/bin/env bash
# From a selection in another program to the answer on screen, timed from outside the agent on
# a private desktop with an accessibility bus: bench/copy-to-panel/copy_to_panel shows each
# word in a Qt text window, selects it the way a person would and watches the panel window.
# Three ways in:
#   accessibility  a double-click on the word, read over the accessibility bus (the default)
#   primary        the same in a window off the bus: read from the PRIMARY selection
#   copy           the word selected in a window off the bus and the lookup hot key pressed:
#                  read by a simulated Ctrl+C, with the clipboard saved and put back
#   hover          Alt held with the pointer resting on the word: read over the accessibility bus
#   recognition    the same in a window off the bus: the word recognised on the screen
# Budgets (release → panel showing the answer, median): accessibility ≤ 100 ms, copy ≤ 500 ms;
# (the dwell firing → the answer, median) hover ≤ 150 ms, recognition ≤ 300 ms.
# The time starts once the X server has taken the last release (the double-click's second,
# the hot key's keys); copy_to_panel is the hand, through XTest.
# Builds nothing: run scripts/setup (or cmake --build) first.
#   bench/selection-to-panel.sh [accessibility|primary|copy|hover|recognition]
#                               [WORDS [copy_to_panel OPTION...]]
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
for program in quillet-agent copy_to_panel text-window; do
    [ -x "$build/bin/$program" ] ||
        { echo "selection-to-panel: $build/bin/$program is missing (build first)" >&2; exit 69; }
done
exec bash tests/harness/desktop-session --accessibility -- \
    bash bench/selection-to-panel-inner.sh "$build" "$@"
