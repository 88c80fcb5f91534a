#!/usr/bin/env bash
# Installs what is missing, builds Quillon and starts the desktop app.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh
exec ./build/src/quillon "$@"
