#!/bin/sh
# Runs a command in a namespace whose monotonic clock reaches 2^32 ms in five seconds, or as it is where there can be none.
up=$(sed 's/[. ].*//' /proc/uptime)
if error=$(unshare --time --monotonic 1 --fork true 2>&1); then
    exec unshare --time --monotonic $((4294962 - up)) --fork "$@"
fi
echo "2^32 ms crossed: skipped: $error"
exec "$@"
