#!/usr/bin/env bash
# Runs a fuzz target once over each of its hostile inputs (HostileInputs.cpp),
# one at a time, each under a memory and a time limit. ctest calls it:
#   hostile.sh MAKER PROGRAM TARGET
set -euo pipefail
maker=$1 program=$2 target=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# A small quarantine keeps freed blocks from counting as memory in use.
export ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=16}
failed=0
for name in $("$maker" "$target"); do
    file=$folder/$name
    "$maker" "$target" "$name" "$file"
    start=$(date +%s%N)
    if "$program" -rss_limit_mb="${BRASSFOLD_HOSTILE_RSS_MB:-1024}" -timeout="${BRASSFOLD_HOSTILE_SECONDS:-20}" \
        "$file" >"$folder/log" 2>&1; then
        echo "$target/$name: $(( ($(date +%s%N) - start) / 1000000 )) ms"
    else
        echo "$target/$name: FAILED"
        tail -n 30 "$folder/log"
        failed=1
    fi
    rm -f "$file"
done
exit $failed
