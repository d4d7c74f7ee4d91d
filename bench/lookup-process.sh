#!/usr/bin/env bash
# Whole-process timing of the command line: `quillet lookup water` from exec to exit,
# against a bare `true` for the process-start floor. Budget: ≤ 15 ms.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${QUILLET_BUILD_DIR:-build}"
command -v hyperfine >/dev/null ||
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq hyperfine >/dev/null
[ -x "$build/bin/quillet" ] || bash scripts/setup
hyperfine --warmup 20 --runs "${RUNS:-300}" -N \
    --export-json "${TMPDIR:-/tmp}/quillet-lookup-process.json" \
    "$build/bin/quillet lookup water" \
    "$build/bin/quillet check water" \
    "$build/bin/quillet lookup --json went"
