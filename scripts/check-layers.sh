#!/usr/bin/env bash
# Fails when a source file includes a header of a higher layer. The layers, lowest first:
#   host (sees only base/orlu_types.h), base, io, graphics, frame, wm, installer
# A folder may include its own layer and every layer below it; host/ is the door to the system
# that every layer above base may use. Tools, tests and benchmarks may include anything.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"

rank() {
    case "$1" in
        host) echo 0 ;; base) echo 1 ;; io) echo 2 ;; graphics) echo 3 ;;
        frame) echo 4 ;; wm) echo 5 ;; installer) echo 6 ;; *) echo -1 ;;
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
        if [ "$layer" = host ]; then
            # The host layer sees only the scalar types of base/ and its own headers.
            [ "$target" = host ] && continue
            [ "$header" = base/orlu_types.h ] && continue
            echo "$file:$line: the host layer includes $header"
            bad=1
            continue
        fi
        if [ "$wanted" -gt "$own" ]; then
            echo "$file:$line: layer $layer includes $header of the higher layer $target"
            bad=1
        fi
        # The host's display back ends are chosen by the application, never by the toolkit.
        case "$header" in host/linux/*|host/headless/*)
            if [ "$layer" != host ] && [ "$layer" != installer ]; then
                echo "$file:$line: layer $layer includes the back end header $header"
                bad=1
            fi ;;
        esac
    done < <(grep -n -E '^\s*#\s*include\s+"' "$file" | sed -E 's/^([0-9]+):\s*#\s*include\s+"([^"]+)".*/\1:\2/')
done < <(find host base io graphics frame wm installer -type f \( -name '*.cpp' -o -name '*.h' \) -print0)

if [ "$bad" -ne 0 ]; then
    echo "check-layers: includes against the layer order (see the README's layout section)" >&2
    exit 1
fi
echo "check-layers: every include follows the layer order"
