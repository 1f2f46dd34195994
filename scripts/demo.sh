#!/usr/bin/env bash
# Builds everything, then runs a whole headless download session on a freshly
# synthesised card from the stage tree: backup copies, raw files converted to
# DNG, verified originals deleted, and where everything went. The session has
# its own HOME and XDG folders under a new temporary folder each run.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh build
exec build/stage/bin/tessel-demo "$@"
