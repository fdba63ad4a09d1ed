#!/usr/bin/python3 -B
"""The trial in a container that boots: what an administrator does with the package, and what can happen to a daemon."""

import os
import pathlib
import shutil
import signal
import time

import host
from host import REPORTS, SETTINGS, daemon_pid, expect_finding, post, restart, unit, until_serving
from trial import Journal, expect, run, run_stages, until

TOKEN_SET = pathlib.Path("/etc/korvex/oru/token/jwks.json")
SIGNING_KEY = pathlib.Path("/var/lib/korvex/oru/token/signing-key.json")
METRICS = pathlib.Path("/var/lib/prometheus/node-exporter")
LAUNCH = "MESSAGE_ID=dfb8aae03e5847b88742b5bf66add20e"
KEPT = pathlib.Path("/var/lib/trial")
# Paths that change on a machine by themselves, or with every package.
NOT_OF_THE_PACKAGE = ("/dev", "/proc", "/sys", "/run", "/tmp", "/trial", "/var/cache", "/var/lib/dpkg", "/var/lib/systemd",
                      "/var/lib/trial", "/var/log", "/var/tmp", "/var/lib/private")


def files():
    """Every path for which the package is responsible; of /var/log only its own directory."""
    found = set()
    for folder, folders, names in os.walk("/"):
        folders[:] = [name for name in folders if os.path.join(folder, name) not in NOT_OF_THE_PACKAGE]
        found.update(os.path.join(folder, name) for name in folders + names)
    found.update(str(path) for path in pathlib.Path("/var/log").glob("korvex*"))
    return {path for path in found if not path.startswith(("/etc/passwd", "/etc/group", "/etc/shadow", "/etc/gshadow", "/etc/subuid", "/etc/subgid",
                                                          "/etc/.pwd"))}


def install():
    (KEPT / "files").write_text("\n".join(sorted(files())))
    host.install()


def exposure_is_2_5_at_most():
    run("systemd-analyze", "security", "--no-pager", "--threshold=25", "sentrel.service")


def killed_daemon_comes_back():
    pid = daemon_pid()
    os.kill(pid, signal.SIGKILL)
    until_serving(other_than=pid)


def frozen_daemon_is_replaced_by_the_watchdog():
    pid = daemon_pid()
    os.kill(pid, signal.SIGSTOP)
    until_serving(other_than=pid)
    post("trial.watchdog")


def terminated_daemon_comes_back():
    pid = daemon_pid()
    os.kill(pid, signal.SIGTERM)
    until_serving(other_than=pid)


def hangup_is_logged_and_changes_nothing():
    pid, journal = daemon_pid(), Journal()
    os.kill(pid, signal.SIGHUP)
    until(lambda: "SIGHUP" in journal.text("--unit=sentrel.service"), "a line about SIGHUP")
    post("trial.hangup")
    expect(daemon_pid() == pid, "another daemon runs")


def stopped_daemon_stays_off():
    run("systemctl", "stop", "sentrel.service")
    state = unit("sentrel.service", "SubState")
    run("systemctl", "start", "sentrel.service")
    until_serving()
    expect(state == "dead", f"the stopped service is {state}")


def broken_settings_are_an_error_in_the_journal():
    journal, settings = Journal(), SETTINGS / "sentrel.json"
    settings.write_text("{oops")
    try:
        run("systemctl", "restart", "sentrel.service", status=None)
        text = journal.text("--unit=sentrel.service", "--priority=err")
        expect("Initializing FSS/Pellmar failed" in text, f"the errors are: {text}")
        expect_finding(str(settings))
    finally:
        settings.unlink()
        until_serving()


def stubborn_plugin_delays_no_restart():
    with host.installed_plugin("a-stubborn"):
        restart()
        journal = Journal()
        until(lambda: host.processes_of("a-stubborn"), "a process of the plugin")
        expect("a-stubborn" in journal.text(LAUNCH, "SENTREL_PLUGIN=a-stubborn"), "the journal's fields do not find the launch")
        start = time.monotonic()
        restart()
        seconds = time.monotonic() - start
        expect(not host.processes_of("a-stubborn"), "the plugin survived the restart")
        expect(seconds < 5, f"the restart took {seconds:.1f} s")


def taken_intake_port_is_told_and_waited_for():
    run("systemctl", "stop", "sentrel.service")
    with host.held_port(host.INTAKE_PORT):
        run("systemctl", "start", "sentrel.service", status=1)
        expect_finding("error", str(host.INTAKE_PORT), str(os.getpid()))
    until_serving()


def taken_api_port_is_told_and_waited_for():
    run("systemctl", "stop", "sentrel.service")
    with host.held_port(host.API_PORT):
        run("systemctl", "start", "sentrel.service")
        pid = daemon_pid()
        post("trial.api.port")
        expect_finding("error", str(host.API_PORT), str(os.getpid()))
        text = run("sentrelctl", "list", status=1)
        expect(str(os.getpid()) in text, f"list does not name the holder of the port: {text}")
    expect(until_serving() == pid, "the daemon was started anew")


def full_report_disk_is_told_and_survived():
    with host.mounted_reports("1m"):
        pid, journal, ballast = daemon_pid(), Journal(), REPORTS / "ballast"
        with open(ballast, "wb", buffering=0) as file:
            try:
                while True:
                    file.write(bytes(4096))
            except OSError:  # the disk is full
                pass
        post("trial.full", status=1)
        expect("trial.full" in journal.text("--unit=sentrel.service", "--priority=err"), "no error names the report")
        expect("trial.full" in journal.text("SENTREL_REPORT=trial.full"), "SENTREL_REPORT=trial.full finds nothing")
        expect_finding("free")
        ballast.unlink()
        post("trial.full")
        expect(daemon_pid() == pid, "another daemon runs")


def vanished_report_disk_is_told():
    with host.mounted_reports("1m"):
        post("trial.vanished")
        run("umount", "--lazy", str(REPORTS))
        expect_finding(str(REPORTS), "restart")
    post("trial.vanished")


def group_decides_who_reads():
    run("useradd", "--groups=korvex", "member")
    run("useradd", "stranger")
    as_member, as_stranger = ("runuser", "-u", "member", "--"), ("runuser", "-u", "stranger", "--")
    expect("cpu" in run(*as_member, "sentrelctl", "list"), "a member of korvex does not see the reports")
    run(*as_member, "cat", str(SIGNING_KEY), status=1)
    text = run(*as_stranger, "sentrelctl", "list", status=1)
    expect("--token-file" in text, f"a stranger is not told how to read reports: {text}")
    run(*as_stranger, "ls", str(REPORTS), status=2)
    text = run(*as_stranger, "sentrelctl", "doctor", status=None)
    expect("No problems found" not in text, f"doctor sees no problem where it cannot look: {text}")
    token = pathlib.Path("/home/stranger.token")
    token.write_text(run("sentrelctl", "token", "issue", "--subject=trial", "--entitlement=observability.reports.read"))
    shutil.chown(token, "stranger")
    run(*as_stranger, "sentrelctl", "list", f"--token-file={token}")


def keys_are_read_again_without_a_restart():
    pid = daemon_pid()
    old = KEPT / "old.token"
    old.write_text(run("sentrelctl", "token", "issue", "--subject=trial", "--entitlement=observability.reports.read"))
    run("sentrelctl", "list", f"--token-file={old}")
    SIGNING_KEY.unlink()
    TOKEN_SET.unlink()
    run("sentrelctl", "list", f"--token-file={old}", status=1)
    run("sentrelctl", "token", "init")
    run("sentrelctl", "list")
    run("sentrelctl", "list", f"--token-file={old}", status=1)
    expect(daemon_pid() == pid, "another daemon runs")


def metrics_are_written_when_the_timer_is_on():
    METRICS.mkdir(parents=True)
    run("systemctl", "enable", "--now", "sentrel-metrics.timer")
    until((METRICS / "sentrel.prom").exists, "the file of the metrics")
    settings = pathlib.Path("/etc/default/sentrel-metrics")
    settings.write_text("SENTREL_TEXTFILE_DIRECTORY=/srv\n")
    run("systemctl", "start", "sentrel-metrics.service")
    expect(pathlib.Path("/srv/sentrel.prom").exists(), "the setting of the directory has no effect")
    settings.unlink()
    pathlib.Path("/srv/sentrel.prom").unlink()


def reinstall_keeps_everything():
    kept, key = set(host.states()), SIGNING_KEY.read_bytes()
    run("dpkg", "--install", str(host.PACKAGE))
    until_serving()
    expect(kept <= set(host.states()), f"reports are lost: {kept - set(host.states())}")
    expect(key == SIGNING_KEY.read_bytes(), "the signing key is another one")
    expect(unit("sentrel-metrics.timer", "ActiveState") == "active", "the timer is off")
    (KEPT / "reports").write_text(" ".join(kept))


def boot_brings_the_daemon_back():
    until_serving()
    kept = set((KEPT / "reports").read_text().split())
    expect(kept <= set(host.states()), f"reports are lost: {kept - set(host.states())}")
    expect(unit("sentrel.service", "NRestarts") == "0", "the daemon was started more than once")
    expect(unit("sentrel-metrics.timer", "ActiveState") == "active", "the timer is off")


def remove_keeps_reports_and_settings():
    (SETTINGS / "sentrel.json").write_text('{"plugin_resource_pool_size_MB": 50}')
    run("dpkg", "--remove", "sentrel")
    expect(unit("sentrel.slice", "ActiveState") == "inactive", "the slice is still there")
    expect(not (METRICS / "sentrel.prom").exists(), "the file of the metrics is still there")
    expect((SETTINGS / "sentrel.json").exists() and any(REPORTS.iterdir()), "reports or settings are gone")


def purge_leaves_nothing():
    run("dpkg", "--purge", "sentrel")
    left = files() - set((KEPT / "files").read_text().split("\n"))
    left = {path for path in left if not path.startswith(("/var/lib/prometheus", "/home/"))}
    expect(not left, f"purging leaves {sorted(left)}")
    for database, name in (("passwd", "sentrel"), ("group", "korvex")):
        run("getent", database, name, status=2)


def upgrade_keeps_everything():
    """Builds a package of the same files with an older version number."""
    older = KEPT / "older"
    run("dpkg-deb", "--raw-extract", str(host.PACKAGE), str(older))
    control = older / "DEBIAN" / "control"
    lines = ["Version: 0.1" if line.startswith("Version:") else line for line in control.read_text().splitlines()]
    control.write_text("\n".join(lines) + "\n")
    run("dpkg-deb", "--build", "-Znone", str(older), str(KEPT / "older.deb"))
    run("dpkg", "--install", str(KEPT / "older.deb"))
    pid, key = until_serving(), SIGNING_KEY.read_bytes()
    post("trial.upgrade")
    (SETTINGS / "sentrel.json").write_text('{"plugin_resource_pool_size_MB": 50}')
    run("dpkg", "--install", str(host.PACKAGE))
    until_serving(other_than=pid)
    expect("trial.upgrade" in host.states(), "the report is lost")
    expect(key == SIGNING_KEY.read_bytes() and "50" in (SETTINGS / "sentrel.json").read_text(), "key or settings are lost")


if __name__ == "__main__":
    run_stages([
        [install, host.shipped_reports_in_time, exposure_is_2_5_at_most,
         killed_daemon_comes_back, frozen_daemon_is_replaced_by_the_watchdog, terminated_daemon_comes_back,
         hangup_is_logged_and_changes_nothing, stopped_daemon_stays_off, broken_settings_are_an_error_in_the_journal,
         stubborn_plugin_delays_no_restart, taken_intake_port_is_told_and_waited_for, taken_api_port_is_told_and_waited_for,
         full_report_disk_is_told_and_survived, vanished_report_disk_is_told,
         group_decides_who_reads, keys_are_read_again_without_a_restart, metrics_are_written_when_the_timer_is_on,
         reinstall_keeps_everything],
        [boot_brings_the_daemon_back, remove_keeps_reports_and_settings, purge_leaves_nothing,
         upgrade_keeps_everything, remove_keeps_reports_and_settings, purge_leaves_nothing],
    ])
