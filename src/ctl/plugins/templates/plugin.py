#!/usr/bin/python3
"""@NAME@: a plugin in Python 3. It checks one thing, posts one report and exits. The daemon runs it as

    .../@NAME@ ++group=sentrel-plugins,mem=40 -u http://localhost:9996 [--loglevel=info]

with an empty environment and sends it SIGTERM after 30 s.
"""

import datetime
import http.client
import json
import os
import sys
import time
import urllib.parse

NAME = os.path.basename(sys.argv[0])  # the report has the plugin's name
OK, WARNING, ERROR, NONE, UNKNOWN = range(5)  # the codes of a report's status


def check():
    """The check: replace it. Returns the status, the reason in words, and the metrics."""
    warning, critical = 80, 95  # % of the limit
    with open("/proc/sys/fs/file-nr", encoding="ascii") as file:
        count, _, limit = (int(word) for word in file.read().split())
    used = round(100 * count / limit, 2)
    status = ERROR if used >= critical else WARNING if used >= warning else OK
    metrics = {
        "open": count,
        "used": {"value": used, "unit": "%", "warning": warning, "critical": critical},
    }
    return status, f"{count} open files, {used} % of the limit", metrics


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
        elif not argument.startswith("++group="):  # the memory shared by all plugins
            raise ValueError(f'unknown argument "{argument}"')
    if not url:
        raise ValueError("usage: PLUGIN [++group=GROUP] -u URL [--loglevel=LEVEL]")
    return url, level


def make_report():
    """The document to post. If the check raises an exception, the status is unknown."""
    try:
        status, reason, metrics = check()
    except Exception as problem:  # any failure of the check is reported
        status, reason, metrics = UNKNOWN, f"the check failed: {problem}", {}
    now = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    return {
        "structured": {"name": NAME, "time": now, "status": status},
        "unstructured": {"reason": reason, "metrics": metrics},
    }


def post(url, report):
    """The status of the intake's answer. Raises OSError or http.client.HTTPException."""
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
    for tries_left in (1, 0):  # 8 s each, to stay within the 30 s
        try:
            status = post(url, report)
            problem = f"the intake answered {status}"
        except (OSError, http.client.HTTPException) as error:
            status, problem = 500, str(error)
        if status == 200:
            return 0
        if status < 500:  # a refused report would be refused again
            break
        time.sleep(tries_left)
    say(f"report not stored: {problem}")
    return 1


if __name__ == "__main__":
    sys.exit(main())
