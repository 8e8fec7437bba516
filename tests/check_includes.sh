#!/usr/bin/env bash
# Holds the rule which layer may include which: each line names a layer and the places it may include with quotes.
set -u
cd "$1" || exit 2

failed=0
while read -r layer allowed; do
    pattern="^[^:]+:#include \"(${allowed// /|})[/.]"
    found=$(grep -rn --include='*.h' --include='*.cpp' '^#include "' "$layer" | sed -E 's/^([^:]+):[0-9]+:/\1:/' | grep -vE "$pattern")
    if [ -n "$found" ]; then
        printf '%s/ may include only %s:\n%s\n' "$layer" "$allowed" "$found"
        failed=1
    fi
done <<'RULES'
platform platform
plugin plugin platform
linux/base linux/base platform
linux/log linux/log linux/base platform
linux/bus linux/bus linux/base platform
linux/account linux/account linux/base platform
linux/services linux/services linux/bus linux/base platform
linux/datashare linux/datashare linux/services linux/bus linux/base platform
linux/apps linux/apps linux/datashare linux/services linux/bus linux/base platform
linux/profile linux/profile linux/base platform
linux/device linux/device linux/base platform
linux/desktop linux/desktop linux/bus linux/base platform
linux/network/link linux/network/link linux/account linux/base platform
linux/network/discovery linux/network/discovery linux/network/link linux/bus linux/base platform
linux/network/presence linux/network/presence linux/network/link linux/desktop linux/log linux/base platform
linux/network/channel linux/network/channel linux/network/presence linux/network/link linux/account linux/base platform
linux/network/control linux/network/control linux/network/presence linux/network/link linux/device linux/base platform
linux/network/profile linux/network/profile linux/network/presence linux/network/link linux/profile linux/base platform
linux/network linux platform
linux linux platform
client client linux/apps/extension_name linux/base linux/bus linux/datashare platform
cli cli client companion/core companion/placements linux/account linux/base linux/bus platform
companion/core companion/core companion/desktop/desktop platform
companion/desktop companion/desktop companion/core linux/base platform
companion/placements companion/placements companion/core platform
companion/x11 companion/x11 companion/desktop companion/core linux/desktop/x_link linux/base platform
companion/program companion client linux/base platform
samples samples client linux/base linux/bus platform
RULES
if grep -rnE --include='*.h' --include='*.cpp' '#include <' platform | grep -vE '#include <[a-z_]+(\.h)?>' ; then
    echo "platform/ may include the standard library alone"
    failed=1
fi
exit $failed
