#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. Exits non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")"

jobs=${BRASSFOLD_JOBS:-$(nproc)}

scripts/install-deps
cmake --preset default
cmake --build --preset default -j "$jobs"
ctest --preset default -j "$jobs"
