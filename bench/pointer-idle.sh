#!/usr/bin/env bash
# Idle processor time of a process watching the pointer through XInput, on a private desktop
# (Xvfb, openbox, a session bus): bash bench/pointer-idle.sh [SECONDS] (60 unless given).
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
cmake --build "$build" --target pointer_idle >/dev/null
exec bash tests/harness/desktop-session "$build/bin/pointer_idle" "${1:-60}"
