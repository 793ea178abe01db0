#!/usr/bin/env bash
# Builds the release configuration and runs the vessik tool on the example drawing.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-packages.sh
cmake --preset release -G "Unix Makefiles"
cmake --build build/release -j2

echo
echo "== build/release/cli/vessik examples/shapes.dxf"
build/release/cli/vessik examples/shapes.dxf
echo
echo "== build/release/cli/vessik --layers examples/shapes.dxf"
build/release/cli/vessik --layers examples/shapes.dxf
