#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. Exits non-zero on any failure.
#   1. the release build with everything in it, and all its tests (unit, jack, gui);
#   2. the unit and widget tests again under the address and undefined-behaviour sanitizers,
#      built with clang, so that both of Debian's compilers build the tree at
#      every run (the asan preset builds the test programs alone);
#   3. the tests of the MIDI and host layers and of the Lua host, where the
#      threads meet, again under the thread sanitizer (GCC);
#   4. every fuzz target for a short while (BRASSFOLD_FUZZ_SECONDS, 20 by default)
#      and once over its hostile inputs (the fuzz preset, clang);
#   5. the tests' share of the code, printed last so that every run shows it.
set -euo pipefail
cd "$(dirname "$0")"

jobs=${BRASSFOLD_JOBS:-$(nproc)}

scripts/install-deps
cmake --preset default
cmake --build --preset default -j "$jobs"
ctest --preset default -j "$jobs"

cmake --preset asan
cmake --build --preset asan -j "$jobs" --target brassfold_test_programs
# The widget tests too; the tests that start the program itself need its
# release build, so they ran above.
ctest --preset asan -j "$jobs" -L 'unit|gui' -E '_program$'

# Only these programs are built under the thread sanitizer: the unit and JACK
# tests alone run, and the entries of the other programs, "..._NOT_BUILT", not.
# The Lua host's tests hold its concurrency test (input and frames on two threads).
tsan_targets=(midi_tests midi_jack_tests host_tests luahost_tests)
cmake --preset tsan
cmake --build --preset tsan -j "$jobs" --target "${tsan_targets[@]}"
ctest --preset tsan -j "$jobs" -L 'unit|jack' -E '_NOT_BUILT$'

cmake --preset fuzz -DBRASSFOLD_FUZZ_SECONDS="${BRASSFOLD_FUZZ_SECONDS:-20}"
cmake --build --preset fuzz -j "$jobs" --target fuzz_targets
ctest --preset fuzz -j "$jobs"

scripts/test-ratio
