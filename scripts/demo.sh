#!/usr/bin/env bash
# Builds everything and runs the reference host from the stage tree.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh build
cd build/stage/bin
exec ./skiff "$@"
