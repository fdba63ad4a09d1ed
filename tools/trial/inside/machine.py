#!/usr/bin/python3 -B
"""The trial in a virtual machine, where cgroup v2 has its memory controller: reservation, limits, the plugins' sandbox."""

import contextlib
import http.client
import json
import pathlib
import re

import host
from host import daemon_pid, expect_finding, unit
from trial import Journal, expect, run, run_stages, until

UNIT = pathlib.Path("/sys/fs/cgroup/sentrel.slice/sentrel.service")
GROUP = UNIT / "host/pax/kolbern/sentrel-plugins"
MIB = 1 << 20
BIG_REPORTS = 300
plugins = contextlib.ExitStack()  # installed for several steps


def memory_is_reserved_from_the_slice_down():
    for folder, reserved in ((UNIT.parent, 96), (UNIT, 96), (GROUP, 64)):
        found = int((folder / "memory.min").read_text())
        expect(found == reserved * MIB, f"memory.min of {folder} is {found}")


def unit_and_group_are_limited():
    for file, limit in ((GROUP / "memory.max", 256 * MIB), (GROUP / "pids.max", 512), (UNIT / "memory.max", 768 * MIB)):
        found = file.read_text().strip()
        expect(found == str(limit), f"{file} is {found}")
    expect(int((UNIT / "pids.max").read_text()) >= 1500 + 512, "the unit's tasks are limited too closely")


def greedy_plugin_is_killed_alone():
    plugins.enter_context(host.installed_plugin("a-greedy"))
    plugins.enter_context(host.installed_plugin("a-writer"))
    pid, journal = host.restart(), Journal()
    until(lambda: kills() > 0, "a kill in the group")
    until(lambda: "a-greedy" in journal.text("--unit=sentrel.service", "--priority=err"), "an error that names the plugin")
    expect(daemon_pid() == pid and host.answers(), "the daemon was killed too")
    host.post("trial.greedy")
    expect_finding("a-greedy", "kill")


def kills():
    events = dict(line.split() for line in (GROUP / "memory.events").read_text().splitlines())
    return int(events["oom_kill"])


def next_batches_run():
    host.shipped_reports_in_time()
    until(lambda: "a-writer" in host.states(), "a report of the plugin beside the greedy one")


def plugin_writes_no_file_of_the_daemon():
    report = json.loads(run("sentrelctl", "get", "a-writer", "--json"))
    expect(host.states("a-writer") == {"a-writer": "OK"}, f"a-writer reports {report}")
    expect(not (host.REPORTS / "planted").exists(), "it could create a file")
    plugins.close()


def big_listing_stays_within_the_limit():
    pid = daemon_pid()
    intake = http.client.HTTPConnection("localhost", host.INTAKE_PORT, timeout=120)
    for number in range(BIG_REPORTS):
        name = f"big.{number}"
        text = host.document(name)
        filling = "x" * (MIB - len(text))
        intake.request("POST", f"/{name}", host.document(name, filling), {"Content-Type": "application/json"})
        answer = intake.getresponse()
        answer.read()
        expect(answer.status == 200, f"the report {name} is answered by {answer.status}")
    count = len(re.findall(r"^big\.\d+ +OK ", run("sentrelctl", "list", "--columns", "name,state,age"), re.MULTILINE))
    expect(count == BIG_REPORTS, f"{count} of the {BIG_REPORTS} reports are listed")
    expect(daemon_pid() == pid and unit("sentrel.service", "NRestarts") == "0", "the daemon was killed")


if __name__ == "__main__":
    run_stages([[
        host.install, memory_is_reserved_from_the_slice_down, unit_and_group_are_limited,
        greedy_plugin_is_killed_alone, next_batches_run, plugin_writes_no_file_of_the_daemon,
        big_listing_stays_within_the_limit,
    ]])
