"""What /proc tells of a process: processor time, context switches, memory. Linux only."""

import os
import time


def cpu_seconds(pid):
    """Processor time of all its threads so far, ended ones too."""
    return time.clock_gettime(~pid << 3 | 2)  # the clock of clock_getcpuclockid(3)


def voluntary_switches(pid):
    """{thread: how often it has gone to sleep to wait for something} of the threads that live now."""
    counts = {}
    for thread in os.listdir(f"/proc/{pid}/task"):
        try:
            with open(f"/proc/{pid}/task/{thread}/status", encoding="ascii", errors="replace") as file:
                counts[thread] = next(int(line.split()[1]) for line in file
                                      if line.startswith("voluntary_ctxt_switches:"))
        except (FileNotFoundError, ProcessLookupError):
            pass  # the thread has just exited
    return counts


def memory_kib(pid):
    """{"Rss": resident, "Pss": resident with shared pages split among their users, ...} in KiB."""
    sizes = {}
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        for line in file:
            words = line.split()
            if words[-1] == "kB":
                sizes[words[0].rstrip(":")] = int(words[1])
    return sizes


def forget_peak(pid):
    """Lets peak_kib count from now on."""
    with open(f"/proc/{pid}/clear_refs", "w", encoding="ascii") as file:
        file.write("5")


def peak_kib(pid):
    """The largest resident size since forget_peak."""
    with open(f"/proc/{pid}/status", encoding="ascii", errors="replace") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("VmHWM:"))


def thread_count(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


def children(pid):
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
        return [int(child) for child in file.read().split()]
