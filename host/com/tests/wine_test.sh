#!/bin/sh
# Runs the tests of the COM server under Wine, headless, in a prefix of its own
# inside the build tree.
#
#   wine_test.sh setup                 fresh prefix, registration, expected texts
#   wine_test.sh vbs SCRIPT            a VBScript test under cscript
#   wine_test.sh exe PROGRAM           a Windows test program of the cross build
#   wine_test.sh unregister SCRIPT     DllUnregisterServer, then SCRIPT checks it;
#                                      the prefix is removed afterwards
#
# Environment (set by CTest): VESSIK_COM_DIR (cross build), VESSIK_COM_WORK
# (prefix and expected texts), VESSIK_EXPECT (native helper), VESSIK_CORPUS_DIR,
# VESSIK_HOST_DRAWINGS, VESSIK_WINE.
#
# Every test prints "N passed, N failed"; a run passes only with that line, no
# failure and a zero exit code (cscript of Wine 8 exits 0 even when a script
# breaks off).
set -eu

mode=$1
shift

: "${VESSIK_WINE:=wine}"
work=$VESSIK_COM_WORK
export WINEPREFIX="$work/prefix"
export WINEARCH=win64
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY
# Wine's locale follows these: English (United States), code page 1252.
export LANG=C LC_ALL=C

wineserver_bin=$(command -v wineserver || echo /usr/lib/wine/wineserver64)
trap '"$wineserver_bin" -k >/dev/null 2>&1 || true' EXIT

# A Linux path as Wine's Z: drive sees it.
winpath() {
  printf 'Z:%s' "$1" | tr '/' '\\'
}

dll=$(winpath "$VESSIK_COM_DIR/Halmor.dll")

# The settings of every comparison; tests/parse.vbs holds the same numbers.
settings="0.01 0 0.01 0.001 100 4"

# Runs a command under Wine and judges its closing line.
judge() {
  out="$work/last-output.txt"
  status=0
  "$@" >"$out" 2>&1 || status=$?
  tr -d '\r' <"$out"
  if [ "$status" -ne 0 ]; then
    echo "exit code $status"
    return 1
  fi
  if ! tr -d '\r' <"$out" | grep -Eq '^[0-9]+ passed, 0 failed'; then
    echo "no line 'N passed, 0 failed'"
    return 1
  fi
  if tr -d '\r' <"$out" | grep -Eq '^0 passed'; then
    echo "nothing was tested"
    return 1
  fi
}

case $mode in
  setup)
    rm -rf "$work"
    mkdir -p "$work"
    "$VESSIK_WINE" wineboot --init >"$work/wineboot.log" 2>&1
    # Wine's null display driver: windows (the message box, the pump's) exist
    # without an X server.
    "$VESSIK_WINE" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f \
      >>"$work/wineboot.log" 2>&1
    "$VESSIK_WINE" regsvr32 /s "$dll"
    # Expected texts of the corpus drawings, made by the library natively.
    list="$work/drawings.lst"
    : >"$list"
    i=0
    skipped=0
    if [ -d "$VESSIK_CORPUS_DIR" ]; then
      while IFS= read -r line; do
        case $line in '' | '#'*) continue ;; esac
        drawing="$VESSIK_CORPUS_DIR/$line"
        if [ ! -f "$drawing" ]; then
          skipped=$((skipped + 1))
          continue
        fi
        # shellcheck disable=SC2086
        "$VESSIK_EXPECT" "$drawing" "$work/expect$i" $settings
        printf '%s|%s\r\n' "$(winpath "$drawing")" "$(winpath "$work/expect$i")" >>"$list"
        i=$((i + 1))
      done <"$VESSIK_HOST_DRAWINGS"
    else
      echo "no corpus at $VESSIK_CORPUS_DIR: the corpus comparisons are skipped"
    fi
    echo "prefix ready, $i expected texts written, $skipped drawings missing"
    # CI sets VESSIK_NO_SKIP: there a missing corpus is a failure, not a skip.
    if [ -n "${VESSIK_NO_SKIP:-}" ] && [ "${VESSIK_NO_SKIP}" != 0 ] &&
      { [ "$i" -eq 0 ] || [ "$skipped" -gt 0 ]; }; then
      echo "VESSIK_NO_SKIP is set and corpus drawings are missing" >&2
      exit 1
    fi
    ;;
  vbs)
    judge "$VESSIK_WINE" cscript //nologo "$(winpath "$1")" "$(winpath "$work")"
    ;;
  exe)
    judge "$VESSIK_WINE" "$VESSIK_COM_DIR/$1" "$(winpath "$work")"
    ;;
  unregister)
    "$VESSIK_WINE" regsvr32 /u /s "$dll"
    result=0
    judge "$VESSIK_WINE" cscript //nologo "$(winpath "$1")" "$(winpath "$work")" || result=$?
    # The prefix takes some 700 MB: it goes unless VESSIK_KEEP_WINEPREFIX is set.
    if [ -z "${VESSIK_KEEP_WINEPREFIX:-}" ]; then
      "$wineserver_bin" -k >/dev/null 2>&1 || true
      "$wineserver_bin" -w >/dev/null 2>&1 || true
      rm -rf "$WINEPREFIX"
    fi
    exit "$result"
    ;;
  *)
    echo "unknown mode $mode" >&2
    exit 2
    ;;
esac
