#!/usr/bin/env bash
# Fails when a source file includes a header of a higher layer. The layers, lowest first:
#   base, host, io, graphics, frame, wm, installer
# base/ includes only base/; host/ (the door to the system) only base/ and host/; every folder
# above includes its own layer and the layers below it, the host included. The display back ends
# of the host (host/linux/, host/headless/) are chosen by the application, so outside host/ only
# installer/ may include their headers. Tools, tests and benchmarks may include anything.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"

rank() {
    case "$1" in
        base) echo 0 ;; host) echo 1 ;; io) echo 2 ;; graphics) echo 3 ;;
        frame) echo 4 ;; wm) echo 5 ;; installer) echo 6 ;;
        tools|tests|bench) echo 7 ;;    # above every layer: no layer includes them
        *) echo -1 ;;
    esac
}

bad=0
while IFS= read -r -d '' file; do
    layer=${file%%/*}
    own=$(rank "$layer")
    while IFS=: read -r line header; do
        target=${header%%/*}
        [ "$target" = "$header" ] && continue        # a header beside the file
        wanted=$(rank "$target")
        [ "$wanted" -lt 0 ] && continue
        if [ "$wanted" -gt 6 ]; then
            echo "$file:$line: layer $layer includes $header of $target/"
            bad=1
        elif [ "$wanted" -gt "$own" ]; then
            echo "$file:$line: layer $layer includes $header of the higher layer $target"
            bad=1
        fi
        case "$header" in host/linux/*|host/headless/*)
            if [ "$layer" != host ] && [ "$layer" != installer ]; then
                echo "$file:$line: layer $layer includes the back end header $header"
                bad=1
            fi ;;
        esac
    done < <(grep -n -E '^\s*#\s*include\s+"' "$file" | sed -E 's/^([0-9]+):\s*#\s*include\s+"([^"]+)".*/\1:\2/')
done < <(find base host io graphics frame wm installer -type f \( -name '*.cpp' -o -name '*.h' \) -print0)

if [ "$bad" -ne 0 ]; then
    echo "check-layers: includes against the layer order (see the README's layout section)" >&2
    exit 1
fi
echo "check-layers: every include follows the layer order"
