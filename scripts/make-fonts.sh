#!/usr/bin/env bash
# Copies the fonts that ship with the product from Debian's font packages into samples/fonts/,
# under the 23 file names of the framework's built-in font table. The packages are in
# scripts/packages.txt (fonts-dejavu-core, fonts-liberation, fonts-freefont-ttf).
#   scripts/make-fonts.sh [destination folder]
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
destination=${1:-$top/samples/fonts}
dejavu=/usr/share/fonts/truetype/dejavu
liberation=/usr/share/fonts/truetype/liberation
freefont=/usr/share/fonts/truetype/freefont

# Table row: file name the framework loads, then the Debian file copied under that name.
mapping=(
    "Achafexp.ttf|$dejavu/DejaVuSerif-Bold.ttf"
    "Achafita.ttf|$dejavu/DejaVuSerif-Italic.ttf"
    "Achaflft.ttf|$dejavu/DejaVuSerif-BoldItalic.ttf"
    "Achafont.ttf|$dejavu/DejaVuSerif.ttf"
    "Achafout.ttf|$freefont/FreeSansBold.ttf"
    "Achafsex.ttf|$dejavu/DejaVuSansMono-Bold.ttf"
    "AdineKirnberg-Script.ttf|$freefont/FreeSerifItalic.ttf"
    "BabelSans-BoldOblique.ttf|$dejavu/DejaVuSans-BoldOblique.ttf"
    "BabelSans-Bold.ttf|$dejavu/DejaVuSans-Bold.ttf"
    "BabelSans-Oblique.ttf|$dejavu/DejaVuSans-Oblique.ttf"
    "BabelSans.ttf|$dejavu/DejaVuSans.ttf"
    "Impressed Metal.ttf|$liberation/LiberationSansNarrow-Bold.ttf"
    "WeekdaysRomanSlant.ttf|$liberation/LiberationSans-Italic.ttf"
    "whipsnap.ttf|$freefont/FreeSansBoldOblique.ttf"
    "ZendaEmbossed.ttf|$dejavu/DejaVuSerifCondensed-Bold.ttf"
    "zenda.ttf|$dejavu/DejaVuSerifCondensed.ttf"
    "ZenFraxFreestyleCondensed.ttf|$liberation/LiberationSansNarrow-Regular.ttf"
    "ZenFrax.ttf|$liberation/LiberationSans-Regular.ttf"
    "zxspectr.ttf|$dejavu/DejaVuSansMono.ttf"
    "LinLibertine_Bd-4.1.0.ttf|$liberation/LiberationSerif-Bold.ttf"
    "LinLibertine_BI-4.0.5.ttf|$liberation/LiberationSerif-BoldItalic.ttf"
    "LinLibertine_It-4.0.6.ttf|$liberation/LiberationSerif-Italic.ttf"
    "LinLibertine_Re-4.4.1.ttf|$liberation/LiberationSerif-Regular.ttf"
)

missing=0
for row in "${mapping[@]}"; do
    source=${row#*|}
    if [ ! -f "$source" ]; then
        echo "missing: $source (install the packages of scripts/packages.txt)" >&2
        missing=1
    fi
done
[ "$missing" = 0 ] || exit 1

mkdir -p "$destination"
for row in "${mapping[@]}"; do
    name=${row%%|*}
    source=${row#*|}
    cp "$source" "$destination/$name"
    echo "$name <- $(basename "$source")"
done

# The licences travel with the files: each package's copyright file, as Debian ships it.
mkdir -p "$destination/licences"
for package in fonts-dejavu-core fonts-liberation fonts-freefont-ttf; do
    cp "/usr/share/doc/$package/copyright" "$destination/licences/$package.copyright"
done
