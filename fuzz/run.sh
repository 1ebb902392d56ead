#!/usr/bin/env bash
# Runs one fuzz target for long:
#   fuzz/run.sh TARGET SECONDS [LIBFUZZER_OPTION...]
# TARGET is a target's short name (definition, pattern, expression, map,
# string_script, alert_text, text, version, midi_input). Builds the fuzz preset
# (clang) as far as the target needs, then fuzzes with its dictionary, its
# seeds and its working corpus, which grows from run to run and is replayed
# by the short runs of ./test.sh. A crash, a leak or an input that takes over a
# second stops the run and leaves the input in build/fuzz/fuzz/artifacts/TARGET/;
# reproduce it with build/fuzz/bin/fuzz_TARGET FILE. The log goes to
# build/fuzz/fuzz/logs/, and the last line sums the run up.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -lt 2 ]; then
    echo "usage: $0 TARGET SECONDS [LIBFUZZER_OPTION...]" >&2
    exit 2
fi
target=$1 seconds=$2
shift 2

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "fuzz_$target"

root=build/fuzz/fuzz
mapfile -t options <"$root/options/$target"
mkdir -p "$root/logs"
log=$root/logs/$target-$(date +%Y%m%d-%H%M%S).log

status=0
"build/fuzz/bin/fuzz_$target" -max_total_time="$seconds" "${options[@]}" "$@" 2>&1 | tee "$log" || status=$?

runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
rss=$(sed -n 's/^stat::peak_rss_mb: *//p' "$log" | tail -n 1)
elapsed=$(sed -n 's/^Done [0-9]* runs in \([0-9]*\) second.*/\1/p' "$log" | tail -n 1)
echo "fuzz_$target: ${runs:-?} executions in ${elapsed:-?} s, peak RSS ${rss:-?} MB, exit status $status; log $log"
exit "$status"
