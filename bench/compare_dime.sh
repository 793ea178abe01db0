#!/usr/bin/env bash
# The yardstick: the vessik tool against a peer reader (Debian's libdime-dev,
# reading and exploding blocks, no text) on the reference drawings of
# ../shared/bench, timed side by side with hyperfine (median of 5), with the
# tool's peak memory.
#
#   bash bench/compare_dime.sh [SIZE_MB]     (default 100)
#
# Needs the release build (build/release) and the Debian packages libdime-dev and
# hyperfine (installed here when missing). Absolute times drift on shared
# machines: compare the two in one run, and quote their ratio.
set -euo pipefail
cd "$(dirname "$0")/.."

size="${1:-100}"
shared=../shared/bench
tool=build/release/cli/vessik
out=build/yardstick
if [ ! -x "$tool" ]; then
  echo "error: $tool not found; build the release preset first" >&2
  exit 1
fi
for pkg in libdime-dev hyperfine time; do
  if [ "$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null)" != "install ok installed" ]; then
    sudo_cmd=()
    [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
    DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -q "$pkg" > /dev/null
  fi
done

mkdir -p "$out"
if [ ! -x "$out/dime_explode" ] || [ "$shared/dime_explode.cpp" -nt "$out/dime_explode" ]; then
  g++ -O2 -std=c++17 -o "$out/dime_explode" "$shared/dime_explode.cpp" -ldime
fi
mixed="$out/mixed-${size}MB.dxf"
splines="$out/splines-2000.dxf"
[ -f "$mixed" ] || python3 "$shared/gen_dxf.py" "$mixed" --size-mb "$size" > /dev/null
[ -f "$splines" ] || python3 "$shared/gen_dxf.py" "$splines" --size-mb 0 --splines 2000 > /dev/null

# Fresh memory costs more in some minutes than in others: the figures need it.
probe=build/release/bench/vessik_memory_probe
[ ! -x "$probe" ] || "$probe"
echo "== $(nproc) cores; $(basename "$mixed"): $(du -m "$mixed" | cut -f1) MB"
hyperfine -N -w 1 -r 5 --export-json "$out/mixed.json" \
  "$out/dime_explode $mixed" "$tool -o $out/out.txt $mixed"
python3 - "$out/mixed.json" <<'PY'
import json, sys
r = json.load(open(sys.argv[1]))["results"]
dime, tool = (x["median"] for x in r)
print("median: dime %.3f s, vessik %.3f s, vessik / dime = %.2f" % (dime, tool, tool / dime))
PY
/usr/bin/time -f "vessik peak memory: %M KB" "$tool" -o "$out/out.txt" "$mixed"

echo "== $(basename "$splines"): 2,000 cubic splines, tolerance 0.01, on one core and on all"
hyperfine -N -w 1 -r 5 --export-json "$out/splines.json" \
  "taskset -c 0 $tool -o $out/out.txt $splines" "$tool -o $out/out.txt $splines"
python3 - "$out/splines.json" <<'PY'
import json, sys
for r, cores in zip(json.load(open(sys.argv[1]))["results"], ("one core", "all cores")):
    print("%s: median %.3f s, %.0f splines/s" % (cores, r["median"], 2000 / r["median"]))
PY
