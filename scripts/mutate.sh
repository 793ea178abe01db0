#!/usr/bin/env bash
# Mutation check: does the test suite notice small wrong changes to the library?
#
# Each line of a mutation list (scripts/mutations.txt by default) is one small
# change, a single sed expression applied to one file:
#
#   path<TAB>sed expression<TAB>short description
#
# The script copies the repository's files (those git tracks or would track,
# as they stand in the working tree, without build/) to a scratch folder,
# configures one release build there and builds it once. Then, for each
# mutation, it applies the expression, checks that the file changed, rebuilds
# the library, the tool and the test programs, and runs the test programs,
# quickest first, until one fails: that one "killed" the mutation. A mutation
# that every program passes "survived"; one that does not compile is "build
# failed"; one whose expression changed nothing is "not applied". The file is
# restored before the next mutation. The last column names the killer.
#
# It is slow (a rebuild and a test run per mutation) and is not part of CI; run
# it by hand after changing tests or the list:
#
#   bash scripts/mutate.sh                      # every mutation
#   bash scripts/mutate.sh -m 'Lickety|findspan' # those whose line matches
#   bash scripts/mutate.sh -k                   # run every test program
#
# The corpus drawings are found through VESSIK_CORPUS_DIR, else in
# ../shared/corpus next to the repository, else /work/shared/corpus.
set -euo pipefail

usage() {
  cat <<'USAGE'
Usage: scripts/mutate.sh [OPTIONS]

  -l, --list FILE      mutation list (default: scripts/mutations.txt)
  -m, --match REGEX    run only the mutations whose list line matches REGEX
                       (extended regular expression, on path and description)
  -k, --keep-going     run every test program on each mutation, not only up to
                       the first that fails, and name all that fail
  -w, --work DIR       scratch folder (default: a new temporary folder, removed
                       at the end unless --keep is given)
      --keep           keep the scratch folder
  -j, --jobs N         build jobs (default: 2)
  -t, --timeout SECS   time limit of one test program run (default: 600)
  -o, --out FILE       also write the table to FILE
  -h, --help           this text
USAGE
}

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
repo=$(cd "$script_dir/.." && pwd)
list="$script_dir/mutations.txt"
match=""
keep_going=0
work=""
keep=0
jobs=2
timeout_secs=600
out_file=""

while [[ $# -gt 0 ]]; do
  case "$1" in
    -l | --list) list=$2; shift 2 ;;
    -m | --match) match=$2; shift 2 ;;
    -k | --keep-going) keep_going=1; shift ;;
    -w | --work) work=$2; keep=1; shift 2 ;;
    --keep) keep=1; shift ;;
    -j | --jobs) jobs=$2; shift 2 ;;
    -t | --timeout) timeout_secs=$2; shift 2 ;;
    -o | --out) out_file=$2; shift 2 ;;
    -h | --help) usage; exit 0 ;;
    *) echo "mutate.sh: unknown argument: $1" >&2; usage >&2; exit 2 ;;
  esac
done

list=$(realpath "$list")
[[ -f "$list" ]] || { echo "mutate.sh: no mutation list $list" >&2; exit 2; }
if [[ -n "$out_file" ]]; then
  touch "$out_file"
  out_file=$(realpath "$out_file")
fi

# The corpus, as an absolute path: the copy lives elsewhere, so the folder the
# build would guess from its own place does not exist.
corpus=${VESSIK_CORPUS_DIR:-}
if [[ -z "$corpus" ]]; then
  for candidate in "$repo/../shared/corpus" /work/shared/corpus; do
    if [[ -d "$candidate" ]]; then
      corpus=$candidate
      break
    fi
  done
fi
if [[ -n "$corpus" && -d "$corpus" ]]; then
  corpus=$(realpath "$corpus")
  export VESSIK_CORPUS_DIR="$corpus"
else
  echo "mutate.sh: warning: no corpus folder found; the corpus tests will skip" >&2
fi

if [[ -z "$work" ]]; then
  work=$(mktemp -d "${TMPDIR:-/tmp}/vessik-mutate.XXXXXX")
else
  mkdir -p "$work"
  work=$(realpath "$work")
fi
cleanup() {
  if [[ $keep -eq 0 ]]; then
    rm -rf "$work"
  else
    echo "scratch folder kept: $work" >&2
  fi
}
trap cleanup EXIT

src="$work/src"
build="$work/build"
logs="$work/logs"
mkdir -p "$src" "$logs"

echo "== copying $repo to $src" >&2
# Tracked files and new files not ignored, as they stand in the working tree.
incoming="$work/incoming"
rm -rf "$incoming"
mkdir -p "$incoming"
(cd "$repo" && git ls-files -z --cached --others --exclude-standard |
  while IFS= read -r -d '' f; do
    if [[ -f "$f" && "$f" != build/* ]]; then printf '%s\0' "$f"; fi
  done | tar --null -cf - -T -) | tar -xf - -C "$incoming"
# Only the files that differ are written, with a new time stamp: a reused
# scratch folder then rebuilds what changed, and a file never goes back to an
# older time stamp than the objects built from a mutant of it.
(cd "$incoming" && find . -type f -print0) | while IFS= read -r -d '' f; do
  if ! cmp -s "$incoming/$f" "$src/$f"; then
    mkdir -p "$(dirname "$src/$f")"
    cp "$incoming/$f" "$src/$f"
  fi
done
rm -rf "$incoming"

echo "== configuring and building (release) in $build" >&2
cmake -S "$src" -B "$build" -G "Unix Makefiles" -DCMAKE_BUILD_TYPE=Release \
  -DVESSIK_WERROR=OFF -DVESSIK_BUILD_COM=OFF -DVESSIK_BUILD_PYTHON=OFF \
  -DVESSIK_BUILD_BENCH=OFF -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST \
  >"$logs/configure.log" 2>&1 ||
  { echo "mutate.sh: configure failed, see $logs/configure.log" >&2; exit 1; }

build_all() {
  cmake --build "$build" -j "$jobs" >"$1" 2>&1
}

build_all "$logs/baseline-build.log" ||
  { echo "mutate.sh: the unmutated build failed, see $logs/baseline-build.log" >&2; exit 1; }

mapfile -t programs < <(find "$build/tests" -maxdepth 1 -type f -name 'test_*' -perm -u+x | sort)
[[ ${#programs[@]} -gt 0 ]] || { echo "mutate.sh: no test programs built" >&2; exit 1; }

# Runs one test program; 0 when it passes.
run_program() {
  local program=$1 log=$2
  (cd "$build/tests" && timeout "$timeout_secs" "$program" --gtest_brief=1 \
    --gtest_fail_fast >"$log" 2>&1)
}

echo "== unmutated test run" >&2
declare -A seconds=()
for program in "${programs[@]}"; do
  name=$(basename "$program")
  start=$(date +%s%N)
  if ! run_program "$program" "$logs/baseline-$name.log"; then
    echo "mutate.sh: $name fails without any mutation, see $logs/baseline-$name.log" >&2
    exit 1
  fi
  seconds[$name]=$((($(date +%s%N) - start) / 1000000))
  echo "   $name: ${seconds[$name]} ms" >&2
done
# Quickest first: most mutations die in the first program that looks at them.
mapfile -t programs < <(for program in "${programs[@]}"; do
  printf '%s %s\n' "${seconds[$(basename "$program")]}" "$program"
done | sort -n | cut -d' ' -f2-)

results=()
killed=0
survived=0
other=0
number=0
run=0
while IFS= read -r line || [[ -n "$line" ]]; do
  [[ -z "$line" || "$line" == \#* ]] && continue
  # Numbered by place in the list, whether or not --match selects it.
  number=$((number + 1))
  if [[ -n "$match" ]] && ! grep -qE -- "$match" <<<"$line"; then continue; fi
  run=$((run + 1))
  IFS=$'\t' read -r path expression description <<<"$line"
  label="$path: $description"
  file="$src/$path"
  echo "== [$number] $label" >&2
  if [[ ! -f "$file" ]]; then
    results+=("$number|$label|not applied|no such file")
    other=$((other + 1))
    continue
  fi
  backup="$work/original"
  cp "$file" "$backup"
  if ! sed -i -e "$expression" "$file" 2>"$logs/sed.log" || cmp -s "$file" "$backup"; then
    cat "$backup" >"$file"
    results+=("$number|$label|not applied|")
    other=$((other + 1))
    continue
  fi
  verdict=survived
  killers=""
  if ! build_all "$logs/build-$number.log"; then
    verdict="build failed"
  else
    for program in "${programs[@]}"; do
      name=$(basename "$program")
      if ! run_program "$program" "$logs/run-$number-$name.log"; then
        verdict=killed
        killers="${killers:+$killers, }$name"
        [[ $keep_going -eq 1 ]] || break
      fi
    done
  fi
  # Written back, not moved with its old time stamp: make must see the change.
  cat "$backup" >"$file"
  case "$verdict" in
    killed) killed=$((killed + 1)) ;;
    survived) survived=$((survived + 1)) ;;
    *) other=$((other + 1)) ;;
  esac
  echo "   $verdict${killers:+ by $killers}" >&2
  results+=("$number|$label|$verdict|$killers")
done <"$list"

table() {
  printf '%-4s %-90s %-13s %s\n' "#" "mutation" "result" "killed by"
  local row n label verdict killers
  for row in "${results[@]}"; do
    IFS='|' read -r n label verdict killers <<<"$row"
    printf '%-4s %-90s %-13s %s\n' "$n" "$label" "$verdict" "$killers"
  done
  printf '\n%d mutations: %d killed, %d survived, %d not applied or not built\n' \
    "$run" "$killed" "$survived" "$other"
}
table
if [[ -n "$out_file" ]]; then table >"$out_file"; fi
# Non-zero when a mutation survived, so that a wrapper can tell.
[[ $survived -eq 0 ]]
