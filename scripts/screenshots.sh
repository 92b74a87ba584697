#!/usr/bin/env bash
# Pictures of the main windows for docs/ and the README, taken under Xvfb.
# Usage: scripts/screenshots.sh [BUILD_DIR]   (FONT_DPI=144 for 150 % text)
set -euo pipefail
BUILD="${1:-build}"
DESIGN="examples/achromat_80_f12_schott.ovn"
OUT="docs"
DPI="${FONT_DPI:-96}"
SUFFIX=""
[ "$DPI" != "96" ] && SUFFIX="-$((DPI * 100 / 96))"
mkdir -p "$OUT"
shot() {
  QT_FONT_DPI="$DPI" xvfb-run -a -s "-screen 0 1920x1200x24" \
    "$BUILD/ovrin" --screenshot "$OUT/$1$SUFFIX.png" --open "$DESIGN" --window "$2"
  echo "$OUT/$1$SUFFIX.png"
}
shot design-window Frmdati
shot wavelengths FrmWL
shot glass-picker FrmSchott
shot tilt-decenter FrmTilt
DESIGN="examples/newtonian_200_f5.ovn"
shot spot-diagram frmspot
DESIGN="examples/ritchey_chretien_200_f8.ovn"
shot layout Frmlayout
