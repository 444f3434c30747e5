#!/usr/bin/env bash
# Installs what the project needs, builds it and runs the main job.
set -euo pipefail
top=$(cd "$(dirname "$0")" && pwd)
cd "$top"

./scripts/install-deps.sh
./scripts/build.sh normal

# The installer exits with status 255 after its usage text, as every early exit of it does.
./build/installer -h || true
