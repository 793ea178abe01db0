#!/usr/bin/env bash
# Builds the fuzz targets (the fuzz preset, clang) and runs them.
#
#   scripts/fuzz.sh replay    every target once over its regressions and seeds
#   scripts/fuzz.sh SECONDS   the replay, then fuzzing for SECONDS in all: half for
#                             fuzz_parse2, a quarter each for fuzz_numbers and fuzz_fit
#
# Fuzzing grows build/fuzz/corpus/<target>, started from fuzz/seeds and
# fuzz/regressions ("corpus" in the summary is the count libFuzzer keeps in use,
# then the files in the folder), and writes what it finds to
# build/fuzz/findings/<target>/; the full output of each run is in
# build/fuzz/logs/. After a finding the target fuzzes on for the rest of its
# share. Exits non-zero on any finding.
set -euo pipefail
cd "$(dirname "$0")/.."

mode="${1:-replay}"
if [ "$mode" != replay ] && ! [[ "$mode" =~ ^[1-9][0-9]*$ ]]; then
  echo "usage: $0 replay | SECONDS" >&2
  exit 2
fi

targets=(fuzz_parse2 fuzz_numbers fuzz_fit)
declare -A share=([fuzz_parse2]=2 [fuzz_numbers]=1 [fuzz_fit]=1)  # in quarters
# Largest input each target gets while fuzzing: a drawing of 32 KB parses in well
# under a second, and longer numbers or fit inputs reach nothing new.
declare -A max_len=([fuzz_parse2]=32768 [fuzz_numbers]=512 [fuzz_fit]=1024)
# A single input may take 10 s and 2 GB; beyond that it is a finding (a hang or
# runaway memory), reported as a timeout or out-of-memory.
limits=(-rss_limit_mb=2048 -timeout=10)
export ASAN_OPTIONS="${ASAN_OPTIONS:-abort_on_error=1:detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"

echo "== fuzz: configure and build"
cmake --preset fuzz -G "Unix Makefiles" > /dev/null
cmake --build --preset fuzz -j2

bin=build/fuzz/fuzz
logs=build/fuzz/logs
mkdir -p "$logs"
status=0

# The inputs of a folder, or nothing when it has none.
inputs() {
  [ -d "$1" ] && find "$1" -maxdepth 1 -type f | sort
  return 0
}

echo "== fuzz: replay of regressions and seeds"
for t in "${targets[@]}"; do
  mapfile -t files < <(inputs "fuzz/regressions/$t"; inputs "fuzz/seeds/$t")
  if [ "${#files[@]}" -eq 0 ]; then
    echo "$t: no inputs to replay"
    continue
  fi
  mkdir -p "build/fuzz/findings/$t"
  if "$bin/$t" "${limits[@]}" -artifact_prefix="build/fuzz/findings/$t/replay-" "${files[@]}" \
    > "$logs/$t-replay.log" 2>&1; then
    echo "$t: ${#files[@]} inputs replayed, no finding"
  else
    echo "$t: FINDING in the replay, see $logs/$t-replay.log"
    grep -E "^Running:|ERROR|SUMMARY" "$logs/$t-replay.log" | tail -n 4 || true
    status=1
  fi
done

if [ "$mode" = replay ]; then
  exit "$status"
fi

total="$mode"
summary=()
for t in "${targets[@]}"; do
  seconds=$((total * share[$t] / 4))
  if [ "$seconds" -lt 1 ]; then seconds=1; fi
  corpus="build/fuzz/corpus/$t"
  findings="build/fuzz/findings/$t"
  mkdir -p "$corpus" "$findings"
  # The corpus starts from the seeds and the regressions, and keeps what earlier
  # runs found.
  for dir in "fuzz/seeds/$t" "fuzz/regressions/$t"; do
    if [ -d "$dir" ]; then
      find "$dir" -maxdepth 1 -type f -exec cp -n -t "$corpus" {} +
    fi
  done
  stamp="$logs/$t.stamp"
  : > "$stamp"
  log="$logs/$t.log"
  : > "$log"
  echo "== fuzz: $t for $seconds s"
  start=$(date +%s)
  execs=0
  runs=0
  while :; do
    left=$((seconds - ($(date +%s) - start)))
    # A finding stops libFuzzer; it starts again on the grown corpus until the
    # share is used, at most 20 times.
    if [ "$left" -lt 2 ] || [ "$runs" -ge 20 ]; then
      break
    fi
    runs=$((runs + 1))
    run_log="$logs/$t.run$runs.log"
    "$bin/$t" "${limits[@]}" -max_len="${max_len[$t]}" -max_total_time="$left" \
      -print_final_stats=1 -artifact_prefix="$findings/" \
      "$corpus" > "$run_log" 2>&1 || true
    cat "$run_log" >> "$log"
    n=$(sed -n 's/^stat::number_of_executed_units: *//p' "$run_log" | tail -n 1)
    if [ -z "$n" ]; then
      # Ended by a finding, before the final statistics: the last status line.
      n=$(grep -oE '^#[0-9]+' "$run_log" | tail -n 1 | tr -d '#')
    fi
    execs=$((execs + ${n:-0}))
    rm -f "$run_log"
  done
  elapsed=$(($(date +%s) - start))
  if [ "$elapsed" -lt 1 ]; then elapsed=1; fi
  last=$(grep -E '^#[0-9]+.*cov: ' "$log" | tail -n 1 || true)
  cov=$(echo "$last" | grep -oE 'cov: [0-9]+' | grep -oE '[0-9]+' || echo "?")
  ft=$(echo "$last" | grep -oE 'ft: [0-9]+' | grep -oE '[0-9]+' || echo "?")
  corp=$(echo "$last" | grep -oE 'corp: [0-9]+' | grep -oE '[0-9]+' || echo "?")
  size=$(find "$corpus" -maxdepth 1 -type f | wc -l)
  new=$(find "$findings" -maxdepth 1 -type f -newer "$stamp" | wc -l)
  kinds=""
  for kind in crash leak timeout oom slow-unit; do
    k=$(find "$findings" -maxdepth 1 -type f -name "$kind-*" -newer "$stamp" | wc -l)
    if [ "$k" -gt 0 ]; then kinds="$kinds $kind:$k"; fi
  done
  if [ "$new" -gt 0 ]; then status=1; fi
  summary+=("$(printf '%-13s %5ss  execs %-9s exec/s %-5s cov %-5s ft %-6s corpus %-5s (%s files)  findings %s%s' \
    "$t" "$elapsed" "$execs" "$((execs / elapsed))" "$cov" "$ft" "$corp" "$size" "$new" "$kinds")")
done

echo "== fuzz: summary"
printf '%s\n' "${summary[@]}"
if [ "$status" -ne 0 ]; then
  echo "Findings are in build/fuzz/findings/<target>/; logs in $logs/."
fi
exit "$status"
