#!/usr/bin/env bash
# Builds and runs the whole test suite twice: in the debug configuration (with
# AddressSanitizer and UndefinedBehaviorSanitizer) and in the release one; then
# the threaded tests once more under ThreadSanitizer; then a short fuzzing run.
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

# The tests that run the printing thread, the entity arena and parses on several
# threads, under ThreadSanitizer: any data race it sees fails the run.
echo "== tsan: configure, build and the threaded tests"
cmake --preset tsan -G "Unix Makefiles"
cmake --build build/tsan -j2 --target test_entities test_parser
export TSAN_OPTIONS="halt_on_error=1 exitcode=66"
build/tsan/tests/test_entities --gtest_brief=1 \
  --gtest_filter='AheadPrinter.*:CurvePool.*:EntityArena.*:EntityText.*:Insert.*:Progress.*:Cancel.*' || status=1
build/tsan/tests/test_parser --gtest_brief=1 \
  --gtest_filter='Parse2.*:Parse2To.*:Parse2Progress.*:ParseEntities.*:OneShot.*:PumpMessages.*:ParseLimits.*:BudgetAllocator.*:MemoryBudget.*:Cancel.*:FileBytes.*:MappedFile.*' || status=1

# The fuzz targets (clang): the regressions and seeds replayed, then 45 seconds
# of fuzzing in all. Any finding fails the run.
bash scripts/fuzz.sh 45 || status=1
exit "$status"
