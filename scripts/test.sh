#!/usr/bin/env bash
# Builds and runs the whole test suite twice: in the debug configuration (with
# AddressSanitizer and UndefinedBehaviorSanitizer) and in the release one.
# Exits non-zero when anything fails.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-packages.sh

status=0
for preset in debug release; do
  echo "== $preset: configure and build"
  cmake --preset "$preset" -G "Unix Makefiles"
  cmake --build "build/$preset" -j2
done
for preset in debug release; do
  echo "== $preset: tests"
  ctest --test-dir "build/$preset" -j2 --output-on-failure || status=1
done
exit "$status"
