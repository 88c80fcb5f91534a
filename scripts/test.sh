#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh -DQUILLON_WERROR=ON -DQUILLON_BUILD_TESTS=ON
ctest --test-dir build --output-on-failure -j"$(nproc)"
