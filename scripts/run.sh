#!/usr/bin/env bash
# Install the build dependencies, build the release preset, run the main job.
#   bash scripts/run.sh [extra arguments for the main job]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target iodtool

iodtool=build/release/tools/iodtool
# ---- the main job: change this one line to change what run.sh runs ----
"$iodtool" example "$@"
