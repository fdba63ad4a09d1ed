"""The package under trial and its daemon, as the steps of both trials handle them."""

import contextlib
import datetime
import json
import pathlib
import shutil
import socket
import subprocess

from trial import Journal, expect, run, until

TRIAL = pathlib.Path(__file__).parent
PACKAGE = TRIAL / "sentrel.deb"
REPORTS = pathlib.Path("/var/lib/korvex/sentrel/reports")
PLUGINS = pathlib.Path("/usr/lib/korvex/sentrel/plugins/bin")
SETTINGS = pathlib.Path("/etc/korvex/tabulon/oru/health")
SHIPPED = {"bonds", "certificates", "cpu", "filesystem", "guests", "kernel", "memory", "memory-errors", "network", "raid",
           "sensors", "units"}
INTAKE_PORT, API_PORT = 9996, 9984


def unit(name, property):
    return run("systemctl", "show", f"--property={property}", "--value", name).strip()


def daemon_pid():
    return int(unit("sentrel.service", "MainPID"))


def until_serving(other_than=0):
    """Waits for a daemon with another pid that is ready and answers on the API; returns its pid."""
    def serves():
        pid = daemon_pid()
        return pid not in (0, other_than) and unit("sentrel.service", "ActiveState") == "active" and answers() and pid

    return until(serves, f"a daemon that serves, with a pid other than {other_than}")


def answers():
    return subprocess.run(["sentrelctl", "list", "--json"], capture_output=True, check=False).returncode == 0


def restart():
    run("systemctl", "restart", "sentrel.service")
    return until_serving()


def states(*options):
    """The state of each report, by name."""
    return {report["name"]: report["state"] for report in json.loads(run("sentrelctl", "list", "--json", *options))["reports"]}


def findings():
    """The findings of doctor that are not "ok": lines of severity, subject, text and remedy."""
    told = json.loads(run("sentrelctl", "doctor", "--json", status=None))
    return [f"{finding['severity']} {finding['subject']}: {finding['text']}; {finding['remedy']}"
            for finding in told["findings"] if finding["severity"] != "ok"]


def expect_finding(*words):
    """Fails unless one finding of doctor contains all the words."""
    told = findings()
    expect(any(all(word in line for word in words) for line in told), f"doctor does not say {words}, but: {told}")


def expect_no_errors():
    told = [line for line in findings() if line.startswith("error")]
    expect(not told, f"doctor finds {told}")


def document(name, filling=""):
    now = datetime.datetime.now(datetime.timezone.utc).isoformat(timespec="seconds")
    return json.dumps({"structured": {"name": name, "time": now, "status": 0},
                       "unstructured": {"reason": "posted by the trial", "filling": filling}})


def post(name, status=0):
    """Posts a report with sentrelctl; returns its output."""
    return run("sentrelctl", "post", name, "-", given=document(name), status=status)


@contextlib.contextmanager
def held_port(port):
    """A listener of this process on a port, which never answers."""
    with socket.create_server(("127.0.0.1", port)):
        yield


@contextlib.contextmanager
def installed_plugin(name):
    """A plugin of the trial, installed and enabled. The caller restarts the daemon to find it; the end restarts it again."""
    entry = SETTINGS / f"{name}.json"
    shutil.copy(TRIAL / "plugins" / name, PLUGINS / name)
    entry.write_text('{"enabled": true, "frequency": "fast", "log_level": "info"}')
    try:
        yield
    finally:
        entry.unlink()
        (PLUGINS / name).unlink()
        restart()


@contextlib.contextmanager
def mounted_reports(size):
    """Mounts a file system over the report directory and starts the daemon on it."""
    run("systemctl", "stop", "sentrel.service")
    run("mount", "-t", "tmpfs", "-o", f"size={size},mode=0750,uid=sentrel,gid=korvex", "trial", str(REPORTS))
    try:
        restart()
        yield
    finally:
        run("umount", "--lazy", str(REPORTS), status=None)
        restart()


def processes_of(plugin):
    """Pids of the processes whose command line names the plugin's file."""
    pids = []
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            if str(PLUGINS / plugin).encode() in (folder / "cmdline").read_bytes():
                pids.append(int(folder.name))
    return pids


def install():
    journal = Journal()
    run("dpkg", "--install", str(PACKAGE))
    until_serving()
    expect(unit("sentrel.service", "UnitFileState") == "enabled", "the service is not enabled")
    complaints = journal.text("--unit=sentrel.service", "--priority=err")
    expect(not complaints, f"the daemon complains: {complaints}")
    expect_no_errors()


def shipped_reports_in_time():
    """All plugins are launched 30 s apart, and a report follows its launch at once. ERROR is a fine one: the machine that this
    one runs on may be busy."""
    seconds = 30 * len(list(PLUGINS.iterdir())) + 60
    until(lambda: all(states().get(name, "NEVER") != "NEVER" for name in SHIPPED), "a report of each shipped check", seconds)
    found = {name: state for name, state in states().items() if name in SHIPPED}
    expect(set(found.values()) <= {"OK", "WARNING", "ERROR", "NONE"}, f"the states are {found}")
