#!/usr/bin/env bash
# Renders the pictures of README.md: examples/shapes.dxf to docs/shapes.png, and
# examples/ellipse.dxf in both modes to docs/ellipse-default.png and
# docs/ellipse-true.png. The built tool writes the SVG (--svg), headless Chromium
# draws it at its natural size. Build the tool first (cmake --build build/release
# --target vessik_cli); VESSIK names another build of it, VESSIK_CHROMIUM another
# browser.
set -euo pipefail
cd "$(dirname "$0")/.."

tool="${VESSIK:-build/release/cli/vessik}"
browser="${VESSIK_CHROMIUM:-chromium}"
if [ ! -x "$tool" ]; then
  echo "error: $tool is not built (cmake --build build/release --target vessik_cli)" >&2
  exit 1
fi
if ! command -v "$browser" >/dev/null 2>&1; then
  echo "error: $browser not found (Debian: chromium)" >&2
  exit 1
fi

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir -p docs

# render DRAWING PNG [TOOL OPTIONS...]
render() {
  local drawing="$1" png="$2"
  shift 2
  "$tool" --svg "$@" "$drawing" -o "$work/picture.svg"
  # The window is the SVG's natural size, so that the page is the picture.
  local width height
  width="$(sed -n 's/^<svg[^>]* width="\([0-9]*\)".*/\1/p' "$work/picture.svg")"
  height="$(sed -n 's/^<svg[^>]* height="\([0-9]*\)".*/\1/p' "$work/picture.svg")"
  # The sandbox refuses to start as root (and in many containers); the page is a
  # local file of our own.
  timeout 60 "$browser" --headless --no-sandbox --disable-gpu --hide-scrollbars --no-first-run \
    --disable-extensions --disable-dev-shm-usage --user-data-dir="$work/profile" \
    --window-size="$width,$height" --screenshot="$work/picture.png" \
    "file://$work/picture.svg" >"$work/browser.log" 2>&1 ||
    { cat "$work/browser.log" >&2; exit 1; }
  cp "$work/picture.png" "$png"
  echo "$png: ${width}x${height}, $(wc -c <"$png") bytes"
}

render examples/shapes.dxf docs/shapes.png
render examples/ellipse.dxf docs/ellipse-default.png
render examples/ellipse.dxf docs/ellipse-true.png --true-geometry
