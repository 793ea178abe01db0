#!/usr/bin/env bash
# Peak memory of the vessik tool against the size of its input.
#
#   bash bench/peak_memory.sh [FILE.dxf ...]
#
# With no file it generates drawings of 10, 50 and 100 MB (with and without curves)
# into a temporary folder. Needs the release build (build/release) and python3.
set -euo pipefail
cd "$(dirname "$0")/.."

tool=build/release/cli/vessik
gen=build/release/bench/vessik_gen_drawing
if [ ! -x "$tool" ]; then
  echo "error: $tool not found; build the release preset first" >&2
  exit 1
fi

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
  tmp=$(mktemp -d)
  trap 'rm -rf "$tmp"' EXIT
  for mb in 10 50 100; do
    "$gen" "$mb" "$tmp/drawing-${mb}MB.dxf" > /dev/null
    "$gen" "$mb" "$tmp/drawing-${mb}MB-nocurves.dxf" --no-curves > /dev/null
    files+=("$tmp/drawing-${mb}MB.dxf" "$tmp/drawing-${mb}MB-nocurves.dxf")
  done
fi

python3 - "$tool" "${files[@]}" <<'PY'
import os, sys, time

tool, files = sys.argv[1], sys.argv[2:]
print(f"{'file':34} {'size MB':>8} {'output MB':>10} {'seconds':>8} {'max RSS MB':>11} {'RSS/size':>9}")
for path in files:
    size = os.path.getsize(path)
    start = time.monotonic()
    read_end, write_end = os.pipe()
    pid = os.fork()
    if pid == 0:
        os.close(read_end)
        os.dup2(write_end, 1)
        os.execv(tool, [tool, path])
    os.close(write_end)
    out_bytes = 0
    while chunk := os.read(read_end, 1 << 20):
        out_bytes += len(chunk)
    os.close(read_end)
    # The resource usage of this one child: its own peak resident set.
    _, status, usage = os.wait4(pid, 0)
    seconds = time.monotonic() - start
    code = os.waitstatus_to_exitcode(status)
    name = os.path.basename(path)
    if code != 0:
        print(f"{name:34} failed with status {code}")
        continue
    rss = usage.ru_maxrss * 1024  # kilobytes on Linux
    print(f"{name:34} {size/1e6:8.1f} {out_bytes/1e6:10.1f} {seconds:8.2f} "
          f"{rss/1e6:11.1f} {rss/size:9.2f}")
PY
