#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors, runs the whole test suite, then checks
# the installed files and the Debian package.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh -DQUILLON_WERROR=ON -DQUILLON_BUILD_TESTS=ON
ctest --test-dir build --output-on-failure -j"$(nproc)"
./scripts/check-install.sh build
./scripts/package.sh
