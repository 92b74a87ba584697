#!/usr/bin/env bash
# Opens Ovrin on a design. Without a display (or before the desktop program
# is built) the design's data report is printed through ovrin-cli instead.
set -euo pipefail
BUILD="$1"
DESIGN="$2"

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -x "$BUILD/ovrin" ]; then
  exec "$BUILD/ovrin" --open "$DESIGN"
fi

if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  echo "No display found: printing the data report of $DESIGN with ovrin-cli instead of opening the window."
else
  echo "The desktop program is not built: printing the data report of $DESIGN with ovrin-cli."
fi
echo
"$BUILD/ovrin-cli" report "$DESIGN" --text
