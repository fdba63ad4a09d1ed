"""Runs the steps of a trial inside the machine under trial and prints the result of each.

A step is a function: its name says what it shows, a Failure what it saw instead. A failed step is followed by what the
journal holds since its start, and the steps after it still run. A reboot parts the steps into stages.
"""

import pathlib
import subprocess
import time

PATIENCE_SECONDS = 120
EVIDENCE_LINES = 40
STATE = pathlib.Path("/var/lib/trial")  # survives a reboot: the stage to run next, the failed steps


class Failure(Exception):
    """A fault that a step has found, and its time: later journal entries are from the step's cleanup, not evidence."""

    def __init__(self, what):
        super().__init__(what)
        self.seconds = time.time()


def expect(truth, what):
    if not truth:
        raise Failure(what)


def run(*command, status=0, given=None):
    """Runs a command; returns its output, errors included. An exit status other than `status` is a Failure; None takes any."""
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
                          timeout=2 * PATIENCE_SECONDS, check=False, input=given)
    if status is not None and done.returncode != status:
        raise Failure(f"{' '.join(command)}: exit status {done.returncode}: {done.stdout.strip()[-2000:]}")
    return done.stdout


def until(condition, what, seconds=PATIENCE_SECONDS):
    """Waits for a true value of condition() and returns it; a Failure if there is none within the time."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.1)
    raise Failure(f"not within {seconds} s: {what}")


class Journal:
    """The journal's entries from now on."""

    def __init__(self):
        self.start = time.time()  # not a cursor: with matches, --after-cursor of Debian 12 leaves the first entry out

    def text(self, *matches):
        run("journalctl", "--sync")
        return run("journalctl", "--quiet", "--output=short-precise", f"--since=@{self.start:.6f}", *matches, status=None)


def run_step(step):
    """Runs a step; returns whether it passed."""
    journal, start = Journal(), time.monotonic()
    try:
        step()
    except Exception as problem:  # an error in the step itself fails it too
        print(f"FAILED  {step.__name__}: {problem if isinstance(problem, Failure) else repr(problem)}", flush=True)
        end = getattr(problem, "seconds", time.time())
        lines = [line for line in journal.text(f"--until=@{end:.3f}").splitlines() if "systemd-journald[" not in line]
        for line in lines[-EVIDENCE_LINES:]:
            print(f"          {line}", flush=True)
        return False
    print(f"ok      {step.__name__} ({time.monotonic() - start:.1f} s)", flush=True)
    return True


def run_stages(stages):
    """Runs the next of `stages`, lists of steps, then reboots the machine, or powers it off after the last."""
    STATE.mkdir(exist_ok=True)
    stage_file, failed_file = STATE / "stage", STATE / "failed"
    stage = int(stage_file.read_text()) if stage_file.exists() else 0
    failed = failed_file.read_text().split() if failed_file.exists() else []
    run("systemctl", "is-system-running", "--wait", status=None)
    failed += [step.__name__ for step in stages[stage] if not run_step(step)]
    if stage + 1 < len(stages):
        stage_file.write_text(str(stage + 1))
        failed_file.write_text(" ".join(failed))
        run("systemctl", "reboot")
        return
    total = sum(len(steps) for steps in stages)
    print(f"trial: {len(failed)} of {total} steps failed: {' '.join(failed)}" if failed else
          f"trial: all {total} steps passed", flush=True)
    run("systemctl", "poweroff")
