#!/bin/sh
# @NAME@: a plugin in sh. It checks one thing, posts one report and exits. The daemon runs it as
#
#   .../@NAME@ ++group=sentrel-plugins,mem=40 -u http://localhost:9996 [--loglevel=info]
#
# with an empty environment and sends it SIGTERM after 30 s.

set -u
PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C
export PATH LC_ALL
name=$(basename "$0") # the report has the plugin's name

fail() { # STATUS MESSAGE: one line for the daemon's log
    printf '%s: %s\n' "$name" "$2" >&2
    exit "$1"
}

url='' level=warning
while [ $# -gt 0 ]; do
    case $1 in
        ++group=*) ;; # the memory shared by all plugins
        -u)
            url=${2-}
            [ $# -lt 2 ] || shift
            ;;
        --loglevel=*) level=${1#*=} ;;
        *) fail 2 "unknown argument \"$1\"" ;;
    esac
    shift
done
[ -n "$url" ] || fail 2 'usage: PLUGIN [++group=GROUP] -u URL [--loglevel=LEVEL]'
command -v curl >/dev/null || fail 1 'curl: not found; install the package curl'

# ---- The check: replace it. status is 0 ok, 1 warning, 2 error, 3 none, 4 unknown. ----
warning=80 critical=95 # % of the limit
status=4 reason='cannot read /proc/sys/fs/file-nr' metrics=''
read -r open _ limit <<NUMBERS
$(cat /proc/sys/fs/file-nr 2>/dev/null)
NUMBERS
if [ -n "$limit" ]; then
    used=$((100 * open / limit))
    status=0
    [ "$used" -lt "$warning" ] || status=1
    [ "$used" -lt "$critical" ] || status=2
    reason="$open open files, $used % of the limit"
    metrics="\"open\": $open, \"used\": {\"value\": $used, \"unit\": \"%\", \"warning\": $warning, \"critical\": $critical}"
fi
# ---- End of the check. ----

[ "$level" != debug ] || printf '%s: status %s: %s\n' "$name" "$status" "$reason" >&2

quote() { # TEXT as a JSON string: drops bytes that are not UTF-8, turns control characters into blanks
    printf '"%s"' "$(printf '%s' "$1" | iconv -c -f UTF-8 -t UTF-8 |
        tr '\001-\037\177' ' ' | sed 's/[\\"]/\\&/g')"
}

report() {
    cat <<JSON
{
    "structured": {"name": $(quote "$name"), "time": "$(date -u +%Y-%m-%dT%H:%M:%SZ)", "status": $status},
    "unstructured": {
        "reason": $(quote "$reason"),
        "metrics": {$metrics}
    }
}
JSON
}

# At most two attempts of 10 s each, to stay within the 30 s. Any status but 200 is a failure.
answer=$(report | curl -q --silent --show-error --output /dev/null --write-out '%{http_code}' \
    --max-time 10 --retry 1 --retry-connrefused --noproxy '*' \
    --header 'Content-Type: application/json' --data-binary @- "$url/$name") ||
    fail 1 'cannot post the report'
[ "$answer" = 200 ] || fail 1 "report not stored: the intake answered $answer"
