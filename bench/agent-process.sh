#!/usr/bin/env bash
# Whole-process figures of the agent on a private desktop (Xvfb, a window manager, a tray):
# start to tray icon ready, idle CPU over 60 s with clipboard lookup on (and with selection
# lookup on too, over an accessibility bus; with hover lookup on and the pointer still; with
# every source and the playback poll),
# resident memory after start, with the recognition engine loaded, and after 1,000 lookups.
# Budgets: ≤ 300 ms, ≤ 0.5 % of a core, ≤ 80 MB (≤ 120 MB with recognition loaded).
# `bench/agent-process.sh hover` measures only hover lookup's idle; `… everything` only the
# idle with every source on and the playback poll running.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
[ -x "$build/bin/quillet" ] || bash scripts/setup
command -v trayer >/dev/null ||
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends trayer >/dev/null
exec bash tests/harness/desktop-session --accessibility -- bash bench/agent-process-inner.sh "$build" "$@"
