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

# Until the workbench window exists, the check tool shows what the codec
# machinery makes of the bundled examples: their definitions, a few decoded
# messages of each surface, and their mapping files.
if [ -x "$bin/brassfold-check" ]; then
  echo "The workbench window is not built yet; showing the bundled examples with brassfold-check instead."
  exec scripts/show-examples "$bin/brassfold-check"
fi

echo "Brassfold is not runnable yet: neither the workbench nor brassfold-check is built."
echo "Built so far, in $PWD/build/default:"
for lib in build/default/lib/lib*.a; do
  [ -e "$lib" ] || continue
  name=$(basename "$lib" .a)
  echo "  library ${name#lib}"
done
for program in "$bin"/*; do
  [ -x "$program" ] && [ -f "$program" ] && echo "  program $(basename "$program")"
done
echo "Run ./test.sh to build and run every test."
