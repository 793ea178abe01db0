#!/usr/bin/env bash
# Installs the Debian packages listed in scripts/debian-packages.txt that are not
# installed yet. Lines may carry comments after a "#".
set -euo pipefail

list="$(dirname "$0")/debian-packages.txt"
missing=()
while IFS= read -r line || [ -n "$line" ]; do
  pkg="${line%%#*}"
  pkg="$(echo "$pkg" | tr -d '[:space:]')"
  [ -z "$pkg" ] && continue
  if [ "$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null)" != "install ok installed" ]; then
    missing+=("$pkg")
  fi
done < "$list"

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
  as_root=()
elif command -v sudo >/dev/null 2>&1; then
  as_root=(sudo)
else
  echo "error: missing packages (${missing[*]}) and neither root nor sudo" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update
"${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
