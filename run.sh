#!/usr/bin/env bash
# Installs what the project needs, builds it, packs the sample installer and runs the main job.
set -euo pipefail
top=$(cd "$(dirname "$0")" && pwd)
cd "$top"

./scripts/install-deps.sh
./scripts/build.sh normal

# The sample installer: samples/installer.xml with its payload, texts, skin and fonts, in front of
# it the run-time just built.
build/packer build samples/installer.xml -o build/sample-installer

# The installer exits with status 255 after its usage text, as every early exit of it does.
./build/installer -h || true
