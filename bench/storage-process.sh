#!/usr/bin/env bash
# Whole-process timing of commands that change the user's data: `quillet settings set` and
# `quillet notebook star`, first with no agent running, then beside a running agent that
# follows the settings file. Each run is a full read-modify-write under the folder lock,
# flushed to the disk.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
command -v hyperfine >/dev/null ||
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq hyperfine >/dev/null
[ -x "$build/bin/quillet" ] || bash scripts/setup
exec bash tests/harness/desktop-session -- bash bench/storage-process-inner.sh "$build"
