"""A sentrel plugin, except for the check itself.

    #!/usr/bin/python3
    import sentrel

    def check(settings: sentrel.Settings, report: sentrel.Report) -> None:
        limits = settings.limits("load", sentrel.Limits(8, 16))
        settings.refuse_unknown()
        with open("/proc/loadavg", encoding="ascii") as file:
            load = float(file.read().split()[0])
        report.judge("the load", "load", load, limits=limits)
        report.summarize(f"load {sentrel.words(load)}")

    if __name__ == "__main__":
        raise SystemExit(sentrel.main(check))

`main` reads the command line that the daemon passes, opens the check's settings, runs the check and posts its report.
Standard library only; Python 3.9 or later.
"""

from __future__ import annotations

import dataclasses
import datetime
import enum
import fnmatch
import http.client
import json
import math
import os
import re
import sys
import time
import urllib.parse
from typing import Any, Callable, Optional

PLUGIN_DIRECTORY = "/usr/lib/korvex/sentrel/plugins/bin/"
SETTINGS_DIRECTORY = "/etc/korvex/sentrel/checks/"
MAX_REPORT_BYTES = 1048576
MAX_SETTINGS_BYTES = 65536


class Status(enum.IntEnum):
    """The status of a report, in the numbers of the document."""

    OK = 0
    WARNING = 1
    ERROR = 2
    NONE = 3  # the host lacks what the check examines
    UNKNOWN = 4  # the check could not determine the state


_SEVERITY = [Status.OK, Status.NONE, Status.UNKNOWN, Status.WARNING, Status.ERROR]


@dataclasses.dataclass(frozen=True)
class Limits:
    """The values at which a metric becomes a WARNING or an ERROR; None means never."""

    warning: Optional[float] = None
    critical: Optional[float] = None


class Bad(enum.Enum):
    """Which values are bad: those that reach a limit, or those below it."""

    HIGH = "high"
    LOW = "low"


class SettingsError(Exception):
    """A settings file that cannot be used; the text names the file, the fault and what to do."""


class PostError(Exception):
    """A report that was not stored. `status` is the HTTP status, or None without an answer."""

    def __init__(self, message: str, status: Optional[int] = None) -> None:
        super().__init__(message)
        self.status = status


def words(value: float) -> str:
    """`value` with at most two decimals, as reasons show it."""
    text = f"{value:.2f}".rstrip("0").rstrip(".")
    return "0" if text == "-0" else text


class Report:
    """What a check found: metrics, findings and further members, under the report's name."""

    def __init__(self, name: str) -> None:
        self.name = name
        self._findings: list[tuple[Status, str]] = []
        self._summary: list[str] = []
        self._metrics: dict[str, Any] = {}
        self._members: dict[str, Any] = {}

    def add_metric(self, name: str, value: float, unit: str = "", limits: Limits = Limits()) -> None:
        """Adds a metric without judging it. Raises ValueError if `value` is not finite."""
        if not math.isfinite(value):
            raise ValueError(f"the metric {name} is not a finite number")
        metric: dict[str, Any] = {"value": value, "unit": unit}
        metric.update(dataclasses.asdict(limits))
        self._metrics[name] = {key: part for key, part in metric.items() if part not in (None, "")}

    def judge(
        self,
        subject: str,
        name: str,
        value: float,
        unit: str = "",
        limits: Limits = Limits(),
        bad: Bad = Bad.HIGH,
    ) -> None:
        """Adds a metric, and a finding if it crosses a limit: "SUBJECT 3.1 % is below 5 %"."""
        self.add_metric(name, value, unit, limits)
        for status, limit in ((Status.ERROR, limits.critical), (Status.WARNING, limits.warning)):
            if limit is not None and (value >= limit if bad is Bad.HIGH else value < limit):
                tail = f" {unit}" if unit else ""
                relation = "at or above" if bad is Bad.HIGH else "below"
                self.find(status, f"{subject} {words(value)}{tail} is {relation} {words(limit)}{tail}")
                return

    def find(self, status: Status, reason: str) -> None:
        """Records a finding: that something has this status, and why."""
        self._findings.append((status, reason))

    def summarize(self, sentence: str) -> None:
        """Adds a sentence to the summary, the reason of a report that has no findings."""
        self._summary.append(sentence)

    def add(self, member: str, value: Any) -> None:
        """Adds a member to "unstructured": any JSON value, not "reason" or "metrics"."""
        if member in ("reason", "metrics"):
            raise ValueError(f'the member "{member}" is written by the report itself')
        self._members[member] = value

    @property
    def status(self) -> Status:
        """The worst status of all findings; OK without any."""
        return max((status for status, _ in self._findings), key=_SEVERITY.index, default=Status.OK)

    @property
    def reason(self) -> str:
        """The findings, worst first, or the summary."""
        ordered = sorted(self._findings, key=lambda finding: -_SEVERITY.index(finding[0]))
        sentences = [reason for _, reason in ordered] or self._summary
        return "; ".join(sentences) or "no problems found"

    def document(self, now: Optional[datetime.datetime] = None) -> bytes:
        """The report document, dated `now`, which has a time zone."""
        now = now or datetime.datetime.now(datetime.timezone.utc)
        document = {
            "structured": {
                "name": self.name,
                "time": now.isoformat(timespec="seconds"),
                "status": int(self.status),
            },
            "unstructured": {"reason": self.reason, **self._members, "metrics": self._metrics},
        }
        text = json.dumps(document, ensure_ascii=False, allow_nan=False)
        return text.encode("utf-8", "replace")


class Settings:
    """A check's settings file: one JSON object, in which // and /* */ begin comments.

    Every method raises SettingsError if the file is at fault. Read all settings first, then call `refuse_unknown`.
    """

    _TOKENS = re.compile(r'"(?:\\.|[^"\\])*"|//[^\n]*|/\*.*?\*/', re.DOTALL)

    def __init__(self, path: str) -> None:
        """A file that does not exist counts as an empty object."""
        self.path = path
        self._known: list[str] = []
        self._values: dict[str, Any] = {}
        try:
            with open(path, encoding="utf-8") as file:
                text = file.read(MAX_SETTINGS_BYTES + 1)
        except FileNotFoundError:
            return
        except (OSError, ValueError) as error:
            raise self._fault(getattr(error, "strerror", None) or str(error)) from error
        if len(text) > MAX_SETTINGS_BYTES:
            raise self._fault(f"longer than {MAX_SETTINGS_BYTES} bytes")
        bare = self._TOKENS.sub(self._blank_comment, text)
        try:
            self._values = json.loads(bare)
        except (ValueError, RecursionError) as error:
            raise self._fault(str(error)) from error
        if not isinstance(self._values, dict):
            raise self._fault("not a JSON object")

    def limits(self, key: str, defaults: Limits, bad: Bad = Bad.HIGH) -> Limits:
        """An object with "warning" and "critical", numbers or null; a missing one has its default."""
        value = self._get(key, {}, dict, 'an object with the numbers "warning" and "critical"')
        for name, number in value.items():
            is_number = isinstance(number, (int, float)) and not isinstance(number, bool)
            if name not in ("warning", "critical") or not (is_number or number is None):
                raise self._fault(f'"{key}" must be an object with the numbers "warning" and "critical"')
        limits = dataclasses.replace(defaults, **value)
        if limits.warning is not None and limits.critical is not None:
            first, second = (limits.warning, limits.critical)[:: 1 if bad is Bad.HIGH else -1]
            if first > second:
                raise self._fault(f'"{key}" would be critical before it is a warning; swap the two numbers')
        return limits

    def get_bool(self, key: str, default: bool) -> bool:
        return self._get(key, default, bool, "true or false")

    def get_str(self, key: str, default: str) -> str:
        return self._get(key, default, str, "a string")

    def get_list(self, key: str) -> list[str]:
        """A list of strings; empty if it is missing."""
        value = self._get(key, [], list, "a list of strings")
        if not all(isinstance(element, str) for element in value):
            raise self._fault(f'"{key}" must be a list of strings')
        return value

    def refuse_unknown(self) -> None:
        """Raises SettingsError if the file has a member that no call has read, such as a misspelt one."""
        for key in self._values:
            if key not in self._known:
                raise self._fault(f'unknown setting "{key}"; known settings: {", ".join(self._known)}')

    @staticmethod
    def _blank_comment(token: re.Match[str]) -> str:
        text = token.group()
        return text if text.startswith('"') else re.sub(r"[^\n]", " ", text)

    def _get(self, key: str, default: Any, kind: type, expected: str) -> Any:
        self._known.append(key)
        value = self._values.get(key, default)
        if not isinstance(value, kind):
            raise self._fault(f'"{key}" must be {expected}')
        return value

    def _fault(self, reason: str) -> SettingsError:
        return SettingsError(f"{self.path}: {reason}; correct or remove this file")


def matches_any(patterns: list[str], name: str) -> bool:
    """Whether a pattern matches the whole of `name`; "*" matches any characters, "?" one."""
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)


def post(url: str, name: str, document: bytes, timeout: float = 8.0, retries: int = 1) -> None:
    """Posts a report to the intake at `url` and raises PostError unless it is stored.

    `timeout` limits each step, in seconds. Transient failures (no answer, 500) are retried after a second.
    """
    address = urllib.parse.urlsplit(url)
    if address.scheme != "http" or not address.hostname:
        raise PostError(f"invalid intake URL {url!r}; expected http://HOST:PORT")
    for retries_left in range(retries, -1, -1):
        try:
            status = _post_once(address, name, document, timeout)
            if status == 200:
                return
            problem = PostError(f"the intake answered {status}", status)
        except (OSError, http.client.HTTPException) as error:
            status = None
            problem = PostError(f"no answer from {url}: {error}")
        if retries_left == 0 or (status is not None and status < 500):
            raise problem
        time.sleep(1)


def _post_once(address: urllib.parse.SplitResult, name: str, document: bytes, timeout: float) -> int:
    connection = http.client.HTTPConnection(address.hostname or "", address.port, timeout=timeout)
    try:
        path = "/" + urllib.parse.quote(name)
        connection.request("POST", path, document, {"Content-Type": "application/json"})
        return connection.getresponse().status
    finally:
        connection.close()


def host_root(script: str) -> str:
    """The host root, below which the host's files are: the part of the plugin's path before PLUGIN_DIRECTORY."""
    root, found, _ = os.path.abspath(script).rpartition(PLUGIN_DIRECTORY)
    return root if found else ""


def main(check: Callable[[Settings, Report], None], argv: Optional[list[str]] = None) -> int:
    """Runs `check` as a plugin. Returns the exit status: 0 if the report is stored, 1 if not, 2 for a wrong usage.

    The report is named like the plugin's file. If the check raises an exception, the report is UNKNOWN with the
    exception's text as its reason, and the text also goes to standard error.
    """
    argv = sys.argv if argv is None else argv
    name = os.path.basename(argv[0])
    if len(argv) < 4 or argv[2] != "-u":
        usage = "PLUGIN ++group=sentrel-plugins,mem=MEGABYTES -u URL [--loglevel=LEVEL]"
        print(f"{name}: usage: {usage}", file=sys.stderr)
        return 2
    report = Report(name)
    try:
        check(Settings(f"{host_root(argv[0])}{SETTINGS_DIRECTORY}{name}.json"), report)
        document = report.document()
    except Exception as error:  # any failure of the check is reported
        reason = str(error) or type(error).__name__
        print(f"{name}: {reason}", file=sys.stderr)
        report = Report(name)
        report.find(Status.UNKNOWN, reason)
        document = report.document()
    try:
        post(argv[3], name, document)
    except PostError as error:
        print(f"{name}: the report is not stored: {error}", file=sys.stderr)
        return 1
    if "--loglevel=debug" in argv:
        print(f"{name}: the report is stored: {report.reason}", file=sys.stderr)
    return 0
