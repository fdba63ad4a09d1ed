#include "ctl/plugins/template.h"

namespace Ctl {

const std::string_view kShellPlugin = R"sh(#!/bin/sh
# @NAME@: a plugin in sh. It looks at one thing, posts one report and ends. The daemon runs it as
#
#   .../@NAME@ ++group=sentrel-plugins,mem=40 -u http://localhost:9996 [--loglevel=info]
#
# with an empty environment, for 30 s at most, after which it is sent SIGTERM.

set -u
PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C
export PATH LC_ALL
name=$(basename "$0") # the report is called like the plugin

fail() { # STATUS MESSAGE: one line for the daemon's log
    printf '%s: %s\n' "$name" "$2" >&2
    exit "$1"
}

url='' level=warning
while [ $# -gt 0 ]; do
    case $1 in
        ++group=*) ;; # the memory that all plugins share
        -u)
            url=${2-}
            [ $# -lt 2 ] || shift
            ;;
        --loglevel=*) level=${1#*=} ;;
        *) fail 2 "there is no argument \"$1\"" ;;
    esac
    shift
done
[ -n "$url" ] || fail 2 'usage: PLUGIN [++group=GROUP] -u URL [--loglevel=LEVEL]'
command -v curl >/dev/null || fail 1 'curl is missing; install the package curl'

# ---- The check. Change it: status is 0 ok, 1 warning, 2 error, 3 none, 4 unknown. ----
warning=80 critical=95 # % of the limit
status=4 reason='/proc/sys/fs/file-nr cannot be read' metrics=''
read -r open _ limit <<NUMBERS
$(cat /proc/sys/fs/file-nr 2>/dev/null)
NUMBERS
if [ -n "$limit" ]; then
    used=$((100 * open / limit))
    status=0
    [ "$used" -lt "$warning" ] || status=1
    [ "$used" -lt "$critical" ] || status=2
    reason="$open files are open, $used % of the limit"
    metrics="\"open\": $open, \"used\": {\"value\": $used, \"unit\": \"%\", \"warning\": $warning, \"critical\": $critical}"
fi
# ---- The end of the check. ----

[ "$level" != debug ] || printf '%s: status %s: %s\n' "$name" "$status" "$reason" >&2

quote() { # TEXT as a JSON string: without bytes that are not UTF-8, and controls as blanks
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

# At most two tries of 10 s: an end before the 30 s are over. Any answer but 200 is a failure.
answer=$(report | curl -q --silent --show-error --output /dev/null --write-out '%{http_code}' \
    --max-time 10 --retry 1 --retry-connrefused --noproxy '*' \
    --header 'Content-Type: application/json' --data-binary @- "$url/$name") ||
    fail 1 'the report cannot be posted'
[ "$answer" = 200 ] || fail 1 "the report is not stored: the answer is $answer"
)sh";

const std::string_view kPythonPlugin = R"py(#!/usr/bin/python3
"""@NAME@: a plugin in Python 3. It looks at one thing, posts one report and ends. The daemon runs it as

    .../@NAME@ ++group=sentrel-plugins,mem=40 -u http://localhost:9996 [--loglevel=info]

with an empty environment, for 30 s at most, after which it is sent SIGTERM.
"""

import datetime
import http.client
import json
import os
import sys
import time
import urllib.parse

NAME = os.path.basename(sys.argv[0])  # the report is called like the plugin
OK, WARNING, ERROR, NONE, UNKNOWN = range(5)  # the codes of a report's status


def check():
    """The check. Change it: gives the status, its reason in words, and numbers."""
    warning, critical = 80, 95  # % of the limit
    with open("/proc/sys/fs/file-nr", encoding="ascii") as file:
        count, _, limit = (int(word) for word in file.read().split())
    used = round(100 * count / limit, 2)
    status = ERROR if used >= critical else WARNING if used >= warning else OK
    metrics = {
        "open": count,
        "used": {"value": used, "unit": "%", "warning": warning, "critical": critical},
    }
    return status, f"{count} files are open, {used} % of the limit", metrics


def say(text):
    """One line for the daemon's log."""
    print(f"{NAME}: {text}", file=sys.stderr)


def read_arguments(arguments):
    """The intake's URL and the log level. Raises ValueError."""
    url, level = None, "warning"
    rest = iter(arguments)
    for argument in rest:
        if argument == "-u":
            url = next(rest, None)
        elif argument.startswith("--loglevel="):
            level = argument.partition("=")[2]
        elif not argument.startswith("++group="):  # the memory that all plugins share
            raise ValueError(f'there is no argument "{argument}"')
    if not url:
        raise ValueError("usage: PLUGIN [++group=GROUP] -u URL [--loglevel=LEVEL]")
    return url, level


def make_report():
    """A check that fails is reported too: what is not known has the status unknown."""
    try:
        status, reason, metrics = check()
    except Exception as problem:  # whatever it is, somebody shall hear of it
        status, reason, metrics = UNKNOWN, f"the check failed: {problem}", {}
    now = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    return {
        "structured": {"name": NAME, "time": now, "status": status},
        "unstructured": {"reason": reason, "metrics": metrics},
    }


def post(url, report):
    """The status of the answer. Raises OSError or http.client.HTTPException."""
    address = urllib.parse.urlsplit(url)
    connection = http.client.HTTPConnection(address.hostname, address.port, timeout=8)
    try:
        body = json.dumps(report).encode()
        connection.request("POST", f"/{NAME}", body, {"Content-Type": "application/json"})
        return connection.getresponse().status
    finally:
        connection.close()


def main():
    try:
        url, level = read_arguments(sys.argv[1:])
    except ValueError as problem:
        say(problem)
        return 2
    report = make_report()
    if level == "debug":
        say(f"status {report['structured']['status']}: {report['unstructured']['reason']}")
    for tries_left in (1, 0):  # of 8 s each: an end before the 30 s are over
        try:
            status = post(url, report)
            problem = f"the answer is {status}"
        except (OSError, http.client.HTTPException) as error:
            status, problem = 500, str(error)
        if status == 200:
            return 0
        if status < 500:  # what is refused is refused again
            break
        time.sleep(tries_left)
    say(f"the report is not stored: {problem}")
    return 1


if __name__ == "__main__":
    sys.exit(main())
)py";

}  // namespace Ctl
