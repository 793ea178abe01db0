#!/usr/bin/env bash
# How the tool's time and peak memory grow with the drawing: 1, 10 and 100 MB of
# both generated drawings (vessik_gen_drawing with curves, and the mixed drawing
# of ../shared/bench/gen_dxf.py), written to a file, on one core (taskset) and on
# two. Median of 5 runs each; the peak is the most resident memory of the tool.
#
#   bash bench/scaling.sh [RUNS]     (default 5)
#
# Needs the release build (build/release), python3 and taskset (util-linux). The
# drawings are kept in build/yardstick for the next run.
set -euo pipefail
cd "$(dirname "$0")/.."

runs="${1:-5}"
tool=build/release/cli/vessik
gen=build/release/bench/vessik_gen_drawing
out=build/yardstick
for f in "$tool" "$gen"; do
  if [ ! -x "$f" ]; then
    echo "error: $f not found; build the release preset first" >&2
    exit 1
  fi
done
mkdir -p "$out"
drawings=()
for mb in 1 10 100; do
  [ -f "$out/gen-${mb}MB.dxf" ] || "$gen" "$mb" "$out/gen-${mb}MB.dxf" > /dev/null
  [ -f "$out/mixed-${mb}MB.dxf" ] ||
    python3 ../shared/bench/gen_dxf.py "$out/mixed-${mb}MB.dxf" --size-mb "$mb" > /dev/null
  drawings+=("$out/gen-${mb}MB.dxf" "$out/mixed-${mb}MB.dxf")
done

# Fresh memory costs more in some minutes than in others: the figures need it.
probe=build/release/bench/vessik_memory_probe
[ ! -x "$probe" ] || "$probe"

python3 - "$tool" "$out/scaling-out.txt" "$runs" "${drawings[@]}" <<'PY'
import os, statistics, sys, time

tool, target, runs, files = sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4:]
cores = len(os.sched_getaffinity(0))


def run(path, one_core):
    """Seconds and peak resident bytes of one run of the tool to a file."""
    start = time.monotonic()
    pid = os.fork()
    if pid == 0:
        if one_core:
            os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
        os.execv(tool, [tool, "-o", target, path])
    _, status, usage = os.wait4(pid, 0)
    seconds = time.monotonic() - start
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit(f"{path}: the tool failed")
    return seconds, usage.ru_maxrss * 1024


print(f"{cores} cores usable; median of {runs} runs; text written to a file")
print(f"{'drawing':18} {'MB':>6} {'text MB':>8} {'cores':>5} {'seconds':>8} "
      f"{'s per 100 MB':>12} {'peak MB':>8} {'peak/file':>9}")
for path in files:
    size = os.path.getsize(path)
    for one_core in (True, False):
        if not one_core and cores < 2:
            continue
        samples = [run(path, one_core) for _ in range(runs)]
        seconds = statistics.median(s for s, _ in samples)
        peak = statistics.median(p for _, p in samples)
        text = os.path.getsize(target)
        print(f"{os.path.basename(path):18} {size/1e6:6.1f} {text/1e6:8.1f} "
              f"{1 if one_core else cores:5} {seconds:8.3f} {seconds/size*1e8:12.3f} "
              f"{peak/1e6:8.1f} {peak/size:9.2f}")
os.remove(target)
PY
