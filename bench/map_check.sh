#!/usr/bin/env bash
# Times `brassfold-check map` on a generated map of 100,000 lines (20 scopes with
# groups, a surface of 500 items) as a whole process, next to awk counting the
# fields of the same file, and prints both wall times, their ratio and the
# tool's peak resident memory.
#
#   bench/map_check.sh [path/to/brassfold-check]
set -euo pipefail
cd "$(dirname "$0")/.."

tool=${1:-build/default/bin/brassfold-check}
[ -x "$tool" ] || { echo "map_check: build brassfold-check first (./test.sh), or give its path" >&2; exit 2; }
[ -x /usr/bin/time ] || { echo "map_check: needs GNU time (Debian package 'time')" >&2; exit 2; }

# MAP_CHECK_KEEP=DIR keeps the generated files in DIR, for profiling.
if [ -n "${MAP_CHECK_KEEP:-}" ]; then
  work=$MAP_CHECK_KEEP
  mkdir -p "$work"
else
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi
definition="$work/Bench Surface.midicodec"
map="$work/Bench.kinvarmap"

items=500 scopes=20 lines=100000

# The surface: 500 value items, each read from a controller of its own.
awk -v items=$items 'BEGIN {
  OFS = "\t"
  print "Universal MIDI Codec Control Surface Definition File"
  print "File Format Version", "1.0.0"
  print "Control Surface Manufacturer", "Bench"
  print "Control Surface Model", "Surface 500"
  print "Codec Version", "1.0.0"
  print "Item Header", "Name", "Type", "Min", "Max"
  for (i = 0; i < items; i++) print "Item", "Control " i, "value", 0, 127
  print "Map Header", "Pattern", "Name", "Value1", "Value2", "Value3"
  for (i = 0; i < items; i++) printf "Map\tB%X %02X xx\tControl %d\tx\t\t\t\n", i % 16, int(i / 16), i
}' > "$definition"

# The map: 20 scopes of two groups each; each item is mapped under ten
# variations of the groups, each to a Kinvarable of its own.
awk -v items=$items -v scopes=$scopes -v lines=$lines 'BEGIN {
  OFS = "\t"
  print "Thistlemarrow Kinvar Mapping File"
  print "File Format Version", "1.0.0"
  print "Control Surface Manufacturer", "Bench"
  print "Control Surface Model", "Surface 500"
  print "Map Version", "1.0.0"
  split("any a b c any a b c any a", first, " ")
  split("any any any any x x x x y y", second, " ")
  header = 5
  written = header
  for (s = 0; s < scopes; s++) {
    perScope = int((lines - header) / scopes) + (s < (lines - header) % scopes ? 1 : 0)
    print "Scope", "Host", "Device " s
    print "Define Group", "Bank", "a" s, "b" s, "c" s
    print "Define Group", "Page", "x" s, "y" s
    written += 3
    for (n = 0; n < perScope - 3 && written < lines; n++) {
      item = n % items
      v = int(n / items) % 10 + 1
      g1 = first[v] == "any" ? "" : first[v] s
      g2 = second[v] == "any" ? "" : second[v] s
      print "Map", "Control " item, "", "Param " item " " v, "", "", g1, g2
      written++
    }
  }
}' > "$map"

# The best wall time of five runs, in seconds, measured with the shell's
# microsecond clock (GNU time's centiseconds are too coarse for awk here).
best_of_five() {
  local best="" start end took
  for _ in 1 2 3 4 5; do
    start=$EPOCHREALTIME
    "$@" > /dev/null
    end=$EPOCHREALTIME
    took=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.6f", b - a }')
    best=$(awk -v a="$took" -v b="${best:-$took}" 'BEGIN { print (a < b ? a : b) }')
  done
  echo "$best"
}

echo "map: $(wc -l < "$map") lines, $(stat -c %s "$map") bytes"
echo "verdict: $("$tool" map "$map" --midicodec "$definition" 2>&1 | head -n 2 | tr '\n' ' ')"
tool_s=$(best_of_five "$tool" map "$map" --midicodec "$definition")
awk_s=$(best_of_five awk -F'\t' '{n+=NF} END {print n}' "$map")
/usr/bin/time -f "%M" -o "$work/rss" "$tool" map "$map" --midicodec "$definition" > /dev/null
tool_mib=$(awk '{ printf "%.1f", $1 / 1024 }' "$work/rss")
ratio=$(awk -v a="$tool_s" -v b="$awk_s" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')
echo "brassfold-check map: ${tool_s} s wall (best of 5), peak RSS ${tool_mib} MiB"
echo "awk field count:     ${awk_s} s wall (best of 5)"
echo "tool_s=${tool_s} awk_s=${awk_s} ratio=${ratio} peak_rss_mib=${tool_mib}"
