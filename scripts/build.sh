#!/usr/bin/env bash
# Configures and builds Quillon in ./build (Ninja). Extra arguments go to the configure step.
set -euo pipefail
cd "$(dirname "$0")/.."
"${QUILLON_SKIP_DEPS:-false}" || ./scripts/install-deps.sh
cmake -S . -B build -G Ninja "$@" >/dev/null
cmake --build build -j"$(nproc)"
