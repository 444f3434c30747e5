#!/usr/bin/env bash
# Installs what the project needs, builds it, packs the sample installer and runs it.
set -euo pipefail
top=$(cd "$(dirname "$0")" && pwd)
cd "$top"

./scripts/install-deps.sh
./scripts/build.sh normal

# The sample installer: samples/installer.xml with its payload, texts, skin and fonts, in front of
# it the run-time just built.
build/packer build samples/installer.xml -o build/sample-installer

# With a display the sample opens its window: the splash while it unpacks, then the wizard's
# window, until it is closed. Without one it installs unattended into a fresh folder. Either way
# it runs under a private home, so nothing of the machine's own desktop changes. The sample has a
# licence, which an unattended install takes only with -y: an end user reads it first with -r.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/home/Desktop" "$work/home/tmp"
export HOME="$work/home" XDG_UTILS_INSTALL_MODE=user XDG_DATA_HOME="$work/home/.local/share" \
    XDG_CONFIG_HOME="$work/home/.config"
if [ -n "${DISPLAY:-}" ]; then
    echo "Opening the sample installer on $DISPLAY; close its window to end."
    status=0
    build/sample-installer || status=$?
    exit $status
fi

status=0
build/sample-installer -a -y -i "$work/installed" || status=$?
echo
echo "=== install_log.txt"
cat "$work/installed/install_log.txt" 2>/dev/null || echo "(no log)"
echo
echo "=== installed files"
(cd "$work/installed" 2>/dev/null && find . -type f | sort) || true
exit $status
