#!/usr/bin/python3
"""A complete plugin in Python 3, standard library only: the temperatures that the host measures.

To start your own from it, change the function `check`. Install it under the name that its report
shall have, and give it an entry in the configuration store, without which the daemon skips it:

    install -m 755 temperature.py /usr/lib/korvex/sentrel/plugins/bin/temperature
    echo '{"enabled": true, "frequency": "fast", "log_level": "info"}' \
        > /etc/korvex/tabulon/oru/health/temperature.json

then restart the daemon, which runs:

    /usr/lib/.../temperature ++group=sentrel-plugins,mem=64 -u http://localhost:9996 --loglevel=info
"""

import datetime
import http.client
import json
import os
import sys
import time
import urllib.parse

PLUGIN_DIRECTORY = "/usr/lib/korvex/sentrel/plugins/bin/"
OK, WARNING, ERROR, NONE, UNKNOWN = range(5)  # the status codes of a report
DEFAULTS = {"warning": 80, "critical": 95}  # degrees Celsius

SCRIPT = os.path.abspath(sys.argv[0])  # the plugin's file, with the host root before it
NAME = os.path.basename(SCRIPT)  # the report is called like the plugin


def read_limits():
    """The host's own limits over the defaults. The host's files are below the directory in which
    the plugin directory lies."""
    root, found, _ = SCRIPT.rpartition(PLUGIN_DIRECTORY)
    path = f"{root if found else ''}/etc/korvex/sentrel/checks/{NAME}.json"
    try:
        with open(path, encoding="utf-8") as file:
            return {**DEFAULTS, **json.load(file)}
    except FileNotFoundError:
        return DEFAULTS
    except (OSError, ValueError, TypeError) as problem:
        raise RuntimeError(f"{path}: {problem}; correct or remove this file") from problem


def check(limits):
    """What is to be reported: the status, its reason in words, and the metrics."""
    metrics = {}
    base = "/sys/class/thermal"
    for zone in sorted(os.listdir(base)) if os.path.isdir(base) else []:
        try:
            with open(f"{base}/{zone}/temp", encoding="ascii") as file:
                metrics[zone] = {"value": int(file.read()) / 1000, "unit": "°C", **limits}
        except (OSError, ValueError):
            pass  # no sensor, or one that does not answer now
    if not metrics:
        return NONE, "this host measures no temperature", metrics
    hottest = max(metrics, key=lambda zone: metrics[zone]["value"])
    value = metrics[hottest]["value"]
    status = ERROR if value >= limits["critical"] else WARNING if value >= limits["warning"] else OK
    return status, f"the hottest sensor, {hottest}, measures {value} °C", metrics


def make_report():
    """A check that fails is reported too, with the status unknown."""
    try:
        status, reason, metrics = check(read_limits())
    except Exception as problem:  # whatever it is, somebody shall hear of it
        status, reason, metrics = UNKNOWN, str(problem), {}
        print(f"{NAME}: {problem}", file=sys.stderr)
    now = datetime.datetime.now(datetime.timezone.utc)
    return {
        "structured": {"name": NAME, "time": now.isoformat(timespec="seconds"), "status": status},
        "unstructured": {"reason": reason, "metrics": metrics},
    }


def post(url, document):
    """The status of the intake's answer. Raises OSError or http.client.HTTPException."""
    address = urllib.parse.urlsplit(url)
    connection = http.client.HTTPConnection(address.hostname, address.port, timeout=8)
    try:
        body = json.dumps(document).encode()
        connection.request("POST", f"/{NAME}", body, {"Content-Type": "application/json"})
        return connection.getresponse().status
    finally:
        connection.close()


def main():
    if len(sys.argv) < 4 or sys.argv[2] != "-u":
        usage = "PLUGIN ++group=sentrel-plugins,mem=MEGABYTES -u URL [--loglevel=LEVEL]"
        print(f"{NAME}: usage: {usage}", file=sys.stderr)
        return 2
    report = make_report()
    for last_try in (False, True):  # within the plugin's 30 seconds
        try:
            status = post(sys.argv[3], report)
            problem = f"the intake answered {status}"
        except (OSError, http.client.HTTPException) as error:
            status, problem = 500, str(error)
        if status == 200:
            return 0
        if status < 500 or last_try:  # what is refused is refused again
            break
        time.sleep(1)
    print(f"{NAME}: the report is not stored: {problem}", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
