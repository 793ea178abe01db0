#!/bin/sh
# Checks the exports and imports of Halmor.dll:
#
#   check_exports.sh OBJDUMP DLL
#
# exactly DllCanUnloadNow, DllGetClassObject, DllRegisterServer and
# DllUnregisterServer are exported, and no runtime DLL of the compiler is needed.
set -eu
objdump=$1
dll=$2
passed=0
failed=0
check() {
  if [ "$1" = "$2" ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf '%s: expected\n%s\ngot\n%s\n' "$3" "$2" "$1"
  fi
}
dump=$("$objdump" -p "$dll")
exports=$(printf '%s\n' "$dump" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' |
  sed -n 's/^[[:space:]]*\[[[:space:]]*[0-9]*\] //p' | sort | tr '\n' ' ')
check "$exports" "DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer " exports
imports=$(printf '%s\n' "$dump" | sed -n 's/^[[:space:]]*DLL Name: //p' | tr 'A-Z' 'a-z' |
  grep -Ev '^(advapi32|kernel32|msvcrt|ole32|oleaut32|user32)\.dll$' || true)
check "$imports" "" "imports beyond the system"
# The type library (an "MSFT" block) and the self-registration mark of the
# version block are in the resources.
typelib=$("$objdump" -s -j .rsrc "$dll" | grep -c 'MSFT' || true)
check "$([ "$typelib" -ge 1 ] && echo yes)" "yes" "type library resource"
mark=$(LC_ALL=C tr -d '\000' <"$dll" | grep -ac 'OLESelfRegister' || true)
check "$([ "$mark" -ge 1 ] && echo yes)" "yes" "OLESelfRegister in the version block"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
