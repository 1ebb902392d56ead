# The round trip over JACK measured by JACK's own tool, jack_midi_latency_test
# (Debian package jackd2), on a server of its own with the dummy driver at 256
# frames and 48 kHz: once through a minimal plain JACK client that copies its
# MIDI in to its MIDI out in the process callback, and once through the MIDI
# hub. Its last line: direct_ms=... through_hub_ms=... added_ms=... period_ms=...
add_executable(bench_jack_latency ${CMAKE_CURRENT_LIST_DIR}/jack_latency.cpp)
target_link_libraries(bench_jack_latency PRIVATE midi)
brassfold_warnings(bench_jack_latency)
