#!/usr/bin/env bash
# Builds everything with warnings as errors and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh build -DTESSEL_WERROR=ON
ctest --test-dir build --output-on-failure -j2 "$@"
