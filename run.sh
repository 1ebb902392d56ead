#!/usr/bin/env bash
# Installs what is missing, builds, and starts Brassfold.
set -euo pipefail
cd "$(dirname "$0")"

jobs=${BRASSFOLD_JOBS:-$(nproc)}

scripts/install-deps
cmake --preset default >/dev/null
cmake --build --preset default -j "$jobs"

bin=build/default/bin
if [ -x "$bin/brassfold" ]; then
  exec "$bin/brassfold" "$@"
fi

if [ -x "$bin/brassfold-check" ]; then
  echo "The workbench window is not built yet; checking the bundled examples instead."
  exec scripts/show-examples "$bin/brassfold-check"
fi

echo "Brassfold is not runnable yet. Built so far:"
echo "  - the foundation library (failures, assertions and the debug channel)"
echo "  - its unit tests: run ./test.sh"
