#!/usr/bin/python3
"""@NAME@: a plugin in Python. It checks one thing, posts one report and exits. The daemon runs it as

    .../@NAME@ ++group=sentrel-plugins,mem=40 -u http://localhost:9996 [--loglevel=info]

with an empty environment and sends it SIGTERM after 30 s. The module sentrel (package python3-sentrel; see
"pydoc3 sentrel") reads the command line and /etc/korvex/sentrel/checks/@NAME@.json, and posts the report.
"""

import sentrel


def check(settings: sentrel.Settings, report: sentrel.Report) -> None:
    """The check: replace it. An exception makes the report UNKNOWN, with its text as the reason."""
    limits = settings.limits("used", sentrel.Limits(warning=80, critical=95))  # % of the kernel's limit
    settings.refuse_unknown()
    with open("/proc/sys/fs/file-nr", encoding="ascii") as file:
        count, _, limit = (int(word) for word in file.read().split())
    used = 100 * count / limit
    report.add_metric("open", count)
    report.judge("open files", "used", used, "%", limits)
    report.summarize(f"{count} open files, {sentrel.words(used)} % of the limit")


if __name__ == "__main__":
    raise SystemExit(sentrel.main(check))
