#!/usr/bin/env bash
# Whole-process timing of the command line: `quillet lookup water` from exec to exit,
# against a bare `true` for the process-start floor. Budget: ≤ 15 ms. A sentence of sixty
# words with no model server running (the port refuses) is answered by the gloss.
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
    "$build/bin/quillet lookup --json went" \
    "$build/bin/quillet lookup 'When the storm broke down the old fence, my grandfather gave up trying to fix it and looked forward to building a new one in the spring. In spite of his age, he carried out most of the work himself, although he ran out of nails twice and had to borrow some from the neighbours who lived across the river.'"
