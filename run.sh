#!/usr/bin/env bash
# Installs what is missing, builds, and starts the Brassfold workbench with the
# bundled examples among its data folders ("Load MIDI Codecs" lists them, and
# the file dialogs open on them). MIDI runs on the loopback cables besides
# whatever ALSA and JACK offer.
set -euo pipefail
cd "$(dirname "$0")"

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "run.sh: there is no display to show the workbench on; start it on a virtual one with: xvfb-run ./run.sh" >&2
  exit 1
fi

jobs=${BRASSFOLD_JOBS:-$(nproc)}

scripts/install-deps
cmake --preset default >/dev/null
cmake --build --preset default -j "$jobs"

export XDG_DATA_DIRS="$PWD/examples:${XDG_DATA_DIRS:-/usr/local/share:/usr/share}"
exec build/default/bin/brassfold "$@"
