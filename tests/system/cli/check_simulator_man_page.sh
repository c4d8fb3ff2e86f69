#!/bin/bash
# Each option, fault and word that hlx-simulator's help lists must stand in its man page.
# Usage: check_simulator_man_page.sh PROGRAM MAN_PAGE
set -eu
help=$("$1" classic --help; "$1" replay --help)
page=$(sed 's/\\-/-/g' "$2")
names=$(grep -oE '^  (-[a-z],)?--[a-z-]+' <<<"$help" | grep -oE '\-\-.*'
        sed -n '/^Faults/,$s/^  \([a-z-]*\) .*/\1/p' <<<"$help")
missing=0
for name in $names; do
    grep -qE -- "(^|[^a-z-])$name([^a-z-]|\$)" <<<"$page" && continue
    echo "not in the man page: $name"
    missing=1
done
[ "$(wc -w <<<"$names")" -gt 40 ] || missing=1 # the help was not understood
exit $missing
