#!/bin/sh
# A complete plugin in POSIX sh with curl: the load average of the host, judged by its processors.
# To start your own from it, change the part between the two lines of dashes.
#
# Install it under the name that its report shall have, and give it an entry in the configuration
# store, without which the daemon skips it:
#
#   install -m 755 loadavg.sh /usr/lib/korvex/sentrel/plugins/bin/loadavg
#   echo '{"enabled": true, "frequency": "fast", "log_level": "info"}' \
#       > /etc/korvex/tabulon/oru/health/loadavg.json
#
# then restart the daemon, which runs:
#
#   /usr/lib/.../loadavg ++group=sentrel-plugins,mem=64 -u http://localhost:9996 --loglevel=info

set -u
PATH=/usr/sbin:/usr/bin:/sbin:/bin # the environment is empty
export PATH

name=$(basename "$0") # the report is called like the plugin

fail() { # STATUS MESSAGE: one line for the daemon's log
    echo "$name: $2" >&2
    exit "$1"
}

[ "${2-}" = -u ] || fail 2 'usage: PLUGIN ++group=sentrel-plugins,mem=MEGABYTES -u URL [--loglevel=LEVEL]'
url=${3-}

# The host's files are below the directory in which the plugin directory lies; for "/" this is empty.
root=${0%/usr/lib/korvex/sentrel/plugins/bin/*}
[ "$root" != "$0" ] || root=

# Own thresholds, if the administrator has set some: FACTOR= in this file.
factor=2
settings=$root/etc/korvex/sentrel/checks/$name.conf
if [ -r "$settings" ]; then
    factor=$(sed -n 's/^FACTOR=\([0-9][0-9]*\)$/\1/p' "$settings")
fi

# ---------------------------------------------------------------------------------------------
# Find out: status is 0 ok, 1 warning, 2 error, 3 none (the host lacks it), 4 unknown.
metrics=
if [ -z "$factor" ]; then
    status=4
    reason='the settings have no line FACTOR=NUMBER; correct or remove this file'
    echo "$name: $settings: $reason" >&2
elif read -r load _ </proc/loadavg && processors=$(getconf _NPROCESSORS_ONLN); then
    limit=$((processors * factor))
    reason="the load average is $load with $processors processors"
    status=0
    [ "${load%.*}" -lt "$limit" ] || status=1
    metrics="\"load\": {\"value\": $load, \"warning\": $limit}"
else
    status=3
    reason='this host has no load average'
fi
# ---------------------------------------------------------------------------------------------

# The texts above have no quotes, backslashes or control characters, so they need no escaping.
report=$(
    cat <<JSON
{
    "structured": {"name": "$name", "time": "$(date -u +%Y-%m-%dT%H:%M:%S+00:00)", "status": $status},
    "unstructured": {"reason": "$reason", "metrics": {$metrics}}
}
JSON
)

# One further try, and an end before the plugin's 30 seconds are over. Any answer but 200 is a failure.
answer=$(
    printf '%s' "$report" | curl -q --silent --show-error --output /dev/null --write-out '%{http_code}' \
        --max-time 10 --retry 1 --retry-connrefused --noproxy '*' \
        --header 'Content-Type: application/json' --data-binary @- "$url/$name"
) || fail 1 'the intake cannot be reached'
[ "$answer" = 200 ] || fail 1 "the intake answered $answer"
